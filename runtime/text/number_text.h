// Numbers as the product shows them to people.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The value in fixed notation with `precision` decimals and without trailing zeros of the
// fraction: 1.5, 2, and 0 for what rounds to -0. With precision 0 nothing is stripped (100 stays
// 100). `output` holds `capacity` characters (bytes). Of a text that does not fit, or has more than
// 511 characters, no digit is left out: `output` is empty and the last error
// ERROR_INSUFFICIENT_BUFFER. Returns `output`.
constexpr int kDefaultPrecision = 6;
LPSTR FormatDoubleA(double value, int precision, LPSTR output, size_t capacity);
LPWSTR FormatDoubleW(double value, int precision, LPWSTR output, size_t capacity);

// The texts below fit into this many characters for every value.
constexpr int kNumberTextCapacity = 64;

// "600 x 300 dpi", or "600 dpi" when the vertical value is not above 0.
void FormatResolution(WCHAR (&output)[kNumberTextCapacity], int horizontalDpi, int verticalDpi);
// A number of bytes in decimal kilobytes, rounded but at least 1 ("999 KB", "0 KB" for none), or
// from 1000 KB on in megabytes with one decimal, cut ("2.7 MB").
void FormatSize(ULONGLONG bytes, WCHAR (&output)[kNumberTextCapacity]);
// Milliseconds as "1 min 1.500 sec" or "0.999 sec".
void FormatDuration(DWORD milliseconds, WCHAR (&output)[kNumberTextCapacity]);

}  // namespace kv
