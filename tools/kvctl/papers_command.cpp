#include <optional>

#include "resources/string_ids.h"
#include "runtime/papers/custom_papers.h"
#include "runtime/papers/paper_length.h"
#include "runtime/text/text.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

constexpr Option kCustomOption = {TEXT("--custom"), false};
constexpr Column kColumns[] = {{TEXT("id"), IDS_CTL_HEADING_NUMBER, 8},
                               {TEXT("name"), IDS_CTL_HEADING_PAPER, 32},
                               {nullptr, IDS_CTL_HEADING_SIZE, 20},
                               {TEXT("width_um"), 0, 0},
                               {TEXT("height_um"), 0, 0},
                               {TEXT("units"), 0, 0},
                               {TEXT("custom"), 0, 0}};
// A device mode holds names of so many characters and sides in tenths of a millimetre, 16 bits
// signed.
constexpr size_t kLongestName = CCHFORMNAME - 1;
constexpr ULONGLONG kShortestSide = 1000, kLongestSide = 3276700;  // micrometres

void AddPaper(const kv::PaperEntry& paper, bool isCustom, Table& table) {
  WCHAR size[kv::kPaperSizeCapacity];
  kv::DescribePaperSize(paper, size);
  const WideString units = paper.units == kv::kPaperInches ? TEXT("in") : TEXT("mm");
  table.Add({LONGLONG{paper.id}, WideString(paper.name), WideString(size), LONGLONG{paper.width},
             LONGLONG{paper.height}, units, isCustom});
}

void AddAll(const kv::CPaperTable& papers, bool areCustom, Table& table) {
  for (int i = 0; i < papers.count(); ++i) AddPaper(*papers.GetPaperAt(i), areCustom, table);
}

ExitStatus Unreadable(const kv::CCustomPapers& papers) {
  PrintSystemError(
      Text(IDS_CTL_CANNOT_READ,
           TEXT("HKEY_CURRENT_USER\\Software\\Veltmoor Software\\Folvane8\\CustomPapers")),
      papers.loadError());
  return kFailed;
}

ExitStatus List(const Arguments& arguments) {
  const kv::CCustomPapers custom;
  if (custom.loadError() != ERROR_SUCCESS) return Unreadable(custom);
  Table table(kColumns, arguments);
  if (!arguments.Has(kCustomOption)) AddAll(kv::CStandardPapers(), false, table);
  AddAll(custom, true, table);
  table.Finish();
  return kDone;
}

ExitStatus Unknown(const WideString& name) {
  PrintError(Text(IDS_CTL_PAPERS_UNKNOWN, name.c_str()));
  return kFailed;
}

ExitStatus Show(const Arguments& arguments) {
  const WideString& name = arguments.operands()[0];
  const kv::CCustomPapers custom;
  const kv::CStandardPapers standard;
  const kv::PaperEntry* paper = custom.FindPaperByName(name.c_str());
  const bool isCustom = paper != nullptr;
  if (!isCustom) paper = standard.FindPaperByName(name.c_str());
  if (paper == nullptr && custom.loadError() != ERROR_SUCCESS) return Unreadable(custom);
  if (paper == nullptr) return Unknown(name);
  Table table(kColumns, arguments);
  AddPaper(*paper, isCustom, table);
  table.Finish();
  return kDone;
}

// A number with at most four decimals in ten-thousandths; nothing for anything else.
std::optional<ULONGLONG> ParseLength(WideView text) {
  constexpr int kDecimals = 4;
  constexpr ULONGLONG kTooLarge = 1'000'000'000;
  ULONGLONG number = 0;
  int decimals = -1;  // no point yet
  size_t digits = 0;
  for (const WCHAR c : text) {
    if (c == '.' && decimals < 0) {
      decimals = 0;
      continue;
    }
    if (c < '0' || c > '9' || number > kTooLarge || decimals == kDecimals) return std::nullopt;
    number = number * 10 + static_cast<ULONGLONG>(c - '0');
    ++digits;
    if (decimals >= 0) ++decimals;
  }
  if (digits == 0) return std::nullopt;
  for (int i = decimals < 0 ? 0 : decimals; i < kDecimals; ++i) number *= 10;
  return number;
}

WideView Trimmed(WideView text) {
  const size_t first = text.find_first_not_of(' ');
  return first == WideView::npos ? WideView()
                                 : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// What the language writes between and behind the sides of a paper: "%s x %s in".
struct SizeFormat {
  WideString between, unit;

  explicit SizeFormat(UINT number) {
    constexpr WideView kSide = TEXT("%s");
    const WideString format = Text(number);
    const size_t first = format.find(kSide), second = format.rfind(kSide);
    if (first == second) return;
    between = Trimmed(WideView(format).substr(first + 2, second - first - 2));
    unit = Trimmed(WideView(format).substr(second + 2));
  }
};

// Takes the unit off the text, as the language or the scripts write it; without one the text is in
// millimetres.
WORD TakeUnits(WideView& text, const SizeFormat& inches, const SizeFormat& millimetres) {
  const struct {
    WideView unit;
    WORD units;
  } kUnits[] = {{inches.unit, kv::kPaperInches},
                {millimetres.unit, kv::kPaperMillimetres},
                {TEXT("in"), kv::kPaperInches},
                {TEXT("mm"), kv::kPaperMillimetres}};
  for (const auto& [unit, units] : kUnits) {
    if (unit.empty() || !text.ends_with(unit)) continue;
    text = Trimmed(text.substr(0, text.size() - unit.size()));
    return units;
  }
  return kv::kPaperMillimetres;
}

// "210x297", "210 x 297 mm" or "8.5x11in", and what the list shows; nothing for a size that no
// paper can have.
std::optional<kv::PaperEntry> ParseSize(WideView text) {
  const SizeFormat inches(IDS_PAPER_SIZE_INCHES), millimetres(IDS_PAPER_SIZE_MILLIMETRES);
  kv::PaperEntry paper = {};
  text = Trimmed(text);
  paper.units = TakeUnits(text, inches, millimetres);
  WideView cross = TEXT("x");
  if (text.find(cross) == WideView::npos) cross = millimetres.between;
  const size_t at = cross.empty() ? WideView::npos : text.find(cross);
  if (at == WideView::npos) return std::nullopt;
  const auto width = ParseLength(Trimmed(text.substr(0, at)));
  const auto height = ParseLength(Trimmed(text.substr(at + cross.size())));
  if (!width || !height) return std::nullopt;
  const ULONGLONG unit = paper.units == kv::kPaperInches ? 25400 : 1000;  // micrometres
  for (const ULONGLONG side : {*width, *height}) {
    const ULONGLONG micrometres = (side * unit + 5000) / 10000;
    if (micrometres < kShortestSide || micrometres > kLongestSide) return std::nullopt;
    (paper.width == 0 ? paper.width : paper.height) = static_cast<DWORD>(micrometres);
  }
  return paper;
}

// Whether the change that was just made has reached the store, and why not.
ExitStatus StoredOrNot(const WideString& name) {
  if (GetLastError() == ERROR_SUCCESS) return kDone;
  PrintLastError(IDS_CTL_PAPERS_NOT_STORED, name.c_str());
  return kFailed;
}

ExitStatus Add(const Arguments& arguments) {
  const WideString& name = arguments.operands()[0];
  auto paper = ParseSize(arguments.operands()[1]);
  if (!paper) {
    PrintError(Text(IDS_CTL_PAPERS_BAD_SIZE, arguments.operands()[1].c_str()));
    return kUsage;
  }
  if (name.empty() || name.size() > kLongestName || name.find('\\') != WideString::npos) {
    PrintError(Text(IDS_CTL_PAPERS_BAD_NAME, name.c_str(), Number(kLongestName).c_str()));
    return kUsage;
  }
  if (kv::CStandardPapers().FindPaperByName(name.c_str()) != nullptr) {
    PrintError(Text(IDS_CTL_PAPERS_STANDARD_NAME, name.c_str()));
    return kUsage;
  }
  kv::CopyStringW(paper->name, name.c_str());
  kv::CCustomPapers papers;
  if (papers.loadError() != ERROR_SUCCESS) return Unreadable(papers);
  papers.AddCustomPaper(*paper);
  return StoredOrNot(name);
}

ExitStatus Remove(const Arguments& arguments) {
  const WideString& name = arguments.operands()[0];
  kv::CCustomPapers papers;
  if (papers.loadError() != ERROR_SUCCESS) return Unreadable(papers);
  if (papers.FindPaperByName(name.c_str()) == nullptr) return Unknown(name);
  papers.RemoveCustomPaper(name.c_str());
  return StoredOrNot(name);
}

constexpr Option kListOptions[] = {kCustomOption, kJsonOption};
constexpr Option kShowOptions[] = {kJsonOption};
constexpr Action kActions[] = {{TEXT("list"), kListOptions, 0, 0, List},
                               {TEXT("show"), kShowOptions, 1, 1, Show},
                               {TEXT("add"), {}, 2, 2, Add},
                               {TEXT("remove"), {}, 1, 1, Remove}};

}  // namespace

const Command kPapersCommand = {TEXT("papers"), IDS_CTL_PAPERS_SUMMARY, IDS_CTL_PAPERS_USAGE,
                                kActions};

}  // namespace kvctl
