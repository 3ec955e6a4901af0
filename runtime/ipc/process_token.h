// The access token with which the calling thread works, and the privileges in it.
#pragma once

#include <memory>
#include <new>

#include "runtime/core/handles.h"
#include "runtime/core/win.h"
#include "runtime/ipc/sids.h"

namespace kv {

// The thread's impersonation token or, when the thread has none, the process's. Empty on failure,
// with the last error.
UniqueHandle OpenEffectiveToken(DWORD access);

// A structure of GetTokenInformation with what it points at. Record is the platform's structure of
// the class asked for.
template <class Record>
class TokenInformation {
 public:
  // Reads it from a token that was opened with TOKEN_QUERY; FALSE on failure, memory that runs out
  // included.
  BOOL Read(HANDLE token, TOKEN_INFORMATION_CLASS informationClass) {
    return ReadSize(token, informationClass) && ReadData(token, informationClass);
  }
  // The two steps of Read.
  BOOL ReadSize(HANDLE token, TOKEN_INFORMATION_CLASS informationClass) {
    return !GetTokenInformation(token, informationClass, nullptr, 0, &size_) &&
           GetLastError() == ERROR_INSUFFICIENT_BUFFER;
  }
  BOOL ReadData(HANDLE token, TOKEN_INFORMATION_CLASS informationClass) {
    block_.reset(new (std::nothrow) BYTE[size_]);
    return block_ != nullptr &&
           GetTokenInformation(token, informationClass, block_.get(), size_, &size_);
  }
  const Record& operator*() const { return *reinterpret_cast<const Record*>(block_.get()); }
  const Record* operator->() const { return &**this; }
  // Bytes.
  DWORD size() const { return size_; }

 private:
  std::unique_ptr<BYTE[]> block_;
  DWORD size_ = 0;
};

// 1 when the privilege was switched as asked; 0 otherwise, so for a token that does not hold it. On
// the 9x family 1 at once.
BOOL EnablePrivilege(LPCWSTR name, BOOL enable);
// 1 when the token holds the privilege and it is enabled, 0 when not, -1 when the test failed.
int HasPrivilege(LPCWSTR name);

// A copy of the user's SID in the effective token; empty on failure.
HeapSid GetTokenUserSid();
// Its text in `output` of kSidTextCapacity characters, empty on failure; returns its first
// character.
WCHAR GetTokenUserSidString(LPWSTR output);

}  // namespace kv
