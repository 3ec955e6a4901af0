// Addresses of files.
#include <shlwapi.h>

#include <string>

#include "platform/kernel/api_call.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

int HexValue(WCHAR c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// "%41" is the byte 0x41; bytes above 0x7F are UTF-8.
WideString Unescape(WideView text) {
  std::string utf8;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool escaped = text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
                         HexValue(text[i + 2]) >= 0;
    if (!escaped) {
      const size_t end = text.find('%', i + 1);
      utf8 += ToUtf8(text.substr(i, end == WideView::npos ? end : end - i));
      i = end == WideView::npos ? text.size() : end - 1;
      continue;
    }
    utf8 += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
    i += 2;
  }
  return ToWide(utf8);
}

// The path of what stands behind "file:"; empty when it leads nowhere.
WideString PathOf(WideView address) {
  WideString path = Unescape(address);
  for (WCHAR& c : path) {
    if (c == '/') c = '\\';
  }
  const auto drop = [&](WideView prefix) {
    if (!EqualNoCase(WideView(path).substr(0, prefix.size()), prefix)) return false;
    path.erase(0, prefix.size());
    return true;
  };
  if (drop(TEXT("\\\\\\")) || drop(TEXT("\\\\localhost\\")) || !path.starts_with(TEXT("\\\\"))) {
    if (path.size() >= 2 && path[1] == '|') path[1] = ':';
  }
  return path == TEXT("\\\\") ? WideString() : path;
}

}  // namespace
}  // namespace platform

using namespace platform;

HRESULT WINAPI PathCreateFromUrlW(LPCWSTR url, LPWSTR path, LPDWORD size, DWORD flags) {
  KV_API_STATUS(PathCreateFromUrlW, static_cast<DWORD>(E_INVALIDARG), url, path, size, flags);
  constexpr WideView kScheme = TEXT("file:");
  const WideView text = View(url);
  if (flags != 0 || !EqualNoCase(text.substr(0, kScheme.size()), kScheme)) return E_INVALIDARG;
  const WideString result = PathOf(text.substr(kScheme.size()));
  if (result.empty()) return E_INVALIDARG;
  const DWORD capacity = *size;
  if (capacity <= result.size()) {
    *size = static_cast<DWORD>(result.size() + 1);
    return E_POINTER;
  }
  result.copy(path, result.size());
  path[result.size()] = 0;
  *size = static_cast<DWORD>(result.size());
  return S_OK;
}
