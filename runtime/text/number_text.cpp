#include "runtime/text/number_text.h"

#include <string_view>

#include "runtime/text/format.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

template <class Char>
void StripFraction(Char* text) {
  const std::basic_string_view<Char> whole(text);
  if (whole.find('.') != whole.npos) {
    size_t length = whole.size();
    while (text[length - 1] == '0') --length;
    if (text[length - 1] == '.') --length;
    text[length] = 0;
  }
  if (text[0] == '-' && text[1] == '0' && text[2] == 0) {
    text[0] = '0';
    text[1] = 0;
  }
}

// More than the digits of every double with the default precision.
constexpr size_t kWholeCapacity = 512;

// Copies a number of which nothing may be missing; empty, with the last error, when it does not fit
// or could not be `written`.
template <class Char>
Char* HandOut(Char (&number)[kWholeCapacity], BOOL written, Char* output, size_t capacity) {
  if (written) StripFraction(number);
  const std::basic_string_view<Char> whole = number;
  const bool fits = written && whole.size() < capacity;
  if (capacity != 0) output[fits ? whole.copy(output, whole.size()) : 0] = 0;
  if (!fits) SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return output;
}

}  // namespace

LPSTR FormatDoubleA(double value, int precision, LPSTR output, size_t capacity) {
  CHAR number[kWholeCapacity];
  return HandOut(number, FormatTextA(number, kWholeCapacity, "%.*f", precision, value), output,
                 capacity);
}

LPWSTR FormatDoubleW(double value, int precision, LPWSTR output, size_t capacity) {
  WCHAR number[kWholeCapacity];
  return HandOut(number, FormatText(number, TEXT("%.*f"), precision, value), output, capacity);
}

void FormatResolution(WCHAR (&output)[kNumberTextCapacity], int horizontalDpi, int verticalDpi) {
  if (verticalDpi > 0) {
    FormatText(output, TEXT("%d x %d dpi"), horizontalDpi, verticalDpi);
  } else {
    FormatText(output, TEXT("%d dpi"), horizontalDpi);
  }
}

void FormatSize(ULONGLONG bytes, WCHAR (&output)[kNumberTextCapacity]) {
  if (bytes == 0) {
    CopyStringW(output, TEXT("0 KB"));
    return;
  }
  // Half a kilobyte more rounds to the nearest, written so that the largest count does not
  // overflow.
  ULONGLONG kilobytes = bytes / 1000 + (bytes % 1000 >= 500 ? 1 : 0);
  if (kilobytes == 0) kilobytes = 1;
  if (kilobytes < 1000) {
    FormatText(output, TEXT("%d KB"), static_cast<int>(kilobytes));
  } else {
    FormatText(output, TEXT("%I64u.%d MB"), kilobytes / 1000,
               static_cast<int>(kilobytes % 1000 / 100));
  }
}

void FormatDuration(DWORD milliseconds, WCHAR (&output)[kNumberTextCapacity]) {
  constexpr DWORD kMinute = 60000;
  output[0] = 0;
  if (milliseconds / kMinute != 0) {
    FormatText(output, TEXT("%d min "), static_cast<int>(milliseconds / kMinute));
  }
  const int rest = static_cast<int>(milliseconds % kMinute);
  AppendText(output, kNumberTextCapacity, TEXT("%d.%03d sec"), rest / 1000, rest % 1000);
}

}  // namespace kv
