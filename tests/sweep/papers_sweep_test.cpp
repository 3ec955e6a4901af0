// Papers when calls and allocations fail.
#include "runtime/papers/custom_papers.h"
#include "runtime/papers/paper_extent.h"
#include "runtime/papers/paper_length.h"
#include "runtime/printing/product_devmode.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/sweep.h"

namespace kv::test {
namespace {

constexpr WCHAR kStore[] = TEXT("Software\\Veltmoor Software\\Folvane8\\CustomPapers");

PaperEntry Paper(LPCWSTR name, DWORD width, DWORD height) {
  PaperEntry paper = {0, {}, width, height, kPaperMillimetres};
  CopyStringW(paper.name, name);
  return paper;
}

// A store with one paper.
void PutOld() {
  { UserSettingsKey make(KeyMode::kWrite); }
  MyDeleteKeyW(HKEY_CURRENT_USER, kStore);
  EXPECT_TRUE(CCustomPapers().AddCustomPaper(Paper(TEXT("Old"), 1000, 2000)));
}

// Whether the store has the paper of that name, if it has it, whole.
bool IsWhole(LPCWSTR name, DWORD width, DWORD height) {
  const CCustomPapers stored;
  const PaperEntry* const paper = stored.FindPaperByName(name);
  return paper == nullptr || (paper->width == width && paper->height == height);
}

SWEEP_AREA(Papers, RuntimeTest);

SCENARIO(Papers, Load) {
  PutOld();
  bool found = false, has_id = false;
  attempt.Call([&] {
    const CCustomPapers papers;
    const PaperEntry* const paper = papers.FindPaperByName(TEXT("old"));
    found = paper != nullptr;
    has_id = found && papers.FindPaperById(paper->id) == paper &&
             papers.NextFreeCustomPaperId() != paper->id;
  });
  attempt.Expect(found, has_id || attempt.hit(), CCustomPapers().count() == 1);
}

SCENARIO(Papers, Add) {
  PutOld();
  CCustomPapers papers;
  const BOOL added =
      attempt.Call([&] { return papers.AddCustomPaper(Paper(TEXT("New"), 3000, 4000)); });
  attempt.Expect(added, papers.count() == 2, papers.count() == 1);
  EXPECT_TRUE(IsWhole(TEXT("New"), 3000, 4000));
  EXPECT_TRUE(IsWhole(TEXT("Old"), 1000, 2000));
  EXPECT_GE(CCustomPapers().count(), 1);
}

SCENARIO(Papers, Replace) {
  PutOld();
  CCustomPapers papers;
  const BOOL added =
      attempt.Call([&] { return papers.AddCustomPaper(Paper(TEXT("Old"), 3000, 4000)); });
  attempt.Expect(added, papers.GetPaperAt(0)->width == 3000);
  EXPECT_TRUE(IsWhole(TEXT("Old"), 1000, 2000) || IsWhole(TEXT("Old"), 3000, 4000));
}

SCENARIO(Papers, Remove) {
  PutOld();
  CCustomPapers papers;
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("New"), 3000, 4000)));
  attempt.Call([&] { papers.RemoveCustomPaper(TEXT("New")); });
  attempt.Expect(papers.count() == 1, papers.FindPaperByName(TEXT("New")) == nullptr,
                 papers.count() == 2);
  EXPECT_TRUE(IsWhole(TEXT("Old"), 1000, 2000));
  EXPECT_TRUE(CCustomPapers().FindPaperByName(TEXT("Old")) != nullptr);
}

SCENARIO(Papers, Descriptions) {
  ProductDevMode mode;
  DefaultDevMode(TEXT("Laser"), mode);
  WCHAR size[kPaperSizeCapacity], length[kPaperLengthCapacity];
  SIZE pixels, millimetres;
  RECT paper, printable;
  const BOOL fits = attempt.Call([&] {
    DescribePaperSize(*CStandardPapers().GetDefaultPaper(), size);
    FormatPaperLength(215'900, kPaperInches, length);
    GetPaperExtent(mode, 100, &pixels, &millimetres);
    GetPaperExtentAtOwnResolution(mode, nullptr, &millimetres);
    GetPaperRect(mode, paper);
    GetPrintableRect(mode, printable);
    GetMarginPixels(mode, PaperSide::kLeft);
    GetMarginMillimetres(mode, PaperSide::kTop);
    return CheckPaperFits(mode);
  });
  EXPECT_TRUE(fits);
  EXPECT_EQ(WideView(length), TEXT("8.5"));
  attempt.Expect(size[0] != 0, WideView(size) == TEXT("8.5 x 11 in"));
  EXPECT_EQ(pixels.cx, 850);
  EXPECT_EQ(millimetres.cx, 215);
}

}  // namespace
}  // namespace kv::test
