#include "runtime/core/resource_library.h"

#include "runtime/core/handles.h"
#include "runtime/core/last_error.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/messages.h"
#include "runtime/core/resource_file.h"
#include "runtime/core/startup_context.h"
#include "runtime/core/version_details.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/files/temp_names.h"
#include "runtime/ipc/object_names.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/registry/settings.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kLanguageSetting[] = TEXT("Language");
constexpr WCHAR kSetupWindow[] = TEXT("Setup");

// "kvres832.dll", or for a language "kvres832-0407.dll", beside this module.
void FormLibraryPath(LANGID language, WCHAR (&path)[MAX_PATH]) {
  WCHAR name[MAX_PATH];
  FormatText(name, TEXT("kvres%d32"), kMajorVersion);
  if (language != 0) AppendText(name, MAX_PATH, TEXT("-%04x"), language);
  AppendText(name, MAX_PATH, TEXT(".dll"));
  PathBesideModule(startupContext.hInstance, name, path);
}

BOOL IsAcceptable(LPCWSTR path, LANGID wanted) {
  return FileExists(path, Report::kNo) && (wanted == 0 || GetFileLanguage(path) == wanted);
}

BOOL TryLanguage(LANGID language, WCHAR (&path)[MAX_PATH]) {
  if (language != 0) {
    FormLibraryPath(language, path);
    if (IsAcceptable(path, language)) return TRUE;
  }
  FormLibraryPath(0, path);
  return IsAcceptable(path, language);
}

LANGID WantedLanguage(HKEY root) {
  return LOWORD(ReadSettingDword(root, kLanguageSetting, 0));
}

BOOL SameProductVersion(const VersionDetails& a, const VersionDetails& b) {
  return a.productMajor == b.productMajor && a.productMinor == b.productMinor;
}

// While setup runs, the interface module takes what setup has put there, whatever its version.
BOOL SetupLetsPass(HMODULE module) {
  WCHAR path[MAX_PATH];
  GetModulePath(module, path);
  return EqualNoCase(GetFileName(path), kInterfaceFile) &&
         FindWindowW(CWndClassName(kSetupWindow), nullptr) != nullptr;
}

// A library that has been loaded, perhaps from a temporary copy.
struct LoadedResources {
  UniqueModule library;
  WCHAR copy[MAX_PATH] = {};  // empty when the file itself is loaded
};

// The default library. One of another version is let go and loaded again from a copy.
void LoadDefaultLibrary(HMODULE module, const VersionDetails& own, LoadedResources& loaded) {
  for (int pass = 1; pass <= 2; ++pass) {
    WCHAR path[MAX_PATH];
    PathBesideModule(startupContext.hInstance, startupContext.resourceDllName, path);
    if (!FileExists(path, Report::kNo)) {
      ShowErrorF(TEXT("Could not find resource DLL %s."), startupContext.resourceDllName);
      return;
    }
    if (pass == 2) {
      if (CopyToTempName(path, loaded.copy)) {
        CopyStringW(path, loaded.copy);
      } else {
        loaded.copy[0] = 0;
      }
    }
    loaded.library.Reset(LoadLibraryW(path));
    if (!loaded.library) {
      ShowErrorF(TEXT("Could not load resource DLL %s."), path);
      return;
    }
    VersionDetails version;
    GetFileVersionDetails(path, version);
    if (SameProductVersion(version, own) || SetupLetsPass(module)) return;
    if (pass == 1) loaded.library.Reset();
  }
}

BOOL CALLBACK TakeFirstLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR result) {
  *reinterpret_cast<LANGID*>(result) = language;
  return FALSE;
}

BOOL CALLBACK TakeLanguageOfFirstBlock(HMODULE module, LPCWSTR type, LPWSTR name, LONG_PTR result) {
  EnumResourceLanguagesW(module, type, name, TakeFirstLanguage, result);
  return FALSE;
}

}  // namespace

BOOL FindResourceLibrary(LPWSTR path, int capacity) {
  WCHAR candidate[MAX_PATH];
  BOOL found = FALSE;
  for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
    const LANGID language = found ? 0 : WantedLanguage(root);
    if (language != 0) found = TryLanguage(language, candidate);
  }
  if (!found && startupContext.systemLangId != 0)
    found = TryLanguage(startupContext.systemLangId, candidate);
  if (!found) found = TryLanguage(0, candidate);
  if (!found) candidate[0] = 0;
  const bool fits = static_cast<int>(View(candidate).size()) < capacity;
  CopyStringW(path, capacity, fits ? candidate : TEXT(""));
  return fits ? found : FailWith(ERROR_FILENAME_EXCED_RANGE);
}

BOOL LoadResourceLibrary(HMODULE module) {
  if (startupContext.hResources == nullptr) {
    if (View(startupContext.resourceDllName).empty()) return FALSE;
    VersionDetails own;
    GetModuleVersionDetails(module, own);
    LoadedResources loaded;
    WCHAR path[MAX_PATH];
    if (FindResourceLibrary(path, MAX_PATH)) loaded.library.Reset(LoadLibraryW(path));
    if (!loaded.library) LoadDefaultLibrary(module, own, loaded);
    if (!loaded.library) {
      if (loaded.copy[0] != 0) RemoveFile(loaded.copy, Quiet::kYes);
      startupContext.resourceDllName = nullptr;
      return FALSE;
    }
    if (loaded.copy[0] != 0) CDeferredFileOps().DeleteOnRestart(loaded.copy);
    startupContext.hResources = loaded.library.Release();
  }
  startupContext.resourceLangId = GetResourceLanguage(startupContext.hResources);
  return TRUE;
}

LANGID GetResourceLanguage(HMODULE module) {
  LANGID language = 0;
  EnumResourceNamesW(module, RT_STRING, TakeLanguageOfFirstBlock,
                     reinterpret_cast<LONG_PTR>(&language));
  return language;
}

}  // namespace kv
