#include "runtime/files/file_actions.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file.h"
#include "runtime/files/file_identity.h"
#include "runtime/files/file_replacement.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/files/whole_files.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/progress_window.h"

namespace kv {
namespace {

BOOL ReadAttributes(LPCWSTR path, WIN32_FILE_ATTRIBUTE_DATA& data) {
  return GetFileAttributesExW(path, GetFileExInfoStandard, &data);
}

// FALSE after the box, unless quiet.
template <class... Texts>
BOOL Fail(Quiet quiet, UINT number, Texts... inserts) {
  if (quiet == Quiet::kNo) ShowError(number, inserts...);
  return FALSE;
}

// Gives a file that stays the attributes that it had, and the caller the last error of before.
void RestoreAttributes(LPCWSTR path, DWORD attributes) {
  const LastErrorScope scope;
  if (attributes != INVALID_FILE_ATTRIBUTES) SetFileAttributesW(path, attributes);
}

// Whether nothing of that name is there, after a deletion that failed with `error`. The system says
// of a path that is too long that it is not there; then `error` tells better.
bool IsGone(LPCWSTR path, DWORD& error) {
  WCHAR full[MAX_PATH];
  if (!MeansMissing(error) && !IsMissing(path)) return false;
  if (MakeFullPath(path, full)) return true;
  error = GetLastError();
  return false;
}

constexpr UINT kProgressIcon = 11;

BOOL CopyBehindWindow(const File& from, File& to, LPCWSTR name, LPCWSTR className,
                      UINT textNumber) {
  CProgressWnd window;
  if (!window.Create(startupContext.hInstance, startupContext.hResources, className,
                     startupContext.productName, kProgressIcon, kProgressIcon, TRUE, nullptr, 0, 0,
                     0, 0, nullptr, nullptr)) {
    return FALSE;
  }
  window.SetTextFromResource(textNumber, name);
  const BOOL copied = to.AppendFromHandle(from.handle(), 0, File::kWhole, &window);
  const DWORD error = GetLastError();
  window.Destroy();
  return copied || FailWith(error);
}

// Makes ready what is to be written in place of an existing target. FALSE after the box of a file
// that cannot be created.
BOOL BeginReplacement(LPCWSTR source, LPCWSTR target, DWORD attributes,
                      FileReplacement& replacement) {
  // As creating the file anew would find.
  constexpr DWORD kProtected = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY |
                               FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  const BOOL begun = (attributes & kProtected) != 0
                         ? FailWith(ERROR_ACCESS_DENIED)
                         : AreDifferentFiles(source, target) && replacement.Begin(target);
  return begun || ReportFileError(IDS_FILE_NOT_CREATED, target, GetLastError());
}

BOOL CopyWithWindow(LPCWSTR source, LPCWSTR target, LPCWSTR className, UINT textNumber) {
  const std::unique_ptr<File> from = NewFile(source, File::kForReading);
  if (from == nullptr) return FALSE;
  const DWORD attributes = GetFileAttributesW(target);
  const bool replaces = attributes != INVALID_FILE_ATTRIBUTES;
  if (!replaces && !MeansMissing(GetLastError())) {
    return ReportFileError(IDS_FILE_NOT_CREATED, target, GetLastError());
  }
  FileReplacement replacement;
  if (replaces && !BeginReplacement(source, target, attributes, replacement)) return FALSE;
  const std::unique_ptr<File> to =
      NewFile(replaces ? replacement.temporary() : target, File::kCreate | File::kForWriting);
  if (to == nullptr) return FALSE;
  if (!CopyBehindWindow(*from, *to, GetFileName(target), className, textNumber)) {
    const DWORD error = GetLastError();
    to->CloseAndDelete(Quiet::kNo);
    return FailWith(error);
  }
  to->Close();
  return !replaces || replacement.Commit() ||
         ReportFileError(IDS_FILE_NOT_CREATED, target, GetLastError());
}

}  // namespace

BOOL FileExists(LPCWSTR path, Report report) {
  const DWORD attributes = GetFileAttributesW(path);
  const bool isThere = attributes != INVALID_FILE_ATTRIBUTES;
  if (isThere && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return TRUE;
  if (isThere) SetLastError(ERROR_FILE_NOT_FOUND);
  return Fail(report == Report::kYes ? Quiet::kNo : Quiet::kYes, IDS_FILE_NOT_FOUND, path);
}

BOOL FileExistsIn(LPCWSTR directory, LPCWSTR name, Report report) {
  WCHAR path[MAX_PATH];
  if (View(name).empty()) return FailWith(ERROR_FILE_NOT_FOUND);
  if (PathJoin(directory, name, path, MAX_PATH)) return FileExists(path, report);
  return Fail(report == Report::kYes ? Quiet::kNo : Quiet::kYes, IDS_FILE_NOT_FOUND, name);
}

BOOL DirectoryExists(LPCWSTR path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

DWORD GetFileSizeByName(LPCWSTR path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!ReadAttributes(path, data)) return INVALID_FILE_SIZE;
  if (data.nFileSizeHigh == 0 && data.nFileSizeLow != INVALID_FILE_SIZE) return data.nFileSizeLow;
  SetLastError(ERROR_FILE_TOO_LARGE);
  return INVALID_FILE_SIZE;
}

BOOL GetFileSizeChecked(LPCWSTR path, ULONGLONG& size) {
  size = 0;
  WIN32_FILE_ATTRIBUTE_DATA data;
  const BOOL isThere = ReadAttributes(path, data);
  if (!isThere || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    if (isThere) SetLastError(ERROR_FILE_NOT_FOUND);
    return Fail(Quiet::kNo, IDS_FILE_NOT_FOUND, path);
  }
  size = (static_cast<ULONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return TRUE;
}

BOOL CanWriteFile(LPCWSTR path) {
  if (View(path).empty()) return FailWith(ERROR_PATH_NOT_FOUND);
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return MeansMissing(GetLastError());
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FailWith(ERROR_ACCESS_DENIED);
  SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
  const UniqueFile file(
      CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!file) RestoreAttributes(path, attributes);
  return static_cast<bool>(file);
}

BOOL RemoveFile(LPCWSTR path, Quiet quiet) {
  if (View(path).empty()) return TRUE;
  const DWORD attributes = GetFileAttributesW(path);
  SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
  if (DeleteFileW(path)) return TRUE;
  DWORD error = GetLastError();
  if (IsGone(path, error)) return TRUE;
  SetLastError(error);
  RestoreAttributes(path, attributes);
  return Fail(quiet, IDS_FILE_NOT_DELETED, path, TEXT(""));
}

BOOL RemoveFileIn(LPCWSTR directory, LPCWSTR name, Quiet quiet) {
  WCHAR path[MAX_PATH];
  return PathJoin(directory, name, path, MAX_PATH) && RemoveFile(path, quiet);
}

BOOL CopyFileTo(LPCWSTR source, LPCWSTR target, Overwrite overwrite, Quiet quiet) {
  if (overwrite == Overwrite::kNo && FileExists(target, Report::kNo)) return TRUE;
  bool targetInTheWay = false;
  if (CopyOver(source, target, overwrite, targetInTheWay)) return TRUE;
  if (targetInTheWay) Fail(quiet, IDS_FILE_NOT_DELETED, target, TEXT(""));
  return Fail(quiet, IDS_COPY_FAILED, GetFileName(source), target);
}

BOOL CopyFileToDir(LPCWSTR sourceDirectory, LPCWSTR name, LPCWSTR targetDirectory, LPCWSTR newName,
                   Overwrite overwrite, Quiet quiet) {
  WCHAR source[MAX_PATH], target[MAX_PATH];
  if (!FileExistsIn(sourceDirectory, name, Report::kNo) ||
      !PathJoin(sourceDirectory, name, source, MAX_PATH) ||
      !PathJoin(targetDirectory, View(newName).empty() ? name : newName, target, MAX_PATH)) {
    return FALSE;
  }
  if (!DirectoryExists(targetDirectory)) return FailWith(ERROR_PATH_NOT_FOUND);
  return CopyFileTo(source, target, overwrite, quiet);
}

BOOL CopyFileWithProgress(LPCWSTR source, LPCWSTR target, LPCWSTR className, UINT textNumber) {
  if (!View(className).empty()) return CopyWithWindow(source, target, className, textNumber);
  return CopyFileW(source, target, FALSE) || Fail(Quiet::kNo, IDS_COPY_FAILED, source, target);
}

}  // namespace kv
