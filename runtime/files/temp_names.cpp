#include "runtime/files/temp_names.h"

#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/ipc/object_names.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The name of the temporary file `path` with its extension replaced; an empty extension leaves
// none.
BOOL WithExtension(LPCWSTR path, LPCWSTR extension, WCHAR (&output)[MAX_PATH]) {
  CopyStringW(output, path);
  if (!View(extension).empty())
    return ChangeExtension(output, MAX_PATH, extension, OldExtension::kReplace);
  output[FindExtension(output) - output] = 0;
  return TRUE;
}

}  // namespace

BOOL MakeTempName(LPCWSTR directory, WCHAR (&output)[MAX_PATH]) {
  WCHAR temporary[MAX_PATH];
  output[0] = 0;
  if (directory == nullptr) {
    const DWORD length = GetTempPathW(MAX_PATH, temporary);
    if (length == 0 || length >= MAX_PATH) return FALSE;
    directory = temporary;
  }
  return GetTempFileNameW(directory, kShortTag, 0, output) != 0;
}

BOOL MakeTempNameWithExt(LPCWSTR directory, LPCWSTR extension, WCHAR (&output)[MAX_PATH]) {
  WCHAR temporary[MAX_PATH];
  output[0] = 0;
  if (!MakeTempName(directory, temporary)) return FALSE;
  BOOL formed = WithExtension(temporary, extension, output);
  // The temporary file's own extension gives its own name, which exists and is ours.
  while (formed && !EqualAsciiNoCase(temporary, output) && FileExists(output, Report::kNo)) {
    WCHAR next[MAX_PATH];
    formed = MakeTempName(directory, next);
    RemoveFile(temporary, Quiet::kYes);
    CopyStringW(temporary, next);
    formed = formed && WithExtension(temporary, extension, output);
  }
  if (formed && (EqualAsciiNoCase(temporary, output) || MoveFileW(temporary, output))) return TRUE;
  RemoveFile(temporary, Quiet::kYes);
  output[0] = 0;
  return FALSE;
}

BOOL CopyToTempName(LPCWSTR path, WCHAR (&output)[MAX_PATH]) {
  output[0] = 0;
  if (View(path).empty() || !MakeTempNameWithExt(nullptr, FindExtension(path), output))
    return FALSE;
  if (CopyFileTo(path, output, Overwrite::kYes, Quiet::kNo)) return TRUE;
  RemoveFile(output, Quiet::kYes);
  output[0] = 0;
  return FALSE;
}

void MakeUniqueFileName(LPWSTR path, int capacity) {
  const LPCWSTR found = FindExtension(path);
  if (found == nullptr) return;
  WCHAR extension[MAX_PATH];
  CopyStringW(extension, found);
  int room = capacity - static_cast<int>(View(path).size()) - 1;
  LPWSTR end = path + (found - path);
  const LPCWSTR base = GetFileName(path);
  for (int number = 1; FileExists(path, Report::kNo); ++number) {
    WCHAR suffix[16];
    FormatText(suffix, TEXT("_%d"), number);
    for (; static_cast<int>(View(suffix).size()) > room && end > base; ++room) --end;
    *end = 0;
    if (!AppendText(path, capacity, TEXT("%s%s"), suffix, extension)) return;
  }
}

}  // namespace kv
