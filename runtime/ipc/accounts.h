// Users, computers and groups by name and SID.
#pragma once

#include "runtime/core/win.h"
#include "runtime/ipc/sids.h"

namespace kv {

constexpr int kComputerNameCapacity = 65;
constexpr int kUserNameCapacity = 257;

// The computer's name; returns its first character, 0 after a report when it cannot be read.
WCHAR ReadComputerName(WCHAR (&output)[kComputerNameCapacity]);
// The name of the calling thread's user; returns its first character, 0 when it cannot be read.
WCHAR ReadUserName(WCHAR (&output)[kUserNameCapacity]);

// The SID of an account of this system: a user, or one of the system's own ("SYSTEM"). A user who
// has the computer's name is found all the same. Empty for other kinds of accounts and on failure;
// only memory that runs out and a computer's name that cannot be read are reported.
HeapSid GetAccountSid(LPCWSTR account);
// The SID of the account that GetUserNameW names for the calling thread; empty on failure.
HeapSid GetCurrentUserSid();
// Its text in `output` of kSidTextCapacity characters; returns its first character.
WCHAR GetCurrentUserSidString(LPWSTR output);
// Whether the calling thread works for the system itself.
BOOL IsSystemAccount();

// The name of the account with the relative id `rid` in the account domain of `server` (null: this
// machine), in `output` of *capacity characters, which becomes its length. FALSE when it is not
// found (ERROR_NONE_MAPPED), does not fit (ERROR_INSUFFICIENT_BUFFER), the server cannot be asked
// (NetUserModalsGet's error) or has no account domain (ERROR_NO_SUCH_DOMAIN), on systems that know
// none (ERROR_PROC_NOT_FOUND), and without memory (ERROR_NOT_ENOUGH_MEMORY).
BOOL LookupAccountByRid(LPCWSTR server, DWORD rid, LPWSTR output, DWORD* capacity);

}  // namespace kv
