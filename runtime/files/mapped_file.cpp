#include "runtime/files/mapped_file.h"

#include <string.h>

#include <string_view>

#include "runtime/files/file_actions.h"
#include "runtime/files/file_report.h"

namespace kv {
namespace {

constexpr ULONGLONG kLargestFile = 0xFFFFFFFF;

int CountOccurrences(std::string_view text, std::string_view find) {
  int count = 0;
  for (size_t at = text.find(find); at != text.npos; at = text.find(find, at + find.size())) {
    ++count;
  }
  return count;
}

// Replaces in a buffer of `capacity` bytes, as far as the text and its terminator fit. `length` is
// the text's; it changes with it. Returns the number of replacements.
int ReplaceInBuffer(char* buffer, size_t capacity, size_t& length, std::string_view find,
                    std::string_view replacement, bool all) {
  int count = 0;
  size_t at = std::string_view(buffer, length).find(find);
  while (at != std::string_view::npos && length - find.size() + replacement.size() < capacity) {
    char* const place = buffer + at;
    const size_t rest = length - at - find.size() + 1;
    memmove(place + replacement.size(), place + find.size(), rest);
    memcpy(place, replacement.data(), replacement.size());
    length = length - find.size() + replacement.size();
    ++count;
    if (!all) break;
    at = std::string_view(buffer, length).find(find, at + replacement.size());
  }
  return count;
}

}  // namespace

CMappedFile::~CMappedFile() {
  Close(CloseFile::kYes);
}

BOOL CMappedFile::OpenFile(LPCWSTR path, Access access, Quiet quiet) {
  const bool writes = access == Access::kWrite;
  file_ = CreateFileW(path, writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                      writes ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file_ == INVALID_HANDLE_VALUE) {
    return quiet == Quiet::kNo ? ReportFailedCall(TEXT("CreateFile")) : FALSE;
  }
  ownsFile_ = TRUE;
  return TRUE;
}

// On failure the last error is the failed call's.
CMappedFile::Failure CMappedFile::MapOpenFile(Access access, DWORD maximum) {
  const bool writes = access == Access::kWrite;
  DWORD high = 0;
  size_ = GetFileSize(file_, &high);
  if (size_ == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) return Failure::kSize;
  if (high != 0) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return Failure::kView;
  }
  mapping_ = CreateFileMappingW(file_, nullptr, writes ? PAGE_READWRITE : PAGE_READONLY, 0, maximum,
                                nullptr);
  if (mapping_ == nullptr) return Failure::kMapping;
  view_ = MapViewOfFile(mapping_, writes ? FILE_MAP_ALL_ACCESS : FILE_MAP_READ, 0, 0, 0);
  if (view_ != nullptr) return Failure::kNone;
  if (writes && maximum > size_) CutBack();
  return Failure::kView;
}

void CMappedFile::CutBack() {
  const DWORD error = GetLastError();
  CloseHandle(mapping_);
  mapping_ = nullptr;
  LONG high = 0;
  SetFilePointer(file_, static_cast<LONG>(size_), &high, FILE_BEGIN);
  SetEndOfFile(file_);
  SetLastError(error);
}

void CMappedFile::ReportFailure(Failure failure) {
  if (failure == Failure::kSize) ReportFailedCall(TEXT("GetFileSize"));
  if (failure == Failure::kMapping) ReportFailedCall(TEXT("CreateFileMapping"));
  if (failure == Failure::kView) ReportFailedCall(TEXT("MapViewOfFile"));
}

void* CMappedFile::MapFile(LPCWSTR path, Access access, DWORD maximum, Quiet quiet) {
  Close(CloseFile::kYes);
  if (!OpenFile(path, access, quiet)) return nullptr;
  const Failure failure = MapOpenFile(access, maximum);
  if (failure != Failure::kNone) {
    if (quiet == Quiet::kNo) ReportFailure(failure);
    Close(CloseFile::kYes);
  }
  return view_;
}

void* CMappedFile::MapHandle(HANDLE file, Access access, DWORD maximum) {
  Close(CloseFile::kYes);
  file_ = file;
  const Failure failure = MapOpenFile(access, maximum);
  if (failure != Failure::kNone) {
    if (failure != Failure::kSize) ReportFailure(failure);
    Close(CloseFile::kYes);
  }
  return view_;
}

void CMappedFile::Close(CloseFile closeFile) {
  if (view_ != nullptr) UnmapViewOfFile(view_);
  view_ = nullptr;
  if (mapping_ != nullptr) CloseHandle(mapping_);
  mapping_ = nullptr;
  if (closeFile == CloseFile::kNo) return;
  if (ownsFile_) CloseHandle(file_);
  file_ = INVALID_HANDLE_VALUE;
  ownsFile_ = FALSE;
  size_ = 0;
}

BOOL CMappedFile::Resize(DWORD length) {
  Close(CloseFile::kNo);
  LONG high = 0;
  const DWORD position = SetFilePointer(file_, static_cast<LONG>(length), &high, FILE_BEGIN);
  if (position == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR) {
    return ReportFailedCall(TEXT("SetFilePointer"));
  }
  if (!SetEndOfFile(file_)) return ReportFailedCall(TEXT("SetEndOfFile"));
  size_ = length;
  return TRUE;
}

int CMappedFile::ReplaceInFile(LPCWSTR path, LPCSTR find, LPCSTR replacement,
                               Occurrences occurrences) {
  const DWORD fileSize = GetFileSizeByName(path);
  const std::string_view from(find), to(replacement == nullptr ? "" : replacement);
  if (fileSize == 0 || fileSize == INVALID_FILE_SIZE || from.empty()) return 0;
  const bool all = occurrences == Occurrences::kAll;
  CMappedFile mapped;
  ULONGLONG newSize = ULONGLONG{fileSize} + 1;
  if (to.size() > from.size()) {
    int growths = 1;
    if (all) {
      const void* const view = mapped.MapFile(path, Access::kRead, 0, Quiet::kNo);
      if (view == nullptr) return 0;
      growths = CountOccurrences({static_cast<const char*>(view), mapped.size()}, from);
    }
    newSize += ULONGLONG{to.size() - from.size()} * growths;
  }
  if (newSize > kLargestFile) return 0;
  char* const text = static_cast<char*>(
      mapped.MapFile(path, Access::kWrite, static_cast<DWORD>(newSize), Quiet::kNo));
  if (text == nullptr) return 0;
  const size_t capacity = static_cast<size_t>(newSize);
  size_t length = std::string_view(text, capacity).find('\0');
  // Somebody else has made the file longer meanwhile.
  if (length == std::string_view::npos) return 0;
  const int count = ReplaceInBuffer(text, capacity, length, from, to, all);
  mapped.Resize(static_cast<DWORD>(length));
  return count;
}

}  // namespace kv
