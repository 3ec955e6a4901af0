// The registry and initialisation files when calls and allocations fail.
#include "platform/control/machine.h"
#include "platform/control/profiles.h"
#include "platform/control/users.h"
#include "runtime/ipc/open_security_attributes.h"
#include "runtime/ipc/process_token.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/registry/key_name.h"
#include "runtime/registry/profile.h"
#include "runtime/registry/settings.h"
#include "runtime/registry/shared_dll_counter.h"
#include "runtime/registry/user_hives.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_files.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kSource[] = TEXT("Software\\Source");
constexpr WCHAR kTarget[] = TEXT("Software\\Target");

void RemoveKeys() {
  for (const LPCWSTR path : {kSource, kTarget}) MyDeleteKeyW(HKEY_CURRENT_USER, path);
}

// A key with a value of each type and a sub-key with a value.
void MakeSource() {
  RemoveKeys();
  const Key key = Key::Create(HKEY_CURRENT_USER, kSource);
  SetText(key, TEXT("text"), TEXT("content"));
  SetText(key, TEXT(""), TEXT("unnamed"));
  const DWORD number = 7;
  const auto* bytes = reinterpret_cast<const BYTE*>(&number);
  RegSetValueExW(key, TEXT("number"), 0, REG_DWORD, bytes, 4);
  RegSetValueExW(key, TEXT("binary"), 0, REG_BINARY, bytes, 4);
  RegSetValueExW(key, TEXT("strings"), 0, REG_MULTI_SZ,
                 reinterpret_cast<const BYTE*>(TEXT("a\0b\0")), 10);
  SetText(Key::Create(key, TEXT("Sub")), TEXT("deep"), TEXT("below"));
}

// The text of a value below HKEY_CURRENT_USER.
WideString TextAt(LPCWSTR path, LPCWSTR name) {
  const Key key = Key::Open(HKEY_CURRENT_USER, path);
  return key == nullptr ? WideString() : Text(key, name);
}
bool IsKey(LPCWSTR path) {
  return Key::Open(HKEY_CURRENT_USER, path).status == ERROR_SUCCESS;
}

void OpenSource(RegKey& key) {
  MakeSource();
  EXPECT_TRUE(key.Create(HKEY_CURRENT_USER, kSource));
}

// One operation that writes into the open key: its value is the old or the new one afterwards.
template <class Write>
void ExpectWhole(Attempt& attempt, Write write, LPCWSTR name, DWORD new_type) {
  RegKey key;
  OpenSource(key);
  const BOOL done = attempt.Call([&] { return write(key); });
  RegKey look;
  look.Open(HKEY_CURRENT_USER, kSource);
  const DWORD type = look.GetValueType(name, 0);
  attempt.Expect(done, type == new_type, type == new_type || type == REG_SZ);
}

SWEEP_AREA(RegKey, RuntimeTest);

SCENARIO(RegKey, Open) {
  MakeSource();
  RegKey key;
  const BOOL done = attempt.Call(
      [&] { return key.Open(HKEY_CURRENT_USER, TEXT("Software\\%s"), TEXT("Source")); });
  attempt.Expect(done, key.valueCount() == 5 && WideView(key.path()) == kSource, !key.IsOpen());
}

SCENARIO(RegKey, Create) {
  RemoveKeys();
  RegKey key;
  const BOOL done = attempt.Call([&] { return key.CreateView(64, HKEY_CURRENT_USER, kTarget); });
  attempt.Expect(done, key.IsOpen() && IsKey(kTarget), !key.IsOpen());
}

SCENARIO(RegKey, AttachAndDetach) {
  MakeSource();
  RegKey key, other;
  EXPECT_TRUE(other.Open(HKEY_CURRENT_USER, kSource));
  const HKEY raw = other.Detach();
  const BOOL done = attempt.Call([&] { return key.Attach(raw); });
  attempt.Expect(done, key.Detach() == raw, !key.IsOpen());
  EXPECT_EQ(RegCloseKey(raw), ERROR_SUCCESS);
}

SCENARIO(RegKey, Connect) {
  RegKey key;
  const BOOL done = attempt.Call([&] { return key.Connect(nullptr, HKEY_LOCAL_MACHINE); });
  attempt.Expect(done, key.subKeyCount() > 0, !key.IsOpen());
}

SCENARIO(RegKey, CloseAndDelete) {
  RegKey key;
  OpenSource(key);
  attempt.Call([&] { key.Close(Disposal::kDelete); });
  attempt.Expect(!IsKey(kSource), true,
                 attempt.reports() == 1 || attempt.failed().starts_with("RegDelete"));
  EXPECT_FALSE(key.IsOpen());
}

SCENARIO(RegKey, CloseAndDeleteIfEmpty) {
  RegKey full, empty;
  OpenSource(full);
  empty.Create(HKEY_CURRENT_USER, kTarget);
  attempt.Call([&] {
    full.Close(Disposal::kDeleteIfEmpty);
    empty.Close(Disposal::kDeleteIfEmpty);
  });
  EXPECT_EQ(TextAt(kSource, TEXT("text")), TEXT("content"));
  attempt.Expect(!IsKey(kTarget), true);
}

SCENARIO(RegKey, RefreshAndFlush) {
  RegKey key;
  OpenSource(key);
  SetText(key.handle(), TEXT("more"), TEXT("a longer text than before"));
  const BOOL done = attempt.Call([&] { return key.Refresh() && key.Flush(); });
  EXPECT_EQ(done, !attempt.hit());
  attempt.Expect(done, View(key.GetString(TEXT("more"))).size() == 25,
                 TextAt(kSource, TEXT("text")) == TEXT("content"));
}

SCENARIO(RegKey, Read) {
  RegKey key;
  OpenSource(key);
  WideString text, unnamed, multi;
  DWORD number = 0, size = 0, type = 0;
  const BYTE* bytes = nullptr;
  WCHAR buffer[10], unnamed_buffer[10];
  BYTE raw[4] = {};
  attempt.Call([&] {
    text = key.GetString(TEXT("text"), TEXT("none"));
    unnamed = View(key.GetDefaultString());
    number = key.GetDword(TEXT("number"), 9);
    const LPCWSTR strings = key.GetMultiString(TEXT("strings"));
    multi = strings == nullptr ? WideString() : WideString(strings, 4);
    key.ReadString(TEXT("text"), buffer, 10, Expand::kYes);
    key.ReadDefaultString(unnamed_buffer, 10, Expand::kNo);
    type = key.GetValueType(TEXT("text"), 0);
    if (!key.ReadBinary(TEXT("binary"), raw, 4)) raw[0] = 7;
    key.GetBinary(TEXT("binary"), &bytes, &size);
  });
  EXPECT_TRUE(text == TEXT("content") || (attempt.hit() && text == TEXT("none")));
  EXPECT_TRUE(unnamed == TEXT("unnamed") || (attempt.hit() && unnamed.empty()));
  EXPECT_TRUE(number == 7 || (attempt.hit() && number == 9));
  EXPECT_TRUE(multi == WideString(TEXT("a\0b\0"), 4) || (attempt.hit() && multi.empty()));
  EXPECT_TRUE(WideView(buffer) == TEXT("content") || (attempt.hit() && buffer[0] == 0));
  EXPECT_TRUE(unnamed_buffer[0] == 'u' || (attempt.hit() && unnamed_buffer[0] == 0));
  EXPECT_TRUE(type == REG_SZ || (attempt.hit() && type == 0));
  EXPECT_EQ(raw[0], 7);
  EXPECT_TRUE((size == 4 && bytes[0] == 7) || (attempt.hit() && bytes == nullptr));
}

SCENARIO(RegKey, SubKeyExists) {
  RegKey key;
  OpenSource(key);
  attempt.Expect(attempt.Call([&] { return key.SubKeyExists(TEXT("Sub")); }), true);
}

SCENARIO(RegKey, SetBinary) {
  ExpectWhole(
      attempt, [](RegKey& key) { return key.SetBinary(TEXT("text"), "x", 1); }, TEXT("text"),
      REG_BINARY);
}

SCENARIO(RegKey, SetDword) {
  ExpectWhole(
      attempt, [](RegKey& key) { return key.SetDword(TEXT("text"), 5); }, TEXT("text"), REG_DWORD);
}

SCENARIO(RegKey, SetString) {
  ExpectWhole(
      attempt,
      [](RegKey& key) {
        return key.SetString(TEXT("text"), TEXT("%x%"), REG_EXPAND_SZ, DeleteIfEmpty::kNo) &&
               key.SetSz(TEXT("other"), TEXT("text"));
      },
      TEXT("text"), REG_EXPAND_SZ);
}

SCENARIO(RegKey, SetMultiString) {
  ExpectWhole(
      attempt, [](RegKey& key) { return key.SetMultiString(TEXT("text"), TEXT("a\0b\0")); },
      TEXT("text"), REG_MULTI_SZ);
}

SCENARIO(RegKey, SetDefaultString) {
  RegKey key;
  OpenSource(key);
  const BOOL done = attempt.Call([&] { return key.SetDefaultString(TEXT("new")); });
  const WideString now = TextAt(kSource, TEXT(""));
  attempt.Expect(done, now == TEXT("new"), now == TEXT("new") || now == TEXT("unnamed"));
}

SCENARIO(RegKey, DeleteValue) {
  ExpectWhole(
      attempt, [](RegKey& key) { return key.DeleteValue(TEXT("text")); }, TEXT("text"), 0);
}

SCENARIO(RegKey, CopyValueFrom) {
  RegKey source, target;
  OpenSource(source);
  target.Create(HKEY_CURRENT_USER, kTarget);
  const BOOL done = attempt.Call([&] { return target.CopyValueFrom(source, TEXT("text")); });
  attempt.Expect(done, TextAt(kTarget, TEXT("text")) == TEXT("content"));
  EXPECT_EQ(TextAt(kSource, TEXT("text")), TEXT("content"));
}

SCENARIO(RegKey, MoveValueFrom) {
  RegKey source, target;
  OpenSource(source);
  target.Create(HKEY_CURRENT_USER, kTarget);
  const BOOL done =
      attempt.Call([&] { return target.MoveValueFrom(source, TEXT("text"), TEXT("moved")); });
  const bool old = TextAt(kSource, TEXT("text")) == TEXT("content");
  const bool moved = TextAt(kTarget, TEXT("moved")) == TEXT("content");
  attempt.Expect(done, moved && !old, moved || old);
}

SCENARIO(RegKey, MoveValueOntoItself) {
  RegKey key, again;
  OpenSource(key);
  EXPECT_TRUE(again.Create(HKEY_CURRENT_USER, kSource));
  const BOOL done = attempt.Call([&] { return again.MoveValueFrom(key, TEXT("text"), nullptr); });
  const bool kept = TextAt(kSource, TEXT("text")) == TEXT("content");
  attempt.Expect(done, kept, kept);
}

SCENARIO(RegKey, RenameValue) {
  RegKey key;
  OpenSource(key);
  SetText(key.handle(), TEXT("new name"), TEXT("renamed"));
  const BOOL done = attempt.Call([&] {
    return key.RenameValue(TEXT("text"), key.GetString(TEXT("new name"), TEXT("renamed")));
  });
  const bool old = TextAt(kSource, TEXT("text")) == TEXT("content");
  const bool renamed = TextAt(kSource, TEXT("renamed")) == TEXT("content");
  attempt.Expect(done, renamed && !old, renamed || old);
}

SCENARIO(RegKey, CopyTree) {
  RegKey source, target;
  OpenSource(source);
  target.Create(HKEY_CURRENT_USER, kTarget);
  const int copied = attempt.Call([&] { return target.CopyTree(source, Recurse::kYes); });
  const bool whole = TextAt(kTarget, TEXT("text")) == TEXT("content") &&
                     TextAt(TEXT("Software\\Target\\Sub"), TEXT("deep")) == TEXT("below");
  attempt.Expect(copied == 6, whole, copied < 6);
  EXPECT_EQ(TextAt(TEXT("Software\\Source\\Sub"), TEXT("deep")), TEXT("below"));
}

SCENARIO(RegKey, RenameSubKey) {
  RegKey key;
  OpenSource(key);
  const BOOL done = attempt.Call([&] { return key.RenameSubKey(TEXT("Sub"), TEXT("Renamed")); });
  const bool old = TextAt(TEXT("Software\\Source\\Sub"), TEXT("deep")) == TEXT("below");
  const bool renamed = TextAt(TEXT("Software\\Source\\Renamed"), TEXT("deep")) == TEXT("below");
  attempt.Expect(done, renamed && !old, renamed || old);
}

SCENARIO(RegKey, Enumeration) {
  RegKey key;
  OpenSource(key);
  int values = 0, texts = 0, numbers = 0, keys = 0;
  attempt.Call([&] {
    for (LPCWSTR name = key.FirstValue(); name != nullptr; name = key.NextValue()) {
      ++values;
    }
    for (LPCWSTR name = key.LastValue(); name != nullptr; name = key.PrevValue()) {
      ++values;
    }
    LPCWSTR text;
    for (LPCWSTR name = key.FindFirstString(&text); name != nullptr;
         name = key.FindNextString(&text)) {
      EXPECT_TRUE(WideView(text) == TEXT("content") || WideView(text) == TEXT("unnamed"));
      ++texts;
    }
    DWORD number = 0;
    for (LPCWSTR name = key.FindLastDword(&number); name != nullptr;
         name = key.FindPrevDword(&number)) {
      EXPECT_EQ(number, 7u);
      ++numbers;
    }
    for (LPCWSTR name = key.FindLastString(&text); name != nullptr;
         name = key.FindPrevString(&text)) {
      EXPECT_NE(text, nullptr);
    }
    if (key.FindFirstDword(&number) != nullptr) key.FindNextDword(&number);
    EXPECT_TRUE(key.SubKeyAt(7) == nullptr && key.ValueAt(7) == nullptr);
    for (LPCWSTR name = key.FirstSubKey(); name != nullptr; name = key.NextSubKey()) {
      EXPECT_EQ(WideView(name), TEXT("Sub"));
      ++keys;
    }
    for (LPCWSTR name = key.LastSubKey(); name != nullptr; name = key.PrevSubKey()) ++keys;
  });
  attempt.Expect(values == 10 && texts == 2 && numbers == 1 && keys == 2, true,
                 values <= 10 && texts <= 2 && numbers <= 1 && keys <= 2);
}

SCENARIO(RegKey, SetSecurityUnlessUsersCanRead) {
  RegKey key;
  OpenSource(key);
  const COpenSecurityAttributes attributes(FALSE);
  const int done = attempt.Call(
      [&] { return key.SetSecurityUnlessUsersCanRead(attributes.Get()->lpSecurityDescriptor); });
  attempt.Expect(done == 1, true, done == 0 || done == -1);
}

SCENARIO(RegKey, GetKeyName) {
  RegKey key;
  OpenSource(key);
  WCHAR name[100];
  attempt.Call([&] { key.GetKeyName(name, 100); });
  // Whose hive it is may not be known.
  const bool kernels =
      attempt.hit() && WideView(name).starts_with(TEXT("\\REGISTRY\\USER\\S-1-5-"));
  attempt.Expect(name[0] != 0, EqualNoCase(name, TEXT("HKCU\\Software\\Source")) || kernels);
}

SCENARIO(RegKey, IsCurrentUserKey) {
  const Key user = Key::Open(HKEY_CURRENT_USER, TEXT(""));
  attempt.Expect(attempt.Call([&] { return IsCurrentUserKey(user); }), true);
}

SCENARIO(RegKey, MessagingProfilesKey) {
  const BOOL opened = attempt.Call([] { return MessagingProfilesKey(KeyMode::kWrite).IsOpen(); });
  attempt.Expect(opened, true);
}

SCENARIO(RegKey, MyDeleteKey) {
  MakeSource();
  const BOOL done = attempt.Call([] { return MyDeleteKeyW(HKEY_CURRENT_USER, kSource); });
  attempt.Expect(done, !IsKey(kSource));
  EXPECT_TRUE(done || attempt.reports() == 1 || attempt.failed().starts_with("RegDelete"));
}

SCENARIO(RegKey, MyDeleteKeyA) {
  MakeSource();
  const BOOL done =
      attempt.Call([] { return MyDeleteKeyA(HKEY_CURRENT_USER, "Software\\Source"); });
  attempt.Expect(done, !IsKey(kSource));
}

SCENARIO(RegKey, ExpandEnvironment) {
  WCHAR text[MAX_PATH] = TEXT("%windir%");
  BOOL expanded = FALSE;
  const auto copy = attempt.Call([&] {
    expanded = ExpandInPlace(text, MAX_PATH);
    return MyExpandEnvironmentStrings(TEXT("%windir%\\x"));
  });
  attempt.Expect(expanded, WideView(text) == TEXT("C:\\Windows"),
                 WideView(text) == TEXT("%windir%"));
  attempt.Expect(copy != nullptr, View(copy.get()) == TEXT("C:\\Windows\\x"));
}

SWEEP_AREA(Settings, RuntimeTest);

constexpr WCHAR kFolvane[] = TEXT("Software\\Veltmoor Software\\Folvane8");

SCENARIO(Settings, Read) {
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  SetText(Key::Create(HKEY_LOCAL_MACHINE, kFolvane), TEXT("t"), TEXT("text"));
  const DWORD seven = 7;
  RegSetValueExW(Key::Create(HKEY_CURRENT_USER, kFolvane), TEXT("n"), 0, REG_DWORD,
                 reinterpret_cast<const BYTE*>(&seven), 4);
  WCHAR text[8], own[8];
  DWORD number = 0, machine = 0;
  attempt.Call([&] {
    ReadMachineSettingString(TEXT("t"), text, 8);
    ReadSettingString(HKEY_LOCAL_MACHINE, TEXT("t"), own, 8);
    number = ReadSettingDword(HKEY_CURRENT_USER, TEXT("n"), 1);
    machine = ReadMachineSettingDword(TEXT("n"), 2);
    ReadStartupSettings();
  });
  attempt.Expect(text[0] != 0, WideView(text) == TEXT("text"));
  attempt.Expect(own[0] != 0, WideView(own) == TEXT("text"));
  attempt.Expect(number != 1, number == 7);
  EXPECT_EQ(machine, 2u);
  EXPECT_EQ(startupContext.silent, 0u);
}

SCENARIO(Settings, Write) {
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  MyDeleteKeyW(HKEY_CURRENT_USER, kFolvane);
  const BOOL done = attempt.Call([] {
    return UserSettingsKey(KeyMode::kWrite).SetSz(TEXT("t"), TEXT("u")) &&
           MachineSettingsKey(KeyMode::kWrite).SetSz(TEXT("t"), TEXT("m"));
  });
  attempt.Expect(done, TextAt(kFolvane, TEXT("t")) == TEXT("u"));
}

SCENARIO(Settings, SharedDllCounter) {
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  const auto count = [](int change) -> DWORD {
    SharedDllCounter counter;
    return change > 0   ? counter.AddRef(TEXT("C:\\x.dll"))
           : change < 0 ? counter.Release(TEXT("C:\\x.dll"))
                        : counter.GetDword(TEXT("C:\\x.dll"), 0);
  };
  while (count(0) > 0) count(-1);
  for (const DWORD old : {1u, 2u}) {
    count(1);
    EXPECT_EQ(count(0), old);
  }
  DWORD added = 0, left = 0;
  attempt.Call([&] {
    added = count(1);
    left = count(-1);
  });
  // One of the two steps may have failed, or its answer: 0 for a count that could not be read.
  const DWORD now = count(0);
  const bool first_stayed = now == 1 && (added == 2 || added == 0);
  const bool second_stayed = now == 3 && added == 3;
  attempt.Expect(added == 3 && left == 2, now == 2,
                 (left == now || left == 0) && (now == 2 || first_stayed || second_stayed));
}

constexpr WCHAR kFile[] = TEXT("C:\\dir\\x.ini");
constexpr char kSection[] = "[s]\r\na=1\r\nb=text\r\n[t]\r\nc=2\r\n";

// An operation that writes into the file, which is the old or the new one afterwards.
template <class Write>
void ExpectFile(Attempt& attempt, Write write, const char* wanted) {
  PutFile(kFile, kSection);
  const CPrivateProfile file(kFile);
  const BOOL done = attempt.Call([&] { return write(file); });
  const std::string now = FileBytes(kFile);
  attempt.Expect(done, now == wanted, now == kSection || now == wanted);
}

SWEEP_AREA(Profiles, RuntimeTest);

SCENARIO(Profiles, Read) {
  PutFile(kFile, kSection);
  PutFile(TEXT("C:\\Windows\\win.ini"), kSection);
  int keys = 0;
  WideString value, section, windows_value;
  UINT number = 0, windows_number = 0;
  WCHAR buffer[8], windows_buffer[8];
  attempt.Call([&] {
    CPrivateProfile file(kFile);
    CProfile windows;
    for (LPCWSTR key = file.FirstKey(TEXT("s")); key != nullptr; key = file.NextKey()) {
      ++keys;
    }
    for (LPCWSTR key = windows.FirstKey(TEXT("s")); key != nullptr; key = windows.NextKey()) {
      ++keys;
    }
    value = View(file.GetString(TEXT("s"), TEXT("b")));
    windows_value = View(windows.GetString(TEXT("s"), TEXT("b"), TEXT("none")));
    number = file.GetInt(TEXT("s"), TEXT("a"), 9);
    windows_number = windows.GetInt(TEXT("s"), TEXT("a"), 9);
    file.GetString(TEXT("s"), TEXT("b"), buffer, 8);
    windows.GetString(TEXT("s"), TEXT("b"), windows_buffer, 8);
    section = View(file.GetSection(TEXT("s")).get());
  });
  const bool all = keys == 4 && value == TEXT("text") && number == 1 && windows_number == 1 &&
                   windows_value == TEXT("text") && WideView(buffer) == TEXT("text") &&
                   WideView(windows_buffer) == TEXT("text") && section == TEXT("a=1");
  attempt.Expect(all, true,
                 (value.empty() || value == TEXT("text")) && (number == 1 || number == 9));
}

SCENARIO(Profiles, WriteString) {
  ExpectFile(
      attempt,
      [](const CPrivateProfile& file) {
        return file.WriteString(TEXT("s"), TEXT("a"), TEXT("new"));
      },
      "[s]\r\na=new\r\nb=text\r\n[t]\r\nc=2\r\n");
}

SCENARIO(Profiles, WriteNumbers) {
  ExpectFile(
      attempt,
      [](const CPrivateProfile& file) {
        return file.WriteInt(TEXT("s"), TEXT("a"), 1) &&
               file.WriteFormatted(TEXT("s"), TEXT("b"), TEXT("%d"), 8);
      },
      "[s]\r\na=1\r\nb=8\r\n[t]\r\nc=2\r\n");
}

SCENARIO(Profiles, WriteSection) {
  ExpectFile(
      attempt,
      [](const CPrivateProfile& file) { return file.WriteSection(TEXT("s"), TEXT("x=1\0")); },
      "[s]\r\nx=1\r\n[t]\r\nc=2\r\n");
}

SCENARIO(Profiles, Delete) {
  PutFile(kFile, kSection);
  const CPrivateProfile file(kFile);
  const BOOL done = attempt.Call(
      [&] { return file.DeleteKey(TEXT("s"), TEXT("a")) && file.DeleteSection(TEXT("t")); });
  const std::string now = FileBytes(kFile);
  attempt.Expect(done, now == "[s]\r\nb=text\r\n", now.find("b=text") != std::string::npos);
}

SCENARIO(Profiles, RenameKey) {
  ExpectFile(
      attempt,
      [](const CPrivateProfile& file) { return file.RenameKey(TEXT("s"), TEXT("b"), TEXT("x")); },
      "[s]\r\na=1\r\nx=text\r\n[t]\r\nc=2\r\n");
}

// Operations deferred to the next restart, on the system of that name.
void Defer(Attempt& attempt, const char* system) {
  constexpr WCHAR kWininit[] = TEXT("C:\\Windows\\wininit.ini");
  platform::UseProfile(system);
  ReadPlatformFacts(startupContext.platform);
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  PutFile(kWininit, "[rename]\r\nNUL=first\r\n");
  PutFile(kFile, kSection);
  DeleteFileW(TEXT("C:\\dir\\y"));
  const bool done = attempt.Call([]() -> bool {
    CDeferredFileOps ops;
    LPCWSTR source = nullptr, target = nullptr;
    const BOOL added =
        ops.DeleteOnRestart(kFile) && ops.ReplaceOnRestart(kFile, TEXT("C:\\dir\\y"));
    if (ops.FirstPendingRename(source, target)) ops.NextPendingRename(source, target);
    if (startupContext.platform.win9xKind != 0) return added;
    return added && ops.RemovePendingRename(kFile, TEXT("C:\\dir\\y")) &&
           ops.RemovePendingRename(kFile, nullptr);
  });
  attempt.Expect(done, true, FileBytes(kWininit).find("NUL=first") != std::string::npos);
  EXPECT_EQ(FileBytes(kWininit).find("NUL1"), std::string::npos) << "a line that does nothing";
  CDeferredFileOps cleaning;
  while (cleaning.RemovePendingRename(kFile, nullptr)) continue;
  while (cleaning.RemovePendingRename(kFile, TEXT("C:\\dir\\y"))) continue;
}

SWEEP_AREA(DeferredFileOps, RuntimeTest);

SCENARIO(DeferredFileOps, Nt) {
  Defer(attempt, "windows-10");
}

SCENARIO(DeferredFileOps, Windows98) {
  Defer(attempt, "windows-98");
}

class HivesMachine : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    platform::SetFact(platform::facts::kAccounts, "Bob:1002,Eve:1003");
    bob = platform::MakeProfile(TEXT("Bob"), true);
    platform::MakeProfile(TEXT("Eve"), false);
  }

 public:
  static inline WideString bob;
  // Users' hives below HKEY_USERS that are not always there.
  static std::vector<WideString> Loaded() {
    std::vector<WideString> names;
    WCHAR name[256];
    for (DWORD i = 0, size = 256; RegEnumKeyExW(HKEY_USERS, i, name, &size, nullptr, nullptr,
                                                nullptr, nullptr) == ERROR_SUCCESS;
         ++i, size = 256) {
      const WideView view = name;
      if (!IsSystemUserKey(name) && !view.ends_with(TEXT("-1001"))) names.emplace_back(view);
    }
    return names;
  }
  static void UnloadAll() {
    EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE);
    RegUnLoadKeyW(HKEY_USERS, (bob + TEXT("_Classes")).c_str());
    for (const WideString& name : Loaded()) RegUnLoadKeyW(HKEY_USERS, name.c_str());
    EnablePrivilege(TEXT("SeRestorePrivilege"), FALSE);
  }
};

SWEEP_AREA(UserHives, HivesMachine);

SCENARIO(UserHives, LoadAndUnload) {
  const int users = attempt.Call([] {
    UserHives hives(UserHives::kLoadAndUnload);
    const platform::OutsideTest counting;
    return static_cast<int>(HivesMachine::Loaded().size());
  });
  attempt.Expect(users == 2, true, users <= 2);
  // What cannot be unloaded, for lack of the right or because the system refuses, stays.
  const std::string& failed = attempt.failed();
  const bool may_stay =
      failed.starts_with("RegUnLoadKeyW") || failed.starts_with("AdjustTokenPrivileges") ||
      failed.starts_with("LookupPrivilegeValueW") || failed.starts_with("OpenProcessToken") ||
      failed.starts_with("OpenThreadToken");
  EXPECT_TRUE(HivesMachine::Loaded().empty() || may_stay);
  HivesMachine::UnloadAll();
}

SCENARIO(UserHives, Profiles) {
  WCHAR name[8] = {}, hive[MAX_PATH] = {};
  int loaded = 0;
  EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE);
  const BOOL known = attempt.Call([&] {
    ProfileListKey profiles;
    ProfileKey profile;
    if (profile.Open(profiles.handle(), TEXT("%s"), HivesMachine::bob.c_str())) {
      loaded = profile.LoadUserHive(hive);
    }
    return GetProfileUserName(HivesMachine::bob.c_str(), name, 8);
  });
  attempt.Expect(known, WideView(name) == TEXT("Bob"), name[0] == 0);
  attempt.Expect(loaded != 0, WideView(hive) == HivesMachine::bob);
  HivesMachine::UnloadAll();
}

}  // namespace
}  // namespace kv::test
