// What RegKey asks of the registry, who may create where, and what failures leave behind.
#include "runtime/registry/reg_key.h"

#include <array>
#include <functional>

#include "platform/control/message_boxes.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/registry/shared_dll_counter.h"
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
    EXPECT_FALSE(key.Create(root, kTestKey));
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
  EXPECT_EQ(counter.Release(file), 1u);
  EXPECT_EQ(counter.Release(file), 0u);
  EXPECT_EQ(counter.GetValueType(file, 0), 0u) << "the value is gone";
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
