// The registry of other users.
#include "runtime/registry/user_hives.h"

#include <fstream>

#include "platform/control/profiles.h"
#include "platform/control/users.h"
#include "runtime/ipc/process_token.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/peer.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class UserHivesTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(facts::kUserIsElevated, "1");
    platform::SetFact(facts::kAccounts, "Bob:1002,Eve:1003");
    bob_ = platform::MakeProfile(TEXT("Bob"), true);
    eve_ = platform::MakeProfile(TEXT("Eve"), false);
  }
  // Those below HKEY_USERS that are not always there.
  static std::vector<WideString> Loaded() {
    const platform::OutsideTest looking;
    std::vector<WideString> names;
    WCHAR name[256];
    for (DWORD i = 0, size = 256; RegEnumKeyExW(HKEY_USERS, i, name, &size, nullptr, nullptr,
                                                nullptr, nullptr) == ERROR_SUCCESS;
         ++i, size = 256) {
      const WideView view = name;
      if (view.starts_with(TEXT("S-1-5-21-")) && !view.ends_with(TEXT("-1001"))) {
        names.emplace_back(view);
      }
    }
    return names;
  }
  static LSTATUS Load(LPCWSTR name, LPCWSTR file) { return RegLoadKeyW(HKEY_USERS, name, file); }

  WideString bob_, eve_;
};

TEST_F(UserHivesTest, WhatTheObjectLoadedItUnloadsAndNothingElse) {
  const WideString classes = bob_ + TEXT("_Classes");
  {
    UserHives hives(UserHives::kLoadAndUnload);
    EXPECT_EQ(Loaded(), (std::vector<WideString>{bob_, classes, eve_}));
    EXPECT_EQ(Text(Key::Open(HKEY_USERS, bob_ + TEXT("\\Environment")), TEXT("TEMP")),
              TEXT("%USERPROFILE%\\AppData\\Local\\Temp"));
    EXPECT_EQ(hives.LoadAllUserHives(), 0) << "all are there";
    int users = 0;
    for (LPCWSTR name = hives.FirstSubKey(); name != nullptr; name = hives.NextSubKey()) {
      if (!IsSystemUserKey(name)) ++users;
    }
    EXPECT_EQ(users, 3);
    EXPECT_EQ(RunPeer(directory(), [&] { return static_cast<int>(Loaded().size()); }), 3)
        << "for all processes";
  }
  EXPECT_TRUE(Loaded().empty());
  platform::RecordCalls(true);
  ASSERT_TRUE(EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE));
  EXPECT_EQ(Load(eve_.c_str(), TEXT("C:\\Users\\Eve\\ntuser.dat")), ERROR_SUCCESS);
  { UserHives hives(UserHives::kLoadAndUnload); }
  EXPECT_EQ(Loaded(), std::vector<WideString>{eve_}) << "somebody else's stays";
  { UserHives hives(UserHives::kLoadAndKeep); }
  EXPECT_EQ(Loaded(), (std::vector<WideString>{bob_, classes, eve_}));
  { UserHives hives(UserHives::kLoadNone); }
  EXPECT_EQ(Loaded().size(), 3u);
}

TEST_F(UserHivesTest, HivesNeedThePrivilegeAndTheirFiles) {
  EXPECT_EQ(Load(TEXT("x"), TEXT("C:\\Users\\Bob\\ntuser.dat")), ERROR_PRIVILEGE_NOT_HELD);
  ASSERT_TRUE(EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE));
  std::ofstream(platform::HostPath(TEXT("C:\\text"))) << "no hive at all, just some text";
  EXPECT_EQ(Load(TEXT("x"), TEXT("C:\\text")), ERROR_BADDB);
  EXPECT_EQ(Load(TEXT("x"), TEXT("C:\\none\\x")), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(Load(TEXT("x\\y"), TEXT("C:\\Users\\Bob\\ntuser.dat")), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Load(TEXT("x"), TEXT("C:\\Users\\Bob\\NTUSER.DAT")), ERROR_SUCCESS);
  EXPECT_EQ(Load(TEXT("y"), TEXT("C:\\Users\\Bob\\ntuser.dat")), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(Load(TEXT("x"), TEXT("C:\\Users\\Eve\\ntuser.dat")), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(Load(TEXT("y"), TEXT("C:\\Users\\Ada\\ntuser.dat")), ERROR_SHARING_VIOLATION)
      << "the user's own is loaded";
  EXPECT_FALSE(DeleteFileW(TEXT("C:\\Users\\Bob\\ntuser.dat")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
  {
    const Key open = Key::Open(HKEY_USERS, TEXT("x\\Environment"));
    EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT("x")), ERROR_ACCESS_DENIED) << "keys are open";
  }
  EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT("x")), ERROR_SUCCESS);
  EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT("x")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT(".DEFAULT")), ERROR_ACCESS_DENIED);
}

TEST_F(UserHivesTest, NamesOfProfiles) {
  const auto name_of = [](const WideString& sid) {
    WCHAR name[MAX_PATH];
    return GetProfileUserName(sid.c_str(), name, 4) ? WideString(name) : WideString();
  };
  EXPECT_EQ(name_of(bob_), TEXT("Bob"));
  EXPECT_EQ(name_of(TEXT("S-1-5-21-1")), TEXT(""));
  ProfileListKey profiles;
  ProfileKey profile;
  ASSERT_TRUE(profile.Open(profiles.handle(), TEXT("%s"), eve_.c_str()));
  platform::SetFact(facts::kAccounts, "Bob:1002");
  EXPECT_EQ(WideView(profile.GetUserName()), TEXT("Eve")) << "by its directory";
  platform::SetFact(facts::kAccounts, "Bob:1002,Mallory:1003");
  EXPECT_EQ(WideView(profile.GetUserName()), TEXT("Eve")) << "kept";
  EXPECT_EQ(name_of(eve_), TEXT("Mal")) << "cut to the capacity";
}

TEST_F(UserHivesTest, SystemKeysByName) {
  for (const LPCWSTR name : {TEXT(".default"), TEXT("s-1-5-18"), TEXT("S-1-5-19"), TEXT("S-1-5-20"),
                             TEXT("S-1-5-21-1-2-3-1001_Classes"), TEXT("_Classes2")}) {
    EXPECT_TRUE(IsSystemUserKey(name));
  }
  for (const LPCWSTR name : {TEXT("S-1-5-21-1-2-3-1001"), TEXT("x_classes"), TEXT("S-1-5-180")}) {
    EXPECT_FALSE(IsSystemUserKey(name));
  }
}

TEST_F(UserHivesTest, WithoutThePrivilegeOrOnThe9xFamilyNothingHappens) {
  platform::SetFact(facts::kUserIsElevated, "0");
  { EXPECT_EQ(UserHives(UserHives::kLoadAndUnload).LoadAllUserHives(), 0); }
  platform::SetFact(facts::kUserIsElevated, "1");
  ASSERT_TRUE(platform::UseProfile("windows-98", "x86"));
  Restart();
  platform::ResetFaults();
  { UserHives hives(UserHives::kLoadAndUnload); }
  EXPECT_EQ(platform::CallCount("RegLoadKeyW") + platform::CallCount("RegUnLoadKeyW"), 0u);
}

}  // namespace
}  // namespace kv::test
