// An owned handle of a library that is loaded at run time.
#pragma once

#include <shlwapi.h>

#include <memory>

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

class LoadedLibrary {
 public:
  LoadedLibrary() = default;
  // Loads `fileName` when it is not null or empty.
  LoadedLibrary(LPCWSTR fileName, Quiet quiet);
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  virtual ~LoadedLibrary();
  virtual BOOL IsLoaded() const { return hModule_ != nullptr; }

  // Loads the library, by LoadLibraryW's rules; a name with a directory that fails is tried once
  // more with that directory as DLL search directory. Whatever was loaded before is freed. On
  // failure FALSE, the box 12113 unless quiet, and the last error is the load's.
  BOOL Load(LPCWSTR fileName, Quiet quiet);
  // What the library's own DllGetVersion says. `version` is zeroed first; FALSE when the library is
  // not loaded, has no such export, or the export fails.
  BOOL GetDllVersion(DLLVERSIONINFO& version) const;
  // Gives the handle up: the destructor will not free it.
  HMODULE Detach();

  HMODULE handle() const { return hModule_; }
  // The file-name part of the name that was loaded, and the full path that the system reports; null
  // before.
  LPCWSTR fileTitle() const { return fileTitle_.get(); }
  LPCWSTR modulePath() const { return modulePath_.get(); }

 private:
  void Free();

  std::unique_ptr<WCHAR[]> fileTitle_;
  std::unique_ptr<WCHAR[]> modulePath_;
  HMODULE hModule_ = nullptr;
};

}  // namespace kv
