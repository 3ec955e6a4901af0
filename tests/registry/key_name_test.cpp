// The names of open keys.
#include "runtime/registry/key_name.h"

#include "platform/registry/registry.h"
#include "tests/support/failing_new.h"
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
  RegKey key;
  ASSERT_TRUE(key.Open(HKEY_LOCAL_MACHINE, TEXT("System")));
  const struct {
    int capacity;
    LPCWSTR name;
  } kCases[] = {{32, TEXT("HKLM\\System")},
                {20, TEXT("HKLM\\S")},
                {10, TEXT("\\REGISTRY")},
                {1, TEXT("")},
                {0, TEXT("#")},
                {-1, TEXT("#")}};
  for (const auto& c : kCases) {
    WCHAR name[32] = {'#'};
    EXPECT_EQ(key.GetKeyName(name, c.capacity), c.capacity > 0 ? c.name[0] : 0);
    EXPECT_TRUE(platform::EqualNoCase(name, c.name)) << c.capacity;
  }
  const WideString root = TEXT("\\REGISTRY\\USER\\") + OwnSid() + TEXT("\\");
  const WideString fits(259 - root.size(), 'd');
  EXPECT_EQ(NameOf(Key::Create(HKEY_CURRENT_USER, fits)), TEXT("HKCU\\") + fits);
  EXPECT_EQ(NameOf(Key::Create(HKEY_CURRENT_USER, fits + TEXT("d"))), TEXT(""));
}

TEST_F(KeyNameTest, WithoutTheKernelsHelpThereIsNoName) {
  const Key key = Key::Create(HKEY_CURRENT_USER, TEXT("Software"));
  EXPECT_EQ(NameOf(HKEY_LOCAL_MACHINE), TEXT(""));
  EXPECT_EQ(NameOf(nullptr), TEXT(""));
  EXPECT_EQ(NameOf(key), TEXT("HKCU\\Software"));
  for (const char* call : {"LoadLibraryW", "GetProcAddress", "NtQueryObject"}) {
    platform::FailCall(call, 1);
    EXPECT_EQ(NameOf(key), TEXT("")) << call;
    EXPECT_EQ(platform::InjectedFailures(), 1u) << call;
    platform::ResetFaults();
  }
  platform::FailCall("LookupAccountNameW", 1);
  EXPECT_EQ(NameOf(key), TEXT("\\REGISTRY\\USER\\") + OwnSid() + TEXT("\\Software"));
  startupContext.platform.ntKind = 0;
  EXPECT_EQ(NameOf(key), TEXT(""));
  EXPECT_FALSE(IsCurrentUserKey(key));
}

TEST_F(KeyNameTest, KeysAreRelatedByTheirPlaces) {
  // Longer than any name that is handed out.
  const WideString deep =
      TEXT("Software\\") + WideString(200, 'd') + TEXT("\\") + WideString(200, 'e');
  const struct {
    WideString first, second;
    KeyRelation relation, turned;
  } kCases[] = {
      {deep, deep, KeyRelation::kSame, KeyRelation::kSame},
      {deep + TEXT("\\f"), deep, KeyRelation::kFirstBelow, KeyRelation::kSecondBelow},
      {deep + TEXT("f"), deep, KeyRelation::kApart, KeyRelation::kApart},
  };
  for (const auto& c : kCases) {
    const Key first = Key::Create(HKEY_CURRENT_USER, c.first);
    const Key second = Key::Create(HKEY_CURRENT_USER, c.second);
    EXPECT_EQ(RelateKeys(first, second), c.relation) << &c - kCases;
    EXPECT_EQ(RelateKeys(second, first), c.turned) << &c - kCases;
    EXPECT_EQ(RelateKeys(first, HKEY_CURRENT_USER), KeyRelation::kUnknown);
    EXPECT_EQ(RelateKeys(HKEY_CURRENT_USER, first), KeyRelation::kUnknown);
    FailAllocation(1);
    EXPECT_EQ(RelateKeys(first, second), KeyRelation::kUnknown);
  }
  EXPECT_EQ(RelateKeys(HKEY_USERS, HKEY_USERS), KeyRelation::kSame);
}

TEST_F(KeyNameTest, MailProfilesLieWhereTheSystemPutsThem) {
  EXPECT_FALSE(MessagingProfilesKey(static_cast<KeyMode>(2)).IsOpen());
  for (const DWORD win9x : {0, 1}) {
    startupContext.platform.win9xKind = win9x;
    EXPECT_FALSE(MessagingProfilesKey(KeyMode::kRead).IsOpen());
    EXPECT_TRUE(MessagingProfilesKey(KeyMode::kWrite).SetDword(TEXT("v"), 1));
    MessagingProfilesKey read(KeyMode::kRead);
    EXPECT_EQ(read.GetDword(TEXT("v"), 9), 1u);
    EXPECT_FALSE(read.SetDword(TEXT("v"), 2));
    const LPCWSTR path = win9x ? TEXT("Software\\Microsoft\\Windows Messaging Subsystem\\Profiles")
                               : TEXT(
                                     "Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows "
                                     "Messaging Subsystem\\Profiles");
    EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, path).status, ERROR_SUCCESS);
  }
}

}  // namespace
}  // namespace kv::test
