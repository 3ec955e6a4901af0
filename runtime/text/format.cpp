#include "runtime/text/format.h"

#include "runtime/text/wide_text.h"

namespace kv {

BOOL FormatTextV(LPWSTR out, size_t capacity, LPCWSTR format, va_list arguments) {
  if (capacity == 0) return FALSE;
  // The formatter writes no terminator when the text does not fit, and -1 says so.
  const int length = _vsnwprintf(out, capacity, format, arguments);
  const bool fits = length >= 0 && static_cast<size_t>(length) < capacity;
  out[fits ? length : WholeLength(WideView(out, capacity), capacity - 1)] = 0;
  return fits;
}

BOOL FormatText(LPWSTR out, size_t capacity, LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const BOOL fits = FormatTextV(out, capacity, format, arguments);
  va_end(arguments);
  return fits;
}

BOOL FormatTextA(LPSTR out, size_t capacity, LPCSTR format, ...) {
  if (capacity == 0) return FALSE;
  va_list arguments;
  va_start(arguments, format);
  const int length = _vsnprintf(out, capacity, format, arguments);
  va_end(arguments);
  const bool fits = length >= 0 && static_cast<size_t>(length) < capacity;
  out[fits ? length : capacity - 1] = 0;
  return fits;
}

BOOL AppendText(LPWSTR out, size_t capacity, LPCWSTR format, ...) {
  const size_t length = WideView(out, capacity).find(WCHAR(0));
  if (length == WideView::npos) return FALSE;
  va_list arguments;
  va_start(arguments, format);
  const BOOL fits = FormatTextV(out + length, capacity - length, format, arguments);
  va_end(arguments);
  return fits;
}

}  // namespace kv
