#include "runtime/ipc/shared_memory.h"

#include <utility>

#include "runtime/core/messages.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/progress_window.h"
#include "runtime/ui/pump_messages.h"

namespace kv {
namespace {

// Shows a window for as long as it lives.
class ShownScope {
 public:
  explicit ShownScope(CProgressWnd* window) : window_(window) {
    if (window_ != nullptr) window_->Show(TRUE);
  }
  ~ShownScope() {
    if (window_ != nullptr) window_->Show(FALSE);
  }
  ShownScope(const ShownScope&) = delete;
  ShownScope& operator=(const ShownScope&) = delete;

 private:
  CProgressWnd* window_;
};

}  // namespace

CSharedMemory::CSharedMemory() {
  section_.Initialize();
}

CSharedMemory::~CSharedMemory() {
  section_.Delete();
  Close();
}

Creation CSharedMemory::CreateMutex(LPCWSTR name) {
  if (mutex_ != nullptr) return kExisted;
  mutex_ = CreateMutexW(nullptr, FALSE, name);
  if (mutex_ == nullptr) return kNotCreated;
  return GetLastError() == ERROR_ALREADY_EXISTS ? kExisted : kCreated;
}

BOOL CSharedMemory::OpenMutex(LPCWSTR name) {
  if (mutex_ == nullptr) mutex_ = OpenMutexW(SYNCHRONIZE, FALSE, name);
  return mutex_ != nullptr;
}

Creation CSharedMemory::Map(BOOL create, LPCWSTR name, DWORD size, Quiet quiet) {
  const Creation creation = MapBlock(create, name, size, quiet);
  if (creation == kNotCreated) {
    const LastErrorScope scope;
    Close();
  }
  return creation;
}

Creation CSharedMemory::MapBlock(BOOL create, LPCWSTR name, DWORD size, Quiet quiet) {
  // `name` may be this one.
  const std::unique_ptr<WCHAR[]> oldName = std::move(name_);
  Unmap();
  Creation creation = kExisted;
  if (create) {
    mapping_ = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
    if (mapping_ == nullptr) return Fail(TEXT("CreateFileMapping"), quiet);
    if (GetLastError() != ERROR_ALREADY_EXISTS) creation = kCreated;
  } else {
    mapping_ = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, name);
    if (mapping_ == nullptr) return Fail(TEXT("OpenFileMapping"), quiet);
  }
  view_ = MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, 0);
  if (view_ == nullptr) return Fail(TEXT("MapViewOfFile"), quiet);
  if (!View(name).empty()) name_ = CopyOf(name);
  return creation;
}

Creation CSharedMemory::Fail(LPCWSTR call, Quiet quiet) {
  if (quiet == Quiet::kNo) ShowLastError(call);
  const LastErrorScope scope;
  Unmap();
  return kNotCreated;
}

void CSharedMemory::Lock() {
  if (mutex_ != nullptr) {
    WaitForSingleObject(mutex_, INFINITE);
  } else {
    section_.Enter();
  }
}

void CSharedMemory::Unlock() {
  if (mutex_ != nullptr) {
    ReleaseMutex(mutex_);
  } else {
    section_.Leave();
  }
}

BOOL CSharedMemory::LockInteractive(CProgressWnd* progress, HANDLE cancel) {
  const DWORD polled = WaitForSingleObject(mutex_, 0);
  if (polled == WAIT_OBJECT_0) return TRUE;
  // An abandoned mutex is ours; the wait below finds it free.
  if (polled == WAIT_ABANDONED) ReleaseMutex(mutex_);
  const ShownScope shown(progress);
  return WaitInteractive(progress, cancel);
}

BOOL CSharedMemory::WaitInteractive(CProgressWnd* progress, HANDLE cancel) {
  const HANDLE handles[] = {mutex_, cancel};
  const DWORD count = cancel != nullptr ? 2 : 1;
  while (CProgressWnd::Pump(progress)) {
    const DWORD result = MsgWaitForMultipleObjects(count, handles, FALSE, INFINITE, QS_ALLINPUT);
    if (result == WAIT_OBJECT_0) return TRUE;
    if (cancel != nullptr && result == WAIT_OBJECT_0 + 1) return FALSE;
    if (result == WAIT_OBJECT_0 + count) continue;
    if (result == WAIT_ABANDONED_0) {
      ReleaseMutex(mutex_);
      SetLastError(ERROR_ABANDONED_WAIT_0);
    }
    ShowLastError(TEXT("MsgWaitForMultipleObjects"));
    return FALSE;
  }
  return FALSE;
}

void CSharedMemory::Unmap() {
  if (view_ != nullptr) UnmapViewOfFile(view_);
  view_ = nullptr;
  if (mapping_ != nullptr) CloseHandle(mapping_);
  mapping_ = nullptr;
  name_.reset();
}

void CSharedMemory::Close() {
  Unmap();
  if (mutex_ != nullptr) CloseHandle(mutex_);
  mutex_ = nullptr;
}

}  // namespace kv
