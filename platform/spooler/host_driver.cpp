#include "platform/spooler/host_driver.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/split.h"

namespace platform {
namespace {

constexpr int kDefaultDpi = 300;
constexpr DWORD kStartFields = DM_ORIENTATION | DM_PAPERSIZE | DM_COPIES | DM_DEFAULTSOURCE |
                               DM_PRINTQUALITY | DM_YRESOLUTION | DM_FORMNAME;
constexpr DWORD kMindedFields = kStartFields | DM_PAPERLENGTH | DM_PAPERWIDTH | DM_SCALE |
                                DM_COLOR | DM_DUPLEX | DM_TTOPTION | DM_COLLATE;

struct CommonForm {
  WORD id;
  const WCHAR* name;
  int width;
  int height;
};
constexpr CommonForm kForms[] = {
    {1, TEXT("Letter"), 215'900, 279'400}, {3, TEXT("Tabloid"), 279'400, 431'800},
    {5, TEXT("Legal"), 215'900, 355'600},  {7, TEXT("Executive"), 184'150, 266'700},
    {8, TEXT("A3"), 297'000, 420'000},     {9, TEXT("A4"), 210'000, 297'000},
    {11, TEXT("A5"), 148'000, 210'000},    {20, TEXT("Envelope #10"), 104'775, 241'300},
    {66, TEXT("A2"), 420'000, 594'000},
};

// A 16-bit member of a device mode with its flag.
struct Member {
  DWORD flag;
  short DEVMODEW::*member;
};
constexpr Member kMembers[] = {
    {DM_COLOR, &DEVMODEW::dmColor},
    {DM_DUPLEX, &DEVMODEW::dmDuplex},
    {DM_YRESOLUTION, &DEVMODEW::dmYResolution},
    {DM_TTOPTION, &DEVMODEW::dmTTOption},
    {DM_COLLATE, &DEVMODEW::dmCollate},
};
// Those within the unnamed structure have no member pointers.
struct PlacedMember {
  DWORD flag;
  size_t offset;
};
constexpr PlacedMember kPlacedMembers[] = {
    {DM_ORIENTATION, offsetof(DEVMODEW, dmOrientation)},
    {DM_PAPERSIZE, offsetof(DEVMODEW, dmPaperSize)},
    {DM_PAPERLENGTH, offsetof(DEVMODEW, dmPaperLength)},
    {DM_PAPERWIDTH, offsetof(DEVMODEW, dmPaperWidth)},
    {DM_SCALE, offsetof(DEVMODEW, dmScale)},
    {DM_COPIES, offsetof(DEVMODEW, dmCopies)},
    {DM_DEFAULTSOURCE, offsetof(DEVMODEW, dmDefaultSource)},
    {DM_PRINTQUALITY, offsetof(DEVMODEW, dmPrintQuality)},
};

bool UsesLetter() {
  WCHAR paper[8] = {};
  GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IPAPERSIZE, paper, std::size(paper));
  return View(paper) == TEXT("1");
}

int ToNumber(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, 0));
}

int ToPixels(int micrometres, LONG dpi) {
  return MulDiv(micrometres, static_cast<int>(dpi), 25'400);
}

void CopyName(WideView name, WCHAR (&field)[CCHFORMNAME]) {
  std::fill(std::begin(field), std::end(field), WCHAR{0});
  name.substr(0, CCHFORMNAME - 1).copy(field, CCHFORMNAME - 1);
}

}  // namespace

HostDriver::HostDriver(WideView name) : prefix_(facts::kDriverPrefix + ToUtf8(name) + '.') {}

std::string HostDriver::Setting(const char* what, const char* otherwise) const {
  return Fact(prefix_ + what, otherwise);
}

int HostDriver::Number(const char* what, int otherwise) const {
  return static_cast<int>(FactNumber(prefix_ + what, otherwise));
}

DWORD HostDriver::Fields() const {
  return static_cast<DWORD>(FactNumber(prefix_ + "fields", kMindedFields));
}

Bytes HostDriver::DefaultDevMode(WideView printer) const {
  const bool letter = UsesLetter();
  DEVMODEW mode = {};
  CopyName(printer, mode.dmDeviceName);
  mode.dmSpecVersion = DM_SPECVERSION;
  mode.dmDriverVersion = 0x0600;
  mode.dmSize = sizeof mode;
  mode.dmDriverExtra = static_cast<WORD>(Number("extra", 0));
  mode.dmFields = kStartFields;
  mode.dmOrientation = DMORIENT_PORTRAIT;
  mode.dmPaperSize = letter ? DMPAPER_LETTER : DMPAPER_A4;
  mode.dmCopies = 1;
  mode.dmDefaultSource = 15;  // chosen by the form
  mode.dmPrintQuality = kDefaultDpi;
  mode.dmYResolution = kDefaultDpi;
  CopyName(letter ? TEXT("Letter") : TEXT("A4"), mode.dmFormName);
  const auto* bytes = reinterpret_cast<const uint8_t*>(&mode);
  Bytes result(bytes, bytes + sizeof mode);
  result.resize(sizeof mode + mode.dmDriverExtra);
  return result;
}

void HostDriver::Merge(Bytes& base, const DEVMODEW& over) const {
  if (over.dmSize != sizeof over) return;
  auto& mode = *reinterpret_cast<DEVMODEW*>(base.data());
  const DWORD taken = over.dmFields & Fields();
  for (const Member& member : kMembers) {
    if ((taken & member.flag) != 0) mode.*member.member = over.*member.member;
  }
  for (const PlacedMember& member : kPlacedMembers) {
    if ((taken & member.flag) == 0) continue;
    std::memcpy(base.data() + member.offset,
                reinterpret_cast<const uint8_t*>(&over) + member.offset, sizeof(short));
  }
  // A form goes by its number; where that changes, older sizes and names do not count any more.
  if ((taken & DM_PAPERSIZE) != 0) {
    mode.dmFields &= ~DWORD{DM_PAPERLENGTH | DM_PAPERWIDTH | DM_FORMNAME};
  }
  if ((taken & DM_FORMNAME) != 0) {
    CopyName(
        WideView(over.dmFormName,
                 std::find(over.dmFormName, over.dmFormName + CCHFORMNAME, 0) - over.dmFormName),
        mode.dmFormName);
  }
  mode.dmFields |= taken;
  if (over.dmDriverExtra == mode.dmDriverExtra) {
    std::memcpy(&mode + 1, &over + 1, mode.dmDriverExtra);
  }
}

std::vector<PaperForm> HostDriver::Forms() const {
  std::vector<PaperForm> forms;
  for (const CommonForm& form : kForms)
    forms.push_back({form.id, form.name, form.width, form.height});
  for (const std::string& text : Split(Setting("papers"), ',')) {
    const std::vector<std::string> parts = Split(text, ':');
    if (parts.size() != 3) continue;
    const std::vector<std::string> sides = Split(parts[2], 'x');
    if (sides.size() != 2) continue;
    forms.push_back({static_cast<WORD>(ToNumber(parts[0])), ToWide(parts[1]), ToNumber(sides[0]),
                     ToNumber(sides[1])});
  }
  return forms;
}

PaperForm HostDriver::FormOf(const DEVMODEW& mode) const {
  constexpr DWORD kSides = DM_PAPERWIDTH | DM_PAPERLENGTH;
  if ((mode.dmFields & kSides) == kSides && mode.dmPaperWidth > 0 && mode.dmPaperLength > 0) {
    return {
        static_cast<WORD>(mode.dmPaperSize), {}, mode.dmPaperWidth * 100, mode.dmPaperLength * 100};
  }
  const std::vector<PaperForm> forms = Forms();
  const auto with_id = [&](WORD id) {
    return std::find_if(forms.begin(), forms.end(), [=](const PaperForm& f) { return f.id == id; });
  };
  const auto found = with_id(static_cast<WORD>(mode.dmPaperSize));
  return found != forms.end() ? *found : *with_id(UsesLetter() ? DMPAPER_LETTER : DMPAPER_A4);
}

PageMetrics HostDriver::Page(const DEVMODEW& mode) const {
  const PaperForm form = FormOf(mode);
  const int x_dpi = mode.dmPrintQuality > 0 ? mode.dmPrintQuality : kDefaultDpi;
  const bool has_y = (mode.dmFields & DM_YRESOLUTION) != 0 && mode.dmYResolution > 0;
  int margins[4] = {4'233, 4'233, 4'233, 4'233};  // left, top, right, bottom
  const std::vector<std::string> said = Split(Setting("margins"), ',');
  for (size_t i = 0; i < said.size() && i < std::size(margins); ++i) margins[i] = ToNumber(said[i]);

  PageMetrics page = {};
  page.resolution = {x_dpi, has_y ? mode.dmYResolution : x_dpi};
  page.paper = {ToPixels(form.width, page.resolution.cx),
                ToPixels(form.height, page.resolution.cy)};
  if (mode.dmOrientation == DMORIENT_LANDSCAPE) {
    page.paper = {ToPixels(form.height, page.resolution.cx),
                  ToPixels(form.width, page.resolution.cy)};
  }
  page.offset = {ToPixels(margins[0], page.resolution.cx),
                 ToPixels(margins[1], page.resolution.cy)};
  page.printable.cx =
      std::max<LONG>(0, page.paper.cx - page.offset.x - ToPixels(margins[2], page.resolution.cx));
  page.printable.cy =
      std::max<LONG>(0, page.paper.cy - page.offset.y - ToPixels(margins[3], page.resolution.cy));
  const bool prints_black = (mode.dmFields & DM_COLOR) != 0 && mode.dmColor == DMCOLOR_MONOCHROME;
  page.bits_per_pixel = Number("color", 1) == 0 || prints_black ? 1 : 24;
  return page;
}

std::vector<HostDriver::Bin> HostDriver::Bins() const {
  std::vector<Bin> bins;
  for (const std::string& text : Split(Setting("bins", "15:Automatically Select"), ',')) {
    const size_t colon = std::min(text.find(':'), text.size());
    bins.push_back({static_cast<WORD>(ToNumber(text)),
                    ToWide(std::string_view(text).substr(std::min(colon + 1, text.size())))});
  }
  return bins;
}

std::string HostDriver::Technology() const {
  return Setting("technology");
}

bool HostDriver::HasEscape(int escape) const {
  if (escape == GETTECHNOLOGY) return !Technology().empty();
  const std::vector<std::string> known = Split(Setting("escapes"), ',');
  return std::any_of(known.begin(), known.end(),
                     [=](const std::string& text) { return ToNumber(text) == escape; });
}

}  // namespace platform
