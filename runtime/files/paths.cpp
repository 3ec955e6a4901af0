#include "runtime/files/paths.h"

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {

LPCWSTR GetFileName(LPCWSTR path) {
  const size_t slash = View(path).rfind('\\');
  return slash == WideView::npos ? path : path + slash + 1;
}

void PathJoin(LPCWSTR directory, LPCWSTR name, LPWSTR output, int capacity) {
  const WideView part = View(name);
  if (part.find(':') != WideView::npos || part.starts_with(TEXT("\\\\"))) {
    CopyStringW(output, capacity, name);
    return;
  }
  CopyStringW(output, capacity, directory);
  if (!View(directory).ends_with('\\')) AppendText(output, capacity, TEXT("\\"));
  if (!part.empty()) AppendText(output, capacity, TEXT("%s"), name);
}

void PathBesideModule(HMODULE module, LPCWSTR name, WCHAR (&output)[MAX_PATH]) {
  WCHAR directory[MAX_PATH] = {};
  GetModuleFileNameW(module, directory, MAX_PATH);
  directory[MAX_PATH - 1] = 0;
  directory[GetFileName(directory) - directory] = 0;
  PathJoin(directory, name, output, MAX_PATH);
}

BOOL FileExists(LPCWSTR path, Report report) {
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
    return TRUE;
  if (report == Report::kYes) ShowError(IDS_FILE_NOT_FOUND, path);
  return FALSE;
}

}  // namespace kv
