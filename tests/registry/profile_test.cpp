// Initialisation files, and what is deferred to the next restart.
#include "runtime/registry/profile.h"

#include <fstream>
#include <functional>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "runtime/files/file_actions.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/text/wide_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kFile[] = TEXT("C:\\dir\\x.ini");
constexpr WCHAR kWininit[] = TEXT("C:\\Windows\\wininit.ini");

class ProfileTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    std::filesystem::create_directories(platform::HostPath(TEXT("C:\\dir")));
  }
  static void Put(WideView path, const std::string& bytes) {
    std::ofstream(platform::HostPath(path), std::ios::binary | std::ios::trunc) << bytes;
  }
  static std::string Bytes(WideView path) {
    std::ifstream file(platform::HostPath(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // A section of keys "k000000=v", whose list of names takes 8 characters for each.
  static std::string LongSection(int keys) {
    std::string text = "[s]\r\n";
    for (int i = 0; i < keys; ++i) {
      const std::string number = std::to_string(i);
      text += "k" + std::string(6 - number.size(), '0') + number + "=v\r\n";
    }
    return text;
  }
  template <class Profile>
  static int CountKeys(Profile& profile, LPCWSTR section) {
    int count = 0;
    for (LPCWSTR key = profile.FirstKey(section); key != nullptr; key = profile.NextKey()) ++count;
    return count;
  }
};

TEST_F(ProfileTest, KeysComeOneByOneHoweverLongTheirListIs) {
  CPrivateProfile file(kFile);
  EXPECT_EQ(file.FirstKey(TEXT("s")), nullptr);
  EXPECT_EQ(file.NextKey(), nullptr);
  Put(kFile, "[s]\r\na=1\r\nb=2\r\nc=3\r\n[t]\r\nd=4\r\n");
  EXPECT_EQ(View(file.FirstKey(TEXT("S"))), TEXT("a"));
  EXPECT_EQ(View(file.NextKey()), TEXT("b"));
  EXPECT_EQ(View(file.NextKey()), TEXT("c"));
  EXPECT_EQ(file.NextKey(), nullptr);
  EXPECT_EQ(file.NextKey(), nullptr) << "the end stays the end";
  // 4095 names are 32760 characters and fit the first attempt; the others need a second and third.
  for (const int keys : {4095, 4096, 9000}) {
    Put(kFile, LongSection(keys));
    EXPECT_EQ(CountKeys(file, TEXT("s")), keys);
    Put(TEXT("C:\\Windows\\win.ini"), LongSection(keys));
    CProfile windows;
    EXPECT_EQ(CountKeys(windows, TEXT("s")), keys);
    const auto section = file.GetSection(TEXT("s"));
    ASSERT_NE(section, nullptr);
    int lines = 0;
    for (LPCWSTR line = section.get(); *line != 0; line += View(line).size() + 1) ++lines;
    EXPECT_EQ(lines, keys);
  }
  EXPECT_EQ(file.GetSection(TEXT("missing")), nullptr);
  CPrivateProfile again(kFile);
  for (const char* call : {"GlobalAlloc", "GlobalLock"}) {
    // Each block is locked twice.
    for (const uint64_t nth : {1, call[6] == 'A' ? 2 : 3}) {
      platform::FailCall(call, nth);
      EXPECT_EQ(again.FirstKey(TEXT("s")), nullptr) << "without memory, and a report";
      EXPECT_EQ(again.NextKey(), nullptr);
      platform::ResetFaults();
    }
  }
  EXPECT_EQ(CountKeys(again, TEXT("s")), 9000);
  platform::UseProfile("windows-98");
  Restart();
  EXPECT_EQ(CountKeys(file, TEXT("s")), 65535 / 8 + 1) << "cut within a name";
  EXPECT_EQ(file.GetSection(TEXT("s")), nullptr);
}

TEST_F(ProfileTest, ValuesOf511CharactersAreWhole) {
  CPrivateProfile file(kFile);
  for (const size_t length : {511, 512}) {
    const std::string value(length, 'v');
    Put(kFile, "[s]\r\nlong=" + value + "\r\nempty=\r\n");
    Put(TEXT("C:\\Windows\\win.ini"), "[s]\r\nlong=" + value + "\r\nempty=\r\n");
    CProfile windows;
    EXPECT_EQ(View(file.GetString(TEXT("s"), TEXT("long"))).size(), 511u);
    EXPECT_EQ(View(windows.GetString(TEXT("s"), TEXT("long"), nullptr)).size(), 511u);
  }
  CProfile windows;
  EXPECT_EQ(file.GetString(TEXT("s"), TEXT("empty")), nullptr);
  EXPECT_EQ(windows.GetString(TEXT("s"), TEXT("none"), nullptr), nullptr);
  EXPECT_EQ(View(windows.GetString(TEXT("s"), TEXT("none"), TEXT("else"))), TEXT("else"));
  WCHAR small[4];
  EXPECT_EQ(file.GetString(TEXT("s"), TEXT("long"), small, 4), 3u);
  EXPECT_EQ(windows.GetString(TEXT("s"), TEXT("long"), small, 4), 3u);
}

TEST_F(ProfileTest, ArgumentsMayBeWhatTheObjectHandedOut) {
  Put(kFile, "[a]\r\nempty=\r\nk=v\r\nv=w\r\n" + LongSection(9000));
  Put(TEXT("C:\\Windows\\win.ini"), "[a]\r\nempty=\r\nk=v\r\nv=w\r\n" + LongSection(9000));
  CPrivateProfile file(kFile);
  CProfile windows;
  EXPECT_EQ(View(file.FirstKey(file.FirstKey(nullptr))), TEXT("empty"));
  EXPECT_EQ(View(windows.FirstKey(windows.FirstKey(nullptr))), TEXT("empty"));
  // The list of the second section's keys takes a larger block.
  file.FirstKey(nullptr);
  windows.FirstKey(nullptr);
  EXPECT_EQ(View(file.FirstKey(file.NextKey())), TEXT("k000000"));
  EXPECT_EQ(View(windows.FirstKey(windows.NextKey())), TEXT("k000000"));
  EXPECT_EQ(View(file.GetString(TEXT("a"), file.GetString(TEXT("a"), TEXT("k")))), TEXT("w"));
  const auto value = [&] { return windows.GetString(TEXT("a"), TEXT("k"), nullptr); };
  EXPECT_EQ(View(windows.GetString(TEXT("a"), value(), nullptr)), TEXT("w"));
  EXPECT_EQ(View(windows.GetString(TEXT("a"), TEXT("empty"), value())), TEXT("v"));
  EXPECT_EQ(View(windows.GetString(TEXT("a"), TEXT("none"), value())), TEXT("v"));
  // A long one takes memory; without it nothing is read.
  const std::string section = "[" + std::string(400, 's') + "]\r\nk=v\r\n";
  Put(kFile, section);
  Put(TEXT("C:\\Windows\\win.ini"), section);
  const auto read = [&](bool failing) {
    const LPCWSTR of_file = file.GetString(nullptr, nullptr);
    const LPCWSTR of_windows = windows.GetString(nullptr, nullptr, nullptr);
    FailAllocation(failing ? 1 : 0);
    WideString found(View(file.GetString(of_file, TEXT("k"))));
    FailAllocation(failing ? 1 : 0);
    found += View(windows.GetString(of_windows, TEXT("k"), TEXT("-")));
    FailAllocation(0);
    return found;
  };
  EXPECT_EQ(read(false), TEXT("vv"));
  EXPECT_EQ(read(true), TEXT("-"));
}

// An empty name, or half of one, would be another file.
TEST_F(ProfileTest, WithoutAWholeFileNameNothingIsWritten) {
  const WideString long_name = TEXT("C:\\dir\\") + WideString(253, 'n');
  const CPrivateProfile none, cut(long_name.c_str()), fits(long_name.substr(0, 259).c_str());
  for (const CPrivateProfile* file : {&none, &cut}) {
    const std::function<BOOL()> kWrites[] = {
        [&] { return file->WriteString(TEXT("s"), TEXT("k"), TEXT("v")); },
        [&] { return file->WriteInt(TEXT("s"), TEXT("k"), 1); },
        [&] { return file->WriteFormatted(TEXT("s"), TEXT("k"), TEXT("x")); },
        [&] { return file->WriteSection(TEXT("s"), TEXT("k=v\0")); },
        [&] { return file->DeleteSection(TEXT("s")); },
        [&] { return file->DeleteKey(TEXT("s"), TEXT("k")); },
        [&] { return file->RenameKey(TEXT("s"), TEXT("k"), TEXT("x")); },
        [&] { return file->Flush(); },
    };
    for (const auto& write : kWrites) {
      SetLastError(0);
      EXPECT_FALSE(write()) << &write - kWrites;
      EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
    }
    WCHAR buffer[4] = {'#'};
    EXPECT_EQ(file->GetInt(TEXT("s"), TEXT("k"), 3), 3u);
    EXPECT_EQ(file->GetSection(TEXT("s")), nullptr);
    EXPECT_EQ(file->GetString(TEXT("s"), TEXT("k"), buffer, 4), 0u);
    EXPECT_EQ(buffer[0], 0);
  }
  EXPECT_TRUE(std::filesystem::is_empty(platform::HostPath(TEXT("C:\\dir"))));
  EXPECT_EQ(platform::CallCount("WritePrivateProfileStringW"), 0u);
  Put(kFile, "");
  EXPECT_TRUE(fits.WriteString(TEXT("s"), TEXT("k"), TEXT("v")) ||
              GetLastError() == ERROR_FILENAME_EXCED_RANGE);
}

TEST_F(ProfileTest, SectionsAndKeysAreWrittenAndDeleted) {
  CPrivateProfile file(kFile);
  EXPECT_TRUE(file.WriteInt(TEXT("s"), TEXT("n"), -12));
  EXPECT_EQ(static_cast<int>(file.GetInt(TEXT("s"), TEXT("n"), 7)), -12);
  EXPECT_EQ(file.GetInt(TEXT("s"), TEXT("none"), 7), 7u);
  EXPECT_TRUE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s-%d"), TEXT("a"), 1));
  EXPECT_EQ(View(file.GetString(TEXT("s"), TEXT("f"))), TEXT("a-1"));
  const WideString tooLong(512, 'x');
  EXPECT_FALSE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s"), tooLong.c_str()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_TRUE(file.WriteSection(TEXT("t"), TEXT("a=1\0b=2\0")));
  file.Flush();
  EXPECT_TRUE(file.DeleteKey(TEXT("s"), TEXT("n")));
  EXPECT_TRUE(file.DeleteKey(TEXT("t"), TEXT("a")));
  EXPECT_EQ(Bytes(kFile), "[s]\r\nf=a-1\r\n[t]\r\nb=2\r\n");
  EXPECT_TRUE(file.DeleteSection(TEXT("s")));
  EXPECT_EQ(Bytes(kFile), "[t]\r\nb=2\r\n");
}

TEST_F(ProfileTest, AKeyIsRenamedInPlaceOrNotAtAll) {
  const std::string before = "NUL1=o\r\n[rename]\r\nNUL=a\r\n nul1 =b\r\n[x]\r\nNUL1=c\r\n";
  CPrivateProfile file(kFile);
  EXPECT_FALSE(file.RenameKey(TEXT("rename"), TEXT("NUL1"), TEXT("NUL"))) << "no file";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  Put(kFile, before);
  const struct {
    LPCWSTR section, key, new_key;
    DWORD error;
  } kRefused[] = {
      {TEXT("rename"), TEXT("NUL2"), TEXT("NUL"), ERROR_FILE_NOT_FOUND},
      {TEXT("missing"), TEXT("NUL1"), TEXT("NUL"), ERROR_FILE_NOT_FOUND},
      {TEXT("rename"), TEXT("NUL1"), TEXT("LONGER"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT(""), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("a=b"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("a\n"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("[a]"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT(";a"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("\u4E00"), ERROR_NO_UNICODE_TRANSLATION},
  };
  for (const auto& c : kRefused) {
    EXPECT_FALSE(file.RenameKey(c.section, c.key, c.new_key)) << &c - kRefused;
    EXPECT_EQ(GetLastError(), c.error) << &c - kRefused;
  }
  EXPECT_EQ(Bytes(kFile), before);
  EXPECT_TRUE(file.RenameKey(TEXT("RENAME"), TEXT("NUL1"), TEXT("NUL")));
  EXPECT_EQ(Bytes(kFile), "NUL1=o\r\n[rename]\r\nNUL=a\r\n NUL  =b\r\n[x]\r\nNUL1=c\r\n");
}

UINT WINAPI LongWindowsDirectory(LPWSTR, UINT) {
  return MAX_PATH;
}

class DeferredTest : public ProfileTest {
 protected:
  void SetUp() override {
    ProfileTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
  }
  static Key Manager() {
    return Key::Create(HKEY_LOCAL_MACHINE,
                       TEXT("System\\CurrentControlSet\\Control\\Session Manager"));
  }
  static void SetList(const WideString& list) {
    RegSetValueExW(Manager(), TEXT("PendingFileRenameOperations"), 0, REG_MULTI_SZ,
                   reinterpret_cast<const BYTE*>(list.data()),
                   static_cast<DWORD>(list.size() * sizeof(WCHAR)));
  }
  // The stored list with its terminators as "|"; "none" without a value.
  static WideString List() {
    WCHAR buffer[200];
    DWORD size = sizeof buffer;
    if (RegQueryValueExW(Manager(), TEXT("PendingFileRenameOperations"), nullptr, nullptr,
                         reinterpret_cast<BYTE*>(buffer), &size) != ERROR_SUCCESS) {
      return TEXT("none");
    }
    WideString list(buffer, size / sizeof(WCHAR));
    for (WCHAR& c : list) c = c == 0 ? '|' : c;
    return list;
  }
  static std::string Short(LPCWSTR path) {
    WCHAR shortPath[MAX_PATH];
    const DWORD length = GetShortPathNameW(path, shortPath, MAX_PATH);
    EXPECT_NE(WideView(shortPath, length), WideView(path));
    return std::string(shortPath, shortPath + length);
  }
  static WideString Stored(WideString list) {
    for (WCHAR& c : list) c = c == '|' ? 0 : c;
    return list;
  }
};

TEST_F(DeferredTest, TheSystemsListIsHandedOutWithoutPrefixes) {
  CDeferredFileOps ops;
  LPCWSTR source, target;
  EXPECT_FALSE(ops.FirstPendingRename(source, target));
  EXPECT_FALSE(ops.NextPendingRename(source, target));
  Put(TEXT("C:\\dir\\a"), "a");
  EXPECT_TRUE(ops.DeleteOnRestart(TEXT("C:\\dir\\a")));
  EXPECT_TRUE(ops.ReplaceOnRestart(TEXT("C:\\dir\\a"), TEXT("C:\\dir\\b")));
  ASSERT_TRUE(ops.FirstPendingRename(source, target));
  EXPECT_EQ(View(source), TEXT("C:\\dir\\a"));
  EXPECT_EQ(target, nullptr);
  ASSERT_TRUE(ops.NextPendingRename(source, target));
  EXPECT_EQ(View(source), TEXT("C:\\dir\\a"));
  EXPECT_EQ(View(target), TEXT("C:\\dir\\b"));
  EXPECT_FALSE(ops.NextPendingRename(source, target));

  const WideString list = Stored(TEXT("\\\\?\\UNC\\s\\a|!\\??\\C:\\b|\\\\?\\C:\\c|C:\\d||"));
  SetList(list);
  DWORD bytes = 0;
  ASSERT_TRUE(ops.FirstPendingRename(source, target, &bytes));
  EXPECT_EQ(bytes, list.size() * sizeof(WCHAR));
  EXPECT_EQ(View(source), TEXT("s\\a"));
  EXPECT_EQ(View(target), TEXT("C:\\b"));
  ASSERT_TRUE(ops.NextPendingRename(source, target));
  EXPECT_EQ(View(source), TEXT("C:\\c"));
  EXPECT_EQ(View(target), TEXT("C:\\d"));
  EXPECT_FALSE(ops.NextPendingRename(source, target));
}

TEST_F(DeferredTest, APairIsRemovedByItsSourceAndTarget) {
  const struct {
    LPCWSTR before, source, target, after;
  } kCases[] = {
      {TEXT("\\??\\C:\\a|||"), TEXT("c:\\A"), nullptr, TEXT("none")},
      {TEXT("a|b|a||c|d||"), TEXT("a"), TEXT(""), TEXT("a|b|c|d||")},
      {TEXT("a|b|a||c|d||"), TEXT("A"), TEXT("B"), TEXT("a||c|d||")},
      {TEXT("a|b|a||c|d||"), TEXT("c"), TEXT("d"), TEXT("a|b|a|||")},
      {TEXT("a|b||"), TEXT("a"), nullptr, nullptr},
      {TEXT("a|||"), TEXT("a"), TEXT("b"), nullptr},
      {TEXT("a|b||"), TEXT("b"), TEXT("b"), nullptr},
      // Lists that somebody stored without their last terminators.
      {TEXT("a|b|"), TEXT("a"), TEXT("b"), TEXT("none")},
      {TEXT("a|b|c|"), TEXT("c"), TEXT(""), TEXT("a|b||")},
      // Pairs that name nothing stay and end nothing.
      {TEXT("\\??\\||a|b|\\??\\|!\\??\\|c|d||"), TEXT("c"), TEXT("d"),
       TEXT("\\??\\||a|b|\\??\\|!\\??\\||")},
      {TEXT("\\??\\||a|b||"), TEXT("a"), TEXT("b"), TEXT("\\??\\|||")},
      {TEXT("\\??\\|||"), TEXT(""), TEXT(""), nullptr},
  };
  for (const auto& c : kCases) {
    SetList(Stored(c.before));
    CDeferredFileOps ops;
    EXPECT_EQ(ops.RemovePendingRename(c.source, c.target), c.after != nullptr);
    EXPECT_EQ(List(), c.after == nullptr ? c.before : c.after);
  }
}

TEST_F(DeferredTest, APairIsRemovedByTheTextsThatTheListHandedOut) {
  SetList(Stored(TEXT("a|b|\\??\\C:\\c|C:\\d|e|f||")));
  CDeferredFileOps ops;
  LPCWSTR source, target;
  ASSERT_TRUE(ops.FirstPendingRename(source, target));
  ASSERT_TRUE(ops.NextPendingRename(source, target));
  // Another program makes the list longer than the snapshot has room for.
  const WideString longer(500, 'x');
  WideString list = longer;
  list += TEXT("|y|\\??\\C:\\c|C:\\d|e|f||");
  SetList(Stored(list));
  EXPECT_TRUE(ops.RemovePendingRename(source, target));
  ASSERT_TRUE(ops.FirstPendingRename(source, target));
  EXPECT_EQ(View(source), longer);
  ASSERT_TRUE(ops.NextPendingRename(source, target));
  EXPECT_EQ(View(source), TEXT("e"));
  EXPECT_FALSE(ops.NextPendingRename(source, target));
}

TEST_F(DeferredTest, WithoutTheWindowsDirectoryNothingIsWrittenAnywhere) {
  platform::UseProfile("windows-98");
  Restart();
  Put(kFile, "x");
  platform::ResetFaults();
  for (const bool fails : {true, false}) {
    if (fails) {
      platform::FailCall("GetWindowsDirectoryW", 1, ERROR_NOT_ENOUGH_MEMORY);
    } else {
      platform::Replace("GetWindowsDirectoryW", &LongWindowsDirectory);
    }
    CDeferredFileOps ops;
    SetLastError(0);
    EXPECT_FALSE(ops.DeleteOnRestart(kFile));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
    EXPECT_FALSE(ops.ReplaceOnRestart(kFile, TEXT("C:\\dir\\new")));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
  }
  EXPECT_EQ(platform::CallCount("WritePrivateProfileStringW"), 0u);
  EXPECT_EQ(platform::CallCount("CreateFileW"), 0u);
}

TEST_F(DeferredTest, NoPathIsNoOperation) {
  for (const char* system : {"windows-10", "windows-98"}) {
    platform::UseProfile(system);
    Restart();
    CDeferredFileOps ops;
    for (const LPCWSTR empty : {static_cast<LPCWSTR>(nullptr), TEXT("")}) {
      SetLastError(0);
      EXPECT_FALSE(ops.DeleteOnRestart(empty));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
      EXPECT_FALSE(ops.ReplaceOnRestart(empty, kFile));
      EXPECT_FALSE(ops.ReplaceOnRestart(kFile, empty));
    }
  }
  EXPECT_EQ(List(), TEXT("none"));
  EXPECT_FALSE(FileExists(kWininit, Report::kNo));
}

// What is there already is not made, and so not deleted, for the sake of a short name.
TEST_F(DeferredTest, OnWindows9xATargetThatExistsIsLeftAlone) {
  platform::UseProfile("windows-98");
  Restart();
  constexpr WCHAR kTarget[] = TEXT("C:\\dir\\target long name");
  constexpr WCHAR kDirectory[] = TEXT("C:\\dir\\directory long name");
  Put(kTarget, "kept");
  ASSERT_TRUE(CreateDirectoryW(kDirectory, nullptr));
  ASSERT_TRUE(SetFileAttributesW(kTarget, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
  const DWORD before = GetFileAttributesW(kTarget);
  for (const LPCWSTR path : {kTarget, kDirectory}) {
    platform::FailCall("GetFileAttributesW", 1, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CDeferredFileOps().ReplaceOnRestart(TEXT("C:\\none"), path));
    platform::ResetFaults();
    EXPECT_NE(Bytes(kWininit).find(Short(path) + "=C:\\none\r\n"), std::string::npos);
  }
  EXPECT_EQ(GetFileAttributesW(kTarget), before);
  EXPECT_TRUE(DirectoryExists(kDirectory));
  EXPECT_EQ(Bytes(kTarget), "kept");
  // One in a directory that is still to come.
  EXPECT_TRUE(
      CDeferredFileOps().ReplaceOnRestart(TEXT("C:\\none"), TEXT("C:\\new one\\long name")));
  EXPECT_NE(Bytes(kWininit).find("~1\\"), std::string::npos);
  EXPECT_FALSE(FileExists(TEXT("C:\\new one\\long name"), Report::kNo));
}

TEST_F(DeferredTest, Windows9xKeepsItsListInAFile) {
  platform::UseProfile("windows-98");
  Restart();
  constexpr WCHAR kFirst[] = TEXT("C:\\dir\\first long name");
  constexpr WCHAR kSecond[] = TEXT("C:\\dir\\second long name");
  constexpr WCHAR kThird[] = TEXT("C:\\dir\\third long name");
  constexpr WCHAR kTarget[] = TEXT("C:\\dir\\missing long name");
  for (const LPCWSTR path : {kFirst, kSecond, kThird}) Put(path, "x");
  CDeferredFileOps ops;
  LPCWSTR source, target;
  EXPECT_FALSE(ops.FirstPendingRename(source, target));
  EXPECT_FALSE(ops.RemovePendingRename(TEXT("a"), nullptr));
  EXPECT_TRUE(ops.DeleteOnRestart(kFirst));
  EXPECT_TRUE(ops.DeleteOnRestart(kSecond));
  EXPECT_TRUE(ops.DeleteOnRestart(kThird));
  EXPECT_EQ(Bytes(kWininit), "[rename]\r\nNUL=C:\\dir\\first long name\r\nNUL =" + Short(kSecond) +
                                 "\r\nNUL =" + Short(kThird) + "\r\n");
  std::filesystem::remove(platform::HostPath(kWininit));
  EXPECT_TRUE(ops.ReplaceOnRestart(kFirst, kTarget));
  EXPECT_FALSE(FileExists(kTarget, Report::kNo)) << "made for its short name only";
  Put(kTarget, "kept");
  EXPECT_EQ(Bytes(kWininit), "[rename]\r\n" + Short(kTarget) + "=" + Short(kFirst) + "\r\n");
  EXPECT_TRUE(ops.ReplaceOnRestart(TEXT("C:\\none"), kTarget));
  EXPECT_EQ(Bytes(kWininit), "[rename]\r\n" + Short(kTarget) + "=C:\\none\r\n");
  EXPECT_EQ(Bytes(kTarget), "kept");
}

}  // namespace
}  // namespace kv::test
