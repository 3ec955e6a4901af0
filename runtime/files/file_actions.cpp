#include "runtime/files/file_actions.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file.h"
#include "runtime/files/paths.h"
#include "runtime/files/whole_files.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/progress_window.h"

namespace kv {
namespace {

BOOL ReadAttributes(LPCWSTR path, WIN32_FILE_ATTRIBUTE_DATA& data) {
  return GetFileAttributesExW(path, GetFileExInfoStandard, &data);
}

// Joins into `path`; FALSE with the last error of a path that is too long when it does not fit.
BOOL JoinWhole(LPCWSTR directory, LPCWSTR name, WCHAR (&path)[MAX_PATH]) {
  if (PathJoin(directory, name, path, MAX_PATH)) return TRUE;
  SetLastError(ERROR_FILENAME_EXCED_RANGE);
  return FALSE;
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
  return to.AppendFromHandle(from.handle(), 0, 0xFFFFFFFF, &window);
}

}  // namespace

BOOL FileExists(LPCWSTR path, Report report) {
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
    return TRUE;
  if (report == Report::kYes) ShowError(IDS_FILE_NOT_FOUND, path);
  return FALSE;
}

BOOL FileExistsIn(LPCWSTR directory, LPCWSTR name, Report report) {
  WCHAR path[MAX_PATH];
  return !View(name).empty() && JoinWhole(directory, name, path) && FileExists(path, report);
}

BOOL DirectoryExists(LPCWSTR path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

DWORD GetFileSizeByName(LPCWSTR path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  return ReadAttributes(path, data) && data.nFileSizeHigh == 0 ? data.nFileSizeLow
                                                               : INVALID_FILE_SIZE;
}

BOOL GetFileSizeChecked(LPCWSTR path, ULONGLONG& size) {
  size = 0;
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!ReadAttributes(path, data) || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    ShowError(IDS_FILE_NOT_FOUND, path);
    return FALSE;
  }
  size = (static_cast<ULONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return TRUE;
}

BOOL CanWriteFile(LPCWSTR path) {
  if (!FileExists(path, Report::kNo)) return TRUE;
  SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
  const UniqueFile file(
      CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
  return static_cast<bool>(file);
}

BOOL RemoveFile(LPCWSTR path, Quiet quiet) {
  if (View(path).empty()) return TRUE;
  SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
  if (DeleteFileW(path)) return TRUE;
  const DWORD error = GetLastError();
  // A path whose directory is missing names no file either.
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return TRUE;
  if (quiet == Quiet::kNo) ShowError(IDS_FILE_NOT_DELETED, path, TEXT(""));
  SetLastError(error);
  return FALSE;
}

BOOL RemoveFileIn(LPCWSTR directory, LPCWSTR name, Quiet quiet) {
  WCHAR path[MAX_PATH];
  return JoinWhole(directory, name, path) && RemoveFile(path, quiet);
}

BOOL CopyFileTo(LPCWSTR source, LPCWSTR target, Overwrite overwrite, Quiet quiet) {
  if (overwrite == Overwrite::kNo && FileExists(target, Report::kNo)) return TRUE;
  RemoveFile(target, quiet);
  if (CopyFileW(source, target, overwrite == Overwrite::kNo)) return TRUE;
  const DWORD error = GetLastError();
  if (quiet == Quiet::kNo) ShowError(IDS_COPY_FAILED, GetFileName(source), target);
  SetLastError(error);
  return FALSE;
}

BOOL CopyFileToDir(LPCWSTR sourceDirectory, LPCWSTR name, LPCWSTR targetDirectory, LPCWSTR newName,
                   Overwrite overwrite, Quiet quiet) {
  WCHAR source[MAX_PATH], target[MAX_PATH];
  if (!JoinWhole(sourceDirectory, name, source) || !FileExists(source, Report::kNo)) return FALSE;
  if (!DirectoryExists(targetDirectory)) return FALSE;
  if (!JoinWhole(targetDirectory, View(newName).empty() ? name : newName, target)) return FALSE;
  return CopyFileTo(source, target, overwrite, quiet);
}

BOOL CopyFileWithProgress(LPCWSTR source, LPCWSTR target, LPCWSTR className, UINT textNumber) {
  if (View(className).empty()) {
    if (CopyFileW(source, target, FALSE)) return TRUE;
    const DWORD error = GetLastError();
    ShowError(IDS_COPY_FAILED, source, target);
    SetLastError(error);
    return FALSE;
  }
  const std::unique_ptr<File> from = NewFile(source, File::kForReading);
  if (from == nullptr) return FALSE;
  const std::unique_ptr<File> to = NewFile(target, File::kCreate | File::kForWriting);
  if (to == nullptr) return FALSE;
  if (CopyBehindWindow(*from, *to, GetFileName(target), className, textNumber)) return TRUE;
  to->CloseAndDelete(Quiet::kNo);
  return FALSE;
}

}  // namespace kv
