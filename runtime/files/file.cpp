#include "runtime/files/file.h"

#include <string.h>

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/files/directories.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/files/temp_names.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// A name that the object could not keep whole would later reopen or delete another file.
HANDLE OpenFile(LPCWSTR name, DWORD access, DWORD share, DWORD disposition) {
  if (View(name).size() >= MAX_PATH) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return INVALID_HANDLE_VALUE;
  }
  return CreateFileW(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE CreateNew(LPCWSTR name) {
  return OpenFile(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
}

// The directory part with its backslash; FALSE when the name has none.
BOOL DirectoryPart(LPCWSTR name, WCHAR (&directory)[MAX_PATH]) {
  const LPCWSTR title = GetFileName(name);
  CopyStringW(directory, name);
  if (title == name || title - name >= MAX_PATH) return FALSE;
  directory[title - name] = 0;
  return TRUE;
}

// Gives the name to open: the caller's, or for an empty one that of a new temporary file. FALSE,
// with an empty name, when none can be made.
BOOL NameOrTemporary(LPCWSTR& name, WCHAR (&temporary)[MAX_PATH]) {
  if (!View(name).empty()) return TRUE;
  name = temporary;
  return MakeTempName(nullptr, temporary);
}

bool SeekFailed(DWORD position) {
  return position == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR;
}

}  // namespace

File::File(LPCWSTR name, DWORD flags) {
  if (!View(name).empty()) Open(name, flags);
}

File::~File() {
  Close();
}

BOOL File::Open(LPCWSTR name, DWORD flags) {
  if ((flags & kCreate) != 0) return Create(name, Quiet::kNo);
  return (flags & kForWriting) != 0 ? OpenWrite(name) : OpenRead(name);
}

BOOL File::Create(LPCWSTR name, Quiet quiet) {
  WCHAR temporary[MAX_PATH], directory[MAX_PATH];
  HANDLE handle = NameOrTemporary(name, temporary) ? CreateNew(name) : INVALID_HANDLE_VALUE;
  DWORD error = GetLastError();
  const bool pathMissing = handle == INVALID_HANDLE_VALUE && error == ERROR_PATH_NOT_FOUND;
  if (pathMissing && DirectoryPart(name, directory)) {
    if (!CreateDirectoryTree(directory, Expand::kNo, quiet)) return FALSE;
    handle = CreateNew(name);
    error = GetLastError();
  }
  if (handle == INVALID_HANDLE_VALUE) {
    return quiet == Quiet::kYes ? FailWith(error)
                                : ReportFileError(IDS_FILE_NOT_CREATED, name, error);
  }
  Adopt(handle, name);
  memset(lastBytes_, 0, sizeof lastBytes_);
  return TRUE;
}

BOOL File::OpenRead(LPCWSTR name) {
  if (View(name).empty()) return FailWith(ERROR_PATH_NOT_FOUND);
  HANDLE handle = OpenFile(name, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
  if (handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_SHARING_VIOLATION) {
    handle = OpenFile(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
  }
  if (handle == INVALID_HANDLE_VALUE) {
    return ReportFileError(IDS_FILE_NOT_OPENED, name, GetLastError());
  }
  Adopt(handle, name);
  return TRUE;
}

BOOL File::OpenWrite(LPCWSTR name) {
  WCHAR temporary[MAX_PATH];
  UniqueFile opened;
  if (NameOrTemporary(name, temporary)) {
    opened.Reset(OpenFile(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS));
  }
  if (!opened) return ReportFileError(IDS_FILE_NOT_OPENED, name, GetLastError());
  LONG high = 0;
  if (SeekFailed(SetFilePointer(opened.Get(), 0, &high, FILE_END))) {
    return ReportFileError(IDS_SEEK_FAILED, name, GetLastError());
  }
  Adopt(opened.Release(), name);
  memset(lastBytes_, 0, sizeof lastBytes_);
  return TRUE;
}

BOOL File::ReopenRead() {
  Close();
  return OpenRead(name_);
}

BOOL File::ReopenWrite() {
  Close();
  return OpenWrite(name_);
}

void File::Adopt(HANDLE handle, LPCWSTR name) {
  Close();
  handle_ = handle;
  CopyStringW(name_, name);
}

void File::Close() {
  if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  handle_ = INVALID_HANDLE_VALUE;
}

BOOL File::CloseAndDelete(Quiet quiet) {
  Close();
  return name_[0] == 0 || RemoveFile(name_, quiet);
}

HANDLE File::Detach() {
  const HANDLE handle = handle_;
  handle_ = INVALID_HANDLE_VALUE;
  return handle;
}

BOOL File::ReportPosition() const {
  return ReportFileError(IDS_SEEK_FAILED, name_, GetLastError());
}

BOOL File::Tell(DWORD* position) const {
  *position = SetFilePointer(handle_, 0, nullptr, FILE_CURRENT);
  return SeekFailed(*position) ? ReportPosition() : TRUE;
}

BOOL File::Seek(LONG distance, DWORD method) {
  return SeekFailed(SetFilePointer(handle_, distance, nullptr, method)) ? ReportPosition() : TRUE;
}

BOOL File::TellWhole(ULONGLONG* position) const {
  LONG high = 0;
  const DWORD low = SetFilePointer(handle_, 0, &high, FILE_CURRENT);
  *position = static_cast<ULONGLONG>(high) << 32 | low;
  return SeekFailed(low) ? ReportPosition() : TRUE;
}

BOOL File::SeekTo(ULONGLONG position) {
  LONG high = static_cast<LONG>(position >> 32);
  const DWORD result = SetFilePointer(handle_, static_cast<LONG>(position), &high, FILE_BEGIN);
  return SeekFailed(result) ? ReportPosition() : TRUE;
}

BOOL File::GetSize(DWORD* size) const {
  *size = GetFileSize(handle_, nullptr);
  return *size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR ? ReportPosition() : TRUE;
}

BOOL File::GetWholeSize(ULONGLONG* size) const {
  DWORD high = 0;
  const DWORD low = GetFileSize(handle_, &high);
  *size = ULONGLONG{high} << 32 | low;
  return low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR ? ReportPosition() : TRUE;
}

BOOL File::PushPosition() {
  if (savedDepth_ == kSavedPositions) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  if (!Tell(&savedPositions_[savedDepth_])) return FALSE;
  ++savedDepth_;
  return TRUE;
}

BOOL File::PopPosition() {
  if (savedDepth_ == 0) return FailWith(ERROR_NO_MORE_ITEMS);
  return SeekTo(savedPositions_[--savedDepth_]);
}

BOOL File::SetEnd() {
  return SetEndOfFile(handle_) || ReportFailedCall(TEXT("SetEndOfFile"));
}

BOOL File::Empty() {
  return SeekTo(0) && SetEnd();
}

BOOL File::SetLength(DWORD length) {
  if (name_[0] == 0) return FailWith(ERROR_PATH_NOT_FOUND);
  const bool wasClosed = !IsOpen();
  if (wasClosed && !ReopenWrite()) return FALSE;
  const BOOL done = SeekTo(length) && SetEnd();
  if (wasClosed) Close();
  return done;
}

}  // namespace kv
