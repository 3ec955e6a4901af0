#include "runtime/files/directories.h"

#include <memory>

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/files/paths.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The position of the backslash that ends the path's root; npos when there is none.
size_t EndOfRoot(WideView path) {
  if (!path.starts_with(TEXT("\\\\"))) return path.find('\\');
  const size_t server = path.find('\\', 2);
  if (server == WideView::npos || server == 2) return WideView::npos;
  const size_t share = path.find('\\', server + 1);
  return share == server + 1 ? WideView::npos : share;
}

}  // namespace

BOOL CreateOneDirectory(LPCWSTR path, Quiet quiet) {
  if (CreateDirectoryW(path, nullptr) || GetLastError() == ERROR_ALREADY_EXISTS) return TRUE;
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
  WCHAR full[MAX_PATH] = {};
  const DWORD length = GetFullPathNameW(path, MAX_PATH, full, nullptr);
  if (length == 0 || length >= MAX_PATH) return FALSE;
  if (DirectoryExists(full)) return TRUE;
  const size_t root = EndOfRoot(full);
  if (root == WideView::npos) return FALSE;
  for (size_t slash = View(full).find('\\', root + 1); slash != WideView::npos;
       slash = View(full).find('\\', slash + 1)) {
    full[slash] = 0;
    const BOOL made = DirectoryExists(full) || CreateOneDirectory(full, quiet);
    full[slash] = '\\';
    if (!made) return FALSE;
  }
  return CreateOneDirectory(full, quiet);
}

}  // namespace kv
