// Copying from other files.
#include <limits.h>

#include <algorithm>
#include <memory>
#include <new>

#include "runtime/core/messages.h"
#include "runtime/files/file.h"
#include "runtime/files/whole_files.h"
#include "runtime/ui/progress_window.h"

namespace kv {
namespace {

// What lies between two files while the one is copied into the other.
class CopyBuffer {
 public:
  // For at most `size` bytes at a time; without memory it is empty, which has been reported.
  explicit CopyBuffer(DWORD size)
      : capacity_(std::min<DWORD>(size, kLargest)), bytes_(new (std::nothrow) BYTE[capacity_]) {
    if (bytes_ == nullptr) ShowInternalError(TEXT("could not allocate file copy buffer"));
  }
  explicit operator bool() const { return bytes_ != nullptr; }
  BYTE* bytes() const { return bytes_.get(); }
  DWORD capacity() const { return capacity_; }

 private:
  static constexpr DWORD kLargest = 32767;
  DWORD capacity_;
  std::unique_ptr<BYTE[]> bytes_;
};

BOOL SeekSource(HANDLE source, DWORD offset) {
  LONG high = 0;
  const DWORD position = SetFilePointer(source, static_cast<LONG>(offset), &high, FILE_BEGIN);
  if (position != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR) return TRUE;
  ShowLastError(TEXT("SetFilePointer"));
  return FALSE;
}

BOOL ReadSource(HANDLE source, void* bytes, DWORD size) {
  DWORD done = 0;
  if (ReadFile(source, bytes, size, &done, nullptr)) return done == size;
  ShowLastError(TEXT("ReadFile"));
  return FALSE;
}

// One step for each part; the bar's numbers end with the type.
void SetRangeOfParts(CProgressWnd& progress, DWORD size, DWORD part) {
  const ULONGLONG whole = (ULONGLONG{size} + part - 1) / part * part;
  progress.SetRangeAndStep(0, static_cast<int>(std::min<ULONGLONG>(whole, INT_MAX)),
                           static_cast<int>(part));
}

BOOL StepAndAsk(CProgressWnd& progress) {
  progress.StepIt();
  return progress.Pump();
}

}  // namespace

BOOL File::AppendFile(LPCWSTR sourceName) {
  const std::unique_ptr<File> source = NewFile(sourceName, kForReading);
  DWORD remaining = 0;
  if (source == nullptr || !source->GetSize(&remaining)) return FALSE;
  if (remaining == 0) return TRUE;
  const CopyBuffer buffer(remaining);
  if (!buffer) return FALSE;
  while (remaining > 0) {
    const DWORD chunk = std::min<DWORD>(remaining, buffer.capacity());
    if (!source->Read(buffer.bytes(), chunk) || !Write(buffer.bytes(), chunk)) return FALSE;
    remaining -= chunk;
  }
  return TRUE;
}

BOOL File::AppendFromHandle(HANDLE source, DWORD offset, DWORD maximum, CProgressWnd* progress) {
  const DWORD size = GetFileSize(source, nullptr);
  if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
    ShowLastError(TEXT("GetFileSize"));
    return FALSE;
  }
  if (offset > size) return FALSE;
  DWORD remaining = std::min<DWORD>(size - offset, maximum);
  if (remaining == 0) return TRUE;
  if (!SeekSource(source, offset)) return FALSE;
  const CopyBuffer buffer(remaining);
  if (!buffer) return FALSE;
  if (progress != nullptr) SetRangeOfParts(*progress, remaining, buffer.capacity());
  while (remaining > 0) {
    if (progress != nullptr && !StepAndAsk(*progress)) return FALSE;
    const DWORD chunk = std::min<DWORD>(remaining, buffer.capacity());
    if (!ReadSource(source, buffer.bytes(), chunk) || !Write(buffer.bytes(), chunk)) return FALSE;
    remaining -= chunk;
  }
  return TRUE;
}

}  // namespace kv
