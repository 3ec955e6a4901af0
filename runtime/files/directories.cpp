#include "runtime/files/directories.h"

#include <memory>

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/files/directory_walk.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/text/wide_text.h"

namespace kv {

BOOL CreateOneDirectory(LPCWSTR path, Quiet quiet) {
  if (CreateDirectoryW(path, nullptr)) return TRUE;
  const DWORD error = GetLastError();
  if (error == ERROR_ALREADY_EXISTS && DirectoryExists(path)) return TRUE;
  SetLastError(error);
  if (quiet == Quiet::kNo) ShowError(IDS_DIRECTORY_NOT_CREATED, path);
  return FALSE;
}

BOOL CreateDirectoryTree(LPCWSTR path, Expand expand, Quiet quiet) {
  if (View(path).empty()) return TRUE;
  std::unique_ptr<WCHAR[]> expanded;
  if (expand == Expand::kYes) {
    expanded = MyExpandEnvironmentStrings(path);
    if (expanded == nullptr) return FALSE;
    path = expanded.get();
  }
  WCHAR full[MAX_PATH];
  if (!MakeFullPath(path, full)) return FALSE;
  if (DirectoryExists(full)) return TRUE;
  LPWSTR slash = EndOfRoot(full);
  if (slash == nullptr) return FALSE;
  for (++slash; *slash != 0; ++slash) {
    if (*slash != '\\') continue;
    *slash = 0;
    const BOOL made = DirectoryExists(full) || CreateOneDirectory(full, quiet);
    *slash = '\\';
    if (!made) return FALSE;
  }
  return CreateOneDirectory(full, quiet);
}

BOOL IsDirectoryEmpty(LPCWSTR directory) {
  WCHAR pattern[MAX_PATH];
  WIN32_FIND_DATAW entry;
  if (!PathJoin(directory, kEverything, pattern, MAX_PATH)) return FALSE;
  const WalkEnd end = Walk(pattern, entry, [] { return false; });
  // An empty root lists not even itself.
  return end == WalkEnd::kComplete ||
         (end == WalkEnd::kNothingFound && GetLastError() == ERROR_FILE_NOT_FOUND);
}

}  // namespace kv
