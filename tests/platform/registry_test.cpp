// The registry: what one process sees, what several see, and what survives a damaged file.
#include <fstream>
#include <iterator>
#include <vector>

#include "platform/registry/hive.h"
#include "tests/support/machine_test.h"
#include "tests/support/peer.h"
#include "tests/support/test_key.h"

namespace {

using kv::test::Key;
using kv::test::SetText;
using kv::test::Text;
using kv::test::WideString;
using kv::test::WideView;

constexpr const WCHAR* kTestKey = TEXT("Software\\Test");

class RegistryTest : public kv::test::MachineTest {
 protected:
  static void Elevate() { platform::SetFact(platform::facts::kUserIsElevated, "1"); }
  std::filesystem::path UserHive() const {
    return directory() / "drive_c" / "Users" / "Ada" / "ntuser.dat";
  }
  void Reopen() { platform::UseMachine(directory()); }
};

TEST_F(RegistryTest, ValuesKeepTheOrderOfTheirCreation) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  for (const WCHAR* name : {TEXT("b"), TEXT("c"), TEXT("a"), TEXT("")}) {
    SetText(key, name, TEXT("x"));
  }
  SetText(key, TEXT("B"), TEXT("again"));
  RegDeleteValueW(key, TEXT("c"));
  Reopen();
  const Key reopened = Key::Open(HKEY_CURRENT_USER, kTestKey);
  WideString values;
  WCHAR name[20];
  DWORD size;
  for (DWORD i = 0; size = 20, RegEnumValueW(reopened, i, name, &size, nullptr, nullptr, nullptr,
                                             nullptr) == ERROR_SUCCESS;
       ++i) {
    values += WideString(name, size) + TEXT(' ');
  }
  EXPECT_EQ(values, TEXT("b a  "));
}

TEST_F(RegistryTest, KeyNamesAndDepthHaveLimits) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  EXPECT_EQ(Key::Create(key, WideString(255, TEXT('k'))).status, ERROR_SUCCESS);
  EXPECT_EQ(Key::Create(key, WideString(256, TEXT('k'))).status, ERROR_INVALID_PARAMETER);
  // Below "USER", the SID and the two names of the test key.
  WideString path;
  for (int i = 0; i < 508; ++i) path += TEXT("\\d");
  EXPECT_EQ(Key::Create(key, path.substr(1)).status, ERROR_SUCCESS);
  EXPECT_EQ(Key::Create(key, path.substr(1) + TEXT("\\d")).status, ERROR_NO_SYSTEM_RESOURCES);
}

TEST_F(RegistryTest, PathsAndHandlesAreChecked) {
  EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, TEXT("Software\\\\MICROSOFT\\")).status, ERROR_SUCCESS);
  EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, TEXT("Software\\None")).status, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(reinterpret_cast<HKEY>(0x1234)), ERROR_INVALID_HANDLE);
  Elevate();
  EXPECT_EQ(Key::Create(HKEY_LOCAL_MACHINE, TEXT("Direct")).status, ERROR_INVALID_PARAMETER);

  HKEY same = nullptr;
  EXPECT_EQ(RegOpenKeyW(HKEY_USERS, nullptr, &same), ERROR_SUCCESS);
  EXPECT_EQ(same, HKEY_USERS);
  HKEY remote = nullptr;
  EXPECT_EQ(RegConnectRegistryW(TEXT("\\\\elsewhere"), HKEY_LOCAL_MACHINE, &remote),
            ERROR_BAD_NETPATH);
  ASSERT_EQ(RegConnectRegistryW(nullptr, HKEY_LOCAL_MACHINE, &remote), ERROR_SUCCESS);
  EXPECT_EQ(Key::Open(remote, TEXT("SYSTEM\\CurrentControlSet")).status, ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(remote), ERROR_SUCCESS);
}

TEST_F(RegistryTest, RightsHoldForTheMachineAndForEachHandle) {
  EXPECT_EQ(Key::Create(HKEY_LOCAL_MACHINE, kTestKey).status, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Key::Open(HKEY_LOCAL_MACHINE, TEXT("Software"), KEY_WRITE).status, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Key::Open(HKEY_LOCAL_MACHINE, TEXT("Software")).status, ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, TEXT("Software\\Classes")), ERROR_ACCESS_DENIED);
  Elevate();
  EXPECT_EQ(Key::Create(HKEY_LOCAL_MACHINE, kTestKey).status, ERROR_SUCCESS);

  const Key writer = Key::Create(HKEY_CURRENT_USER, kTestKey, KEY_SET_VALUE);
  DWORD count;
  EXPECT_EQ(SetText(writer, TEXT("v"), TEXT("1")), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryInfoKeyW(writer, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr),
            ERROR_ACCESS_DENIED);
  const Key reader = Key::Open(HKEY_CURRENT_USER, kTestKey);
  EXPECT_EQ(SetText(reader, TEXT("v"), TEXT("2")), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteValueW(reader, TEXT("v")), ERROR_ACCESS_DENIED);
  EXPECT_EQ(Text(reader, TEXT("v")), TEXT("1"));
  // Making a sub-key asks the key itself, not the handle.
  EXPECT_EQ(Key::Create(reader, TEXT("sub")).status, ERROR_SUCCESS);
}

TEST_F(RegistryTest, KeysWithSubKeysAreDeletedAsTheSystemsFamilyDoes) {
  const Key sub = Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a"));
  const Key deep = Key::Create(sub, TEXT("b\\c"));
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, kTestKey), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Test"), ERROR_ACCESS_DENIED);
  platform::SetFact(platform::facts::kPlatformId, "1");
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Test"), ERROR_SUCCESS);
  EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, kTestKey).status, ERROR_FILE_NOT_FOUND);

  EXPECT_EQ(SetText(deep, TEXT("v"), TEXT("")), ERROR_KEY_DELETED);
  EXPECT_EQ(RegQueryValueExW(deep, TEXT("v"), nullptr, nullptr, nullptr, nullptr),
            ERROR_KEY_DELETED);
  // Not the same key any more, though it has the same name.
  const Key again = Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test\\a\\b\\c"));
  EXPECT_EQ(Key::Create(deep, TEXT("d")).status, ERROR_KEY_DELETED);
}

TEST_F(RegistryTest, ViewsOfA64BitMachine) {
  Elevate();
  const struct {
    const WCHAR* path;
    const WCHAR* place;  // where the 64-bit view sees what the 32-bit view made
  } cases[] = {
      {TEXT("Software\\Maker\\Thing"), TEXT("Software\\Wow6432Node\\Maker\\Thing")},
      {TEXT("Software\\Wow6432Node\\Maker2"), TEXT("Software\\Wow6432Node\\Maker2")},
      {TEXT("Software\\Classes\\.kv"), TEXT("Software\\Classes\\.kv")},
      {TEXT("Software\\Classes\\CLSID\\{1}"), TEXT("Software\\Classes\\Wow6432Node\\CLSID\\{1}")},
      {TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\P"),
       TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\P")},
      {TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Printers2"),
       TEXT("Software\\Wow6432Node\\Microsoft\\Windows NT\\CurrentVersion\\Printers2")},
      {TEXT("System\\Setup\\X"), TEXT("System\\Setup\\X")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.path));
    ASSERT_EQ(Key::Create(HKEY_LOCAL_MACHINE, c.path, KEY_ALL_ACCESS | KEY_WOW64_32KEY).status,
              ERROR_SUCCESS);
    const Key found = Key::Open(HKEY_LOCAL_MACHINE, c.path, KEY_READ | KEY_WOW64_32KEY);
    EXPECT_EQ(found.status, ERROR_SUCCESS);
    EXPECT_EQ(Key::Open(HKEY_LOCAL_MACHINE, c.place, KEY_READ | KEY_WOW64_64KEY).status,
              ERROR_SUCCESS);
    if (WideView(c.path) != c.place) {
      EXPECT_EQ(Key::Open(HKEY_LOCAL_MACHINE, c.path, KEY_READ | KEY_WOW64_64KEY).status,
                ERROR_FILE_NOT_FOUND);
    }
  }
  // A shared key is the same key below the redirected one.
  EXPECT_EQ(
      Key::Open(HKEY_LOCAL_MACHINE,
                TEXT("Software\\Wow6432Node\\Microsoft\\Windows NT\\CurrentVersion\\Print\\P"),
                KEY_READ | KEY_WOW64_64KEY)
          .status,
      ERROR_SUCCESS);
  // Without flags the process's own word size decides.
  const bool narrow = sizeof(void*) == 4;
  EXPECT_EQ(Key::Open(HKEY_LOCAL_MACHINE, TEXT("Software\\Maker")).status,
            narrow ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
  platform::SetFact(platform::facts::kArchitecture, "x86");
  EXPECT_EQ(
      Key::Open(HKEY_LOCAL_MACHINE, TEXT("Software\\Maker"), KEY_READ | KEY_WOW64_32KEY).status,
      ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, SecurityIsStoredAndHandedBack) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  DWORD size = 0;
  EXPECT_EQ(RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, nullptr, &size),
            ERROR_INSUFFICIENT_BUFFER);
  std::vector<BYTE> inherited(size);
  EXPECT_EQ(RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, inherited.data(), &size),
            ERROR_SUCCESS);

  // A descriptor with pointers: one entry that lets everybody read.
  const BYTE acl[] = {2, 0, 28, 0, 1, 0, 0, 0, 0, 0, 20, 0, 0x19, 0,
                      2, 0, 1,  1, 0, 0, 0, 0, 0, 1, 0,  0, 0,    0};
  struct {
    BYTE revision = 1, reserved = 0;
    WORD control = 4;
    const void *owner = nullptr, *group = nullptr, *sacl = nullptr, *dacl;
  } absolute;
  absolute.dacl = acl;
  ASSERT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &absolute), ERROR_SUCCESS);
  Reopen();
  const Key again = Key::Open(HKEY_CURRENT_USER, kTestKey);
  size = 0;
  RegGetKeySecurity(again, DACL_SECURITY_INFORMATION, nullptr, &size);
  ASSERT_EQ(size, 20 + sizeof acl);
  std::vector<BYTE> stored(size);
  EXPECT_EQ(RegGetKeySecurity(again, DACL_SECURITY_INFORMATION, stored.data(), &size),
            ERROR_SUCCESS);
  EXPECT_EQ(std::vector(stored.begin() + 20, stored.end()), std::vector(acl, std::end(acl)));
  DWORD all = 0;
  RegGetKeySecurity(again, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, nullptr, &all);
  EXPECT_EQ(all, size + 16u) << "the owner is kept";
  EXPECT_EQ(RegSetKeySecurity(again, DACL_SECURITY_INFORMATION, &absolute), ERROR_ACCESS_DENIED);
}

TEST_F(RegistryTest, AnotherProcessSeesAChangeAtOnce) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  const Key doomed = Key::Create(key, TEXT("doomed"));
  SetText(key, TEXT("v"), TEXT("ours"));
  EXPECT_EQ(kv::test::RunPeer(directory(),
                              [] {
                                const Key peer = Key::Create(HKEY_CURRENT_USER, kTestKey);
                                const bool seen = Text(peer, TEXT("v")) == TEXT("ours");
                                SetText(peer, TEXT("v"), TEXT("theirs"));
                                RegDeleteKeyW(peer, TEXT("doomed"));
                                return seen ? 0 : 1;
                              }),
            0);
  EXPECT_EQ(Text(key, TEXT("v")), TEXT("theirs"));
  EXPECT_EQ(SetText(doomed, TEXT("v"), TEXT("")), ERROR_KEY_DELETED);
}

TEST_F(RegistryTest, ProcessesWritingTogetherLoseNothing) {
  constexpr int kPeers = 4, kEach = 150;
  // So large that the hive is written anew under their hands several times.
  const WideString filler(3000, TEXT('f'));
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  std::vector<pid_t> peers;
  for (int p = 0; p < kPeers; ++p) {
    peers.push_back(kv::test::StartPeer(directory(), [&] {
      const Key own = Key::Create(HKEY_CURRENT_USER, kTestKey);
      for (int i = 0; i < kEach; ++i) {
        const WideString name = {static_cast<WCHAR>('A' + p), static_cast<WCHAR>(0x4E00 + i)};
        if (Key::Create(own, name).status != ERROR_SUCCESS) return 1;
        if (SetText(own, TEXT("filler"), filler) != ERROR_SUCCESS) return 2;
      }
      return 0;
    }));
  }
  for (pid_t peer : peers) EXPECT_EQ(kv::test::FinishPeer(peer), 0);
  DWORD sub_keys = 0;
  RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &sub_keys, nullptr, nullptr, nullptr, nullptr,
                   nullptr, nullptr, nullptr);
  EXPECT_EQ(sub_keys, DWORD{kPeers * kEach});
  EXPECT_LT(std::filesystem::file_size(UserHive()), kPeers * kEach * filler.size())
      << "superseded values are dropped";
}

TEST_F(RegistryTest, AProcessThatDiesWhileItWritesLeavesTheHiveWholeAndFree) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  SetText(key, TEXT("v"), TEXT("whole"));
  EXPECT_EQ(kv::test::RunPeer(directory(),
                              [this]() -> int {
                                auto hive = platform::Hive::Open(UserHive(), {});
                                hive->Modify([](auto& change) -> LSTATUS {
                                  change.CreateKey(platform::KeyTree::kRoot, TEXT("half"));
                                  _exit(7);
                                });
                                return 0;
                              }),
            7);
  EXPECT_EQ(SetText(key, TEXT("w"), TEXT("after")), ERROR_SUCCESS);
  EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, TEXT("half")).status, ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, ATornOrDamagedTailIsCutOff) {
  {
    const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
    SetText(key, TEXT("v"), TEXT("old"));
  }
  platform::CloseMachine();
  const std::filesystem::path hive = UserHive();
  const auto whole = std::filesystem::file_size(hive);
  Reopen();
  SetText(Key::Create(HKEY_CURRENT_USER, kTestKey), TEXT("v"), TEXT("new"));
  platform::CloseMachine();
  std::ifstream file(hive, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  for (size_t cut = whole; cut <= bytes.size(); ++cut) {
    std::string torn = bytes.substr(0, cut);
    if (cut == bytes.size()) torn[cut - 1] ^= 1;
    std::ofstream(hive, std::ios::binary | std::ios::trunc) << torn;
    Reopen();
    const Key key = Key::Open(HKEY_CURRENT_USER, kTestKey, KEY_ALL_ACCESS);
    EXPECT_EQ(Text(key, TEXT("v")), TEXT("old")) << cut;
    EXPECT_EQ(SetText(key, TEXT("v"), TEXT("next")), ERROR_SUCCESS);
    Reopen();
    EXPECT_EQ(Text(Key::Open(HKEY_CURRENT_USER, kTestKey), TEXT("v")), TEXT("next")) << cut;
  }
}

}  // namespace
