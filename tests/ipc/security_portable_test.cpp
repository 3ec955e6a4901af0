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
      {{1, 1, 255, 171, 205, 239, 1, 35, 7}, TEXT("S-1-0xffabcdef0123-7")},
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
  WCHAR text[kSidTextCapacity] = {TEXT('x')};
  EXPECT_EQ(SidToString(nullptr, text), 0);
  EXPECT_EQ(text[0], 0);
}

TEST_F(SecurityPortableTest, TheLongestTextFits) {
  alignas(4) BYTE sid[8 + 4 * SID_MAX_SUB_AUTHORITIES];
  memset(sid, 255, sizeof(sid));
  sid[0] = 1;
  sid[1] = SID_MAX_SUB_AUTHORITIES;
  WCHAR text[kSidTextCapacity + 1];
  text[kSidTextCapacity] = TEXT('x');
  EXPECT_EQ(SidToString(sid, text), kSidTextCapacity - 1);
  EXPECT_EQ(text[kSidTextCapacity], TEXT('x'));
}

TEST_F(SecurityPortableTest, TheUserOfTheProcess) {
  WCHAR by_token[kSidTextCapacity], by_name[kSidTextCapacity];
  EXPECT_EQ(GetTokenUserSidString(by_token), TEXT('S'));
  EXPECT_EQ(GetCurrentUserSidString(by_name), TEXT('S'));
  EXPECT_EQ(WideView(by_token), WideView(by_name));
  EXPECT_TRUE(IsValidSid(GetTokenUserSid().Get()));
  DWORD elevated = 7, level = 7;
  EXPECT_GE(IsAdministrator(&elevated, &level), 0);
  EXPECT_LE(elevated, 1u);
  EXPECT_GE(level, kLowIntegrity);
  EXPECT_EQ(GetIntegrityLevel(), level);
}

TEST_F(SecurityPortableTest, PrivilegesAreSwitched) {
  EXPECT_EQ(HasPrivilege(TEXT("SeNoSuchPrivilege")), -1);
  EXPECT_FALSE(EnablePrivilege(TEXT("SeNoSuchPrivilege"), TRUE));
  EXPECT_EQ(HasPrivilege(TEXT("SeChangeNotifyPrivilege")), 1);
  ASSERT_TRUE(EnablePrivilege(SE_SHUTDOWN_NAME, TRUE));
  EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), 1);
  EXPECT_TRUE(EnablePrivilege(SE_SHUTDOWN_NAME, FALSE));
  EXPECT_EQ(HasPrivilege(SE_SHUTDOWN_NAME), 0);
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
}

TEST_F(SecurityPortableTest, LabelsTravelBetweenDescriptors) {
  PSECURITY_DESCRIPTOR labelled = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
      TEXT("S:(ML;;NW;;;LW)"), SDDL_REVISION_1, &labelled, nullptr));
  BOOL present = FALSE, defaulted = TRUE;
  PACL list = nullptr;
  ASSERT_TRUE(GetSecurityDescriptorSacl(labelled, &present, &list, &defaulted));
  EXPECT_TRUE(present);
  EXPECT_FALSE(defaulted);
  ASSERT_EQ(list->AceCount, 1);
  void* entry = nullptr;
  ASSERT_TRUE(GetAce(list, 0, &entry));
  EXPECT_EQ(static_cast<ACE_HEADER*>(entry)->AceType, SYSTEM_MANDATORY_LABEL_ACE_TYPE);
  SECURITY_DESCRIPTOR borrower = {};
  ASSERT_TRUE(InitializeSecurityDescriptor(&borrower, SECURITY_DESCRIPTOR_REVISION));
  ASSERT_TRUE(SetSecurityDescriptorSacl(&borrower, TRUE, list, FALSE));
  EXPECT_EQ(borrower.Sacl, list);
  EXPECT_FALSE(SetSecurityDescriptorSacl(labelled, TRUE, list, FALSE)) << "self-relative";
  LocalFree(labelled);
  for (const LPCWSTR wrong : {TEXT("D:(A;;RC;;BU)"), TEXT("D:(Q;;RC;;;BU)"), TEXT("Q:BA"),
                              TEXT("D:(A;;RC;;;BU"), TEXT("O:QQ")}) {
    PSECURITY_DESCRIPTOR none = nullptr;
    EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(wrong, SDDL_REVISION_1, &none,
                                                                      nullptr));
  }
}

}  // namespace
}  // namespace kv
