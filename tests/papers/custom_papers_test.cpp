// The user's papers, shared by processes, and papers in pixels, millimetres and words.
#include "runtime/papers/custom_papers.h"

#include <cstring>

#include "platform/control/message_boxes.h"
#include "runtime/ipc/object_names.h"
#include "runtime/papers/paper_extent.h"
#include "runtime/papers/paper_length.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"
#include "tests/support/failing_new.h"
#include "tests/support/helper_thread.h"
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
  // How long the body takes while another thread holds the lock on the store.
  template <class Body>
  static uint64_t WhileLocked(BOOL exclusive, Body body) {
    UniqueHandle entered(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    UniqueHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    HelperThread holder([&] {
      CCustomPapersAccessManager lock;
      EXPECT_TRUE(lock.Enter(exclusive, 1000));
      SetEvent(entered.Get());
      WaitForSingleObject(done.Get(), INFINITE);
    });
    WaitForSingleObject(entered.Get(), INFINITE);
    const uint64_t start = platform::UpTime();
    body();
    const uint64_t time = platform::UpTime() - start;
    SetEvent(done.Get());
    return time;
  }
  // "name id width height units", a paper a line.
  static std::string Describe(const CPaperTable& papers) {
    std::string text;
    for (int i = 0; i < papers.count(); ++i) {
      const PaperEntry& paper = *papers.GetPaperAt(i);
      const WideView name = paper.name;
      text += std::string(name.begin(), name.end());
      for (const DWORD number : {DWORD{paper.id}, paper.width, paper.height, DWORD{paper.units}}) {
        text += " " + std::to_string(number);
      }
      text += "\n";
    }
    return text;
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
  PutPaper(TEXT("Large"), 0x10000 + 300);
  PutPaper(TEXT("Twin"), 300);
  Put(TEXT("A"), TEXT("Units"), 3);
  Put(TEXT("C"), TEXT("Units"), 2);
  PutPaper(TEXT("Text"), 0);
  SetText(Key::Create(HKEY_CURRENT_USER, WideString(kStore) + TEXT("Text")), TEXT("Width"),
          TEXT("1"));
  platform::ResetFaults();
  const CCustomPapers papers;
  EXPECT_EQ(platform::CallCount("RegSetValueExW"), 3u) << "only what is missing";
  EXPECT_EQ(papers.loadError(), DWORD{ERROR_SUCCESS});
  const std::string described =
      "A 300 1000 2000 1\nB 302 1000 2000 1\nC 301 1000 2000 2\nD 303 1000 2000 1\nLarge 304 1000 "
      "2000 1\n" +
      std::string(63, 'n') + " 65535 1000 2000 1\nTwin 300 1000 2000 1\n";
  EXPECT_EQ(Describe(papers), described);
  EXPECT_EQ(Describe(CCustomPapers()), described) << "the ids are stored";
  EXPECT_TRUE(IsStored(TEXT("Flat"))) << "left where it is";
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 305);
  for (const DWORD vanished : {ERROR_FILE_NOT_FOUND, ERROR_KEY_DELETED}) {
    platform::FailCall("RegOpenKeyExW", 3, vanished);
    EXPECT_EQ(CCustomPapers().count(), 6);
  }
}

// A store with so many papers, of which each has its place as id and sides.
DWORD stored_papers, read_paper;

LSTATUS WINAPI CountMany(HKEY, LPWSTR, LPDWORD, LPDWORD, LPDWORD keys, LPDWORD, LPDWORD, LPDWORD,
                         LPDWORD, LPDWORD, LPDWORD, PFILETIME) {
  *keys = stored_papers;
  return ERROR_SUCCESS;
}
LSTATUS WINAPI EnumMany(HKEY, DWORD index, LPWSTR name, LPDWORD, LPDWORD, LPWSTR, LPDWORD,
                        PFILETIME) {
  read_paper = index + 300;
  CopyStringW(name, 4, TEXT("Any"));
  return index < stored_papers ? ERROR_SUCCESS : ERROR_NO_MORE_ITEMS;
}
LSTATUS WINAPI OpenAny(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key) {
  return RegOpenKeyExW(parent, parent == HKEY_CURRENT_USER ? name : nullptr, options, access, key);
}
LSTATUS WINAPI ReadPlace(HKEY, LPCWSTR, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD) {
  *type = REG_DWORD;
  std::memcpy(data, &read_paper, sizeof read_paper);
  return ERROR_SUCCESS;
}

TEST_F(CustomPapersTest, IdsComeToAnEnd) {
  Key::Create(HKEY_CURRENT_USER, kStore);
  stored_papers = 32466;  // all but the last id
  platform::Replace("RegQueryInfoKeyW", &CountMany);
  platform::Replace("RegEnumKeyExW", &EnumMany);
  platform::Replace("RegOpenKeyExW", &OpenAny);
  platform::Replace("RegQueryValueExW", &ReadPlace);
  CCustomPapers papers;
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 32766);
  ++stored_papers;
  CCustomPapers full;
  EXPECT_EQ(full.count(), 32467);
  EXPECT_EQ(full.NextFreeCustomPaperId(), 300);
  SetLastError(0);
  EXPECT_FALSE(full.AddCustomPaper(Paper(TEXT("None"))));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_ITEMS});
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Late")))) << "in the table";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_ITEMS}) << "not in the store";
  EXPECT_FALSE(IsStored(TEXT("Late")));
}

// Two keys whose names are the same when they are cut.
TEST_F(CustomPapersTest, LongNamesStandForTheirWholeKeys) {
  const WideString cut(63, TEXT('n')), whole(70, TEXT('n'));
  PutPaper(cut, 300);
  PutPaper(whole, 0);
  CCustomPapers papers;
  EXPECT_EQ(Stored(cut, TEXT("ID")), 300u);
  EXPECT_EQ(Stored(whole, TEXT("ID")), 301u);
  EXPECT_TRUE(papers.RemoveCustomPaper(cut.c_str()));
  EXPECT_FALSE(IsStored(cut));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(cut.c_str(), 0, 5, 6)));
  EXPECT_FALSE(IsStored(cut)) << "it is the longer name's";
  EXPECT_EQ(Stored(whole, TEXT("Height")), 6u);
  EXPECT_TRUE(papers.RemoveCustomPaper(papers.GetPaperAt(0)->name));
  EXPECT_FALSE(IsStored(whole));
}

TEST_F(CustomPapersTest, AddingReplacingAndRemoving) {
  CCustomPapers papers;
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 300);
  SetLastError(5);
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("One"))));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "stored";
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Two"))));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Four"), 303)));
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 302);
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("TWO"), 0, 5, 6)));
  EXPECT_EQ(Describe(papers), "One 300 100000 200000 2\nTWO 301 5 6 2\nFour 303 100000 200000 2\n");
  EXPECT_EQ(Describe(CCustomPapers()),
            "Four 303 100000 200000 2\nOne 300 100000 200000 2\nTwo 301 5 6 2\n")
      << "others see it";
  EXPECT_EQ(papers.FindPaperById(0), nullptr);
  for (const LPCWSTR none : {LPCWSTR{TEXT("None")}, LPCWSTR{TEXT("")}, LPCWSTR{nullptr}}) {
    EXPECT_FALSE(papers.RemoveCustomPaper(none));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(papers.AddCustomPaper(*papers.GetPaperAt(i))) << "an entry of its own";
  }
  EXPECT_EQ(papers.count(), 3);
  for (const bool adds : {true, false}) {
    FailAllocation(1);
    const bool done =
        adds ? papers.AddCustomPaper(Paper(TEXT("New"))) : papers.RemoveCustomPaper(TEXT("Two"));
    FailAllocation(0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_TRUE(!done && papers.count() == 3);
  }
  EXPECT_TRUE(papers.RemoveCustomPaper(papers.GetPaperAt(0)->name));
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 300);
  EXPECT_TRUE(papers.RemoveCustomPaper(TEXT("two")));
  RegDeleteKeyW(HKEY_CURRENT_USER, TEXT("Software\\Veltmoor Software\\Folvane8"));
  SetLastError(5);
  EXPECT_TRUE(papers.RemoveCustomPaper(TEXT("FOUR")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "there is no store any more";
  EXPECT_EQ(papers.count(), 0);
  EXPECT_EQ(papers.GetPaperAt(0), nullptr);
  EXPECT_FALSE(IsStored(TEXT("Two")));
}

TEST_F(CustomPapersTest, WhatWouldNotComeBackIsRefused) {
  PutPaper(TEXT("Old"), 300);
  CCustomPapers papers;
  PaperEntry endless = Paper(TEXT("Old"));
  std::fill(std::begin(endless.name), std::end(endless.name), TEXT('x'));
  PaperEntry units = Paper(TEXT("Old"));
  units.units = 3;
  const WideString longest(63, TEXT('x'));
  const std::pair<PaperEntry, DWORD> kRefused[] = {
      {Paper(TEXT("")), ERROR_INVALID_NAME},
      {Paper(TEXT("A\\B")), ERROR_INVALID_NAME},
      {Paper(TEXT("\\")), ERROR_INVALID_NAME},
      {Paper((longest + TEXT('x')).c_str()), ERROR_INVALID_NAME},
      {endless, ERROR_INVALID_NAME},
      {Paper(TEXT("Old"), 0, 0, 5), ERROR_INVALID_PARAMETER},
      {Paper(TEXT("Old"), 0, 5, 0), ERROR_INVALID_PARAMETER},
      {units, ERROR_INVALID_PARAMETER},
  };
  for (const auto& [paper, error] : kRefused) {
    SetLastError(0);
    EXPECT_FALSE(papers.AddCustomPaper(paper));
    EXPECT_EQ(GetLastError(), error);
  }
  EXPECT_EQ(papers.count(), 1);
  EXPECT_EQ(Stored(TEXT("Old"), TEXT("Height")), 2000u);
  // What is odd and does come back.
  for (const WideString& name : {longest, WideString(TEXT(" A/B. "))}) {
    EXPECT_TRUE(papers.AddCustomPaper(Paper(name.c_str(), 0, 0xFFFFFFFF, 1)));
    const CCustomPapers again;
    const PaperEntry* const paper = again.FindPaperByName(name.c_str());
    ASSERT_NE(paper, nullptr);
    EXPECT_EQ(WideView(paper->name), name);
    EXPECT_EQ(paper->width, 0xFFFFFFFFu);
  }
}

TEST_F(CustomPapersTest, ATableThatCouldNotBeReadIsNotChanged) {
  PutPaper(TEXT("A"), 301);
  PutPaper(TEXT("B"), 0);
  const auto expect_refusals = [](DWORD error, const char* why) {
    CCustomPapers papers;
    platform::ResetFaults();
    FailAllocation(0);
    EXPECT_EQ(papers.loadError(), error) << why;
    EXPECT_EQ(papers.count(), 0) << why;
    for (const bool adds : {true, false}) {
      SetLastError(0);
      EXPECT_FALSE(adds ? papers.AddCustomPaper(Paper(TEXT("A")))
                        : papers.RemoveCustomPaper(TEXT("A")));
      EXPECT_EQ(GetLastError(), error) << why;
    }
    EXPECT_EQ(Stored(TEXT("A"), TEXT("ID")), 301u) << why;
    EXPECT_EQ(Stored(TEXT("A"), TEXT("Width")), 1000u) << why;
    EXPECT_EQ(Stored(TEXT("B"), TEXT("ID")), 0u) << why;
  };
  static constexpr struct {
    const char* function;
    uint64_t call, count;
  } kFailures[] = {
      {"WaitForSingleObject", 1, 100}, {"RegOpenKeyExW", 1, 1}, {"RegQueryInfoKeyW", 1, 1},
      {"RegEnumKeyExW", 2, 1},         {"RegOpenKeyExW", 3, 1}, {"RegQueryValueExW", 5, 1},
  };
  for (const auto& failure : kFailures) {
    platform::FailCall(failure.function, failure.call, ERROR_NO_SYSTEM_RESOURCES, failure.count);
    expect_refusals(ERROR_NO_SYSTEM_RESOURCES, failure.function);
  }
  stored_papers = 1;
  platform::Replace("RegQueryInfoKeyW", &CountMany);
  expect_refusals(ERROR_MORE_DATA, "one more");
  FailAllocation(2);  // the first is the lock's
  expect_refusals(ERROR_NOT_ENOUGH_MEMORY, "memory");
  WhileLocked(TRUE, [&] { expect_refusals(ERROR_TIMEOUT, "another writer"); });
  // Writers, and who gives ids, wait for readers; readers do not.
  const auto load = [] { EXPECT_EQ(CCustomPapers().count(), 2); };
  EXPECT_EQ(WhileLocked(FALSE, load), 5000u);
  EXPECT_EQ(Stored(TEXT("B"), TEXT("ID")), 300u);
  EXPECT_EQ(WhileLocked(FALSE, load), 0u);
  CCustomPapers papers;
  EXPECT_EQ(WhileLocked(FALSE, [&] { papers.RemoveCustomPaper(TEXT("A")); }), 5000u);
  EXPECT_EQ(WhileLocked(FALSE, [&] { papers.AddCustomPaper(Paper(TEXT("A"))); }), 5000u);
}

TEST_F(CustomPapersTest, WhatDoesNotReachTheStoreStaysInTheTable) {
  PutPaper(TEXT("A"), 300);
  CCustomPapers papers;
  platform::FailCall("WaitForSingleObject", 1, ERROR_NO_SYSTEM_RESOURCES, 100);
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("B"))));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SYSTEM_RESOURCES});
  EXPECT_TRUE(papers.RemoveCustomPaper(TEXT("A")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SYSTEM_RESOURCES});
  EXPECT_EQ(papers.count(), 1) << "the table has the changes";
  EXPECT_TRUE(IsStored(TEXT("A")));
  EXPECT_FALSE(IsStored(TEXT("B")));
  // A process that may not open the lock reads all the same.
  platform::ResetFaults();
  platform::FailCall("CreateMutexW", 1, ERROR_ACCESS_DENIED, 100);
  CCustomPapers unlocked;
  EXPECT_EQ(unlocked.loadError(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(unlocked.count(), 1);
  EXPECT_TRUE(unlocked.AddCustomPaper(Paper(TEXT("B"))));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_FALSE(IsStored(TEXT("B")));
  // Half a paper is none.
  platform::ResetFaults();
  for (const LPCWSTR name : {TEXT("A"), TEXT("C")}) {
    platform::FailCall("RegSetValueExW", 3, ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_TRUE(papers.AddCustomPaper(Paper(name, 310)));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SYSTEM_RESOURCES});
  }
  EXPECT_EQ(Stored(TEXT("A"), TEXT("ID")), 300u);
  EXPECT_EQ(Stored(TEXT("A"), TEXT("Width")), 1000u);
  EXPECT_FALSE(IsStored(TEXT("C")));
}

TEST_F(CustomPapersTest, TheFirstPaperMakesTheStore) {
  RegDeleteKeyW(HKEY_CURRENT_USER, TEXT("Software\\Veltmoor Software\\Folvane8"));
  CCustomPapers papers;
  EXPECT_EQ(papers.loadError(), DWORD{ERROR_SUCCESS}) << "there is none yet";
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("A"))));
  EXPECT_EQ(Stored(TEXT("A"), TEXT("ID")), 300u);
}

// What other tables have stored since this one was loaded.
TEST_F(CustomPapersTest, ATableThatIsOlderThanTheStoreRespectsItsIds) {
  CCustomPapers papers, others;
  EXPECT_TRUE(others.AddCustomPaper(Paper(TEXT("Theirs"))));
  EXPECT_TRUE(others.AddCustomPaper(Paper(TEXT("Both"), 310)));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Mine"))));
  EXPECT_EQ(papers.FindPaperByName(TEXT("Mine"))->id, 301) << "300 is taken";
  EXPECT_EQ(Stored(TEXT("Mine"), TEXT("ID")), 301u);
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("BOTH"), 0, 5, 6)));
  EXPECT_EQ(papers.FindPaperByName(TEXT("Both"))->id, 310);
  EXPECT_EQ(Stored(TEXT("Both"), TEXT("ID")), 310u);
  EXPECT_EQ(Stored(TEXT("Both"), TEXT("Width")), 5u);
  EXPECT_TRUE(others.RemoveCustomPaper(TEXT("Both")));
  EXPECT_TRUE(papers.AddCustomPaper(Paper(TEXT("Both"))));
  EXPECT_EQ(Stored(TEXT("Both"), TEXT("ID")), 310u) << "it is free again";
  EXPECT_TRUE(others.AddCustomPaper(Paper(TEXT("Both"))));
  EXPECT_TRUE(others.RemoveCustomPaper(TEXT("Both")));
  EXPECT_TRUE(papers.RemoveCustomPaper(TEXT("Both")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "it is gone";
}

TEST_F(CustomPapersTest, ProcessesAddAtTheSameTime) {
  platform::UseVirtualClock(false);
  constexpr int kProcesses = 3, kPapers = 8;
  std::vector<pid_t> peers;
  for (int p = 0; p < kProcesses; ++p) {
    peers.push_back(StartPeer(directory(), [p] {
      for (int i = 0; i < kPapers; ++i) {
        const WCHAR name[] = {static_cast<WCHAR>('a' + p), static_cast<WCHAR>('a' + i), 0};
        if (!CCustomPapers().AddCustomPaper(Paper(name)) || GetLastError() != 0) return 1;
      }
      return 0;
    }));
  }
  for (const pid_t peer : peers) EXPECT_EQ(FinishPeer(peer), 0);
  const CCustomPapers papers;
  EXPECT_EQ(papers.count(), kProcesses * kPapers);
  EXPECT_EQ(papers.NextFreeCustomPaperId(), 300 + kProcesses * kPapers) << "no id twice";
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
  GetPaperExtent(Mode(9, 1), 300, nullptr, nullptr);
  ProductDevMode mode = Mode(9, 300, 1);
  mode.settings.leftMargin = -1000;
  mode.settings.topMargin = 250;
  mode.settings.rightMargin = 400;
  mode.settings.bottomMargin = 500;
  RECT rect = {7, 7, 7, 7};
  GetPaperRect(mode, rect);
  EXPECT_TRUE(rect.left == 0 && rect.top == 0 && rect.right == 2480 && rect.bottom == 3508);
  GetPrintableRect(mode, rect);
  EXPECT_TRUE(rect.left == -300 && rect.top == 75 && rect.right == 2360 && rect.bottom == 3358);
  for (const auto& [side, millimetres, pixels] : {std::tuple(PaperSide::kLeft, -25, -300),
                                                  {PaperSide::kTop, 6, 75},
                                                  {PaperSide::kRight, 10, 120},
                                                  {PaperSide::kBottom, 13, 150}}) {
    EXPECT_EQ(GetMarginMillimetres(mode, side), millimetres);
    EXPECT_EQ(GetMarginPixels(mode, side), pixels);
  }
}

TEST_F(CustomPapersTest, PapersTooBigForDeviceCoordinates) {
  ProductDevMode mode = Mode(300, 600, 1, 8410, 11890);
  const WideString name(32, TEXT('x'));  // not terminated
  name.copy(mode.dev.dmFormName, 32);
  EXPECT_TRUE(CheckPaperFits(mode));
  mode.settings.resolution = 1200;
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CheckPaperFits(mode));
  EXPECT_EQ(platform::ShownBoxes().back().text,
            TEXT("Paper size \"") + name +
                TEXT("\" is too big.\n\nmax resolution for this paper size = 699 dpi\n")
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
