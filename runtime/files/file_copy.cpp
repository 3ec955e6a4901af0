// Copying from other files.
#include <limits.h>

#include <algorithm>
#include <memory>
#include <new>

#include "runtime/files/file.h"
#include "runtime/files/file_report.h"
#include "runtime/files/whole_files.h"
#include "runtime/ui/progress_window.h"

namespace kv {
namespace {

// What lies between two files while the one is copied into the other.
class CopyBuffer {
 public:
  // For at most `size` bytes at a time; without memory it is empty, which has been reported.
  explicit CopyBuffer(ULONGLONG size)
      : capacity_(static_cast<DWORD>(std::min<ULONGLONG>(size, kLargest))),
        bytes_(new (std::nothrow) BYTE[capacity_]) {
    if (bytes_ == nullptr) ReportNoMemory(TEXT("could not allocate file copy buffer"));
  }
  explicit operator bool() const { return bytes_ != nullptr; }
  BYTE* bytes() const { return bytes_.get(); }
  DWORD capacity() const { return capacity_; }
  // The size of the next part when so much is left.
  DWORD PartOf(ULONGLONG remaining) const {
    return static_cast<DWORD>(std::min<ULONGLONG>(remaining, capacity_));
  }

 private:
  static constexpr DWORD kLargest = 32767;
  DWORD capacity_;
  std::unique_ptr<BYTE[]> bytes_;
};

BOOL SizeOfSource(HANDLE source, ULONGLONG& size) {
  DWORD high = 0;
  const DWORD low = GetFileSize(source, &high);
  size = ULONGLONG{high} << 32 | low;
  const bool failed = low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR;
  return failed ? ReportFailedCall(TEXT("GetFileSize")) : TRUE;
}

BOOL SeekSource(HANDLE source, ULONGLONG offset) {
  LONG high = static_cast<LONG>(offset >> 32);
  const DWORD position = SetFilePointer(source, static_cast<LONG>(offset), &high, FILE_BEGIN);
  const bool failed = position == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR;
  return failed ? ReportFailedCall(TEXT("SetFilePointer")) : TRUE;
}

BOOL ReadSource(HANDLE source, void* bytes, DWORD size) {
  DWORD done = 0;
  if (!ReadFile(source, bytes, size, &done, nullptr)) return ReportFailedCall(TEXT("ReadFile"));
  return done == size || FailWith(ERROR_HANDLE_EOF);
}

// One step for each part, of its bytes or, where the bar's numbers end before, of one.
void SetRangeOfParts(CProgressWnd& progress, ULONGLONG size, DWORD part) {
  const ULONGLONG parts = size / part + (size % part != 0 ? 1 : 0);
  const bool countsBytes = parts <= INT_MAX / part;
  const ULONGLONG range = countsBytes ? parts * part : std::min<ULONGLONG>(parts, INT_MAX);
  progress.SetRangeAndStep(0, static_cast<int>(range), countsBytes ? static_cast<int>(part) : 1);
}

BOOL StepAndAsk(CProgressWnd& progress) {
  progress.StepIt();
  return progress.Pump() || FailWith(ERROR_CANCELLED);
}

}  // namespace

BOOL File::AppendFile(LPCWSTR sourceName) {
  const std::unique_ptr<File> source = NewFile(sourceName, kForReading);
  ULONGLONG remaining = 0;
  if (source == nullptr || !source->GetWholeSize(&remaining)) return FALSE;
  if (remaining == 0) return TRUE;
  const CopyBuffer buffer(remaining);
  if (!buffer) return FALSE;
  while (remaining > 0) {
    const DWORD part = buffer.PartOf(remaining);
    if (!source->Read(buffer.bytes(), part) || !Write(buffer.bytes(), part)) return FALSE;
    remaining -= part;
  }
  return TRUE;
}

BOOL File::AppendFromHandle(HANDLE source, ULONGLONG offset, ULONGLONG maximum,
                            CProgressWnd* progress) {
  ULONGLONG size = 0;
  if (!SizeOfSource(source, size)) return FALSE;
  if (offset > size) return FailWith(ERROR_HANDLE_EOF);
  ULONGLONG remaining = std::min<ULONGLONG>(size - offset, maximum);
  if (remaining == 0) return TRUE;
  if (!SeekSource(source, offset)) return FALSE;
  const CopyBuffer buffer(remaining);
  if (!buffer) return FALSE;
  if (progress != nullptr) SetRangeOfParts(*progress, remaining, buffer.capacity());
  while (remaining > 0) {
    if (progress != nullptr && !StepAndAsk(*progress)) return FALSE;
    const DWORD part = buffer.PartOf(remaining);
    if (!ReadSource(source, buffer.bytes(), part) || !Write(buffer.bytes(), part)) return FALSE;
    remaining -= part;
  }
  return TRUE;
}

}  // namespace kv
