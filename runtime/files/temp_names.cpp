#include "runtime/files/temp_names.h"

namespace kv {

BOOL MakeTempName(LPCWSTR directory, WCHAR (&output)[MAX_PATH]) {
  WCHAR userDirectory[MAX_PATH] = {};
  if (directory == nullptr) {
    const DWORD length = GetTempPathW(MAX_PATH, userDirectory);
    if (length == 0 || length >= MAX_PATH) return FALSE;
    directory = userDirectory;
  }
  return GetTempFileNameW(directory, TEXT("~KV"), 0, output) != 0;
}

}  // namespace kv
