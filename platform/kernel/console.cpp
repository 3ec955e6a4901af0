// The console is the terminal that the program was started from.
#include "platform/kernel/console.h"

#include <unistd.h>

#include <string>

#include "platform/kernel/api_call.h"
#include "platform/kernel/text.h"

namespace {

// A terminal's input mode with line input and echo, its output mode with wrapping: what a fresh
// console reports.
constexpr DWORD kInputMode = 0x7;
constexpr DWORD kOutputMode = 0x3;

// Standard handles are no entries of the handle table: they carry the descriptor, above every table
// value.
constexpr UINT_PTR kFirstStandardHandle = static_cast<UINT_PTR>(-64);

}  // namespace

int platform::StandardDescriptor(HANDLE handle) {
  const UINT_PTR value = reinterpret_cast<UINT_PTR>(handle);
  return value >= kFirstStandardHandle && value <= kFirstStandardHandle + STDERR_FILENO
             ? static_cast<int>(value - kFirstStandardHandle)
             : -1;
}

HANDLE WINAPI GetStdHandle(DWORD which) {
  KV_API(GetStdHandle, ERROR_INVALID_HANDLE, INVALID_HANDLE_VALUE, which);
  if (which > STD_INPUT_HANDLE || which < STD_ERROR_HANDLE) {
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_HANDLE_VALUE;
  }
  return reinterpret_cast<HANDLE>(kFirstStandardHandle + (STD_INPUT_HANDLE - which));
}

BOOL WINAPI GetConsoleMode(HANDLE console, LPDWORD mode) {
  KV_API(GetConsoleMode, ERROR_INVALID_HANDLE, FALSE, console, mode);
  const int descriptor = platform::StandardDescriptor(console);
  if (descriptor < 0 || !isatty(descriptor)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  *mode = descriptor == STDIN_FILENO ? kInputMode : kOutputMode;
  return TRUE;
}

BOOL WINAPI WriteConsoleW(HANDLE console, const void* text, DWORD length, LPDWORD written,
                          LPVOID reserved) {
  KV_API(WriteConsoleW, ERROR_INVALID_HANDLE, FALSE, console, text, length, written, reserved);
  const int descriptor = platform::StandardDescriptor(console);
  if (descriptor <= STDIN_FILENO || !isatty(descriptor)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  const std::string bytes =
      platform::ToUtf8(platform::WideView(static_cast<const WCHAR*>(text), length));
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(descriptor, bytes.data() + done, bytes.size() - done);
    if (count <= 0) {
      SetLastError(ERROR_WRITE_FAULT);
      return FALSE;
    }
    done += count;
  }
  if (written != nullptr) *written = length;
  return TRUE;
}
