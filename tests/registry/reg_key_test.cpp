// What RegKey asks of the registry, who may create where, and what failures leave behind.
#include "runtime/registry/reg_key.h"

#include <functional>

#include "platform/control/message_boxes.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/registry/shared_dll_counter.h"
#include "runtime/registry/stable_text.h"
#include "runtime/text/wide_text.h"
#include "tests/registry/error_of.h"
#include "tests/support/failing_new.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr const WCHAR* kTestKey = TEXT("Software\\Test");
// Larger than any number of allocations: counts without failing one.
constexpr uint64_t kCountOnly = 1'000'000'000;

class RegKeyTest : public RuntimeTest {
 protected:
  static void Elevate() { platform::SetFact(platform::facts::kUserIsElevated, "1"); }
  static WideString LastBox() {
    const auto boxes = platform::ShownBoxes();
    return boxes.empty() ? WideString() : boxes.back().text;
  }
};

TEST_F(RegKeyTest, ValuesThatGrewMeanwhileAreReadUpToTwiceTheirSize) {
  RegKey key;
  ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey));
  key.SetSz(TEXT("v"), TEXT("1234"));  // 10 bytes, so room for 22
  const Key other = Key::Open(HKEY_CURRENT_USER, kTestKey, KEY_ALL_ACCESS);
  SetText(other, TEXT("v"), TEXT("1234567890"));
  EXPECT_EQ(WideView(key.GetString(TEXT("v"))), TEXT("1234567890"));
  // The whole capacity without a terminator of its own.
  const WideString full(11, 'f');
  RegSetValueExW(other, TEXT("v"), 0, REG_SZ, reinterpret_cast<const BYTE*>(full.data()), 22);
  EXPECT_EQ(WideView(key.GetString(TEXT("v"))), full);
  SetText(other, TEXT("v"), full);
  EXPECT_EQ(key.GetString(TEXT("v")), nullptr);
  EXPECT_EQ(key.NextValue(), nullptr);
  EXPECT_EQ(WideView(key.FirstValue()), TEXT("v")) << "which refreshes";
  EXPECT_EQ(WideView(key.GetString(TEXT("v"))), full);
  // The name of one character has room for two.
  for (const LPCWSTR name : {TEXT("w2"), TEXT("w23")}) {
    RegDeleteValueW(other, TEXT("v"));
    SetText(other, name, TEXT(""));
    EXPECT_EQ(View(key.ValueAt(0)), name[2] == 0 ? WideView(name) : WideView());
    RegDeleteValueW(other, name);
  }
}

TEST_F(RegKeyTest, OnlyHighIntegrityCreatesDirectlyBelowTheMachinesRoots) {
  RegKey software, key;
  for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS}) {
    EXPECT_EQ(ErrorOf([&] { return key.Create(root, kTestKey); }), DWORD{ERROR_ACCESS_DENIED});
  }
  EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 0u);
  ASSERT_TRUE(software.Open(HKEY_LOCAL_MACHINE, TEXT("Software")));
  EXPECT_FALSE(key.Create(software.handle(), TEXT("Test")));
  EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 1u) << "the registry itself refuses";
  EXPECT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey));
  EXPECT_FALSE(key.Create(HKEY_CURRENT_USER, WideString(256, 'k').c_str())) << "no such names";
  EXPECT_FALSE(key.IsOpen()) << "the key before is closed";
  EXPECT_EQ(SharedDllCounter().AddRef(TEXT("C:\\x.dll")), 0u);
  Elevate();
  EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, kTestKey));
}

TEST_F(RegKeyTest, SharedFilesAreCountedToTheLastUser) {
  Elevate();
  SharedDllCounter counter;
  const LPCWSTR file = TEXT("C:\\x.dll");
  EXPECT_EQ(counter.Release(file), 0u);
  EXPECT_EQ(counter.AddRef(file), 1u);
  EXPECT_EQ(counter.AddRef(file), 2u);
  RegKey system;
  system.Open(HKEY_LOCAL_MACHINE, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs"));
  EXPECT_EQ(system.GetDword(file, 9), 2u);
  // The file's name is the key's own text, until others write a longer name.
  const LPCWSTR listed = counter.FirstValue();
  SetText(counter.handle(), WideString(300, 'n'), TEXT("x"));
  EXPECT_EQ(counter.AddRef(listed), 3u);
  counter.SetSz(TEXT("pointer"), file);
  EXPECT_EQ(counter.Release(counter.GetString(TEXT("pointer"))), 2u);
  // A count that cannot be read stays; what is none counts as 0.
  platform::FailCall("RegQueryValueExW", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(counter.AddRef(file), 2u);
  for (const LPCWSTR text : {TEXT("x"), TEXT("longer")}) {
    SetText(counter.handle(), TEXT("text"), text);
    EXPECT_EQ(counter.Release(TEXT("text")), 0u);
    EXPECT_EQ(Text(counter.handle(), TEXT("text")), text) << "is nobody's count";
    EXPECT_EQ(counter.AddRef(TEXT("text")), 1u);
  }
  const WideString long_path(260, 'p');
  for (const bool add : {true, false}) {
    FailAllocation(1);
    EXPECT_EQ(add ? counter.AddRef(long_path.c_str()) : counter.Release(long_path.c_str()), 0u);
  }
  EXPECT_EQ(counter.Release(file), 1u);
  EXPECT_EQ(counter.Release(file), 0u);
  EXPECT_EQ(counter.GetValueType(file, 0), 0u) << "the value is gone";
}

TEST_F(RegKeyTest, AStableTextIsCopiedWhereItsBufferMayChange) {
  WCHAR buffer[300] = {};
  EXPECT_TRUE(LiesIn(buffer, buffer, 2) && LiesIn(&buffer[1], buffer, 3));
  EXPECT_FALSE(LiesIn(&buffer[1], buffer, 2) || LiesIn(buffer, &buffer[1], 4) ||
               LiesIn(buffer, nullptr, ~size_t{0}));
  for (const size_t length : {259, 260}) {
    const WideString text(length, 't');
    text.copy(buffer, length);
    buffer[length] = 0;
    FailAllocation(1);
    const StableText copy(buffer, true), same(buffer, false);
    EXPECT_EQ(static_cast<bool>(copy), length == 259) << "which needs no memory";
    EXPECT_EQ(same.Get(), buffer);
    FailAllocation(0);
    const StableText kept(buffer, true);
    buffer[0] = 0;
    EXPECT_EQ(kept.View(), text);
    EXPECT_TRUE(kept.Restore() == buffer && WideView(buffer) == text);
  }
}

// A variable that gets its 40 characters once its first length is known.
int expansions;
DWORD WINAPI ExpandWhatGrows(LPCWSTR, LPWSTR buffer, DWORD capacity) {
  if (++expansions == 1) return 3;
  if (capacity <= 40) return 41;
  for (int i = 0; i < 40; ++i) buffer[i] = 'v';
  buffer[40] = 0;
  return 41;
}

TEST_F(RegKeyTest, AnExpansionThatGrowsMeanwhileIsWhole) {
  platform::Replace("ExpandEnvironmentStringsW", &ExpandWhatGrows);
  expansions = 0;
  EXPECT_EQ(View(MyExpandEnvironmentStrings(TEXT("%x%")).get()), WideString(40, 'v'));
  platform::ResetFaults();
  WCHAR text[16] = TEXT("%windir%");
  for (const uint64_t nth : {1, 2, 3}) {
    if (nth < 3) platform::FailCall("ExpandEnvironmentStringsW", nth);
    FailAllocation(nth < 3 ? 0 : 1);
    if (nth == 3) platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(ExpandInPlace(text, 16));
    EXPECT_EQ(WideView(text), TEXT("%windir%"));
  }
  EXPECT_EQ(LastBox(), TEXT("An internal error occurred: MyExpandEnvironmentStrings."));
}

REGSAM asked_access;
LSTATUS WINAPI RememberOpen(HKEY, LPCWSTR, DWORD, REGSAM access, PHKEY) {
  asked_access = access;
  return ERROR_FILE_NOT_FOUND;
}
LSTATUS WINAPI RememberCreate(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM access,
                              LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD) {
  asked_access = access;
  return ERROR_ACCESS_DENIED;
}

TEST_F(RegKeyTest, EachFormAsksForItsAccessAndView) {
  platform::Replace("RegOpenKeyExW", &RememberOpen);
  platform::Replace("RegCreateKeyExW", &RememberCreate);
  RegKey key;
  const HKEY root = HKEY_CURRENT_USER;
  const struct {
    std::function<BOOL()> call;
    REGSAM access;
  } kCases[] = {
      {[&] { return key.Open(root, kTestKey); }, 0x20019},
      {[&] { return key.Open32(root, kTestKey); }, 0x20219},
      {[&] { return key.Open64(root, kTestKey); }, 0x20119},
      {[&] { return key.OpenView(16, root, kTestKey); }, 0x20019},
      {[&] { return key.OpenRW(root, kTestKey); }, 0x2001F},
      {[&] { return key.OpenRW32(root, kTestKey); }, 0x2021F},
      {[&] { return key.OpenRW64(root, kTestKey); }, 0x2011F},
      {[&] { return key.Create(root, kTestKey); }, 0x6001F},
      {[&] { return key.Create32(root, kTestKey); }, 0x6021F},
      {[&] { return key.Create64(root, kTestKey); }, 0x6011F},
      {[&] { return key.CreateView(0, root, kTestKey); }, 0x6001F},
  };
  for (const auto& c : kCases) {
    EXPECT_FALSE(c.call());
    EXPECT_EQ(asked_access, c.access) << &c - kCases;
  }
}

TEST_F(RegKeyTest, WithoutMemoryOrFactsAKeyIsNotOpenAndNothingIsDeleted) {
  RegKey key;
  for (const uint64_t nth : {1, 2, 3, 4}) {
    FailAllocation(nth);
    EXPECT_EQ(ErrorOf([&] { return RegKey().Create(HKEY_CURRENT_USER, kTestKey); }),
              DWORD{ERROR_NOT_ENOUGH_MEMORY});
    FailAllocation(0);
    // Another process writes what the key has no room for.
    ASSERT_TRUE(key.Open(HKEY_CURRENT_USER, kTestKey));
    const Key other = Key::Open(HKEY_CURRENT_USER, kTestKey, KEY_ALL_ACCESS);
    const WideString longer(10 * nth, 'v');
    SetText(other, longer, longer);
    Key::Create(other, longer);
    FailAllocation(nth);
    if (nth == 4) break;
    EXPECT_EQ(ErrorOf([&] { return key.Refresh(); }), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_TRUE(key.valueCount() == 0 && key.subKeyCount() == 0);
    EXPECT_TRUE(key.GetString(longer.c_str()) == nullptr && key.ValueAt(0) == nullptr &&
                key.SubKeyAt(0) == nullptr);
    EXPECT_TRUE(key.Refresh());
    EXPECT_EQ(View(key.GetString(longer.c_str())), longer);
  }
  FailAllocation(1);
  key.Close(Disposal::kDeleteIfEmpty);
  FailAllocation(0);
  EXPECT_EQ(Text(Key::Open(HKEY_CURRENT_USER, kTestKey), WideString(40, 'v')), WideString(40, 'v'));

  platform::FailCall("RegQueryInfoKeyW", 1, 0, 3);
  EXPECT_FALSE(key.Open(HKEY_CURRENT_USER, kTestKey) || key.IsOpen());
  EXPECT_FALSE(key.Connect(nullptr, HKEY_LOCAL_MACHINE) || key.IsOpen());
  EXPECT_FALSE(key.Attach(HKEY_CURRENT_USER) || key.IsOpen());
  platform::FailCall("RegConnectRegistryW", 1);
  EXPECT_FALSE(key.Connect(nullptr, HKEY_LOCAL_MACHINE) || key.IsOpen());
  EXPECT_TRUE(key.Flush() && !key.Refresh());
  ASSERT_TRUE(key.Connect(nullptr, HKEY_LOCAL_MACHINE) && key.SubKeyExists(TEXT("Software")));
  EXPECT_TRUE(key.subKeyCount() > 0 && key.parent() == HKEY_LOCAL_MACHINE && key.path() == nullptr);
  EXPECT_TRUE(key.Flush());
  platform::FailCall("RegFlushKey", 1);
  EXPECT_FALSE(key.Flush());
}

TEST_F(RegKeyTest, DeletingReportsTheCallThatFailed) {
  const struct {
    const char* call;
    uint64_t nth, count;
    DWORD error;
    LPCWSTR box;  // null: none
    const char* counted;
    uint64_t calls;
  } kFailures[] = {
      {"RegOpenKeyExW", 2, 1, ERROR_ACCESS_DENIED,
       TEXT("RegOpenKeyExW failed.\n\nAccess is denied."), "RegOpenKeyExW", 2},
      {"RegEnumKeyExW", 1, 1, ERROR_ACCESS_DENIED,
       TEXT("RegEnumKeyExW failed.\n\nAccess is denied."), "RegEnumKeyExW", 1},
      // Listed, but never found.
      {"RegOpenKeyExW", 2, kCountOnly, ERROR_FILE_NOT_FOUND,
       TEXT("RegOpenKeyExW failed.\n\nThe system cannot find the file specified."), "RegOpenKeyExW",
       101},
      {"RegDeleteKeyW", 1, 1, ERROR_ACCESS_DENIED, nullptr, "RegDeleteKeyW", 1},
  };
  Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b"));
  for (const auto& c : kFailures) {
    platform::ResetFaults();
    platform::FailCall(c.call, c.nth, c.error, c.count);
    if (c.box != nullptr) platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey));
    EXPECT_EQ(platform::CallCount(c.counted), c.calls) << &c - kFailures;
    EXPECT_TRUE(c.box == nullptr || LastBox() == c.box) << &c - kFailures;
  }
  platform::ResetFaults();
  EXPECT_TRUE(RegKey().Open(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b")));
  Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\\u00E9"));
  EXPECT_TRUE(MyDeleteKeyA(HKEY_CURRENT_USER, "Software\\Test\\\xE9"));
  EXPECT_FALSE(RegKey().Open(HKEY_CURRENT_USER, TEXT("Software\\Test\\\u00E9")));
  const Key test = Key::Open(HKEY_CURRENT_USER, kTestKey, KEY_ALL_ACCESS);
  for (int i = 0; i < 101; ++i) Key::Create(test, WideString(1, static_cast<WCHAR>('0' + i)));
  EXPECT_TRUE(MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey)) << "any number of keys";
  startupContext.platform.win9xKind = 1;
  for (const bool copied : {false, true}) {
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(copied
                     ? DeleteCopiedKey(HKEY_CURRENT_USER, kTestKey, nullptr) != CopiedKey::kFailed
                     : MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey));
    EXPECT_EQ(LastBox(), TEXT("An internal step failed: MyDeleteKeyW."));
  }
  platform::SetFact(platform::facts::kPlatformId, "1");
  Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b"));
  EXPECT_TRUE(MyDeleteKeyA(HKEY_CURRENT_USER, "Software\\Test"));
  EXPECT_FALSE(RegKey().Open(HKEY_CURRENT_USER, kTestKey));
  EXPECT_FALSE(MyDeleteKeyA(HKEY_CURRENT_USER, "Software\\Test"));
}

TEST_F(RegKeyTest, AKeyThatHasTwoPathsIsNotRenamedToItself) {
  Elevate();
  SetText(Key::Create(HKEY_LOCAL_MACHINE, TEXT("Software\\Test\\sub")), TEXT("v"), TEXT("kept"));
  RegKey machine;
  ASSERT_TRUE(machine.Attach(HKEY_LOCAL_MACHINE));
  // A 32-bit program of a 64-bit system finds its keys under both.
  const bool two_keys = sizeof(void*) == 8;
  for (const LPCWSTR path :
       {TEXT("Software\\Wow6432Node\\Test"), TEXT("Software\\Wow6432Node\\Test\\sub\\new")}) {
    if (two_keys) break;
    EXPECT_EQ(ErrorOf([&] { return machine.RenameSubKey(TEXT("Software\\Test"), path); }),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_FALSE(machine.RenameSubKey(path, TEXT("Software\\Test")));
    RegKey sub;
    ASSERT_TRUE(sub.Open(HKEY_LOCAL_MACHINE, TEXT("Software\\Test\\sub")));
    EXPECT_EQ(View(sub.GetString(TEXT("v"))), TEXT("kept"));
    EXPECT_EQ(sub.subKeyCount(), 0u);
  }
  // What is to be replaced stays when nothing may take its place.
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  EXPECT_EQ(ErrorOf([&] { return machine.RenameSubKey(TEXT("System"), TEXT("Software\\Test")); }),
            DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(RegKeyTest, WhereKeysHaveNoNamesAValueIsMovedUnlessItsLikeIsThere) {
  platform::FailCall("NtQueryObject", 1, 0, kCountOnly);
  RegKey key, again, other;
  ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey) &&
              again.Create(HKEY_CURRENT_USER, kTestKey) &&
              other.Create(key.handle(), TEXT("other")));
  key.SetSz(TEXT("v"), TEXT("kept"));
  EXPECT_EQ(ErrorOf([&] { return again.MoveValueFrom(key, TEXT("v"), nullptr); }),
            DWORD{ERROR_NOT_SUPPORTED});
  EXPECT_EQ(View(key.GetString(TEXT("v"))), TEXT("kept"));
  for (const LPCWSTR older : {TEXT(""), TEXT("older"), TEXT("KEPT"), TEXT("kept")}) {
    const DWORD type = older == WideView(TEXT("kept")) ? REG_EXPAND_SZ : REG_SZ;
    key.SetSz(TEXT("v"), TEXT("kept"));
    other.SetString(TEXT("v"), older, type, DeleteIfEmpty::kYes);
    EXPECT_TRUE(other.MoveValueFrom(key, TEXT("v"), nullptr));
    EXPECT_EQ(View(other.GetString(TEXT("v"))), TEXT("kept"));
    EXPECT_EQ(key.valueCount(), 0u);
  }
}

// Another program that changes keys just before a call comes for the n-th time.
int calls_left;
std::function<void()> others;
void LetOthersChange() {
  if (--calls_left != 0) return;
  const platform::OutsideTest outside;
  others();
}
LSTATUS WINAPI SetValueAfterOthers(HKEY key, LPCWSTR name, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD size) {
  LetOthersChange();
  return RegSetValueExW(key, name, reserved, type, data, size);
}
LSTATUS WINAPI DeleteAfterOthers(HKEY key, LPCWSTR path) {
  LetOthersChange();
  return RegDeleteKeyW(key, path);
}
LSTATUS WINAPI EnumerateAfterOthers(HKEY key, DWORD index, LPWSTR name, LPDWORD size,
                                    LPDWORD reserved, LPWSTR class_name, LPDWORD class_size,
                                    PFILETIME last_write) {
  LetOthersChange();
  return RegEnumKeyExW(key, index, name, size, reserved, class_name, class_size, last_write);
}
LSTATUS WINAPI OpenAfterOthers(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY result) {
  LetOthersChange();
  return RegOpenKeyExW(key, path, options, access, result);
}

void SetBelow(LPCWSTR path, LPCWSTR name, LPCWSTR text) {
  const Key test = Key::Create(HKEY_CURRENT_USER, kTestKey);
  SetText(Key::Create(test, path), name, text);
}
WideString TextBelow(LPCWSTR path, LPCWSTR name) {
  const Key key = Key::Open(HKEY_CURRENT_USER, WideString(kTestKey) + TEXT("\\") + path);
  return key.status == ERROR_SUCCESS ? Text(key, name) : TEXT("no key");
}

TEST_F(RegKeyTest, WhatOthersWriteWhileAKeyIsRenamedIsRenamedToo) {
  const struct {
    LPCWSTR path, name;
    int calls;  // of the copy's three writes and the three deletions; behind them it is too late
  } kChanges[] = {
      {TEXT("a"), TEXT("v"), 6},
      {TEXT("b\\a"), TEXT("v"), 6},
      {TEXT("c"), TEXT("v"), 4},
      {TEXT(""), TEXT("late"), 5},
  };
  platform::Replace("RegSetValueExW", &SetValueAfterOthers);
  platform::Replace("RegDeleteKeyW", &DeleteAfterOthers);
  for (const auto& c : kChanges) {
    for (int call = 1; call <= c.calls; ++call) {
      SCOPED_TRACE(testing::Message() << "change " << &c - kChanges << ", call " << call);
      calls_left = 0;
      for (const LPCWSTR path : {TEXT("old"), TEXT("old\\b"), TEXT("old\\c")})
        SetBelow(path, TEXT("v"), TEXT("text"));
      RegKey key;
      ASSERT_TRUE(key.OpenRW(HKEY_CURRENT_USER, kTestKey));
      calls_left = call;
      others = [&] {
        SetBelow((WideString(TEXT("old\\")) + c.path).c_str(), c.name, TEXT("new text"));
      };
      EXPECT_TRUE(key.RenameSubKey(TEXT("old"), TEXT("new")));
      EXPECT_LE(calls_left, 0);
      EXPECT_FALSE(key.SubKeyExists(TEXT("old")));
      EXPECT_EQ(TextBelow((WideString(TEXT("new\\")) + c.path).c_str(), c.name), TEXT("new text"));
      EXPECT_EQ(TextBelow(TEXT("new"), TEXT("v")), TEXT("text"));
      EXPECT_EQ(TextBelow(TEXT("new\\b"), TEXT("v")), TEXT("text"));
      calls_left = 0;
      key.Close(Disposal::kDelete);
    }
  }
}

TEST_F(RegKeyTest, AKeyThatOthersWriteToAllTheTimeIsNotRenamed) {
  platform::Replace("RegDeleteKeyW", &DeleteAfterOthers);
  platform::Replace("RegEnumKeyExW", &EnumerateAfterOthers);
  SetBelow(TEXT("old"), TEXT("v"), TEXT("text"));
  RegKey key;
  ASSERT_TRUE(key.OpenRW(HKEY_CURRENT_USER, kTestKey));
  int changes = 0;
  calls_left = 1;
  others = [&] {
    calls_left = 1;
    SetBelow(TEXT("old"), WideString(++changes, 'n').c_str(), TEXT("text"));
  };
  EXPECT_FALSE(key.RenameSubKey(TEXT("old"), TEXT("new")));
  EXPECT_EQ(TextBelow(TEXT("old"), TEXT("v")), TEXT("text"));
  EXPECT_EQ(changes, 10) << "as often as it was copied";
  // What cannot be copied as a whole stays as a whole.
  calls_left = 0;
  SetBelow(TEXT("old\\sub"), TEXT("v"), TEXT("text"));
  const Key empty = Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\old\\sub\\empty"));
  for (const char* call : {"RegSetValueExW", "RegCreateKeyExW", "RegEnumValueW"}) {
    platform::FailCall(call, 2, 0, kCountOnly);
    EXPECT_FALSE(key.RenameSubKey(TEXT("old"), TEXT("new"))) << call;
    platform::ResetFaults();
    EXPECT_EQ(TextBelow(TEXT("old"), TEXT("v")), TEXT("text"));
    EXPECT_EQ(TextBelow(TEXT("old\\sub"), TEXT("v")), TEXT("text"));
    EXPECT_EQ(TextBelow(TEXT("old\\sub\\empty"), TEXT("")), TEXT("")) << call;
  }
}

TEST_F(RegKeyTest, AKeyThatOthersDeleteMeanwhileIsDeleted) {
  platform::Replace("RegOpenKeyExW", &OpenAfterOthers);
  platform::Replace("RegEnumKeyExW", &EnumerateAfterOthers);
  platform::Replace("RegDeleteKeyW", &DeleteAfterOthers);
  const struct {
    LPCWSTR deleted;
    bool again;  // made again at once
  } kChanges[] = {
      {TEXT(""), false}, {TEXT("\\a"), false}, {TEXT("\\a\\b"), false}, {TEXT("\\a"), true}};
  for (const auto& c : kChanges) {
    // Each of three keys is opened, listed until it is empty, and deleted.
    for (int call = 1; call <= 11; ++call) {
      SCOPED_TRACE(testing::Message() << "change " << &c - kChanges << ", call " << call);
      calls_left = 0;
      Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b"));
      calls_left = call;
      others = [&] {
        MyDeleteKeyW(HKEY_CURRENT_USER, (WideString(kTestKey) + c.deleted).c_str());
        if (c.again) Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b"));
      };
      EXPECT_TRUE(MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey));
    }
  }
}

// A descriptor whose list lets one account read: everybody, or the built-in users.
struct Descriptor {
  BYTE revision = 1, reserved = 0;
  WORD control = 4;  // with a DACL
  const void *owner = nullptr, *group = nullptr, *sacl = nullptr, *dacl;
};
constexpr BYTE kEverybodyReads[] = {2, 0, 28, 0, 1, 0, 0, 0, 0, 0, 20, 0, 0x19, 0,
                                    2, 0, 1,  1, 0, 0, 0, 0, 0, 1, 0,  0, 0,    0};
constexpr BYTE kUsersDenied[] = {2, 0, 32, 0, 1, 0, 0, 0, 1,  0, 24, 0, 0x19, 0, 2, 0,
                                 1, 2, 0,  0, 0, 0, 0, 5, 32, 0, 0,  0, 0x21, 2, 0, 0};

TEST_F(RegKeyTest, OnlyADaclThatKeepsUsersOutIsReplaced) {
  RegKey key;
  ASSERT_TRUE(key.CreateKey(KEY_ALL_ACCESS, HKEY_CURRENT_USER, kTestKey));
  Descriptor wanted, denied;
  wanted.dacl = kEverybodyReads;
  denied.dacl = kUsersDenied;
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(nullptr), -1);
  EXPECT_EQ(RegKey().SetSecurityUnlessUsersCanRead(&wanted), -1);
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), 1) << "users may read it as it is";
  EXPECT_EQ(platform::CallCount("RegSetKeySecurity"), 0u);
  ASSERT_EQ(RegSetKeySecurity(key.handle(), DACL_SECURITY_INFORMATION, &denied), ERROR_SUCCESS);
  for (const uint64_t nth : {1, 2}) {
    platform::FailCall("RegGetKeySecurity", nth);
    EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), -1) << nth;
  }
  FailAllocation(1);
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), -1);
  platform::FailCall("RegSetKeySecurity", 1);
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), 0);
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), 1);
  BYTE stored[64];
  DWORD size = sizeof stored;
  RegGetKeySecurity(key.handle(), DACL_SECURITY_INFORMATION, stored, &size);
  ASSERT_EQ(size, 20 + sizeof kEverybodyReads);
  EXPECT_EQ(memcmp(stored + 20, kEverybodyReads, sizeof kEverybodyReads), 0);
}

}  // namespace
}  // namespace kv::test
