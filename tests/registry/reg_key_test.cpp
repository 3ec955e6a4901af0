// What RegKey asks of the registry, who may create where, and what failures leave behind.
#include "runtime/registry/reg_key.h"

#include <array>
#include <functional>

#include "platform/control/message_boxes.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/registry/shared_dll_counter.h"
#include "runtime/text/wide_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/peer.h"
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

TEST_F(RegKeyTest, ReadingAllocatesNothingAfterTheRefresh) {
  RegKey key;
  ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey));
  key.SetSz(TEXT("text"), TEXT("some text"));
  key.SetDword(TEXT("number"), 5);
  FailAllocation(kCountOnly);
  WCHAR buffer[16];
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(key.GetString(TEXT("text")), nullptr);
    EXPECT_EQ(key.GetDword(TEXT("number"), 0), 5u);
    EXPECT_EQ(key.GetMultiString(TEXT("text")), nullptr);
    EXPECT_EQ(key.ReadString(TEXT("text"), buffer, 16, Expand::kYes), 9);
    EXPECT_NE(key.FirstValue(), nullptr);
    EXPECT_NE(key.FindNextDword(nullptr), nullptr);
  }
  EXPECT_EQ(ProductAllocations(), 0u);
  FailAllocation(0);
}

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
}

TEST_F(RegKeyTest, OnlyHighIntegrityCreatesDirectlyBelowTheMachinesRoots) {
  for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS}) {
    RegKey key;
    SetLastError(0);
    EXPECT_FALSE(key.Create(root, kTestKey));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(key.Create64(root, kTestKey));
  }
  EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 0u);
  RegKey software, key;
  ASSERT_TRUE(software.Open(HKEY_LOCAL_MACHINE, TEXT("Software")));
  EXPECT_FALSE(key.Create(software.handle(), TEXT("Test")));
  EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 1u) << "the registry itself refuses";
  EXPECT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey));
  EXPECT_FALSE(key.Create(HKEY_CURRENT_USER, WideString(256, 'k').c_str())) << "no such names";
  EXPECT_FALSE(key.IsOpen()) << "the key before is closed";
  SharedDllCounter counter;
  EXPECT_EQ(counter.AddRef(TEXT("C:\\x.dll")), 0u);
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
  // The file's name is the key's own text, until others write a longer name.
  const LPCWSTR listed = counter.FirstValue();
  SetText(counter.handle(), WideString(300, 'n'), TEXT("x"));
  EXPECT_EQ(counter.AddRef(listed), 3u);
  counter.SetSz(TEXT("pointer"), file);
  EXPECT_EQ(counter.Release(counter.GetString(TEXT("pointer"))), 2u);
  EXPECT_EQ(counter.Release(file), 1u);
  EXPECT_EQ(counter.Release(file), 0u);
  EXPECT_EQ(counter.GetValueType(file, 0), 0u) << "the value is gone";
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
      {[&] { return key.OpenView(32, root, kTestKey); }, 0x20219},
      {[&] { return key.OpenView(16, root, kTestKey); }, 0x20019},
      {[&] { return key.OpenRW(root, kTestKey); }, 0x2001F},
      {[&] { return key.OpenRW32(root, kTestKey); }, 0x2021F},
      {[&] { return key.OpenRW64(root, kTestKey); }, 0x2011F},
      {[&] { return key.OpenRWView(64, root, kTestKey); }, 0x2011F},
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

TEST_F(RegKeyTest, WithoutMemoryAKeyIsNotOpenAndNothingIsDeleted) {
  {
    RegKey key;
    ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey));
    // Another process writes what the key has no room for.
    SetText(Key::Open(HKEY_CURRENT_USER, kTestKey, KEY_ALL_ACCESS), TEXT("v"), TEXT("long text"));
    FailAllocation(1);
    EXPECT_FALSE(key.Refresh());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    FailAllocation(0);
    EXPECT_EQ(key.GetString(TEXT("v")), nullptr);
    EXPECT_EQ(key.valueCount(), 0u);
    EXPECT_EQ(key.ValueAt(0), nullptr);
    FailAllocation(1);
    key.Close(Disposal::kDeleteIfEmpty);
    FailAllocation(0);
  }
  EXPECT_EQ(Text(Key::Open(HKEY_CURRENT_USER, kTestKey), TEXT("v")), TEXT("long text"));
}

TEST_F(RegKeyTest, DeletingReportsTheCallThatFailed) {
  Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b"));
  platform::FailCall("RegOpenKeyExW", 2, ERROR_ACCESS_DENIED);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey));
  EXPECT_EQ(LastBox(), TEXT("RegOpenKeyExW failed.\n\nAccess is denied."));
  platform::FailCall("RegOpenKeyExW", 2, ERROR_FILE_NOT_FOUND, kCountOnly);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey)) << "listed, but never found";
  platform::ResetFaults();
  EXPECT_TRUE(RegKey().Open(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b")));
  startupContext.platform.win9xKind = 1;
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey));
  EXPECT_EQ(LastBox(), TEXT("An internal step failed: MyDeleteKeyW."));
  platform::SetFact(platform::facts::kPlatformId, "1");
  EXPECT_TRUE(MyDeleteKeyA(HKEY_CURRENT_USER, "Software\\Test"));
  EXPECT_FALSE(RegKey().Open(HKEY_CURRENT_USER, kTestKey));
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
    EXPECT_FALSE(machine.RenameSubKey(TEXT("Software\\Test"), path));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_FALSE(machine.RenameSubKey(path, TEXT("Software\\Test")));
    RegKey sub;
    ASSERT_TRUE(sub.Open(HKEY_LOCAL_MACHINE, TEXT("Software\\Test\\sub")));
    EXPECT_EQ(View(sub.GetString(TEXT("v"))), TEXT("kept"));
    EXPECT_EQ(sub.subKeyCount(), 0u);
  }
  // What is to be replaced stays when nothing may take its place.
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  EXPECT_FALSE(machine.RenameSubKey(TEXT("System"), TEXT("Software\\Test")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(RegKeyTest, WhereKeysHaveNoNamesAValueIsMovedUnlessItsLikeIsThere) {
  platform::FailCall("NtQueryObject", 1, 0, kCountOnly);
  RegKey key, again, other;
  ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey) &&
              again.Create(HKEY_CURRENT_USER, kTestKey) &&
              other.Create(key.handle(), TEXT("other")));
  key.SetSz(TEXT("v"), TEXT("kept"));
  EXPECT_FALSE(again.MoveValueFrom(key, TEXT("v"), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_SUPPORTED});
  EXPECT_EQ(View(key.GetString(TEXT("v"))), TEXT("kept"));
  other.SetSz(TEXT("v"), TEXT("older"));
  EXPECT_TRUE(other.MoveValueFrom(key, TEXT("v"), nullptr));
  EXPECT_EQ(View(other.GetString(TEXT("v"))), TEXT("kept"));
  EXPECT_EQ(key.valueCount(), 0u);
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

TEST_F(RegKeyTest, AKeyThatOthersFillMeanwhileIsNotEmpty) {
  platform::Replace("RegOpenKeyExW", &OpenAfterOthers);
  platform::Replace("RegEnumKeyExW", &EnumerateAfterOthers);
  platform::Replace("RegDeleteKeyW", &DeleteAfterOthers);
  // The key is opened, listed, read and deleted; a value that comes with the last call is too late.
  for (const LPCWSTR path : {TEXT(""), TEXT("sub")}) {
    for (int call = 1; call <= (path[0] == 0 ? 2 : 4); ++call) {
      calls_left = 0;
      RegKey key;
      ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, kTestKey));
      calls_left = call;
      others = [&] { SetBelow(path, TEXT("v"), TEXT("new")); };
      key.Close(Disposal::kDeleteIfEmpty);
      calls_left = 0;
      EXPECT_EQ(TextBelow(path, TEXT("v")), TEXT("new")) << call;
      MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey);
    }
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

TEST_F(RegKeyTest, TwoProcessesDeleteATreeTogether) {
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 300; ++i) {
      const WCHAR name[] = {static_cast<WCHAR>('a' + i % 20), '\\', static_cast<WCHAR>('0' + i), 0};
      Key::Create(Key::Create(HKEY_CURRENT_USER, kTestKey), name);
    }
    const auto deleted = [] { return MyDeleteKeyW(HKEY_CURRENT_USER, kTestKey) ? 0 : 1; };
    const pid_t peers[] = {StartPeer(directory(), deleted), StartPeer(directory(), deleted)};
    for (const pid_t peer : peers) EXPECT_EQ(FinishPeer(peer), 0);
    EXPECT_NE(Key::Open(HKEY_CURRENT_USER, kTestKey).status, ERROR_SUCCESS);
  }
}

TEST_F(RegKeyTest, NothingIsDeletedByAnEmptyPath) {
  const WideString settings = TEXT("Software\\Test\\kept");
  Key::Create(HKEY_CURRENT_USER, settings);
  const Key key = Key::Open(HKEY_CURRENT_USER, kTestKey, KEY_ALL_ACCESS);
  for (const HKEY parent : {HKEY_CURRENT_USER, key.handle}) {
    for (const DWORD win9x : {0, 1}) {
      startupContext.platform.win9xKind = win9x;
      for (const LPCSTR path : {static_cast<LPCSTR>(nullptr), ""}) {
        SetLastError(0);
        EXPECT_FALSE(MyDeleteKeyA(parent, path));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
      }
    }
    startupContext.platform.win9xKind = 0;
    for (const LPCWSTR path : {static_cast<LPCWSTR>(nullptr), TEXT("")}) {
      SetLastError(0);
      EXPECT_FALSE(MyDeleteKeyW(parent, path));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
  }
  RegKey opened;
  ASSERT_TRUE(opened.OpenKey(KEY_ALL_ACCESS, key, TEXT("")));
  opened.Close(Disposal::kDelete);
  EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, settings).status, ERROR_SUCCESS);
}

TEST_F(RegKeyTest, ProcessesThatWriteDifferentValuesLoseNone) {
  constexpr int kPeers = 2, kEach = 60;
  std::array<pid_t, kPeers> peers;
  for (int p = 0; p < kPeers; ++p) {
    peers[p] = StartPeer(directory(), [p] {
      RegKey key;
      if (!key.Create(HKEY_CURRENT_USER, kTestKey)) return 1;
      for (int i = 0; i < kEach; ++i) {
        const WideString name = {static_cast<WCHAR>('A' + p), static_cast<WCHAR>('a' + i)};
        if (!key.SetDword(name.c_str(), i)) return 2;
        if (key.GetDword(name.c_str(), kEach) != static_cast<DWORD>(i)) return 3;
      }
      return 0;
    });
  }
  for (const pid_t peer : peers) EXPECT_EQ(FinishPeer(peer), 0);
  RegKey key;
  ASSERT_TRUE(key.Open(HKEY_CURRENT_USER, kTestKey));
  int found = 0;
  for (LPCWSTR name = key.FindFirstDword(nullptr); name != nullptr; ++found)
    name = key.FindNextDword(nullptr);
  EXPECT_EQ(found, kPeers * kEach);
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
  platform::FailCall("RegSetKeySecurity", 1);
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), 0);
  EXPECT_EQ(key.SetSecurityUnlessUsersCanRead(&wanted), 1);
  BYTE stored[64];
  DWORD size = sizeof stored;
  ASSERT_EQ(RegGetKeySecurity(key.handle(), DACL_SECURITY_INFORMATION, stored, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(size, 20 + sizeof kEverybodyReads);
}

}  // namespace
}  // namespace kv::test
