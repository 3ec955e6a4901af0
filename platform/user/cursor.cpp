#include <atomic>

#include "platform/kernel/api_call.h"

namespace platform {
namespace {

std::atomic<HCURSOR> current_cursor = nullptr;

}  // namespace
}  // namespace platform

HCURSOR WINAPI LoadCursorW(HINSTANCE instance, LPCWSTR name) {
  KV_API(LoadCursorW, ERROR_RESOURCE_NAME_NOT_FOUND, nullptr, instance, name);
  if (instance != nullptr || (name != IDC_ARROW && name != IDC_WAIT)) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  // The system's cursors are shared: each has one handle for ever.
  constexpr ULONG_PTR kFirstHandle = 0x00010000;
  return reinterpret_cast<HCURSOR>(kFirstHandle + reinterpret_cast<ULONG_PTR>(name));
}

HCURSOR WINAPI SetCursor(HCURSOR cursor) {
  KV_API_NOFAIL(SetCursor, nullptr, cursor);
  return platform::current_cursor.exchange(cursor);
}
