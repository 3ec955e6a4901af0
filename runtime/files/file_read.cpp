// What File reads.
#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/files/file.h"
#include "runtime/files/file_report.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr BYTE kWideMark = 255;
constexpr int kLongest = 255;

void CopyUnits(WideView text, LPWSTR buffer, int capacity) {
  if (capacity <= 0) return;
  const WideView fitting = text.substr(0, static_cast<size_t>(capacity) - 1);
  *std::copy(fitting.begin(), fitting.end(), buffer) = 0;
}

}  // namespace

BOOL File::Read(void* buffer, DWORD size) {
  if (size == 0) return TRUE;
  DWORD done = 0;
  if (!ReadFile(handle_, buffer, size, &done, nullptr)) {
    return ReportFileError(IDS_READ_FAILED, name_, GetLastError());
  }
  return done == size || FailWith(ERROR_HANDLE_EOF);
}

BOOL File::ReadZString(LPSTR buffer, DWORD capacity) {
  for (DWORD i = 0; i < capacity; ++i) {
    if (!Read(buffer + i, 1)) return FALSE;
    if (buffer[i] == 0) return TRUE;
  }
  return FailWith(ERROR_MORE_DATA);
}

BOOL File::ReadCountedString(LPWSTR buffer, int capacity) {
  WCHAR text[kLongest];
  BYTE length = 0;
  if (!Read(&length, 1)) return FALSE;
  if (length == kWideMark) {
    BYTE mark[2];
    if (!Read(mark, sizeof mark)) return FALSE;
    if (mark[0] == 0xFE && mark[1] == 0xFF) {
      if (!Read(&length, 1) || !Read(text, length * sizeof(WCHAR))) return FALSE;
      CopyUnits({text, length}, buffer, capacity);
      return TRUE;
    }
  }
  BYTE bytes[kLongest];
  if (!Read(bytes, length)) return FALSE;
  std::copy(bytes, bytes + length, text);
  CopyUnits({text, length}, buffer, capacity);
  return TRUE;
}

}  // namespace kv
