#include <optional>

#include "resources/string_ids.h"
#include "runtime/papers/custom_papers.h"
#include "runtime/papers/paper_length.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr WCHAR kJsonOption[] = TEXT("--json");
constexpr WCHAR kCustomOption[] = TEXT("--custom");
constexpr Option kOptions[] = {{kJsonOption, false}, {kCustomOption, false}};
constexpr size_t kIdColumn = 8, kNameColumn = 32;
// A device mode holds names of so many characters and sides in tenths of a millimetre, 16 bits
// signed.
constexpr size_t kLongestName = CCHFORMNAME - 1;
constexpr ULONGLONG kShortestSide = 1000, kLongestSide = 3276700;  // micrometres

void AddJson(const kv::PaperEntry& paper, bool isCustom, JsonWriter& json) {
  json.BeginObject();
  json.AddNumber(TEXT("id"), paper.id);
  json.Add(TEXT("name"), paper.name);
  json.AddNumber(TEXT("width_um"), paper.width);
  json.AddNumber(TEXT("height_um"), paper.height);
  json.Add(TEXT("units"), paper.units == kv::kPaperInches ? TEXT("in") : TEXT("mm"));
  json.AddFlag(TEXT("custom"), isCustom);
  json.EndObject();
}

WideString ToLine(const kv::PaperEntry& paper) {
  WCHAR size[kv::kPaperSizeCapacity];
  kv::DescribePaperSize(paper, size);
  return Padded(Number(paper.id), kIdColumn) + Padded(paper.name, kNameColumn) + size;
}

// Papers in the order in which they are shown.
class Listing {
 public:
  explicit Listing(bool asJson) : asJson_(asJson) { json_.BeginList(); }
  void Add(const kv::PaperEntry& paper, bool isCustom) {
    if (asJson_) {
      AddJson(paper, isCustom, json_);
    } else {
      PrintLine(ToLine(paper));
    }
  }
  void AddAll(const kv::CPaperTable& papers, bool areCustom) {
    for (int i = 0; i < papers.count(); ++i) Add(*papers.GetPaperAt(i), areCustom);
  }
  void Finish() {
    json_.EndList();
    if (asJson_) PrintLine(json_.text());
  }

 private:
  bool asJson_;
  JsonWriter json_;
};

ExitStatus List(const Arguments& arguments) {
  Listing listing(arguments.Has(kJsonOption));
  if (!arguments.Has(kCustomOption)) listing.AddAll(kv::CStandardPapers(), false);
  listing.AddAll(kv::CCustomPapers(), true);
  listing.Finish();
  return kDone;
}

ExitStatus Unknown(const WideString& name) {
  PrintError(Text(IDS_CTL_PAPERS_UNKNOWN, name.c_str()));
  return kFailed;
}

ExitStatus Show(const Arguments& arguments) {
  const WideString& name = arguments.operands()[1];
  const kv::CCustomPapers custom;
  const kv::CStandardPapers standard;
  const kv::PaperEntry* paper = custom.FindPaperByName(name.c_str());
  const bool isCustom = paper != nullptr;
  if (!isCustom) paper = standard.FindPaperByName(name.c_str());
  if (paper == nullptr) return Unknown(name);
  Listing listing(arguments.Has(kJsonOption));
  listing.Add(*paper, isCustom);
  listing.Finish();
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

// "210x297", "210x297mm" or "8.5x11in"; nothing for a size that no paper can have.
std::optional<kv::PaperEntry> ParseSize(WideView text) {
  kv::PaperEntry paper = {};
  paper.units = text.ends_with(TEXT("in")) ? kv::kPaperInches : kv::kPaperMillimetres;
  if (text.ends_with(TEXT("in")) || text.ends_with(TEXT("mm"))) text.remove_suffix(2);
  const size_t cross = text.find('x');
  if (cross == WideView::npos) return std::nullopt;
  const auto width = ParseLength(text.substr(0, cross));
  const auto height = ParseLength(text.substr(cross + 1));
  if (!width || !height) return std::nullopt;
  const ULONGLONG unit = paper.units == kv::kPaperInches ? 25400 : 1000;  // micrometres
  for (const ULONGLONG side : {*width, *height}) {
    const ULONGLONG micrometres = (side * unit + 5000) / 10000;
    if (micrometres < kShortestSide || micrometres > kLongestSide) return std::nullopt;
    (paper.width == 0 ? paper.width : paper.height) = static_cast<DWORD>(micrometres);
  }
  return paper;
}

ExitStatus Add(const Arguments& arguments) {
  const WideString& name = arguments.operands()[1];
  auto paper = ParseSize(arguments.operands()[2]);
  if (!paper) {
    PrintError(Text(IDS_CTL_PAPERS_BAD_SIZE, arguments.operands()[2].c_str()));
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
  // The store is made below the user's settings, not with them.
  { kv::UserSettingsKey settings(kv::KeyMode::kWrite); }
  kv::CCustomPapers().AddCustomPaper(*paper);
  const kv::CCustomPapers now;
  const kv::PaperEntry* const stored = now.FindPaperByName(name.c_str());
  if (stored != nullptr && stored->width == paper->width && stored->height == paper->height) {
    return kDone;
  }
  PrintError(Text(IDS_CTL_PAPERS_NOT_STORED, name.c_str()));
  return kFailed;
}

ExitStatus Remove(const Arguments& arguments) {
  const WideString& name = arguments.operands()[1];
  kv::CCustomPapers papers;
  if (papers.FindPaperByName(name.c_str()) == nullptr) return Unknown(name);
  papers.RemoveCustomPaper(name.c_str());
  if (kv::CCustomPapers().FindPaperByName(name.c_str()) == nullptr) return kDone;
  PrintError(Text(IDS_CTL_PAPERS_NOT_STORED, name.c_str()));
  return kFailed;
}

struct Action {
  LPCWSTR name;
  size_t operands;  // with its own name
  ExitStatus (*run)(const Arguments& arguments);
};
constexpr Action kActions[] = {{TEXT("list"), 1, List},
                               {TEXT("show"), 2, Show},
                               {TEXT("add"), 3, Add},
                               {TEXT("remove"), 2, Remove}};

ExitStatus RunPapers(const Arguments& arguments) {
  const std::vector<WideString>& operands = arguments.operands();
  if (operands.empty()) return List(arguments);
  for (const Action& action : kActions) {
    if (operands[0] != action.name) continue;
    if (operands.size() == action.operands) return action.run(arguments);
    PrintError(operands.size() < action.operands
                   ? Text(IDS_CTL_OPERAND_MISSING)
                   : Text(IDS_CTL_UNEXPECTED_OPERAND, operands[action.operands].c_str()));
    return kUsage;
  }
  PrintError(Text(IDS_CTL_PAPERS_UNKNOWN_ACTION, operands[0].c_str()));
  return kUsage;
}

}  // namespace

const Command kPapersCommand = {
    TEXT("papers"), IDS_CTL_PAPERS_SUMMARY, IDS_CTL_PAPERS_USAGE, kOptions, 0, 3, RunPapers};

}  // namespace kvctl
