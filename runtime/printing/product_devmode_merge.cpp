// Laying device modes over each other.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "runtime/papers/custom_papers.h"
#include "runtime/printing/private_layout.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

constexpr DWORD kAllPaperFlags = DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH | DM_FORMNAME;
constexpr DWORD kUserSize = DM_PAPERWIDTH | DM_PAPERLENGTH;

// The form's name, terminated.
struct FormName {
  WCHAR text[CCHFORMNAME + 1] = {};
  explicit FormName(const DEVMODEW& dev) {
    std::copy(std::begin(dev.dmFormName), std::end(dev.dmFormName), text);
  }
};

void CopyFormName(LPCWSTR name, DEVMODEW& target) {
  std::memset(target.dmFormName, 0, sizeof(target.dmFormName));
  CopyStringW(target.dmFormName, name);
  target.dmFields |= DM_FORMNAME;
}

// A device mode holds sides in tenths of a millimetre, 16 bits signed.
constexpr DWORD kMicrometresPerUnit = 100;
bool FitsDevMode(DWORD micrometres) {
  return micrometres / kMicrometresPerUnit <= 0x7FFF;
}

// By the name that the source gives it, else by its id; null when it is not among the papers, or
// too large.
const PaperEntry* FindCustomPaper(const CCustomPapers& papers, const DEVMODEW& source) {
  const PaperEntry* paper = nullptr;
  if ((source.dmFields & DM_FORMNAME) != 0) {
    paper = papers.FindPaperByName(FormName(source).text);
  }
  if (paper == nullptr) paper = papers.FindPaperById(static_cast<WORD>(source.dmPaperSize));
  const bool fits = paper != nullptr && FitsDevMode(paper->width) && FitsDevMode(paper->height);
  return fits ? paper : nullptr;
}

void TakeCustomPaper(const PaperEntry& paper, DEVMODEW& target) {
  target.dmPaperSize = static_cast<short>(paper.id);
  target.dmPaperWidth = static_cast<short>(paper.width / kMicrometresPerUnit);
  target.dmPaperLength = static_cast<short>(paper.height / kMicrometresPerUnit);
  CopyFormName(paper.name, target);
  target.dmFields |= kAllPaperFlags;
}

// A paper that only the source knows; it has both its sides.
void TakeUnknownPaper(const DEVMODEW& source, DEVMODEW& target) {
  target.dmPaperSize = source.dmPaperSize;
  target.dmPaperWidth = source.dmPaperWidth;
  target.dmPaperLength = source.dmPaperLength;
  target.dmFields |= DM_PAPERSIZE | kUserSize;
  if ((source.dmFields & DM_FORMNAME) == 0) return;
  const FormName name(source);
  CopyFormName(name.text, target);
  if (CStandardPapers().FindPaperByName(name.text) == nullptr) return;
  std::memset(target.dmFormName, 0, sizeof(target.dmFormName));
  target.dmFields &= ~DWORD{DM_FORMNAME};
}

void MergePaper(const DEVMODEW& source, ProductDevMode& target) {
  if ((source.dmFields & DM_PAPERSIZE) == 0 || source.dmPaperSize == 0) return;
  if (source.dmPaperSize < DMPAPER_USER) {
    target.dev.dmPaperSize = source.dmPaperSize;
    target.dev.dmFields |= DM_PAPERSIZE;
    SetFormNameFromPaper(target);
    return;
  }
  const CCustomPapers papers;
  if (const PaperEntry* const paper = FindCustomPaper(papers, source)) {
    TakeCustomPaper(*paper, target.dev);
  } else if ((source.dmFields & kUserSize) == kUserSize) {
    TakeUnknownPaper(source, target.dev);
  }
}

void MergePublicPart(const DEVMODEW& source, ProductDevMode& target) {
  MergePaper(source, target);
  DEVMODEW& dev = target.dev;
  const auto take = [&](DWORD flag, auto& field, const auto& value) {
    if ((source.dmFields & flag) == 0) return;
    field = value;
    dev.dmFields |= flag;
  };
  if (source.dmOrientation == DMORIENT_PORTRAIT || source.dmOrientation == DMORIENT_LANDSCAPE) {
    take(DM_ORIENTATION, dev.dmOrientation, source.dmOrientation);
  }
  take(DM_DEFAULTSOURCE, dev.dmDefaultSource, source.dmDefaultSource);
  take(DM_PRINTQUALITY, dev.dmPrintQuality, source.dmPrintQuality);
  take(DM_YRESOLUTION, dev.dmYResolution, source.dmYResolution);
  take(DM_COPIES, dev.dmCopies, source.dmCopies);
  take(DM_COLOR, dev.dmColor, source.dmColor);
  take(DM_BITSPERPEL, dev.dmBitsPerPel, source.dmBitsPerPel);
  // The scale counts without a flag in the target.
  if ((source.dmFields & DM_SCALE) != 0) dev.dmScale = source.dmScale;
}

// The private part of a source, by its layout.
class PrivateSource {
 public:
  // `bytes` may be the target's own.
  PrivateSource(const BYTE* bytes, const PrivateLayout& layout) : layout_(layout), bytes_(bytes) {
    std::memcpy(&flags_, bytes_ + layout.flags, sizeof flags_);
  }

  // Copies the setting when the source carries it.
  void TakeNumber(size_t index, ProductSettings& target) const {
    const PrivateNumber& number = kPrivateNumbers[index];
    const WORD offset = layout_.numbers[index];
    if (offset == kNowhere || (flags_ & number.flag) == 0) return;
    std::memmove(reinterpret_cast<BYTE*>(&target) + number.offset, bytes_ + offset, sizeof(WORD));
    target.flags |= number.flag;
  }

  // A text of at most `kCapacity` characters, with or without terminator, in the ANSI code page.
  template <size_t kCapacity>
  void ReadText(WORD offset, char (&text)[kCapacity]) const {
    if (layout_.isWide) {
      WCHAR wide[kCapacity + 1] = {};
      std::memcpy(wide, bytes_ + offset, kCapacity * sizeof(WCHAR));
      WideToAnsi(text, static_cast<int>(kCapacity), wide, CP_ACP);
    } else {
      char narrow[kCapacity + 1] = {};
      std::memcpy(narrow, bytes_ + offset, kCapacity);
      CopyStringA(text, static_cast<int>(kCapacity), narrow);
    }
  }

  DWORD flags() const { return flags_; }

 private:
  const PrivateLayout& layout_;
  const BYTE* bytes_;
  DWORD flags_;
};

// Replaces a text and everything behind its terminator.
template <size_t kCapacity>
void SetText(char (&target)[kCapacity], LPCSTR text) {
  std::memset(target, 0, kCapacity);
  CopyStringA(target, static_cast<int>(kCapacity), text);
}

void MergePrivatePart(const BYTE* bytes, const PrivateLayout& layout, ProductSettings& target) {
  const PrivateSource source(bytes, layout);
  source.TakeNumber(0, target);  // the resolution

  char name[sizeof(target.applicationName)];
  source.ReadText(layout.application, name);
  if (name[0] != 0 && !IsSystemProcessName(name)) SetText(target.applicationName, name);

  for (size_t i = 1; i < std::size(kPrivateNumbers); ++i) source.TakeNumber(i, target);
  if ((source.flags() & kPrivateDefaultFont) != 0) {
    char font[sizeof(target.defaultFont)];
    source.ReadText(layout.defaultFont, font);
    SetText(target.defaultFont, font);
    target.flags |= kPrivateDefaultFont;
  }
  if (layout.printerEm == kNowhere) return;
  char em[sizeof(target.printerEm)];
  source.ReadText(layout.printerEm, em);
  if (em[0] != 0) SetText(target.printerEm, em);
}

}  // namespace

void MergeDevMode(const DEVMODEW* source, ProductDevMode& target) {
  if (!IsValidDevMode(source)) return;
  const PrivateLayout* const layout = FindPrivateLayout(source);
  MergePublicPart(PublicPartOf(source), target);
  if (layout != nullptr) MergePrivatePart(PrivatePartOf(source), *layout, target.settings);
}

}  // namespace kv
