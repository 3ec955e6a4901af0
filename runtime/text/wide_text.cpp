#include "runtime/text/wide_text.h"

#include <algorithm>
#include <limits>

namespace kv {
namespace {

WCHAR ToAsciiLower(WCHAR c) {
  return c >= 'A' && c <= 'Z' ? static_cast<WCHAR>(c + ('a' - 'A')) : c;
}

bool IsBlank(WCHAR c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

int HexDigit(WCHAR c) {
  if (c >= '0' && c <= '9') return c - '0';
  const WCHAR lower = ToAsciiLower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

WCHAR ToUpper(WCHAR c) {
  // CharUpperW takes a single character in place of a pointer whose high part is zero.
  return static_cast<WCHAR>(
      reinterpret_cast<ULONG_PTR>(CharUpperW(reinterpret_cast<LPWSTR>(ULONG_PTR{c}))));
}

bool EqualNoCase(WideView a, WideView b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](WCHAR x, WCHAR y) { return x == y || ToUpper(x) == ToUpper(y); });
}

bool EqualAsciiNoCase(WideView a, WideView b) {
  return a.size() == b.size() && CompareAsciiNoCase(a, b) == 0;
}

int CompareAsciiNoCase(WideView a, WideView b) {
  const size_t common = std::min(a.size(), b.size());
  for (size_t i = 0; i < common; ++i) {
    const int difference = ToAsciiLower(a[i]) - ToAsciiLower(b[i]);
    if (difference != 0) return difference;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool StartsWithAsciiNoCase(WideView text, WideView prefix) {
  return text.size() >= prefix.size() && EqualAsciiNoCase(text.substr(0, prefix.size()), prefix);
}

int ParseDecimal(LPCWSTR text) {
  if (text == nullptr) return 0;
  while (IsBlank(*text)) ++text;
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  constexpr LONGLONG kLimit = std::numeric_limits<int>::max();
  LONGLONG value = 0;
  for (; *text >= '0' && *text <= '9'; ++text)
    value = std::min(value * 10 + (*text - '0'), kLimit + 1);
  return static_cast<int>(negative ? -value : std::min(value, kLimit));
}

DWORD ParseHex(LPCWSTR text) {
  if (text == nullptr) return 0;
  while (IsBlank(*text)) ++text;
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
  constexpr ULONGLONG kLimit = std::numeric_limits<DWORD>::max();
  ULONGLONG value = 0;
  for (int digit; (digit = HexDigit(*text)) >= 0; ++text)
    value = std::min(value * 16 + digit, kLimit);
  return static_cast<DWORD>(value);
}

}  // namespace kv
