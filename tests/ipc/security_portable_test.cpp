// SIDs, tokens and descriptors, by the rules of every system.
#include <gtest/gtest.h>
#include <windows.h>

// Builds on windows.h.
#include <sddl.h>

#include <string>

#include "runtime/core/startup_context.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/administrator.h"
#include "runtime/ipc/descriptor_tests.h"
#include "runtime/ipc/open_security_attributes.h"
#include "runtime/ipc/process_token.h"
#include "runtime/ipc/sid_text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

class SecurityPortableTest : public testing::Test {
 protected:
  void SetUp() override { ReadPlatformFacts(startupContext.platform); }
};

TEST_F(SecurityPortableTest, SidsAsText) {
  static constexpr struct {
    BYTE sid[12 + 4 * 14];
    LPCWSTR text;
  } kRows[] = {
      {{1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 33, 2, 0, 0}, TEXT("S-1-5-32-545")},
      {{1, 1, 0, 0, 0, 0, 0, 1}, TEXT("S-1-1-0")},
      {{1, 0, 0, 0, 0, 0, 0, 5}, TEXT("S-1-5")},
      {{1, 1, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255}, TEXT("S-1-4294967295-4294967295")},
      {{1, 1, 0, 1, 0, 0, 0, 0, 7}, TEXT("S-1-0x000100000000-7")},
      {{1, 1, 255, 0, 205, 239, 1, 35, 7}, TEXT("S-1-0xff00cdef0123-7")},
      {{2, 1, 0, 0, 0, 0, 0, 5}, TEXT("")},
      {{1, 16, 0, 0, 0, 0, 0, 5}, TEXT("")},
  };
  for (const auto& row : kRows) {
    WCHAR text[kSidTextCapacity] = {TEXT('x')};
    alignas(4) BYTE sid[sizeof(row.sid)];
    memcpy(sid, row.sid, sizeof(sid));
    EXPECT_EQ(SidToString(sid, text), static_cast<int>(WideView(row.text).size()));
    EXPECT_EQ(WideView(text), row.text);
  }
  WCHAR text[kSidTextCapacity + 1] = {TEXT('x')};
  EXPECT_EQ(SidToString(nullptr, text), 0);
  EXPECT_EQ(text[0], 0);
  alignas(4) BYTE longest[8 + 4 * SID_MAX_SUB_AUTHORITIES];
  memset(longest, 255, sizeof(longest));
  longest[0] = 1;
  longest[1] = SID_MAX_SUB_AUTHORITIES;
  text[kSidTextCapacity] = TEXT('x');
  EXPECT_EQ(SidToString(longest, text), 183);
  EXPECT_EQ(text[kSidTextCapacity], TEXT('x'));
}

TEST_F(SecurityPortableTest, TheUserOfTheProcess) {
  WCHAR by_token[kSidTextCapacity], by_name[kSidTextCapacity];
  EXPECT_EQ(GetTokenUserSidString(by_token), TEXT('S'));
  EXPECT_EQ(GetCurrentUserSidString(by_name), TEXT('S'));
  EXPECT_EQ(WideView(by_token), WideView(by_name));
  DWORD elevated = 7, level = 7;
  EXPECT_GE(IsAdministrator(&elevated, &level), 0);
  EXPECT_LE(elevated, 1u);
  EXPECT_EQ(GetIntegrityLevel(), level);
  EXPECT_EQ(HasPrivilege(TEXT("SeChangeNotifyPrivilege")), 1);
}

TEST_F(SecurityPortableTest, ReadersByTheFirstEntryThatCounts) {
  static constexpr struct {
    LPCWSTR descriptor;
    int users_can_read;
    int is_owner_administrators;
  } kRows[] = {
      {TEXT("O:BAD:(A;;RC;;;BU)"), 1, 1},
      {TEXT("O:SYD:(A;IO;RC;;;BU)"), 0, 0},
      {TEXT("O:BUD:(D;;RC;;;BU)(A;;RC;;;BU)"), 0, 0},
      {TEXT("D:(A;;RC;;;BU)(D;;RC;;;BU)"), 1, -1},
      {TEXT("D:(D;;WD;;;BU)(A;;KR;;;BU)"), 1, -1},
      {TEXT("D:(A;;RC;;;BA)(D;IO;RC;;;BU)(A;CI;0x20000;;;BU)"), 1, -1},
      {TEXT("D:(A;;GA;;;BU)"), 0, -1},
      {TEXT("O:BAD:"), 0, 1},
      {TEXT("O:BA"), -1, 1},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.descriptor, row.descriptor + WideView(row.descriptor).size()));
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
        row.descriptor, SDDL_REVISION_1, &descriptor, nullptr));
    EXPECT_EQ(UsersCanRead(descriptor), row.users_can_read);
    EXPECT_EQ(IsOwnerAdministrators(descriptor), row.is_owner_administrators);
    LocalFree(descriptor);
  }
  SECURITY_DESCRIPTOR open = {};
  ASSERT_TRUE(InitializeSecurityDescriptor(&open, SECURITY_DESCRIPTOR_REVISION));
  EXPECT_EQ(UsersCanRead(&open), -1) << "no list";
  ASSERT_TRUE(SetSecurityDescriptorDacl(&open, TRUE, nullptr, FALSE));
  EXPECT_EQ(UsersCanRead(&open), -1) << "a null list has no entries to look at";
  EXPECT_EQ(IsOwnerAdministrators(&open), -1) << "no owner";
  // What denies on a condition does not count; what does so without one, does.
  alignas(4) BYTE list[] = {2, 0, 56, 0, 2, 0,  0, 0, 10, 0,  24, 0, 0, 0, 2,  0,  1, 2, 0,
                            0, 0, 0,  0, 5, 32, 0, 0, 0,  33, 2,  0, 0, 0, 0,  24, 0, 0, 0,
                            2, 0, 1,  2, 0, 0,  0, 0, 0,  5,  32, 0, 0, 0, 33, 2,  0, 0};
  ASSERT_TRUE(SetSecurityDescriptorDacl(&open, TRUE, reinterpret_cast<PACL>(list), FALSE));
  EXPECT_EQ(UsersCanRead(&open), 1);
  list[8] = ACCESS_DENIED_ACE_TYPE;
  EXPECT_EQ(UsersCanRead(&open), 0);
  open.Revision = 7;
  EXPECT_EQ(UsersCanRead(&open), -1);
  EXPECT_EQ(IsOwnerAdministrators(&open), -1);
}

TEST_F(SecurityPortableTest, OpenAttributesLetEverybodyInAndSinceVistaEveryLevelWrite) {
  for (const auto& [system, inherit] : {std::pair{kWindowsVista, TRUE}, {kServer2003, FALSE}}) {
    startupContext.platform.ntKind = system;
    const COpenSecurityAttributes attributes(inherit);
    ASSERT_NE(attributes.Get(), nullptr);
    EXPECT_EQ(attributes.Get()->nLength, sizeof(SECURITY_ATTRIBUTES));
    EXPECT_EQ(attributes.Get()->bInheritHandle, inherit);
    const PSECURITY_DESCRIPTOR descriptor = attributes.Get()->lpSecurityDescriptor;
    BOOL present = FALSE, defaulted = TRUE;
    PACL list = reinterpret_cast<PACL>(this);
    EXPECT_TRUE(GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    EXPECT_TRUE(present && list == nullptr && !defaulted);
    EXPECT_TRUE(GetSecurityDescriptorSacl(descriptor, &present, &list, &defaulted));
    ASSERT_EQ(present, system == kWindowsVista);
    if (!present) continue;
    void* entry = nullptr;
    ASSERT_TRUE(GetAce(list, 0, &entry));
    // Labels are laid out like entries that allow.
    const auto& label = *static_cast<ACCESS_ALLOWED_ACE*>(entry);
    EXPECT_EQ(label.Header.AceType, SYSTEM_MANDATORY_LABEL_ACE_TYPE);
    EXPECT_EQ(label.Mask, 1u) << "no write up";
    WCHAR level[kSidTextCapacity];
    SidToString(const_cast<DWORD*>(&label.SidStart), level);
    EXPECT_EQ(WideView(level), TEXT("S-1-16-4096")) << "low";
  }
}

}  // namespace
}  // namespace kv
