// The user's papers, shared by processes, and papers in pixels, millimetres and words.
#include "runtime/papers/custom_papers.h"

#include "platform/control/message_boxes.h"
#include "runtime/ipc/object_names.h"
#include "runtime/papers/paper_extent.h"
#include "runtime/papers/paper_length.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"
#include "tests/support/peer.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr LPCWSTR kStore = TEXT("Software\\Veltmoor Software\\Folvane8\\CustomPapers\\");

PaperEntry Paper(LPCWSTR name, WORD id = 0, DWORD width = 100'000, DWORD height = 200'000) {
  PaperEntry paper = {id, {}, width, height, kPaperMillimetres};
  CopyStringW(paper.name, name);
  return paper;
}

class CustomPapersTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    { UserSettingsKey make(KeyMode::kWrite); }
    platform::ResetFaults();
  }
  static void Put(const WideString& name, LPCWSTR value, DWORD number) {
    RegSetValueExW(Key::Create(HKEY_CURRENT_USER, kStore + name), value, 0, REG_DWORD,
                   reinterpret_cast<const BYTE*>(&number), sizeof number);
  }
  static void PutPaper(const WideString& name, DWORD id, DWORD width = 1000, DWORD height = 2000) {
    if (id != 0) Put(name, TEXT("ID"), id);
    Put(name, TEXT("Width"), width);
    Put(name, TEXT("Height"), height);
  }
  static DWORD Stored(const WideString& name, LPCWSTR value) {
    DWORD number = 0, size = sizeof number;
    RegQueryValueExW(Key::Open(HKEY_CURRENT_USER, kStore + name), value, nullptr, nullptr,
                     reinterpret_cast<BYTE*>(&number), &size);
    return number;
  }
  static bool IsStored(const WideString& name) {
    return Key::Open(HKEY_CURRENT_USER, kStore + name).status == ERROR_SUCCESS;
  }
};

TEST_F(CustomPapersTest, LoadingTakesWhatHasAnAreaAndGivesMissingIds) {
  PutPaper(TEXT("A"), 300);
  PutPaper(TEXT("B"), 0);
  PutPaper(TEXT("C"), 301);
  PutPaper(TEXT("D"), 0);
  PutPaper(TEXT("Flat"), 303, 1000, 0);
  Put(TEXT("Empty"), TEXT("ID"), 304);
  PutPaper(WideString(70, TEXT('n')), 65535);
  PutPaper(TEXT("Twin"), 300);
  Put(TEXT("A"), TEXT("Units"), 3);
  Put(TEXT("C"), TEXT("Units"), 2);
  SetText(Key::Create(HKEY_CURRENT_USER, WideString(kStore) + TEXT("Text")), TEXT("Width"),
          TEXT("100"));
  const CCustomPapers papers;
  ASSERT_EQ(papers.count(), 6);
  EXPECT_EQ(papers.FindPaperByName(TEXT("b"))->id, 302);
  EXPECT_EQ(papers.FindPaperByName(TEXT("d"))->id, 303);
  EXPECT_EQ(Stored(TEXT("B"), TEXT("ID")), 302u);
  EXPECT_EQ(Stored(TEXT("D"), TEXT("ID")), 303u);
  EXPECT_EQ(papers.FindPaperByName(TEXT("A"))->units, kPaperInches);
  EXPECT_EQ(papers.FindPaperByName(TEXT("B"))->units, startupContext.defaultUnits);
  EXPECT_EQ(papers.FindPaperByName(TEXT("C"))->units, kPaperMillimetres);
  EXPECT_EQ(WideView(papers.FindPaperById(65535)->name).size(), 63u);
  EXPECT_EQ(papers.FindPaperByName(TEXT("Flat")), nullptr);
  EXPECT_TRUE(IsStored(TEXT("Flat"))) << "left where it is";
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 304);
}

TEST_F(CustomPapersTest, AddingReplacingAndRemoving) {
  CCustomPapers papers;
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 300);
  EXPECT_FALSE(papers.AddCustomPaper(Paper(TEXT(""))));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("One"))));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Two"))));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Four"), 303)));
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 302);
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("TWO"), 0, 5, 6)));
  EXPECT_EQ(papers.count(), 3);
  const PaperEntry* two = papers.FindPaperByName(TEXT("two"));
  EXPECT_EQ(two->id, 301) << "it keeps its id";
  EXPECT_EQ(two->width, 5u);
  EXPECT_EQ(WideView(two->name), TEXT("TWO"));
  EXPECT_EQ(Stored(TEXT("Two"), TEXT("Height")), 6u);
  EXPECT_EQ(Stored(TEXT("Two"), TEXT("Units")), 2u);
  EXPECT_EQ(papers.FindPaperById(0), nullptr);
  EXPECT_EQ(CCustomPapers().count(), 3) << "others see it";
  papers.RemoveCustomPaper(TEXT("None"));
  papers.RemoveCustomPaper(nullptr);
  papers.RemoveCustomPaper(papers.GetPaperAt(0)->name);
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 300);
  papers.RemoveCustomPaper(TEXT("two"));
  papers.RemoveCustomPaper(TEXT("FOUR"));
  EXPECT_EQ(papers.count(), 0);
  EXPECT_EQ(papers.GetPaperAt(0), nullptr);
  EXPECT_FALSE(IsStored(TEXT("Two")));
}

TEST_F(CustomPapersTest, AStoreThatIsLockedOrClosedIsLeftAlone) {
  PutPaper(TEXT("A"), 300);
  CCustomPapers papers;
  {
    platform::FailCall("WaitForSingleObject", 1, 0, 100);
    EXPECT_EQ(CCustomPapers().count(), 0);
    EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("B"))));
    papers.RemoveCustomPaper(TEXT("A"));
    platform::ResetFaults();
  }
  EXPECT_EQ(papers.count(), 1) << "the table has the changes";
  EXPECT_TRUE(IsStored(TEXT("A")));
  EXPECT_FALSE(IsStored(TEXT("B")));
}

TEST_F(CustomPapersTest, ProcessesAddAtTheSameTime) {
  platform::UseVirtualClock(false);
  constexpr int kProcesses = 3, kPapers = 8;
  std::vector<pid_t> peers;
  for (int p = 0; p < kProcesses; ++p) {
    peers.push_back(StartPeer(directory(), [p] {
      for (int i = 0; i < kPapers; ++i) {
        const WCHAR name[] = {static_cast<WCHAR>('a' + p), static_cast<WCHAR>('a' + i), 0};
        if (!CCustomPapers().AddCustomPaper(Paper(name))) return 1;
      }
      return 0;
    }));
  }
  for (const pid_t peer : peers) EXPECT_EQ(FinishPeer(peer), 0);
  EXPECT_EQ(CCustomPapers().count(), kProcesses * kPapers);
}

ProductDevMode Mode(short id, WORD dpi, short orientation = 0, short width = 0, short length = 0) {
  ProductDevMode mode;
  DefaultDevMode(TEXT("P"), mode);
  mode.dev.dmPaperSize = id;
  mode.dev.dmOrientation = orientation;
  mode.dev.dmPaperWidth = width;
  mode.dev.dmPaperLength = length;
  mode.settings.resolution = dpi;
  return mode;
}

TEST_F(CustomPapersTest, ExtentsInPixelsAndMillimetres) {
  struct Case {
    short id, orientation, width, length;
    int dpi;
    SIZE pixels, millimetres;
  };
  const Case cases[] = {
      {9, 1, 0, 0, 300, {2480, 3508}, {210, 297}},
      {9, 2, 0, 0, 300, {3508, 2480}, {297, 210}},
      {9, 0, 0, 0, 300, {2480, 3508}, {210, 297}},
      {1, 1, 0, 0, 600, {5100, 6600}, {215, 279}},
      {255, 1, 0, 0, 100, {850, 1100}, {215, 279}},  // none of that id: the default paper
      {-5, 1, 0, 0, 100, {850, 1100}, {215, 279}},
      {256, 0, 2100, 2970, 300, {2480, 3508}, {210, 297}},
      {256, 1, 2970, 2100, 300, {2480, 3508}, {210, 297}},
      {256, 2, 2100, 2970, 300, {3508, 2480}, {297, 210}},
      {256, 1, 0, 0, 300, {0, 0}, {0, 0}},
  };
  for (const Case& c : cases) {
    SIZE pixels, millimetres;
    GetPaperExtent(Mode(c.id, 1, c.orientation, c.width, c.length), c.dpi, &pixels, &millimetres);
    EXPECT_EQ(pixels.cx, c.pixels.cx) << c.id << " " << c.orientation;
    EXPECT_EQ(pixels.cy, c.pixels.cy);
    EXPECT_EQ(millimetres.cx, c.millimetres.cx);
    EXPECT_EQ(millimetres.cy, c.millimetres.cy);
  }
  ProductDevMode mode = Mode(9, 300, 1);
  mode.settings.leftMargin = -1000;
  mode.settings.bottomMargin = 500;
  RECT paper, printable;
  GetPaperRect(mode, paper);
  GetPrintableRect(mode, printable);
  EXPECT_EQ(paper.right, 2480);
  EXPECT_EQ(paper.bottom, 3508);
  EXPECT_EQ(printable.left, -300);
  EXPECT_EQ(printable.top, 75);
  EXPECT_EQ(printable.right, 2480 - 75);
  EXPECT_EQ(printable.bottom, 3508 - 150);
  EXPECT_EQ(GetMarginMillimetres(mode, PaperSide::kLeft), -25);
  EXPECT_EQ(GetMarginMillimetres(mode, PaperSide::kTop), 6);
}

TEST_F(CustomPapersTest, PapersTooBigForDeviceCoordinates) {
  ProductDevMode mode = Mode(300, 600, 1, 8410, 11890);
  CopyStringW(mode.dev.dmFormName, TEXT("A0"));
  EXPECT_TRUE(CheckPaperFits(mode));
  mode.settings.resolution = 1200;
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CheckPaperFits(mode));
  EXPECT_EQ(platform::ShownBoxes().back().text,
            TEXT("Paper size \"A0\" is too big.\n\nmax resolution for this paper size = 699 dpi\n")
                TEXT("max paper dimension at current resolution (1200 dpi) = 693 mm"));
  // One pixel more or less: 3276.7 mm at 254 dpi.
  EXPECT_TRUE(CheckPaperFits(Mode(300, 254, 1, 1, 32767)));
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CheckPaperFits(Mode(300, 255, 1, 1, 32767)));
}

TEST_F(CustomPapersTest, LengthsAndSizesAsText) {
  struct Case {
    DWORD length;
    WORD units;
    WideView text;
  };
  for (const Case& c :
       {Case{215900, 1, TEXT("8.5")}, Case{210000, 2, TEXT("210")}, Case{52070, 1, TEXT("2.05")},
        Case{1000, 1, TEXT("0.0394")}, Case{12, 2, TEXT("0")}, Case{999990, 2, TEXT("1000")},
        Case{25, 2, TEXT("0.025")}, Case{24, 2, TEXT("0")}, Case{975, 2, TEXT("0.975")},
        Case{976, 2, TEXT("1")}, Case{215900, 3, TEXT("")}, Case{215900, 0, TEXT("")},
        Case{32768000, 2, TEXT("-32768")}, Case{0xFFFFFFFF, 1, TEXT("-27515.2006")}}) {
    WCHAR text[kPaperLengthCapacity];
    FormatPaperLength(c.length, c.units, text);
    EXPECT_EQ(WideView(text), c.text) << c.length;
  }
  WCHAR text[kPaperSizeCapacity];
  DescribePaperSize(*CStandardPapers().FindPaperById(1), text);
  EXPECT_EQ(WideView(text), TEXT("8.5 x 11 in"));
  DescribePaperSize(Paper(TEXT("x"), 0, 297'000, 210'000), text);
  EXPECT_EQ(WideView(text), TEXT("210 x 297 mm"));
}

}  // namespace
}  // namespace kv::test
