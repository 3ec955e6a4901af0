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

// The paper's width in the store, 0 when it does not have the paper.
DWORD StoredWidth(LPCWSTR name) {
  const CCustomPapers stored;
  EXPECT_EQ(stored.loadError(), DWORD{ERROR_SUCCESS});
  const PaperEntry* const paper = stored.FindPaperByName(name);
  if (paper == nullptr) return 0;
  EXPECT_EQ(paper->height, paper->width + 1000) << "no half papers";
  return paper->width;
}

SWEEP_AREA(Papers, RuntimeTest);

SCENARIO(Papers, Load) {
  PutOld();
  bool found = false;
  const DWORD error = attempt.Call([&] {
    const CCustomPapers papers;
    const PaperEntry* const paper = papers.FindPaperByName(TEXT("old"));
    found = paper != nullptr && papers.FindPaperById(300) == paper &&
            papers.NextFreeCustomPaperId() == 301;
    return papers.loadError();
  });
  attempt.Expect(error == ERROR_SUCCESS, found, !found && StoredWidth(TEXT("Old")) == 1000);
}

SCENARIO(Papers, GiveId) {
  PutOld();
  UniqueKey key;
  RegOpenKeyExW(HKEY_CURRENT_USER, TEXT("Software\\Veltmoor Software\\Folvane8\\CustomPapers\\Old"),
                0, KEY_WRITE, key.Receive());
  RegDeleteValueW(key.Get(), TEXT("ID"));
  key.Reset();
  WORD id = 0;
  const DWORD error = attempt.Call([&] {
    const CCustomPapers papers;
    if (papers.count() == 1) id = papers.GetPaperAt(0)->id;
    return papers.loadError();
  });
  attempt.Expect(error == ERROR_SUCCESS, id == 300, id == 0);
  EXPECT_EQ(CCustomPapers().GetPaperAt(0)->id, 300);
}

// A change of the table is one of the store, or the last error tells why not.
void Change(Attempt& attempt, BOOL (*change)(CCustomPapers& papers), int count, LPCWSTR name,
            DWORD width) {
  PutOld();
  CCustomPapers papers;
  const DWORD before = StoredWidth(name);
  DWORD error = ERROR_SUCCESS;
  const BOOL changed = attempt.Call([&] {
    const BOOL result = change(papers);
    error = GetLastError();
    return result;
  });
  const DWORD now = StoredWidth(name);
  attempt.Expect(changed && error == ERROR_SUCCESS, now == width, now == before);
  EXPECT_TRUE(changed || error != ERROR_SUCCESS);
  EXPECT_EQ(papers.count(), changed ? count : 1);
  if (WideView(name) != TEXT("Old")) {
    EXPECT_EQ(StoredWidth(TEXT("Old")), 1000u);
  }
}

SCENARIO(Papers, Add) {
  constexpr auto kAdd = [](CCustomPapers& papers) {
    return papers.AddCustomPaper(Paper(TEXT("New"), 3000, 4000));
  };
  Change(attempt, kAdd, 2, TEXT("New"), 3000);
}

SCENARIO(Papers, Replace) {
  constexpr auto kReplace = [](CCustomPapers& papers) {
    return papers.AddCustomPaper(Paper(TEXT("Old"), 3000, 4000));
  };
  Change(attempt, kReplace, 1, TEXT("Old"), 3000);
}

SCENARIO(Papers, Remove) {
  constexpr auto kRemove = [](CCustomPapers& papers) {
    return papers.RemoveCustomPaper(TEXT("Old"));
  };
  Change(attempt, kRemove, 0, TEXT("Old"), 0);
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
