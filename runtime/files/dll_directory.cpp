#include "runtime/files/dll_directory.h"

#include <new>

#include "runtime/core/find_proc.h"
#include "runtime/core/startup_context.h"
#include "runtime/text/wide_text.h"

namespace kv {

CDllDirectory::CDllDirectory(LPCWSTR directory)
    : getDllDirectory_(FindProc<decltype(getDllDirectory_)>(TEXT("kernel32"), "GetDllDirectoryW")),
      setDllDirectory_(FindProc<decltype(setDllDirectory_)>(TEXT("kernel32"), "SetDllDirectoryW")) {
  // An empty directory would change where else libraries are searched for.
  if (View(directory).empty()) return;
  if (CanSetDllDirectory() && SaveDllDirectory()) {
    setResult_ = setDllDirectory_(directory);
  } else {
    fallback_.reset(new (std::nothrow) CCurrentDirectory(directory));
  }
}

CDllDirectory::~CDllDirectory() {
  fallback_.reset();
  // A null directory restores the default search order.
  if (setResult_) setDllDirectory_(savedDllDirectory_.get());
}

BOOL CDllDirectory::CanSetDllDirectory() const {
  const PlatformFacts& platform = startupContext.platform;
  const bool systemHasIt = platform.ntKind > kWindowsXp ||
                           (platform.ntKind == kWindowsXp && platform.servicePackMajor != 0);
  return systemHasIt && getDllDirectory_ != nullptr && setDllDirectory_ != nullptr;
}

BOOL CDllDirectory::SaveDllDirectory() {
  const DWORD needed = getDllDirectory_(0, nullptr);
  if (needed <= 1) return TRUE;
  savedDllDirectory_.reset(new (std::nothrow) WCHAR[needed]);
  if (savedDllDirectory_ == nullptr) return FALSE;
  const DWORD length = getDllDirectory_(needed, savedDllDirectory_.get());
  return length != 0 && length < needed;
}

}  // namespace kv
