#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

// A pointer below 0x10000 is a single character.
LPWSTR MapCase(LPWSTR text, WCHAR (*map)(WCHAR)) {
  const ULONG_PTR single = reinterpret_cast<ULONG_PTR>(text);
  if (single < 0x10000) {
    return reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(map(static_cast<WCHAR>(single))));
  }
  for (WCHAR* c = text; *c != 0; ++c) *c = map(*c);
  return text;
}

}  // namespace
}  // namespace platform

LPWSTR WINAPI CharUpperW(LPWSTR text) {
  KV_API_NOFAIL(CharUpperW, nullptr, text);
  return platform::MapCase(text, platform::UpperCase);
}

LPWSTR WINAPI CharLowerW(LPWSTR text) {
  KV_API_NOFAIL(CharLowerW, nullptr, text);
  return platform::MapCase(text, platform::LowerCase);
}
