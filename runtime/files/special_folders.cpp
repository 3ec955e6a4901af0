#include "runtime/files/special_folders.h"

#include <new>

#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/files/registry_text.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kShellFolders[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
constexpr WCHAR kPrinters[] = TEXT("System\\CurrentControlSet\\Control\\Print\\Printers");
constexpr WCHAR kCurrentVersion[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion");
constexpr WCHAR kEnvironment[] =
    TEXT("System\\CurrentControlSet\\Control\\Session Manager\\Environment");

WCHAR ReadText(HKEY root, LPCWSTR path, LPCWSTR name, WCHAR (&text)[MAX_PATH], Expand expand) {
  RegKey key;
  WCHAR found[MAX_PATH];
  const BOOL isThere = key.Open(root, path) && ReadWholeString(key, name, found, MAX_PATH, expand);
  CopyStringW(text, isThere ? found : nullptr);
  return text[0];
}

// A new copy of `path` that ends with ";"; null when memory runs out.
std::unique_ptr<WCHAR[]> WithSemicolon(WideView path) {
  const size_t capacity = path.size() + 2;
  std::unique_ptr<WCHAR[]> copy(new (std::nothrow) WCHAR[capacity]);
  if (copy == nullptr) {
    ReportNoMemory(TEXT("GetSystemPath new TCHAR [] failed"));
    return nullptr;
  }
  path.copy(copy.get(), path.size());
  copy[path.size()] = 0;
  if (!path.ends_with(';')) {
    copy[path.size()] = ';';
    copy[path.size() + 1] = 0;
  }
  return copy;
}

}  // namespace

WCHAR GetShellFolder(HKEY root, LPCWSTR name, WCHAR (&folder)[MAX_PATH], Expand expand) {
  return ReadText(root, kShellFolders, name, folder, expand);
}

WCHAR GetUserShellFolder(LPCWSTR name, WCHAR (&folder)[MAX_PATH], Expand expand) {
  return GetShellFolder(HKEY_CURRENT_USER, name, folder, expand);
}

WCHAR GetCommonProgramsFolder(WCHAR (&folder)[MAX_PATH], Expand expand) {
  return GetShellFolder(HKEY_LOCAL_MACHINE, TEXT("Common Programs"), folder, expand);
}

WCHAR GetCommonStartupFolder(WCHAR (&folder)[MAX_PATH], Expand expand) {
  return GetShellFolder(HKEY_LOCAL_MACHINE, TEXT("Common Startup"), folder, expand);
}

WCHAR GetDefaultSpoolDirectory(WCHAR (&folder)[MAX_PATH], Expand expand) {
  return ReadText(HKEY_LOCAL_MACHINE, kPrinters, TEXT("DefaultSpoolDirectory"), folder, expand);
}

WCHAR GetCurrentVersionValue(LPCWSTR name, WCHAR (&text)[MAX_PATH], Expand expand) {
  return ReadText(HKEY_LOCAL_MACHINE, kCurrentVersion, name, text, expand);
}

BOOL IsShellFolderPath(LPCWSTR path) {
  RegKey key;
  if (!key.Open(HKEY_LOCAL_MACHINE, kShellFolders)) return FALSE;
  LPCWSTR folder;
  LPCWSTR name = key.FindFirstString(&folder);
  while (name != nullptr && !EqualAsciiNoCase(View(folder), View(path))) {
    name = key.FindNextString(&folder);
  }
  return name != nullptr;
}

BOOL GetSystemFilePath(LPCWSTR fileName, WCHAR (&path)[MAX_PATH]) {
  WCHAR directory[MAX_PATH];
  const UINT length = GetSystemDirectoryW(directory, MAX_PATH);
  const BOOL isKnown = length < MAX_PATH ? length != 0 : FailWith(ERROR_FILENAME_EXCED_RANGE);
  if (isKnown && PathJoin(directory, fileName, path, MAX_PATH)) return TRUE;
  path[0] = 0;
  return FALSE;
}

std::unique_ptr<WCHAR[]> GetSystemPath() {
  RegKey key;
  const BYTE* data;
  DWORD type;
  if (!key.Open(HKEY_LOCAL_MACHINE, kEnvironment) || !key.QueryValue(TEXT("Path"), &data, &type) ||
      (type != REG_SZ && type != REG_EXPAND_SZ)) {
    return nullptr;
  }
  LPCWSTR path = reinterpret_cast<LPCWSTR>(data);
  std::unique_ptr<WCHAR[]> expansion;
  if (type == REG_EXPAND_SZ) {
    expansion = MyExpandEnvironmentStrings(path);
    path = expansion.get();
  }
  return View(path).empty() ? nullptr : WithSemicolon(path);
}

}  // namespace kv
