#include "runtime/core/loaded_library.h"

#include <new>
#include <utility>

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/messages.h"
#include "runtime/files/dll_directory.h"
#include "runtime/files/paths.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Loads `fileName`, which names a directory, while that directory is searched for DLLs.
HMODULE LoadWithItsDirectory(LPCWSTR fileName, DWORD& error) {
  WCHAR directory[MAX_PATH];
  CopyStringW(directory, fileName);
  const size_t slash = View(directory).rfind('\\');
  if (slash == WideView::npos) return nullptr;
  // Without its backslash a drive's root would be the current directory of the drive.
  const bool isRoot = slash == 0 || directory[slash - 1] == ':';
  directory[isRoot ? slash + 1 : slash] = 0;
  const CDllDirectory scope(directory);
  const HMODULE module = LoadLibraryW(fileName);
  error = GetLastError();
  return module;
}

}  // namespace

LoadedLibrary::LoadedLibrary(LPCWSTR fileName, Quiet quiet) {
  if (!View(fileName).empty()) Load(fileName, quiet);
}

LoadedLibrary::~LoadedLibrary() {
  Free();
}

void LoadedLibrary::Free() {
  fileTitle_.reset();
  modulePath_.reset();
  if (const HMODULE module = Detach()) FreeLibrary(module);
}

BOOL LoadedLibrary::Load(LPCWSTR fileName, Quiet quiet) {
  Free();
  hModule_ = LoadLibraryW(fileName);
  DWORD error = GetLastError();
  if (hModule_ == nullptr && View(fileName).find('\\') != WideView::npos) {
    hModule_ = LoadWithItsDirectory(fileName, error);
  }
  if (hModule_ == nullptr) {
    if (quiet == Quiet::kNo) {
      WCHAR reason[kErrorTextCapacity];
      GetErrorSuffix(error, reason, kErrorTextCapacity);
      ShowError(IDS_LIBRARY_NOT_LOADED, fileName, reason);
    }
    SetLastError(error);
    return FALSE;
  }
  fileTitle_ = CopyOf(GetFileName(fileName));
  modulePath_.reset(new (std::nothrow) WCHAR[MAX_PATH]);
  if (modulePath_ != nullptr) {
    modulePath_[0] = 0;
    GetModuleFileNameW(hModule_, modulePath_.get(), MAX_PATH);
    modulePath_[MAX_PATH - 1] = 0;
  }
  return TRUE;
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
