#include "runtime/files/temp_names.h"

#include <algorithm>
#include <memory>

#include "runtime/files/file_actions.h"
#include "runtime/files/file_report.h"
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

BOOL FindTemporaryDirectory(WCHAR (&directory)[MAX_PATH]) {
  const DWORD length = GetTempPathW(MAX_PATH, directory);
  return length >= MAX_PATH ? FailWith(ERROR_FILENAME_EXCED_RANGE) : length != 0;
}

// Deletes a file that is not needed after all; the last error stays that of before.
void Discard(LPCWSTR path) {
  const LastErrorScope scope;
  RemoveFile(path, Quiet::kYes);
}

bool IsHighSurrogate(WCHAR c) {
  return c >= 0xD800 && c < 0xDC00;
}

}  // namespace

BOOL MakeTempName(LPCWSTR directory, WCHAR (&output)[MAX_PATH]) {
  WCHAR temporary[MAX_PATH], made[MAX_PATH];
  BOOL isKnown = TRUE;
  if (directory == nullptr) {
    isKnown = FindTemporaryDirectory(temporary);
    directory = temporary;
  } else if (*directory == 0) {
    isKnown = FailWith(ERROR_PATH_NOT_FOUND);
  }
  const BOOL isMade = isKnown && GetTempFileNameW(directory, kShortTag, 0, made) != 0;
  CopyStringW(output, isMade ? made : nullptr);
  return isMade;
}

BOOL MakeTempNameWithExt(LPCWSTR directory, LPCWSTR extension, WCHAR (&output)[MAX_PATH]) {
  WCHAR temporary[MAX_PATH], wanted[MAX_PATH];
  BOOL formed = MakeTempName(directory, temporary) && WithExtension(temporary, extension, wanted);
  // The temporary file's own extension gives its own name, which exists and is ours.
  const auto hasItsName = [&] { return EqualAsciiNoCase(temporary, wanted); };
  while (formed && !hasItsName() && FileExists(wanted, Report::kNo)) {
    WCHAR next[MAX_PATH];
    formed = MakeTempName(directory, next) && WithExtension(next, extension, wanted);
    Discard(temporary);
    CopyStringW(temporary, next);
  }
  formed = formed && (hasItsName() || MoveFileW(temporary, wanted));
  if (!formed) Discard(temporary);
  CopyStringW(output, formed ? wanted : nullptr);
  return formed;
}

BOOL CopyToTempName(LPCWSTR path, WCHAR (&output)[MAX_PATH]) {
  WCHAR copy[MAX_PATH] = {};
  const BOOL copied = View(path).empty()
                          ? FailWith(ERROR_PATH_NOT_FOUND)
                          : MakeTempNameWithExt(nullptr, FindExtension(path), copy) &&
                                CopyFileTo(path, copy, Overwrite::kYes, Quiet::kNo);
  if (!copied) Discard(copy);
  CopyStringW(output, copied ? copy : nullptr);
  return copied;
}

BOOL MakeUniqueFileName(LPWSTR path, int capacity) {
  const LPCWSTR found = FindExtension(path);
  if (found == nullptr) return FailWith(ERROR_PATH_NOT_FOUND);
  const std::unique_ptr<WCHAR[]> original = CopyOf(path);
  if (original == nullptr) return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  const LPCWSTR extension = original.get() + (found - path);
  const int base = static_cast<int>(GetFileName(path) - path);
  int end = static_cast<int>(found - path);
  for (int number = 1; FileExists(path, Report::kNo); ++number) {
    WCHAR suffix[16];
    FormatText(suffix, TEXT("_%d"), number);
    const size_t added = View(suffix).size() + View(extension).size();
    end = std::min(end, capacity - 1 - static_cast<int>(added));
    if (end > base && IsHighSurrogate(path[end - 1])) --end;
    if (end < base) {
      CopyStringW(path, capacity, original.get());
      return FailWith(ERROR_FILENAME_EXCED_RANGE);
    }
    path[end] = 0;
    AppendText(path, capacity, TEXT("%s%s"), suffix, extension);
  }
  return TRUE;
}

}  // namespace kv
