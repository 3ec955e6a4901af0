#include "runtime/files/special_folders.h"

#include "runtime/files/paths.h"
#include "runtime/text/text.h"

namespace kv {

void GetSystemFilePath(LPCWSTR fileName, WCHAR (&path)[MAX_PATH]) {
  WCHAR directory[MAX_PATH];
  const UINT length = GetSystemDirectoryW(directory, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) {
    CopyStringW(path, fileName);
    return;
  }
  PathJoin(directory, fileName, path, MAX_PATH);
}

}  // namespace kv
