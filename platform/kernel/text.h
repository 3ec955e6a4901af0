// Conversions between the layer's UTF-16 and the host's UTF-8, and the case rules of names.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace platform {

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

// Unpaired surrogates travel as their three-byte form, so that every name survives the way to the
// host and back.
std::string ToUtf8(WideView text);
WideString ToWide(std::string_view utf8);

// Simple one-to-one upper-casing, as the system compares file names, registry keys and object
// names.
WCHAR UpperCase(WCHAR c);
WCHAR LowerCase(WCHAR c);
WideString UpperCase(WideView text);
WideString LowerCase(WideView text);
bool EqualNoCase(WideView a, WideView b);
struct LessNoCase {
  using is_transparent = void;
  bool operator()(WideView a, WideView b) const;
};

// Null counts as empty.
inline WideView View(LPCWSTR text) {
  return text == nullptr ? WideView() : WideView(text);
}

}  // namespace platform
