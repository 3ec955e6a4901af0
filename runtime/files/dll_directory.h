// Another DLL search directory for the life of an object.
#pragma once

#include <memory>

#include "runtime/core/win.h"
#include "runtime/files/current_directory.h"

namespace kv {

// Lets LoadLibraryW search `directory` until the object ends: through SetDllDirectoryW from Windows
// XP SP 1 on unless the directory of before could not be restored, else as the current directory.
// An empty directory, null too, changes nothing. Both are settings of the whole process.
class CDllDirectory {
 public:
  explicit CDllDirectory(LPCWSTR directory);
  virtual ~CDllDirectory();
  CDllDirectory(const CDllDirectory&) = delete;
  CDllDirectory& operator=(const CDllDirectory&) = delete;

 private:
  BOOL CanSetDllDirectory() const;
  // FALSE when there is one that could not be restored.
  BOOL SaveDllDirectory();

  std::unique_ptr<CCurrentDirectory> fallback_;
  BOOL setResult_ = FALSE;
  std::unique_ptr<WCHAR[]> savedDllDirectory_;
  DWORD(WINAPI* getDllDirectory_)(DWORD, LPWSTR);
  BOOL(WINAPI* setDllDirectory_)(LPCWSTR);
};

}  // namespace kv
