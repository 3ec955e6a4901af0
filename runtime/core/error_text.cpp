#include "runtime/core/error_text.h"

#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kSeparator[] = TEXT(".\n\n");
constexpr int kSeparatorLength = 3;
constexpr WCHAR kIdeographicFullStop = 0x3002;

BOOL IsUsable(LPWSTR buffer, int capacity, DWORD code) {
  if (buffer == nullptr || capacity <= 0) return FALSE;
  buffer[0] = 0;
  return capacity > kErrorTextMinimum && code != 0;
}

void ReadSystemText(DWORD code, LPWSTR buffer, int capacity) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  if (FormatMessageW(kFlags, nullptr, code, 0, buffer, capacity, nullptr) != 0) return;
  // The system writes nothing of a text that does not fit.
  LPWSTR whole = nullptr;
  FormatMessageW(kFlags | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, code, 0,
                 reinterpret_cast<LPWSTR>(&whole), 0, nullptr);
  CopyStringW(buffer, capacity, whole);
  LocalFree(whole);
}

}  // namespace

void GetSystemErrorText(DWORD code, LPWSTR buffer, int capacity) {
  if (IsUsable(buffer, capacity, code)) ReadSystemText(code, buffer, capacity);
}

void GetLastErrorText(LPWSTR buffer, int capacity) {
  GetSystemErrorText(GetLastError(), buffer, capacity);
}

void GetErrorSuffix(DWORD code, LPWSTR buffer, int capacity) {
  if (!IsUsable(buffer, capacity, code)) return;
  ReadSystemText(code, buffer, capacity);
  if (buffer[0] == 0) return;
  CopyStringW(buffer, capacity, kSeparator);
  LPWSTR text = buffer + kSeparatorLength;
  ReadSystemText(code, text, capacity - kSeparatorLength);
  if (text[0] == 0) buffer[0] = 0;
  size_t length = View(text).size();
  while (length > 0 && IsSpaceW(text[length - 1])) --length;
  if (length > 0 && (text[length - 1] == '.' || text[length - 1] == kIdeographicFullStop)) --length;
  text[length] = 0;
}

void GetLastErrorSuffix(LPWSTR buffer, int capacity) {
  GetErrorSuffix(GetLastError(), buffer, capacity);
}

}  // namespace kv
