// Comparing UTF-16 text. The C library's wide functions are not used anywhere: they read another
// character size on machines that are not Windows.
#pragma once

#include <string_view>

#include "runtime/core/win.h"

namespace kv {

using WideView = std::basic_string_view<WCHAR>;

// Null counts as empty.
inline WideView View(LPCWSTR text) {
  return text == nullptr ? WideView() : WideView(text);
}

// How much of `text` stays when it is cut to `length` units: a character of two units that the cut
// would split goes as a whole.
inline size_t WholeLength(WideView text, size_t length) {
  if (length == 0 || length >= text.size()) return length < text.size() ? length : text.size();
  const bool splits = (text[length - 1] & 0xFC00) == 0xD800 && (text[length] & 0xFC00) == 0xDC00;
  return splits ? length - 1 : length;
}

// Upper case by the system's rules for single characters (CharUpperW).
WCHAR ToUpper(WCHAR c);
// Equal when letters of any alphabet differ in case only.
bool EqualNoCase(WideView a, WideView b);
// Equal when letters A to Z differ in case only: file names, registry names and values of the
// system.
bool EqualAsciiNoCase(WideView a, WideView b);
// Orders by the characters' values after A to Z became lower case; below, equal or above 0.
int CompareAsciiNoCase(WideView a, WideView b);
bool StartsWithAsciiNoCase(WideView text, WideView prefix);

// A number at the start of a text, as people write it: leading white space and a sign are allowed,
// reading stops at the first other character, a text without digits gives 0, and a number too large
// for the type gives its limit.
int ParseDecimal(LPCWSTR text);
// The whole text as a number, with or without a sign and white space around it; FALSE, and the
// number 0, for a text that holds anything else, and for a number that the type does not hold.
bool ParseWholeDecimal(LPCWSTR text, int& number);
// As ParseDecimal, for hexadecimal digits, with or without "0x", without a sign.
DWORD ParseHex(LPCWSTR text);

}  // namespace kv
