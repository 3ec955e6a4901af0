// A block of memory that processes share by name, with the lock that guards it.
#pragma once

#include <memory>

#include "runtime/core/flags.h"
#include "runtime/core/win.h"
#include "runtime/ipc/critical_section.h"

namespace kv {

class CProgressWnd;

// What came of making or opening an object that processes share.
enum Creation : int {
  kNotCreated = 0,  // failed
  kCreated = 1,     // by this call
  kExisted = 2,     // made by somebody before
};

// Belongs to one thread; what it stands for is shared. The lock is a named mutex or, while there is
// none, a critical section of this object.
class CSharedMemory {
 public:
  CSharedMemory();
  CSharedMemory(const CSharedMemory&) = delete;
  CSharedMemory& operator=(const CSharedMemory&) = delete;
  virtual ~CSharedMemory();

  // Makes or opens the mutex that guards the block from now on; kExisted also when the object has a
  // mutex already. kNotCreated, unreported, with CreateMutexW's last error.
  Creation CreateMutex(LPCWSTR name);
  // Opens the mutex of that name; TRUE also when the object has one already. FALSE, unreported,
  // with OpenMutexW's last error.
  BOOL OpenMutex(LPCWSTR name);
  // Maps `size` bytes by name (null or empty: nobody else's), made zeroed when they are not there,
  // or with `create` FALSE the existing block, which counts as kExisted. What was mapped before is
  // let go. On failure kNotCreated, a report unless quiet, the object closed as by Close, and the
  // failed call's last error.
  Creation Map(BOOL create, LPCWSTR name, DWORD size, Quiet quiet);

  // Waits without limit. A mutex whose owner died is taken over.
  void Lock();
  void Unlock();
  // Waits for the mutex, which the object must have, while the thread's windows stay alive: shows
  // `progress` (null: none) meanwhile and gives up when its Cancel button is pressed, `cancel`
  // (null: none) is signalled or the thread is told to quit. TRUE when the mutex is owned. A wait
  // that fails, or a mutex whose owner died meanwhile, is reported and gives FALSE.
  BOOL LockInteractive(CProgressWnd* progress, HANDLE cancel);

  // Lets go of the block, its name and the mutex.
  void Close();

  // The block; null when none is mapped.
  void* view() const { return view_; }
  // The name it was mapped by; empty without one.
  LPCWSTR name() const { return name_ == nullptr ? TEXT("") : name_.get(); }

 protected:
  // Map for a caller who holds the lock: a failure leaves the mutex, which Unlock needs, open.
  Creation MapBlock(BOOL create, LPCWSTR name, DWORD size, Quiet quiet);

 private:
  Creation Fail(LPCWSTR call, Quiet quiet);
  void Unmap();
  BOOL WaitInteractive(CProgressWnd* progress, HANDLE cancel);

  HANDLE mutex_ = nullptr;
  CCriticalSection section_;
  std::unique_ptr<WCHAR[]> name_;
  HANDLE mapping_ = nullptr;
  void* view_ = nullptr;
};

}  // namespace kv
