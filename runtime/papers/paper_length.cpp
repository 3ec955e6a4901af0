#include "runtime/papers/paper_length.h"

#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/core/resource_text.h"
#include "runtime/text/format.h"

namespace kv {
namespace {

constexpr DWORD kRounding = 25;  // micrometres

// Micrometres in a unit; 0 for what is no unit.
DWORD LengthOf(WORD units) {
  return units == kPaperInches ? 25400 : units == kPaperMillimetres ? 1000 : 0;
}

}  // namespace

void FormatPaperLength(DWORD micrometres, WORD units, WCHAR (&text)[kPaperLengthCapacity]) {
  text[0] = 0;
  const DWORD unit = LengthOf(units);
  if (unit == 0) return;
  DWORD whole = micrometres / unit;
  DWORD rest = micrometres % unit;
  if (rest < kRounding) rest = 0;
  if (rest > unit - kRounding) {
    ++whole;
    rest = 0;
  }
  const int number = static_cast<short>(whole);
  int fraction = MulDiv(static_cast<int>(rest), 10000, static_cast<int>(unit));
  if (fraction == 0) {
    FormatText(text, TEXT("%d"), number);
    return;
  }
  int digits = 4;
  for (; fraction % 10 == 0; fraction /= 10) --digits;
  FormatText(text, TEXT("%d.%0*d"), number, digits, fraction);
}

void DescribePaperSize(const PaperEntry& paper, WCHAR (&text)[kPaperSizeCapacity]) {
  WCHAR smaller[kPaperLengthCapacity], larger[kPaperLengthCapacity], format[kPaperSizeCapacity];
  FormatPaperLength(std::min(paper.width, paper.height), paper.units, smaller);
  FormatPaperLength(std::max(paper.width, paper.height), paper.units, larger);
  LoadResourceString(
      format, kPaperSizeCapacity,
      paper.units == kPaperInches ? IDS_PAPER_SIZE_INCHES : IDS_PAPER_SIZE_MILLIMETRES);
  FormatText(text, format, static_cast<LPCWSTR>(smaller), static_cast<LPCWSTR>(larger));
}

}  // namespace kv
