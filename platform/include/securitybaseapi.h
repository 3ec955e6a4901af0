// SIDs, security descriptors and access tokens. Structures and constants that belong to winnt.h
// stand here, beside the functions that take them.
#pragma once

#include <minwinbase.h>

#define SID_REVISION 1
#define SID_MAX_SUB_AUTHORITIES 15
#define SECURITY_MAX_SID_SIZE 68
#define SECURITY_NT_AUTHORITY \
  { 0, 0, 0, 0, 0, 5 }
#define SECURITY_BUILTIN_DOMAIN_RID 0x20
#define DOMAIN_ALIAS_RID_ADMINS 0x220
#define DOMAIN_ALIAS_RID_USERS 0x221
#define SECURITY_MANDATORY_MEDIUM_RID 0x2000
#define SECURITY_MANDATORY_HIGH_RID 0x3000
#define SECURITY_MANDATORY_SYSTEM_RID 0x4000

typedef struct _SID_IDENTIFIER_AUTHORITY {
  BYTE Value[6];
} SID_IDENTIFIER_AUTHORITY, *PSID_IDENTIFIER_AUTHORITY;

typedef struct _SID {
  BYTE Revision;
  BYTE SubAuthorityCount;
  SID_IDENTIFIER_AUTHORITY IdentifierAuthority;
  DWORD SubAuthority[1];
} SID;
static_assert(sizeof(SID) == 12);

typedef enum _SID_NAME_USE {
  SidTypeUser = 1,
  SidTypeGroup,
  SidTypeDomain,
  SidTypeAlias,
  SidTypeWellKnownGroup,
  SidTypeDeletedAccount,
  SidTypeInvalid,
  SidTypeUnknown,
  SidTypeComputer,
  SidTypeLabel
} SID_NAME_USE,
    *PSID_NAME_USE;

typedef struct _SID_AND_ATTRIBUTES {
  PSID Sid;
  DWORD Attributes;
} SID_AND_ATTRIBUTES;
static_assert(sizeof(SID_AND_ATTRIBUTES) == 2 * sizeof(void*));

#define SECURITY_DESCRIPTOR_REVISION 1
#define SE_OWNER_DEFAULTED 0x0001
#define SE_DACL_PRESENT 0x0004
#define SE_DACL_DEFAULTED 0x0008
#define SE_SACL_PRESENT 0x0010
#define SE_SACL_DEFAULTED 0x0020
#define SE_SELF_RELATIVE 0x8000
#define ACL_REVISION 2

typedef WORD SECURITY_DESCRIPTOR_CONTROL;

typedef struct _ACL {
  BYTE AclRevision;
  BYTE Sbz1;
  WORD AclSize;
  WORD AceCount;
  WORD Sbz2;
} ACL, *PACL;
static_assert(sizeof(ACL) == 8);

typedef struct _SECURITY_DESCRIPTOR {
  BYTE Revision;
  BYTE Sbz1;
  SECURITY_DESCRIPTOR_CONTROL Control;
  PSID Owner;
  PSID Group;
  PACL Sacl;
  PACL Dacl;
} SECURITY_DESCRIPTOR;
static_assert(sizeof(SECURITY_DESCRIPTOR) == (sizeof(void*) == 4 ? 20 : 40));

#define ACCESS_ALLOWED_ACE_TYPE 0x0
#define ACCESS_DENIED_ACE_TYPE 0x1
#define SYSTEM_MANDATORY_LABEL_ACE_TYPE 0x11
#define CONTAINER_INHERIT_ACE 0x2
#define INHERIT_ONLY_ACE 0x8
#define SYSTEM_MANDATORY_LABEL_NO_WRITE_UP 0x1

typedef struct _ACE_HEADER {
  BYTE AceType;
  BYTE AceFlags;
  WORD AceSize;
} ACE_HEADER;

typedef struct _ACCESS_ALLOWED_ACE {
  ACE_HEADER Header;
  ACCESS_MASK Mask;
  DWORD SidStart;
} ACCESS_ALLOWED_ACE;
static_assert(sizeof(ACCESS_ALLOWED_ACE) == 12);
typedef ACCESS_ALLOWED_ACE ACCESS_DENIED_ACE;

typedef enum _ACL_INFORMATION_CLASS {
  AclRevisionInformation = 1,
  AclSizeInformation
} ACL_INFORMATION_CLASS;

typedef struct _ACL_SIZE_INFORMATION {
  DWORD AceCount;
  DWORD AclBytesInUse;
  DWORD AclBytesFree;
} ACL_SIZE_INFORMATION;

#define TOKEN_ASSIGN_PRIMARY 0x0001
#define TOKEN_DUPLICATE 0x0002
#define TOKEN_QUERY 0x0008
#define TOKEN_ADJUST_PRIVILEGES 0x0020
#define TOKEN_ADJUST_DEFAULT 0x0080
#define TOKEN_ADJUST_SESSIONID 0x0100
#define TOKEN_ALL_ACCESS 0xF01FF

#define SE_GROUP_MANDATORY 0x00000001
#define SE_GROUP_ENABLED_BY_DEFAULT 0x00000002
#define SE_GROUP_ENABLED 0x00000004
#define SE_GROUP_OWNER 0x00000008
#define SE_GROUP_USE_FOR_DENY_ONLY 0x00000010
#define SE_GROUP_INTEGRITY 0x00000020
#define SE_GROUP_INTEGRITY_ENABLED 0x00000040

#define SE_PRIVILEGE_ENABLED_BY_DEFAULT 0x00000001
#define SE_PRIVILEGE_ENABLED 0x00000002
#define SE_PRIVILEGE_REMOVED 0x00000004

#define SE_TCB_NAME TEXT("SeTcbPrivilege")
#define SE_BACKUP_NAME TEXT("SeBackupPrivilege")
#define SE_SHUTDOWN_NAME TEXT("SeShutdownPrivilege")

typedef struct _LUID_AND_ATTRIBUTES {
  LUID Luid;
  DWORD Attributes;
} LUID_AND_ATTRIBUTES;
static_assert(sizeof(LUID_AND_ATTRIBUTES) == 12);

typedef enum _SECURITY_IMPERSONATION_LEVEL {
  SecurityAnonymous,
  SecurityIdentification,
  SecurityImpersonation,
  SecurityDelegation
} SECURITY_IMPERSONATION_LEVEL,
    *PSECURITY_IMPERSONATION_LEVEL;

typedef enum _TOKEN_TYPE { TokenPrimary = 1, TokenImpersonation } TOKEN_TYPE, *PTOKEN_TYPE;

typedef enum _TOKEN_INFORMATION_CLASS {
  TokenUser = 1,
  TokenGroups = 2,
  TokenPrivileges = 3,
  TokenElevation = 20,
  TokenIntegrityLevel = 25
} TOKEN_INFORMATION_CLASS,
    *PTOKEN_INFORMATION_CLASS;

typedef struct _TOKEN_USER {
  SID_AND_ATTRIBUTES User;
} TOKEN_USER;

typedef struct _TOKEN_GROUPS {
  DWORD GroupCount;
  SID_AND_ATTRIBUTES Groups[1];
} TOKEN_GROUPS;
static_assert(sizeof(TOKEN_GROUPS) == 3 * sizeof(void*));

typedef struct _TOKEN_PRIVILEGES {
  DWORD PrivilegeCount;
  LUID_AND_ATTRIBUTES Privileges[1];
} TOKEN_PRIVILEGES, *PTOKEN_PRIVILEGES;
static_assert(sizeof(TOKEN_PRIVILEGES) == 16);

typedef struct _TOKEN_ELEVATION {
  DWORD TokenIsElevated;
} TOKEN_ELEVATION;

typedef struct _TOKEN_MANDATORY_LABEL {
  SID_AND_ATTRIBUTES Label;
} TOKEN_MANDATORY_LABEL;

extern "C" {
BOOL WINAPI AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first,
                                     DWORD second, DWORD third, DWORD fourth, DWORD fifth,
                                     DWORD sixth, DWORD seventh, DWORD eighth, PSID* sid);
PVOID WINAPI FreeSid(PSID sid);
BOOL WINAPI CopySid(DWORD capacity, PSID destination, PSID source);
BOOL WINAPI EqualSid(PSID a, PSID b);
DWORD WINAPI GetSidLengthRequired(UCHAR count);
PSID_IDENTIFIER_AUTHORITY WINAPI GetSidIdentifierAuthority(PSID sid);
PDWORD WINAPI GetSidSubAuthority(PSID sid, DWORD index);
PUCHAR WINAPI GetSidSubAuthorityCount(PSID sid);
BOOL WINAPI InitializeSid(PSID sid, PSID_IDENTIFIER_AUTHORITY authority, BYTE count);
BOOL WINAPI IsValidSid(PSID sid);

BOOL WINAPI GetAce(PACL acl, DWORD index, LPVOID* ace);
BOOL WINAPI GetAclInformation(PACL acl, LPVOID information, DWORD size,
                              ACL_INFORMATION_CLASS information_class);
BOOL WINAPI GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* dacl,
                                      LPBOOL defaulted);
BOOL WINAPI GetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID* owner,
                                       LPBOOL defaulted);
BOOL WINAPI GetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* sacl,
                                      LPBOOL defaulted);
BOOL WINAPI InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision);
BOOL WINAPI SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl,
                                      BOOL defaulted);
BOOL WINAPI SetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL sacl,
                                      BOOL defaulted);

BOOL WINAPI GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS information_class,
                                LPVOID information, DWORD size, PDWORD needed);
BOOL WINAPI AdjustTokenPrivileges(HANDLE token, BOOL disable_all, PTOKEN_PRIVILEGES state,
                                  DWORD size, PTOKEN_PRIVILEGES previous, PDWORD needed);
BOOL WINAPI DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes,
                             SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, PHANDLE copy);
}
