#include "runtime/ipc/shared_access_lock.h"

#include <algorithm>

#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kPoll = 250;

}  // namespace

CSharedAccessLock::CSharedAccessLock(LPCWSTR lockMutexName, LPCWSTR countMappingName,
                                     LPCWSTR countMutexName) {
  Init(lockMutexName, countMappingName, countMutexName);
}

CSharedAccessLock::~CSharedAccessLock() {
  Leave(TRUE);
  if (lockMutex_ != nullptr) CloseHandle(lockMutex_);
}

BOOL CSharedAccessLock::Init(LPCWSTR lockMutexName, LPCWSTR countMappingName,
                             LPCWSTR countMutexName) {
  if (lockMutex_ != nullptr) return TRUE;
  for (const LPCWSTR name : {lockMutexName, countMappingName, countMutexName}) {
    if (View(name).empty()) return FALSE;
  }
  lockMutex_ = CreateMutexW(nullptr, FALSE, lockMutexName);
  if (lockMutex_ == nullptr) return FALSE;
  userCount_.Create(countMappingName, TRUE, countMutexName);
  return TRUE;
}

BOOL CSharedAccessLock::TakeLockMutex(DWORD timeout) {
  const DWORD result = WaitForSingleObject(lockMutex_, timeout);
  // The owner died and left the mutex to us.
  if (result == WAIT_ABANDONED) ReleaseMutex(lockMutex_);
  held_ = result == WAIT_OBJECT_0;
  return held_;
}

void CSharedAccessLock::ReleaseLockMutex() {
  ReleaseMutex(lockMutex_);
  held_ = FALSE;
}

BOOL CSharedAccessLock::Enter(BOOL exclusive, DWORD timeout) {
  if (lockMutex_ == nullptr) return TRUE;
  const BOOL heldBefore = held_;
  if (!heldBefore && !TakeLockMutex(timeout)) return FALSE;
  userCount_.Increment();
  ++ownEntries_;
  if (exclusive) {
    WaitForOthers();
  } else if (!heldBefore && userCount_.IsOpen()) {
    ReleaseLockMutex();
  }
  return TRUE;
}

void CSharedAccessLock::WaitForOthers() {
  LONG lowest = userCount_.Get();
  DWORD lowestSince = GetTickCount();
  for (LONG count = lowest; count > ownEntries_; count = userCount_.Get()) {
    const DWORD now = GetTickCount();
    if (count != lowest) {
      lowest = count;
      lowestSince = now;
    } else if (now - lowestSince >= kAbandonedEntries) {
      userCount_.Replace(count, ownEntries_);
      continue;
    }
    Sleep(kPoll);
  }
}

void CSharedAccessLock::Leave(BOOL all) {
  for (LONG leaving = all ? ownEntries_ : std::min<LONG>(ownEntries_, 1); leaving > 0; --leaving) {
    --ownEntries_;
    // An entry that a writer took for abandoned is not counted any more.
    userCount_.DecrementAboveZero();
  }
  if (held_ && ownEntries_ == 0) ReleaseLockMutex();
}

}  // namespace kv
