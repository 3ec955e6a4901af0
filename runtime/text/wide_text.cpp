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

constexpr LONGLONG kLowest = std::numeric_limits<int>::min();
constexpr LONGLONG kHighest = std::numeric_limits<int>::max();

struct Decimal {
  LONGLONG value = 0;  // that of a number beyond int may be anything beyond it
  bool hasDigits = false;
  WideView rest;  // what follows the number
};

Decimal ReadDecimal(WideView text) {
  const auto skip = [&](size_t count) { text.remove_prefix(count); };
  Decimal decimal;
  while (!text.empty() && IsBlank(text[0])) skip(1);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) skip(1);
  for (; !text.empty() && text[0] >= '0' && text[0] <= '9'; skip(1)) {
    decimal.value = std::min(decimal.value * 10 + (text[0] - '0'), kHighest + 2);
    decimal.hasDigits = true;
  }
  if (negative) decimal.value = -decimal.value;
  decimal.rest = text;
  return decimal;
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
  const Decimal decimal = ReadDecimal(View(text));
  return static_cast<int>(std::clamp(decimal.value, kLowest, kHighest));
}

bool ParseWholeDecimal(LPCWSTR text, int& number) {
  const Decimal decimal = ReadDecimal(View(text));
  const bool isWhole =
      decimal.hasDigits && std::all_of(decimal.rest.begin(), decimal.rest.end(), IsBlank);
  const bool fits = decimal.value >= kLowest && decimal.value <= kHighest;
  number = isWhole && fits ? static_cast<int>(decimal.value) : 0;
  return isWhole && fits;
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
