// The registry of other users.
#include "runtime/registry/user_hives.h"

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "platform/control/users.h"
#include "runtime/ipc/process_token.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_files.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

// What is done to hives, in its order: "+name=file ", "-name ", "flush ", and "on " and "off " for
// the privilege.
WideString done;
LSTATUS WINAPI LoadAndNote(HKEY root, LPCWSTR name, LPCWSTR file) {
  done += WideString(TEXT("+")) + name + TEXT("=") + file + TEXT(" ");
  return RegLoadKeyW(root, name, file);
}
LSTATUS WINAPI UnloadAndNote(HKEY root, LPCWSTR name) {
  done += WideString(TEXT("-")) + name + TEXT(" ");
  return RegUnLoadKeyW(root, name);
}
LSTATUS WINAPI FlushAndNote(HKEY key) {
  done += TEXT("flush ");
  return RegFlushKey(key);
}
BOOL WINAPI AdjustAndNote(HANDLE token, BOOL all, PTOKEN_PRIVILEGES wanted, DWORD size,
                          PTOKEN_PRIVILEGES before, PDWORD needed) {
  done +=
      (wanted->Privileges[0].Attributes & SE_PRIVILEGE_ENABLED) != 0 ? TEXT("on ") : TEXT("off ");
  return AdjustTokenPrivileges(token, all, wanted, size, before, needed);
}

class UserHivesTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(facts::kUserIsElevated, "1");
    platform::SetFact(facts::kAccounts, "Bob:1002,Eve:1003");
    bob_ = platform::MakeProfile(TEXT("Bob"), true);
    eve_ = platform::MakeProfile(TEXT("Eve"), false);
    platform::Replace("RegLoadKeyW", &LoadAndNote);
    platform::Replace("RegUnLoadKeyW", &UnloadAndNote);
    platform::Replace("RegFlushKey", &FlushAndNote);
    platform::Replace("AdjustTokenPrivileges", &AdjustAndNote);
    done.clear();
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
  static WideString Done() { return std::exchange(done, {}); }

  WideString bob_, eve_;
};

TEST_F(UserHivesTest, WhatTheObjectLoadedItUnloadsAndNothingElse) {
  const WideString classes = bob_ + TEXT("_Classes"), bobs = TEXT("C:\\Users\\Bob\\");
  const WideString load_eve = TEXT("+") + eve_ + TEXT("=C:\\Users\\Eve\\ntuser.dat ");
  const WideString load_bob = TEXT("+") + bob_ + TEXT("=") + bobs + TEXT("ntuser.dat ");
  const WideString load_classes = TEXT("+") + classes + TEXT("=") + bobs +
                                  TEXT("AppData\\Local\\Microsoft\\Windows\\UsrClass.dat ");
  const WideString unload_bob = TEXT("-") + bob_ + TEXT(" "), unload_classes = TEXT("-") + classes;
  {
    UserHives hives(UserHives::kLoadAndUnload);
    EXPECT_EQ(Done(), TEXT("on ") + load_bob + load_eve + load_classes + TEXT("off "));
    EXPECT_EQ(Loaded(), (std::vector<WideString>{bob_, classes, eve_}));
    EXPECT_EQ(hives.LoadAllUserHives(), 0);
    EXPECT_EQ(Done(), TEXT("on ") + load_classes + TEXT("off ")) << "all are there";
  }
  EXPECT_EQ(Done(), TEXT("on flush ") + unload_bob + TEXT("-") + eve_ + TEXT(" ") + unload_classes +
                        TEXT(" off "));
  EXPECT_TRUE(Loaded().empty());
  // What cannot be noted goes at once, and ends the loading; somebody else's stays.
  const auto load_without_memory = [] {
    platform::FailCall("GlobalAlloc", 1);
    platform::AnswerNextBox(IDOK);
    UserHives hives(UserHives::kLoadNone);
    EXPECT_EQ(hives.LoadAllUserHives(), 0);
    return Done();
  };
  EXPECT_EQ(load_without_memory(), TEXT("on ") + load_bob + unload_bob + TEXT("off "));
  { UserHives hives(UserHives::kLoadAndKeep); }
  Done();
  ASSERT_TRUE(EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE));
  RegUnLoadKeyW(HKEY_USERS, classes.c_str());
  platform::SetFact("environment.BOBS", "C:\\Users\\Bob");
  RegKey folders;
  folders.OpenRW(HKEY_USERS,
                 TEXT("%s\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"),
                 bob_.c_str());
  EXPECT_TRUE(folders.SetString(TEXT("Local AppData"), TEXT("%BOBS%\\AppData\\Local"),
                                REG_EXPAND_SZ, DeleteIfEmpty::kNo));
  Done();
  EXPECT_EQ(load_without_memory(), TEXT("on ") + load_classes + unload_classes + TEXT(" off "));
  { UserHives hives(UserHives::kLoadAndUnload); }
  EXPECT_EQ(Loaded(), (std::vector<WideString>{bob_, eve_}));
}

// The list of their names takes more than one block.
TEST_F(UserHivesTest, AnyNumberOfHivesIsUnloaded) {
  std::string accounts = "Bob:1002,Eve:1003";
  for (char c = 'a'; c <= 'p'; ++c) accounts += std::string(",") + c + ":11" + std::to_string(c);
  platform::SetFact(facts::kAccounts, accounts);
  for (char c = 'a'; c <= 'p'; ++c) platform::MakeProfile(WideString(1, c), false);
  {
    UserHives hives(UserHives::kLoadAndUnload);
    EXPECT_EQ(Loaded().size(), 19u);
  }
  EXPECT_TRUE(Loaded().empty());
}

TEST_F(UserHivesTest, HivesNeedThePrivilegeAndTheirFiles) {
  constexpr WCHAR kBobs[] = TEXT("C:\\Users\\Bob\\ntuser.dat");
  EXPECT_EQ(RegLoadKeyW(HKEY_USERS, TEXT("x"), kBobs), ERROR_PRIVILEGE_NOT_HELD);
  ASSERT_TRUE(EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE));
  PutFile(TEXT("C:\\text"), "no hive at all, just some text");
  EXPECT_EQ(RegLoadKeyW(HKEY_USERS, TEXT("x"), TEXT("C:\\text")), ERROR_BADDB);
  EXPECT_EQ(RegLoadKeyW(HKEY_USERS, TEXT("x"), TEXT("C:\\none\\x")), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(RegLoadKeyW(HKEY_USERS, TEXT("x\\y"), kBobs), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegLoadKeyW(HKEY_USERS, TEXT("x"), kBobs), ERROR_SUCCESS);
  EXPECT_EQ(RegLoadKeyW(HKEY_USERS, TEXT("y"), kBobs), ERROR_SHARING_VIOLATION);
  EXPECT_FALSE(DeleteFileW(kBobs));
  {
    const Key open = Key::Open(HKEY_USERS, TEXT("x\\Environment"));
    EXPECT_EQ(Text(open, TEXT("TEMP")), TEXT("%USERPROFILE%\\AppData\\Local\\Temp"));
    EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT("x")), ERROR_ACCESS_DENIED) << "keys are open";
  }
  EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT("x")), ERROR_SUCCESS);
  EXPECT_EQ(RegUnLoadKeyW(HKEY_USERS, TEXT("x")), ERROR_FILE_NOT_FOUND);
}

TEST_F(UserHivesTest, ProfilesAreLoadedAndNamed) {
  ProfileListKey profiles;
  ProfileKey profile;
  WCHAR hive[MAX_PATH] = {'#'};
  EXPECT_EQ(profile.LoadUserHive(hive), 0);
  EXPECT_EQ(hive[0], 0);
  ASSERT_TRUE(profile.Open(profiles.handle(), TEXT("%s"), eve_.c_str()));
  EXPECT_EQ(profile.LoadUserHive(nullptr), 0) << "without the privilege";
  ASSERT_TRUE(EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE));
  EXPECT_EQ(profile.LoadUserHive(hive), static_cast<int>(eve_.size()));
  EXPECT_EQ(WideView(hive), eve_);
  EXPECT_EQ(Loaded(), std::vector<WideString>{eve_});

  // By its account, else by its directory.
  const auto name_of = [](const WideString& sid, int capacity) {
    WCHAR name[MAX_PATH] = {'#'};
    const bool found = GetProfileUserName(sid.c_str(), name, capacity);
    EXPECT_EQ(found, capacity > 0 && name[0] != 0);
    return WideString(name);
  };
  platform::SetFact(facts::kAccounts, "Robert:1002");
  EXPECT_EQ(name_of(bob_, MAX_PATH), TEXT("Robert"));
  EXPECT_EQ(name_of(bob_, 4), TEXT("Rob"));
  EXPECT_EQ(name_of(bob_, 0), TEXT("#"));
  EXPECT_EQ(name_of(TEXT("S-1-5-21-1"), MAX_PATH), TEXT(""));
  EXPECT_EQ(WideView(profile.GetUserName()), TEXT("Eve"));
  platform::SetFact(facts::kAccounts, "Robert:1002,Mallory:1003");
  EXPECT_EQ(WideView(profile.GetUserName()), TEXT("Eve")) << "kept";
  EXPECT_EQ(name_of(eve_, MAX_PATH), TEXT("Mallory"));
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
  EXPECT_EQ(Done().find(TEXT("flush")), WideString::npos) << "there is nothing to unload";
  platform::SetFact(facts::kUserIsElevated, "1");
  ASSERT_TRUE(platform::UseProfile("windows-98", "x86"));
  Restart();
  Done();
  { EXPECT_EQ(UserHives(UserHives::kLoadAndUnload).LoadAllUserHives(), 0); }
  EXPECT_EQ(Done(), TEXT(""));
}

}  // namespace
}  // namespace kv::test
