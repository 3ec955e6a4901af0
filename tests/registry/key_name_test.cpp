// The names of open keys.
#include "runtime/registry/key_name.h"

#include "platform/registry/registry.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

class KeyNameTest : public RuntimeTest {
 protected:
  static WideString NameOf(HKEY key, int capacity = MAX_PATH) {
    WCHAR name[MAX_PATH] = {'#'};
    const WCHAR first = GetKeyName(key, name, capacity);
    EXPECT_EQ(first, name[0]);
    return name;
  }
  static WideString OwnSid() {
    return platform::ToWide(
        platform::Fact(platform::facts::kUserSid, "S-1-5-21-1004336348-1177238915-682003330-1001"));
  }
};

TEST_F(KeyNameTest, RootsGetTheirShortForms) {
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 4 ? "x86" : "x64");
  // Its name begins with the user's own.
  const WideString other = OwnSid() + TEXT("1");
  platform::MakeKey(TEXT("USER\\.DEFAULT\\Software"));
  const struct {
    HKEY root;
    WideString path;
    WideString name;
  } kCases[] = {
      {HKEY_LOCAL_MACHINE, TEXT("software"), TEXT("HKLM\\SOFTWARE")},
      {HKEY_LOCAL_MACHINE, TEXT("System\\CurrentControlSet"),
       TEXT("HKLM\\SYSTEM\\CurrentControlSet")},
      {HKEY_LOCAL_MACHINE, TEXT("Software\\Classes"), TEXT("HKCR")},
      {HKEY_CLASSES_ROOT, TEXT(".kv"), TEXT("HKCR\\.kv")},
      {HKEY_LOCAL_MACHINE, TEXT("Software\\ClassesOld"), TEXT("HKLM\\SOFTWARE\\ClassesOld")},
      {HKEY_CURRENT_USER, TEXT("Software\\Test"), TEXT("HKCU\\Software\\Test")},
      {HKEY_USERS, OwnSid(), TEXT("HKCU")},
      {HKEY_USERS, TEXT(".DEFAULT\\Software"), TEXT("\\REGISTRY\\USER\\.DEFAULT\\Software")},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.path));
    Key::Create(c.root, c.path);
    const Key key = Key::Open(c.root, c.path);
    ASSERT_EQ(key.status, ERROR_SUCCESS);
    EXPECT_TRUE(platform::EqualNoCase(NameOf(key), c.name)) << testing::PrintToString(NameOf(key));
    EXPECT_EQ(IsCurrentUserKey(key), c.name == TEXT("HKCU"));
  }
  EXPECT_TRUE(IsCurrentUserKey(HKEY_CURRENT_USER));
  EXPECT_FALSE(IsCurrentUserKey(HKEY_LOCAL_MACHINE));
  // A user whose SID begins with the caller's is another one.
  platform::SetFact(platform::facts::kUserSid, platform::ToUtf8(other));
  const Key mine = Key::Create(HKEY_CURRENT_USER, TEXT("Software\\Test"));
  EXPECT_EQ(NameOf(mine), TEXT("HKCU\\Software\\Test"));
  platform::SetFact(platform::facts::kUserSid, platform::ToUtf8(other.substr(0, other.size() - 1)));
  EXPECT_EQ(NameOf(mine), TEXT("\\REGISTRY\\USER\\") + other + TEXT("\\Software\\Test"));
}

TEST_F(KeyNameTest, NamesAreCutBeforeTheirRootIsFound) {
  const Key key = Key::Open(HKEY_LOCAL_MACHINE, TEXT("System"));
  RegKey named;
  ASSERT_TRUE(named.Open(HKEY_LOCAL_MACHINE, TEXT("System")));
  WCHAR name[32];
  EXPECT_EQ(named.GetKeyName(name, 32), 'H');
  EXPECT_EQ(NameOf(key, 20), TEXT("HKLM\\S")) << "of \\REGISTRY\\MACHINE\\S";
  EXPECT_EQ(NameOf(key, 10), TEXT("\\REGISTRY"));
  EXPECT_EQ(NameOf(key, 1), TEXT(""));
}

TEST_F(KeyNameTest, WithoutTheKernelsHelpThereIsNoName) {
  const Key key = Key::Open(HKEY_LOCAL_MACHINE, TEXT("System"));
  EXPECT_EQ(NameOf(HKEY_LOCAL_MACHINE), TEXT(""));
  EXPECT_NE(NameOf(key), TEXT(""));
  const Key deep = Key::Create(HKEY_CURRENT_USER, WideString(250, 'd'));
  EXPECT_EQ(NameOf(deep), TEXT("")) << "longer than the kernel's name may be";
  startupContext.platform.ntKind = 0;
  EXPECT_EQ(NameOf(key), TEXT(""));
  EXPECT_FALSE(IsCurrentUserKey(key));
}

TEST_F(KeyNameTest, MailProfilesLieWhereTheSystemPutsThem) {
  EXPECT_FALSE(MessagingProfilesKey(KeyMode::kRead).IsOpen());
  EXPECT_FALSE(MessagingProfilesKey(static_cast<KeyMode>(2)).IsOpen());
  for (const DWORD win9x : {0, 1}) {
    startupContext.platform.win9xKind = win9x;
    EXPECT_TRUE(MessagingProfilesKey(KeyMode::kWrite).IsOpen());
    EXPECT_TRUE(MessagingProfilesKey(KeyMode::kRead).IsOpen());
    const LPCWSTR path = win9x ? TEXT("Software\\Microsoft\\Windows Messaging Subsystem\\Profiles")
                               : TEXT(
                                     "Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows "
                                     "Messaging Subsystem\\Profiles");
    EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, path).status, ERROR_SUCCESS);
  }
}

}  // namespace
}  // namespace kv::test
