// Initialisation files, and what is deferred to the next restart.
#include "runtime/registry/profile.h"

#include <functional>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/text/wide_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/machine_files.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kFile[] = TEXT("C:\\dir\\x.ini");
constexpr WCHAR kWininit[] = TEXT("C:\\Windows\\wininit.ini");

// A system that answers nothing and writes nothing.
DWORD WINAPI AnswerNothing(LPCWSTR, LPCWSTR, LPCWSTR, LPWSTR, DWORD, LPCWSTR) {
  return 0;
}

class ProfileTest : public RuntimeTest {
 protected:
  // In the file and in the system's own one.
  static void PutBoth(const std::string& bytes) {
    PutFile(kFile, bytes);
    PutFile(TEXT("C:\\Windows\\win.ini"), bytes);
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
  // The keys of a section, or the sections, each with a blank behind.
  template <class Profile>
  static WideString Keys(Profile& profile, LPCWSTR section) {
    WideString keys;
    for (LPCWSTR key = profile.FirstKey(section); key != nullptr; key = profile.NextKey())
      keys += key + WideString(TEXT(" "));
    EXPECT_EQ(profile.NextKey(), nullptr) << "the end stays the end";
    return keys;
  }
};

TEST_F(ProfileTest, KeysComeOneByOneHoweverLongTheirListIs) {
  CPrivateProfile file(kFile), again(kFile);
  CProfile windows;
  EXPECT_EQ(file.NextKey(), nullptr);
  EXPECT_EQ(Keys(file, TEXT("s")), TEXT(""));
  EXPECT_EQ(file.GetSection(TEXT("s")), nullptr);
  PutBoth("[s]\r\na=1\r\nb=2\r\nc=3\r\n[t]\r\nd=4\r\n");
  for (const LPCWSTR section : {TEXT("S"), static_cast<LPCWSTR>(nullptr)}) {
    const LPCWSTR keys = section != nullptr ? TEXT("a b c ") : TEXT("s t ");
    EXPECT_EQ(Keys(file, section), keys);
    EXPECT_EQ(Keys(windows, section), keys);
  }
  // 4095 names are 32760 characters and fit the first attempt; the others need a second and third.
  for (const int keys : {4095, 4096, 9000}) {
    const std::string text = LongSection(keys);
    PutBoth(text);
    // Behind "[s]" and the line's end.
    WideString names, lines;
    for (size_t line = 5; line < text.size(); line += 11) {
      names.append(&text[line], &text[line + 7]).append(TEXT(" "));
      lines.append(&text[line], &text[line + 9]).push_back(0);
    }
    lines += WCHAR(0);
    EXPECT_TRUE(Keys(file, TEXT("s")) == names && Keys(windows, TEXT("s")) == names) << keys;
    const auto section = file.GetSection(TEXT("s"));
    ASSERT_NE(section, nullptr);
    EXPECT_TRUE(WideView(section.get(), lines.size()) == lines) << keys;
  }
  for (const char* call : {"GlobalAlloc", "GlobalLock"}) {
    // Each block is locked twice.
    for (const uint64_t nth : {1, call[6] == 'A' ? 2 : 3}) {
      platform::FailCall(call, nth, ERROR_INVALID_PARAMETER);
      EXPECT_EQ(again.FirstKey(TEXT("s")), nullptr) << "without memory, and a report";
      EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
      EXPECT_EQ(again.NextKey(), nullptr);
      platform::ResetFaults();
    }
  }
  EXPECT_EQ(Keys(again, TEXT("s")).size(), 9000u * 8);
  platform::Replace("GetPrivateProfileStringW", &AnswerNothing);
  EXPECT_EQ(Keys(again, TEXT("s")), TEXT("")) << "nothing of the list before";
  platform::ResetFaults();
  FailAllocation(1);
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(file.GetSection(TEXT("s")), nullptr);
  EXPECT_EQ(platform::ShownBoxes().back().text,
            TEXT("An internal error occurred: CPrivateProfile::GetSection could not allocate a "
                 "buffer."));
  platform::UseProfile("windows-98");
  Restart();
  EXPECT_EQ(Keys(file, TEXT("s")).size(), 65534u) << "cut within a name";
  EXPECT_EQ(file.GetSection(TEXT("s")), nullptr);
}

TEST_F(ProfileTest, ValuesOf511CharactersAreWhole) {
  CPrivateProfile file(kFile);
  CProfile windows;
  for (const size_t length : {511, 512}) {
    PutBoth("[s]\r\nlong=" + std::string(length, 'v') + "\r\nempty=\r\nn=-12\r\n");
    EXPECT_EQ(View(file.GetString(TEXT("s"), TEXT("long"))), WideString(511, 'v'));
    EXPECT_EQ(View(windows.GetString(TEXT("s"), TEXT("long"), nullptr)), WideString(511, 'v'));
  }
  for (const LPCWSTR key : {TEXT("empty"), TEXT("none")}) {
    EXPECT_EQ(file.GetString(TEXT("s"), key), nullptr);
    EXPECT_EQ(windows.GetString(TEXT("s"), key, nullptr), nullptr);
  }
  EXPECT_EQ(View(windows.GetString(TEXT("s"), TEXT("none"), TEXT("else"))), TEXT("else"));
  WCHAR small[2][4];
  EXPECT_EQ(file.GetString(TEXT("s"), TEXT("long"), small[0], 4), 3u);
  EXPECT_EQ(windows.GetString(TEXT("s"), TEXT("long"), small[1], 4), 3u);
  EXPECT_TRUE(WideView(small[0]) == TEXT("vvv") && WideView(small[1]) == TEXT("vvv"));
  EXPECT_EQ(file.GetString(TEXT("s"), TEXT("none"), small[0], 4), 0u);
  EXPECT_EQ(windows.GetString(TEXT("s"), TEXT("none"), small[1], 4), 0u);
  EXPECT_EQ(small[0][0] + small[1][0], 0);
  for (const LPCWSTR key : {TEXT("n"), TEXT("none")}) {
    const UINT number = key[1] == 0 ? static_cast<UINT>(-12) : 7;
    EXPECT_EQ(file.GetInt(TEXT("s"), key, 7), number);
    EXPECT_EQ(windows.GetInt(TEXT("s"), key, 7), number);
  }
  FailAllocation(1);
  CPrivateProfile poor(kFile);
  FailAllocation(1);
  CProfile poor_windows;
  SetLastError(0);
  EXPECT_EQ(poor.GetString(TEXT("s"), TEXT("n")), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  SetLastError(0);
  EXPECT_EQ(View(poor_windows.GetString(TEXT("s"), TEXT("n"), TEXT("else"))), TEXT("else"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

TEST_F(ProfileTest, ArgumentsMayBeWhatTheObjectHandedOut) {
  PutBoth("[a]\r\nempty=\r\nk=v\r\nv=w\r\n" + LongSection(9000));
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
  PutBoth("[" + std::string(400, 's') + "]\r\nk=v\r\n");
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
TEST_F(ProfileTest, WithoutAWholeFileNameNothingIsReadOrWritten) {
  PutFile(kFile, "");
  const WideString long_name = TEXT("C:\\dir\\") + WideString(253, 'n');
  CPrivateProfile none, cut(long_name.c_str()), fits(long_name.substr(0, 259).c_str());
  WCHAR buffer[4];
  for (CPrivateProfile* file : {&none, &cut}) {
    const std::function<bool()> kCalls[] = {
        [&] { return file->WriteString(TEXT("s"), TEXT("k"), TEXT("v")) != 0; },
        [&] { return file->WriteSection(TEXT("s"), TEXT("k=v\0")) != 0; },
        [&] { return file->RenameKey(TEXT("s"), TEXT("k"), TEXT("x")) != 0; },
        [&] { return file->Flush() != 0; },
        [&] { return file->FirstKey(TEXT("s")) != nullptr; },
        [&] { return file->GetInt(TEXT("s"), TEXT("k"), 3) != 3; },
        [&] { return file->GetString(TEXT("s"), TEXT("k")) != nullptr; },
        [&] { return file->GetSection(TEXT("s")) != nullptr; },
        [&] {
          buffer[0] = '#';
          return file->GetString(TEXT("s"), TEXT("k"), buffer, 4) != 0 || buffer[0] != 0;
        },
    };
    for (const auto& call : kCalls) {
      SetLastError(0);
      EXPECT_FALSE(call()) << &call - kCalls;
      EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME}) << &call - kCalls;
    }
  }
  for (const char* call : {"GetPrivateProfileSectionW", "WritePrivateProfileStringW"})
    EXPECT_EQ(platform::CallCount(call), 0u);
  EXPECT_TRUE(fits.WriteString(TEXT("s"), TEXT("k"), TEXT("v")));
}

TEST_F(ProfileTest, SectionsAndKeysAreWrittenAndDeleted) {
  PutFile(kFile, "");
  CPrivateProfile file(kFile);
  EXPECT_TRUE(file.WriteInt(TEXT("s"), TEXT("n"), -12));
  EXPECT_TRUE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s-%d"), TEXT("a"), 1));
  const WideString tooLong(512, 'x');
  EXPECT_FALSE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s"), tooLong.c_str()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_TRUE(file.WriteSection(TEXT("t"), TEXT("a=1\0b=2\0")));
  EXPECT_EQ(FileBytes(kFile), "[s]\r\nn=-12\r\nf=a-1\r\n[t]\r\na=1\r\nb=2\r\n");
  platform::ResetFaults();
  EXPECT_FALSE(file.Flush()) << "nothing is cached";
  EXPECT_EQ(platform::CallCount("WritePrivateProfileStringW"), 1u);
  EXPECT_TRUE(file.DeleteKey(TEXT("s"), TEXT("n")));
  EXPECT_TRUE(file.DeleteKey(TEXT("t"), TEXT("a")));
  EXPECT_EQ(FileBytes(kFile), "[s]\r\nf=a-1\r\n[t]\r\nb=2\r\n");
  EXPECT_TRUE(file.WriteFormatted(TEXT("s"), TEXT("f"), TEXT("%s"), &tooLong[1]));
  EXPECT_TRUE(file.DeleteSection(TEXT("t")));
  EXPECT_EQ(FileBytes(kFile), "[s]\r\nf=" + std::string(511, 'x') + "\r\n");
}

TEST_F(ProfileTest, AKeyIsRenamedInPlaceOrNotAtAll) {
  // What looks like the key before its line: too long or short, without a value, elsewhere.
  const std::string
      before = "NUL1=o\r\n[\trename ]\r\n \t\r\nNUL=a\r\nnul12=x\r\nnu=1\r\nNUL1\r\n\tnul1\t =",
      after = "b\r\nxyz=1\r\n[x]\r\nNUL1=c\r\nonly=d";
  CPrivateProfile file(kFile);
  EXPECT_FALSE(file.RenameKey(TEXT("rename"), TEXT("NUL1"), TEXT("NUL"))) << "no file";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  PutFile(kFile, before + after);
  const struct {
    LPCWSTR section, key, new_key;
    DWORD error;
  } kRefused[] = {
      {TEXT("rename"), TEXT("NUL2"), TEXT("NUL"), ERROR_FILE_NOT_FOUND},
      {TEXT("rename"), TEXT("only"), TEXT("NUL"), ERROR_FILE_NOT_FOUND},
      {TEXT("missing"), TEXT("NUL1"), TEXT("NUL"), ERROR_FILE_NOT_FOUND},
      {TEXT("rename"), TEXT("NUL1"), TEXT("LONGE"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT(""), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("a=b"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("a\n"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("a\r"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("[a]"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT(";a"), ERROR_INVALID_PARAMETER},
      {TEXT("rename"), TEXT("NUL1"), TEXT("\u4E00"), ERROR_NO_UNICODE_TRANSLATION},
  };
  for (const auto& c : kRefused) {
    EXPECT_FALSE(file.RenameKey(c.section, c.key, c.new_key)) << &c - kRefused;
    EXPECT_EQ(GetLastError(), c.error) << &c - kRefused;
  }
  EXPECT_EQ(FileBytes(kFile), before + after);
  EXPECT_TRUE(file.RenameKey(TEXT("RENAME"), TEXT("NUL1"), TEXT("NUL")));
  EXPECT_TRUE(file.RenameKey(TEXT("rename"), TEXT("xyz"), TEXT(" ;[")));
  EXPECT_TRUE(file.RenameKey(TEXT("x"), TEXT("only"), TEXT("z")));
  EXPECT_EQ(FileBytes(kFile),
            before.substr(0, before.size() - 7) + "NUL \t =b\r\n ;[=1\r\n[x]\r\nNUL1=c\r\nz   =d");
  // A new name of more than 511 bytes, and one that takes more bytes than characters.
  for (const size_t length : {511, 512}) {
    PutFile(kFile, "[s]\r\n" + std::string(600, 'k') + "=v\r\n");
    EXPECT_EQ(
        file.RenameKey(TEXT("s"), WideString(600, 'k').c_str(), WideString(length, 'n').c_str()),
        length == 511);
  }
  platform::SetFact(platform::facts::kAnsiCodePage, "932");
  PutFile(kFile, "[s]\r\nab=1\r\nabc=2\r\n");
  EXPECT_FALSE(file.RenameKey(TEXT("s"), TEXT("abc"), TEXT("\u3042\u3042")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_TRUE(file.RenameKey(TEXT("s"), TEXT("ab"), TEXT("\u3042")));
  EXPECT_EQ(FileBytes(kFile), "[s]\r\n\x82\xA0=1\r\nabc=2\r\n");
}

// What the system answers for its directory, whatever it wrote.
UINT windows_length;
UINT WINAPI AnswerWindowsDirectory(LPWSTR buffer, UINT capacity) {
  WideView(TEXT("C:\\dir\0"), 7).copy(buffer, capacity);
  return windows_length;
}

// A list of deletions whose keys below the number `first_free` are taken.
std::vector<WideString> asked_keys;
LPCWSTR first_free;
DWORD WINAPI AnswerTakenKeys(LPCWSTR, LPCWSTR key, LPCWSTR, LPWSTR buffer, DWORD, LPCWSTR) {
  asked_keys.emplace_back(key);
  buffer[0] = asked_keys.back() == first_free ? 0 : 'x';
  buffer[1] = 0;
  return buffer[0] == 0 ? 0 : 1;
}

class DeferredTest : public ProfileTest {
 protected:
  void SetUp() override {
    ProfileTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    PutFile(kFile, "x");
  }
  void UseWindows98() {
    platform::UseProfile("windows-98");
    Restart();
    platform::ResetFaults();
  }
  static Key Manager() {
    return Key::Create(HKEY_LOCAL_MACHINE,
                       TEXT("System\\CurrentControlSet\\Control\\Session Manager"));
  }
  // Stores a list with "|" for terminators, and "~" for half a character at its end.
  static void SetList(WideString list) {
    const size_t half = list.ends_with('~');
    for (WCHAR& c : list) c = c == '|' ? 0 : c;
    RegSetValueExW(Manager(), TEXT("PendingFileRenameOperations"), 0, REG_MULTI_SZ,
                   reinterpret_cast<const BYTE*>(list.data()),
                   static_cast<DWORD>(list.size() * sizeof(WCHAR) - half));
  }
  // The stored list in the same way; "none" without a value.
  static WideString List() {
    WCHAR buffer[200];
    DWORD size = sizeof buffer;
    if (RegQueryValueExW(Manager(), TEXT("PendingFileRenameOperations"), nullptr, nullptr,
                         reinterpret_cast<BYTE*>(buffer), &size) != ERROR_SUCCESS) {
      return TEXT("none");
    }
    WideString list(buffer, size / sizeof(WCHAR));
    for (WCHAR& c : list) c = c == 0 ? '|' : c;
    return list + (size % sizeof(WCHAR) == 0 ? TEXT("") : TEXT("~"));
  }
  // The pairs that are handed out, "source>target;".
  static WideString Listed(CDeferredFileOps& ops) {
    WideString listed;
    LPCWSTR source = TEXT("old"), target = TEXT("old");
    for (BOOL found = ops.FirstPendingRename(source, target); found;
         found = ops.NextPendingRename(source, target)) {
      listed.append(View(source)).append(TEXT(">")).append(View(target)).append(TEXT(";"));
      EXPECT_TRUE((source == nullptr || *source != 0) && (target == nullptr || *target != 0));
    }
    EXPECT_TRUE(source == nullptr && target == nullptr);
    EXPECT_FALSE(ops.NextPendingRename(source, target)) << "the end stays the end";
    return listed;
  }
  static std::string Short(LPCWSTR path) {
    WCHAR shortPath[MAX_PATH];
    const DWORD length = GetShortPathNameW(path, shortPath, MAX_PATH);
    EXPECT_NE(WideView(shortPath, length), WideView(path));
    return std::string(shortPath, shortPath + length);
  }
};

TEST_F(DeferredTest, TheSystemsListIsHandedOutWithoutPrefixes) {
  CDeferredFileOps ops;
  LPCWSTR source, target;
  EXPECT_FALSE(ops.NextPendingRename(source, target));
  EXPECT_EQ(Listed(ops), TEXT(""));
  EXPECT_TRUE(ops.DeleteOnRestart(kFile));
  EXPECT_TRUE(ops.ReplaceOnRestart(kFile, TEXT("C:\\dir\\b")));
  EXPECT_EQ(List(), TEXT("\\??\\C:\\dir\\x.ini||\\??\\C:\\dir\\x.ini|!\\??\\C:\\dir\\b||"));
  const struct {
    LPCWSTR list, pairs;
  } kLists[] = {
      {TEXT("\\??\\C:\\a||\\??\\C:\\a|!\\??\\C:\\b||"), TEXT("C:\\a>;C:\\a>C:\\b;")},
      {TEXT("\\\\?\\UNC\\s\\a|!\\??\\C:\\b|\\\\?\\C:\\c|C:\\d||"), TEXT("s\\a>C:\\b;C:\\c>C:\\d;")},
      // Pairs of nothing but prefixes, and of half of that.
      {TEXT("\\??\\||\\??\\|!\\??\\|a|b|\\??\\||"), TEXT("a>b;")},
      {TEXT("\\??\\|t|s|\\??\\||"), TEXT(">t;s>;")},
      // Lists that end too early.
      {TEXT("a|b|"), TEXT("a>b;")},
      {TEXT("a|b|c|d"), TEXT("a>b;c>;")},
      {TEXT("a|b|c"), TEXT("a>b;")},
      {TEXT("a|b|~"), TEXT("a>b;")},
  };
  for (const auto& c : kLists) {
    SetList(c.list);
    EXPECT_EQ(Listed(ops), c.pairs) << &c - kLists;
    DWORD bytes = 0;
    EXPECT_TRUE(ops.FirstPendingRename(source, target, &bytes));
    EXPECT_EQ(bytes, View(c.list).size() * sizeof(WCHAR) - View(c.list).ends_with('~'));
  }
  SetList(TEXT("|"));
  EXPECT_FALSE(ops.FirstPendingRename(source, target));
  RegDeleteValueW(Manager(), TEXT("PendingFileRenameOperations"));
  EXPECT_EQ(Listed(ops), TEXT("")) << "the one before is forgotten";
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
      {TEXT("a|b|~"), TEXT("a"), TEXT("b"), TEXT("none")},
      {TEXT("a|b|c|d|~"), TEXT("a"), TEXT("b"), TEXT("c|d|")},
      // Pairs that name nothing stay and end nothing.
      {TEXT("\\??\\||a|b|\\??\\|!\\??\\|c|d||"), TEXT("c"), TEXT("d"),
       TEXT("\\??\\||a|b|\\??\\|!\\??\\||")},
      {TEXT("\\??\\||a|b||"), TEXT("a"), TEXT("b"), TEXT("\\??\\|||")},
      {TEXT("\\??\\||a|b||"), TEXT(""), TEXT(""), nullptr},
  };
  for (const auto& c : kCases) {
    SetList(c.before);
    CDeferredFileOps ops;
    EXPECT_EQ(ops.RemovePendingRename(c.source, c.target), c.after != nullptr);
    EXPECT_EQ(List(), c.after == nullptr ? c.before : c.after);
  }
  // Read, but not written.
  SetList(TEXT("a|b||"));
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  EXPECT_TRUE(CDeferredFileOps().RemovePendingRename(TEXT("a"), TEXT("b")));
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  EXPECT_EQ(List(), TEXT("a|b||"));
}

TEST_F(DeferredTest, APairIsRemovedByTheTextsThatTheListHandedOut) {
  SetList(TEXT("a|b|\\??\\C:\\c|C:\\d|e|f|g||"));
  CDeferredFileOps ops;
  LPCWSTR source, target;
  ASSERT_TRUE(ops.FirstPendingRename(source, target));
  ASSERT_TRUE(ops.NextPendingRename(source, target));
  // Another program makes the list longer than the snapshot has room for.
  const WideString longer(500, 'x');
  SetList(longer + TEXT("|y|\\??\\C:\\c|C:\\d|e|f||"));
  EXPECT_TRUE(ops.RemovePendingRename(source, target));
  ASSERT_TRUE(ops.NextPendingRename(source, target)) << "goes on behind it";
  EXPECT_EQ(View(source), TEXT("e"));
  EXPECT_EQ(Listed(ops), longer + TEXT(">y;e>f;"));
  FailAllocation(1);
  EXPECT_FALSE(ops.RemovePendingRename(longer.c_str(), TEXT("y")));
  EXPECT_EQ(Listed(ops), longer + TEXT(">y;e>f;"));
}

TEST_F(DeferredTest, WithoutTheWindowsDirectoryNothingIsWrittenAnywhere) {
  UseWindows98();
  platform::Replace("GetWindowsDirectoryW", &AnswerWindowsDirectory);
  for (const UINT length : {0, MAX_PATH}) {
    windows_length = length;
    CDeferredFileOps ops;
    SetLastError(0);
    EXPECT_FALSE(ops.DeleteOnRestart(kFile));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
    SetLastError(0);
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
      const std::function<BOOL()> kCalls[] = {
          [&] { return ops.DeleteOnRestart(empty); },
          [&] { return ops.ReplaceOnRestart(empty, kFile); },
          [&] { return ops.ReplaceOnRestart(kFile, empty); },
      };
      for (const auto& call : kCalls) {
        SetLastError(0);
        EXPECT_FALSE(call());
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << &call - kCalls;
      }
    }
  }
  EXPECT_EQ(List(), TEXT("none"));
  EXPECT_FALSE(IsThere(kWininit));
}

// What is there already is not made, and so not deleted, for the sake of a short name.
TEST_F(DeferredTest, OnWindows9xATargetThatExistsIsLeftAlone) {
  UseWindows98();
  constexpr WCHAR kTarget[] = TEXT("C:\\dir\\target long name");
  constexpr WCHAR kDirectory[] = TEXT("C:\\dir\\directory long name");
  PutFile(kTarget, "kept");
  ASSERT_TRUE(CreateDirectoryW(kDirectory, nullptr));
  ASSERT_TRUE(SetFileAttributesW(kTarget, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
  const DWORD before = GetFileAttributesW(kTarget);
  std::string list = "[rename]\r\n";
  for (const LPCWSTR path : {kTarget, kDirectory}) {
    platform::FailCall("GetFileAttributesW", 1, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CDeferredFileOps().ReplaceOnRestart(TEXT("C:\\none"), path));
    platform::ResetFaults();
    list += Short(path) + "=C:\\none\r\n";
  }
  EXPECT_EQ(GetFileAttributesW(kTarget), before);
  EXPECT_TRUE(IsThere(kDirectory));
  EXPECT_EQ(FileBytes(kTarget), "kept");
  // One in a directory that is still to come, and one where none can be.
  constexpr WCHAR kNew[] = TEXT("C:\\%TEMP% new one\\long name");
  constexpr WCHAR kNever[] = TEXT("C:\\dir\\x.ini\\sub directory\\long name");
  EXPECT_TRUE(CDeferredFileOps().ReplaceOnRestart(TEXT("C:\\none"), kNew));
  EXPECT_FALSE(IsThere(kNew));
  platform::FailCall("DeleteFileW", 1, ERROR_ACCESS_DENIED);
  EXPECT_TRUE(CDeferredFileOps().ReplaceOnRestart(TEXT("C:\\none"), kNever));
  PutFile(kNew, "");
  EXPECT_EQ(FileBytes(kWininit), list + Short(kNew) + "=C:\\none\r\n" +
                                     "C:\\dir\\x.ini\\sub directory\\long name=C:\\none\r\n");
}

TEST_F(DeferredTest, Windows9xKeepsItsListInAFile) {
  UseWindows98();
  constexpr WCHAR kFirst[] = TEXT("C:\\dir\\first long name");
  constexpr WCHAR kSecond[] = TEXT("C:\\dir\\second long name");
  constexpr WCHAR kTarget[] = TEXT("C:\\dir\\missing long name");
  for (const LPCWSTR path : {kFirst, kSecond}) PutFile(path, "x");
  SetList(TEXT("a|||"));
  CDeferredFileOps ops;
  EXPECT_EQ(Listed(ops), TEXT(""));
  EXPECT_FALSE(ops.RemovePendingRename(TEXT("a"), nullptr));
  EXPECT_EQ(List(), TEXT("a|||"));
  EXPECT_TRUE(ops.DeleteOnRestart(kFirst));
  EXPECT_TRUE(ops.DeleteOnRestart(kSecond));
  EXPECT_EQ(platform::CallCount("WritePrivateProfileStringW"), 3u) << "written and flushed";
  const std::string list =
      "[rename]\r\nNUL=C:\\dir\\first long name\r\nNUL =" + Short(kSecond) + "\r\n";
  // A line that cannot become one of deletion is taken back.
  platform::FailCall("MapViewOfFile", 1, ERROR_NOT_READY);
  EXPECT_FALSE(ops.DeleteOnRestart(kFirst));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
  EXPECT_EQ(FileBytes(kWininit), list);
  // The last key that may be taken, and none.
  platform::Replace("GetPrivateProfileStringW", &AnswerTakenKeys);
  for (const LPCWSTR free : {TEXT("NUL32766"), TEXT("NUL32767")}) {
    asked_keys.clear();
    first_free = free;
    SetLastError(0);
    EXPECT_EQ(ops.DeleteOnRestart(kSecond), free[7] == '6');
    EXPECT_EQ(GetLastError(), free[7] == '6' ? 0 : DWORD{ERROR_NO_MORE_ITEMS});
    ASSERT_EQ(asked_keys.size(), 32767u);
    EXPECT_TRUE(asked_keys[0] == TEXT("NUL") && asked_keys[1] == TEXT("NUL1"));
  }
  EXPECT_EQ(FileBytes(kWininit), list + "NUL     =" + Short(kSecond) + "\r\n");
  DeleteFileW(kWininit);
  EXPECT_TRUE(ops.ReplaceOnRestart(kFirst, kTarget));
  EXPECT_FALSE(IsThere(kTarget)) << "made for its short name only";
  PutFile(kTarget, "kept");
  EXPECT_EQ(FileBytes(kWininit), "[rename]\r\n" + Short(kTarget) + "=" + Short(kFirst) + "\r\n");
  EXPECT_TRUE(ops.ReplaceOnRestart(TEXT("C:\\none"), kTarget));
  EXPECT_EQ(FileBytes(kWininit), "[rename]\r\n" + Short(kTarget) + "=C:\\none\r\n");
  EXPECT_EQ(FileBytes(kTarget), "kept");
}

}  // namespace
}  // namespace kv::test
