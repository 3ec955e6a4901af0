// Initialisation files, and what is deferred to the next restart.
#include "runtime/registry/profile.h"

#include <fstream>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "runtime/files/file_actions.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/text/wide_text.h"
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
  platform::FailCall("GlobalLock", 2);
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(again.FirstKey(TEXT("s")), nullptr) << "its block grew, but is out of reach";
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

TEST_F(ProfileTest, SectionsAndKeysAreWrittenAndDeleted) {
  CPrivateProfile file(kFile);
  EXPECT_TRUE(file.WriteInt(TEXT("s"), TEXT("n"), -12));
  EXPECT_EQ(static_cast<int>(file.GetInt(TEXT("s"), TEXT("n"), 7)), -12);
  EXPECT_EQ(file.GetInt(TEXT("s"), TEXT("none"), 7), 7u);
  EXPECT_TRUE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s-%d"), TEXT("a"), 1));
  EXPECT_EQ(View(file.GetString(TEXT("s"), TEXT("f"))), TEXT("a-1"));
  const WideString tooLong(512, 'x');
  EXPECT_FALSE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s"), tooLong.c_str()));
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
  Put(kFile, before);
  EXPECT_FALSE(file.RenameKey(TEXT("rename"), TEXT("NUL2"), TEXT("NUL")));
  EXPECT_FALSE(file.RenameKey(TEXT("missing"), TEXT("NUL1"), TEXT("NUL")));
  EXPECT_FALSE(file.RenameKey(TEXT("rename"), TEXT("NUL1"), TEXT("LONGER")));
  EXPECT_FALSE(file.RenameKey(TEXT("rename"), TEXT("NUL1"), TEXT("")));
  EXPECT_EQ(Bytes(kFile), before);
  EXPECT_TRUE(file.RenameKey(TEXT("RENAME"), TEXT("NUL1"), TEXT("NUL")));
  EXPECT_EQ(Bytes(kFile), "NUL1=o\r\n[rename]\r\nNUL=a\r\n NUL  =b\r\n[x]\r\nNUL1=c\r\n");
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
  };
  for (const auto& c : kCases) {
    SetList(Stored(c.before));
    CDeferredFileOps ops;
    EXPECT_EQ(ops.RemovePendingRename(c.source, c.target), c.after != nullptr);
    EXPECT_EQ(List(), c.after == nullptr ? c.before : c.after);
  }
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
