#include "runtime/core/loaded_library.h"

#include <atomic>
#include <new>
#include <utility>

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/last_error.h"
#include "runtime/core/messages.h"
#include "runtime/files/dll_directory.h"
#include "runtime/files/paths.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Loads `fileName`, which names a directory, while that directory is searched for DLLs. A name that
// is too long for that is not tried again.
HMODULE LoadWithItsDirectory(LPCWSTR fileName, DWORD& error) {
  WCHAR directory[MAX_PATH];
  const WideView name = View(fileName);
  const size_t slash = name.rfind('\\');
  if (slash == WideView::npos || name.size() >= MAX_PATH) return nullptr;
  // Without its backslash a drive's root would be the current directory of the drive.
  const bool isRoot = slash == 0 || name[slash - 1] == ':';
  CopyStringW(directory, static_cast<int>(isRoot ? slash + 1 : slash) + 1, fileName);
  const CDllDirectory scope(directory);
  const HMODULE module = LoadLibraryW(fileName);
  error = GetLastError();
  return module;
}

// A copy of a module's path in a buffer of the capacity that it always has; empty when it does not
// fit, null without memory.
std::unique_ptr<WCHAR[]> NewModulePath(HMODULE module) {
  WCHAR path[MAX_PATH];
  GetModulePath(module, path);
  std::unique_ptr<WCHAR[]> copy(new (std::nothrow) WCHAR[MAX_PATH]);
  CopyStringW(copy.get(), copy == nullptr ? 0 : MAX_PATH, path);
  return copy;
}

}  // namespace

BOOL GetModulePath(HMODULE module, WCHAR (&path)[MAX_PATH]) {
  const DWORD length = GetModuleFileNameW(module, path, MAX_PATH);
  if (length != 0 && length < MAX_PATH) return TRUE;
  // Cut, it would be another file's.
  path[0] = 0;
  return length == 0 ? FALSE : FailWith(ERROR_FILENAME_EXCED_RANGE);
}

LoadedLibrary::LoadedLibrary(LPCWSTR fileName, Quiet quiet) {
  if (!View(fileName).empty()) Load(fileName, quiet);
}

LoadedLibrary::~LoadedLibrary() {
  Free();
}

void LoadedLibrary::Free() {
  if (const HMODULE module = Detach()) FreeLibrary(module);
}

BOOL LoadedLibrary::Load(LPCWSTR fileName, Quiet quiet) {
  HMODULE module = LoadLibraryW(fileName);
  DWORD error = GetLastError();
  if (module == nullptr) module = LoadWithItsDirectory(fileName, error);
  if (module == nullptr) {
    if (quiet == Quiet::kNo) {
      WCHAR reason[kErrorTextCapacity];
      GetErrorSuffix(error, reason, kErrorTextCapacity);
      ShowError(IDS_LIBRARY_NOT_LOADED, fileName, reason);
    }
    return FailWith(error);
  }
  // The name may be one of those that go now.
  std::unique_ptr<WCHAR[]> title = CopyOf(GetFileName(fileName));
  Free();
  hModule_ = module;
  fileTitle_ = std::move(title);
  modulePath_ = NewModulePath(module);
  return TRUE;
}

HMODULE LoadedLibrary::LoadOnce(LPCWSTR fileName) {
  const std::atomic_ref<HMODULE> shared(hModule_);
  HMODULE first = shared.load();
  if (first != nullptr) return first;
  LoadedLibrary own(fileName, Quiet::kYes);
  // Who comes too late takes the first one's and frees his own reference.
  if (!own.IsLoaded() || !shared.compare_exchange_strong(first, own.hModule_)) return first;
  fileTitle_ = std::move(own.fileTitle_);
  modulePath_ = std::move(own.modulePath_);
  return own.Detach();
}

BOOL LoadedLibrary::GetDllVersion(DLLVERSIONINFO& version) const {
  version = {};
  version.cbSize = sizeof(version);
  const auto getVersion = FindProc<HRESULT(CALLBACK*)(DLLVERSIONINFO*)>(hModule_, "DllGetVersion");
  return getVersion != nullptr && getVersion(&version) == S_OK;
}

HMODULE LoadedLibrary::Detach() {
  return std::exchange(hModule_, nullptr);
}

}  // namespace kv
