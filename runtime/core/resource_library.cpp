#include "runtime/core/resource_library.h"

#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

HMODULE LoadDefaultLibrary(HMODULE module) {
  WCHAR path[MAX_PATH];
  PathBesideModule(module, startupContext.resourceDllName, path);
  if (!FileExists(path, Report::kNo)) {
    ShowErrorF(TEXT("Could not find resource DLL %s."), startupContext.resourceDllName);
    return nullptr;
  }
  const HMODULE library = LoadLibraryW(path);
  if (library == nullptr) ShowErrorF(TEXT("Could not load resource DLL %s."), path);
  return library;
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

BOOL LoadResourceLibrary(HMODULE module) {
  if (startupContext.hResources == nullptr) {
    if (View(startupContext.resourceDllName).empty()) return FALSE;
    startupContext.hResources = LoadDefaultLibrary(module);
    if (startupContext.hResources == nullptr) {
      startupContext.resourceDllName = nullptr;
      return FALSE;
    }
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
