// A lock between processes that lets in many readers or one writer.
#pragma once

#include "runtime/ipc/shared_counter.h"

namespace kv {

// A writer owns the lock mutex from Enter to Leave; a reader only while it enters. The shared
// counter (4 bytes) holds the entries of all processes that have not left: a writer, whose mutex
// keeps new entries out, waits for the others' to leave. Readers leave through the counter alone,
// so they never wait for a writer. An object belongs to one thread.
//
// Processes that die: a lock mutex whose owner died makes the next Enter fail, once, and is free
// again. Entries that a dead process left in the counter hold a writer up until no entry has left
// for kAbandonedEntries (5 s); then the writer takes them for abandoned, writes the counter anew
// and goes on. With n abandoned and m living entries that is at most (m + 1) × 5 s after the last
// living reader could leave, and once for all n. A reader that stays inside for longer while a
// writer waits is no longer protected; when it leaves after all, it may take an entry that another
// reader made since out of the count, which never falls below 0.
//
// Without a counter (it could not be made) readers keep the lock mutex as writers do, so that all
// processes without it exclude each other.
class CSharedAccessLock {
 public:
  // Milliseconds.
  static constexpr DWORD kAbandonedEntries = 5000;

  // Calls Init; what came of it shows in IsInitialised.
  CSharedAccessLock(LPCWSTR lockMutexName, LPCWSTR countMappingName, LPCWSTR countMutexName);
  CSharedAccessLock(const CSharedAccessLock&) = delete;
  CSharedAccessLock& operator=(const CSharedAccessLock&) = delete;
  // Leaves whatever this object entered.
  virtual ~CSharedAccessLock();

  // TRUE at once when the lock is initialised. FALSE when a name is null or empty or the lock mutex
  // cannot be made (its last error); not when the counter cannot, which has been reported.
  BOOL Init(LPCWSTR lockMutexName, LPCWSTR countMappingName, LPCWSTR countMutexName);
  BOOL IsInitialised() const { return lockMutex_ != nullptr; }

  // Enters as a writer or as a reader; entries of one object nest. `timeout` (milliseconds,
  // INFINITE allowed) bounds the wait for the lock mutex, not a writer's wait for readers. TRUE
  // when entered, and always on a lock that is not initialised, which locks nothing. FALSE with
  // nothing changed when the lock mutex was not to be had in time or its owner had died.
  BOOL Enter(BOOL exclusive, DWORD timeout);
  // Leaves once, or with `all` as often as this object entered; nothing when it is not inside.
  void Leave(BOOL all);

 private:
  BOOL TakeLockMutex(DWORD timeout);
  void ReleaseLockMutex();
  void WaitForOthers();

  HANDLE lockMutex_ = nullptr;
  BOOL held_ = FALSE;
  CSharedCounter userCount_;
  LONG ownEntries_ = 0;
};

}  // namespace kv
