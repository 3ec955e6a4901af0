#include "runtime/files/file_identity.h"

#include "runtime/core/handles.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/text/wide_text.h"

namespace kv {

bool MeansMissing(DWORD error) {
  // A path whose directory is missing names no file either.
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool IsMissing(LPCWSTR path) {
  return GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES && MeansMissing(GetLastError());
}

BOOL FileIdentity::Read(LPCWSTR path) {
  isKnown_ = false;
  // Whoever has the file open, it can be asked about; the flag opens directories too.
  const UniqueFile file(CreateFileW(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION information;
  if (!file || !GetFileInformationByHandle(file.Get(), &information)) return FALSE;
  volume_ = information.dwVolumeSerialNumber;
  number_ = ULONGLONG{information.nFileIndexHigh} << 32 | information.nFileIndexLow;
  isKnown_ = number_ != 0 || MakeFullPath(path, fullPath_);
  return isKnown_;
}

bool FileIdentity::operator==(const FileIdentity& other) const {
  if (!isKnown_ || !other.isKnown_ || volume_ != other.volume_ || number_ != other.number_) {
    return false;
  }
  return number_ != 0 || EqualNoCase(fullPath_, other.fullPath_);
}

BOOL AreDifferentFiles(LPCWSTR a, LPCWSTR b) {
  FileIdentity first, second;
  if (!first.Read(a) || !second.Read(b)) return MeansMissing(GetLastError());
  return first == second ? FailWith(ERROR_SHARING_VIOLATION) : TRUE;
}

}  // namespace kv
