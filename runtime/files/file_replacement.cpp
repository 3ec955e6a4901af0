#include "runtime/files/file_replacement.h"

#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_identity.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/files/temp_names.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

// FALSE, with the error that deleting the file would meet: that of its use by others rather than
// the refusal that replacing it would give.
BOOL CanBeRemoved(LPCWSTR path, DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FailWith(ERROR_ACCESS_DENIED);
  // Windows 9x does not know the right to delete.
  if (startupContext.platform.win9xKind != 0) return TRUE;
  const UniqueFile file(CreateFileW(path, DELETE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return static_cast<bool>(file);
}

}  // namespace

FileReplacement::~FileReplacement() {
  if (temporary_[0] == 0) return;
  const LastErrorScope scope;
  RemoveFile(temporary_, Quiet::kYes);
}

BOOL FileReplacement::Begin(LPCWSTR target) {
  WCHAR directory[MAX_PATH];
  if (!MakeFullPath(target, target_)) return FALSE;
  CopyStringW(directory, target_);
  directory[GetFileName(directory) - directory] = 0;
  return MakeTempName(directory, temporary_);
}

BOOL FileReplacement::Commit() {
  const DWORD attributes = GetFileAttributesW(target_);
  if (attributes == INVALID_FILE_ATTRIBUTES) return FALSE;
  const bool isProtected = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  if (isProtected && !SetFileAttributesW(target_, FILE_ATTRIBUTE_NORMAL)) return FALSE;
  if (Exchange()) {
    temporary_[0] = 0;
    return TRUE;
  }
  const DWORD error = GetLastError();
  if (isProtected) SetFileAttributesW(target_, attributes);
  return FailWith(error);
}

BOOL FileReplacement::Exchange() {
  const bool is9x = startupContext.platform.win9xKind != 0;
  return is9x ? ExchangeByNames() : MoveFileExW(temporary_, target_, MOVEFILE_REPLACE_EXISTING);
}

// Windows 9x replaces nothing in one step: the target gets another name until the new file has its.
BOOL FileReplacement::ExchangeByNames() {
  FileReplacement aside;
  if (!aside.Begin(target_) || !DeleteFileW(aside.temporary_)) return FALSE;
  if (!MoveFileW(target_, aside.temporary_)) {
    aside.temporary_[0] = 0;
    return FALSE;
  }
  if (MoveFileW(temporary_, target_)) return TRUE;
  const DWORD error = GetLastError();
  MoveFileW(aside.temporary_, target_);
  aside.temporary_[0] = 0;
  return FailWith(error);
}

BOOL CopyOver(LPCWSTR source, LPCWSTR target, Overwrite overwrite, bool& targetInTheWay) {
  targetInTheWay = false;
  const DWORD attributes = GetFileAttributesW(target);
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return MeansMissing(GetLastError()) && CopyFileW(source, target, overwrite == Overwrite::kNo);
  }
  if (overwrite == Overwrite::kNo) return FailWith(ERROR_FILE_EXISTS);
  if (!AreDifferentFiles(source, target)) return FALSE;
  targetInTheWay = !CanBeRemoved(target, attributes);
  FileReplacement replacement;
  if (targetInTheWay || !replacement.Begin(target) ||
      !CopyFileW(source, replacement.temporary(), FALSE)) {
    return FALSE;
  }
  targetInTheWay = !replacement.Commit();
  return !targetInTheWay;
}

}  // namespace kv
