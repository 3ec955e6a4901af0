// An owned handle of a library that is loaded at run time.
#pragma once

#include <shlwapi.h>

#include <memory>

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// The path of the file that `module` (null: the program) was loaded from. FALSE with an empty text
// and the last error when it cannot be told or has more than 259 characters
// (ERROR_FILENAME_EXCED_RANGE).
BOOL GetModulePath(HMODULE module, WCHAR (&path)[MAX_PATH]);

class LoadedLibrary {
 public:
  LoadedLibrary() = default;
  // Loads `fileName` when it is not null or empty.
  LoadedLibrary(LPCWSTR fileName, Quiet quiet);
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  virtual ~LoadedLibrary();
  virtual BOOL IsLoaded() const { return hModule_ != nullptr; }

  // Loads the library, by LoadLibraryW's rules; a name of at most 259 characters with a directory
  // that fails is tried once more with that directory as DLL search directory. What was loaded
  // before is then freed; `fileName` may be one of its names. On failure FALSE, the box 12113
  // unless quiet, the last error is the load's, and what was loaded before stays.
  BOOL Load(LPCWSTR fileName, Quiet quiet);
  // For a library that several threads need: the handle, of the library that is loaded already or
  // of `fileName`, loaded quietly. Whatever threads come at once, one reference stays, and all get
  // its handle; null when the library cannot be loaded, with the load's last error. The names below
  // become those of the library a moment after its handle.
  HMODULE LoadOnce(LPCWSTR fileName);
  // What the library's own DllGetVersion says. `version` is zeroed first; FALSE when the library is
  // not loaded, has no such export, or the export fails.
  BOOL GetDllVersion(DLLVERSIONINFO& version) const;
  // Gives the handle up: the destructor will not free it.
  HMODULE Detach();

  HMODULE handle() const { return hModule_; }
  // The file-name part of the name that was loaded, and the full path that the system reports,
  // empty when it has more than 259 characters. Null before, and when there was no memory for them.
  LPCWSTR fileTitle() const { return fileTitle_.get(); }
  LPCWSTR modulePath() const { return modulePath_.get(); }

 private:
  void Free();

  std::unique_ptr<WCHAR[]> fileTitle_;
  std::unique_ptr<WCHAR[]> modulePath_;
  HMODULE hModule_ = nullptr;
};

}  // namespace kv
