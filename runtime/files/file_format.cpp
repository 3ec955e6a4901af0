// Formatted text in files.
#include <memory>

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/files/ansi_text.h"
#include "runtime/files/file.h"
#include "runtime/files/file_report.h"
#include "runtime/files/global_block.h"

namespace kv {
namespace {

int Format(CHAR* out, size_t capacity, LPCSTR format, va_list arguments) {
  return _vsnprintf(out, capacity, format, arguments);
}
int Format(WCHAR* out, size_t capacity, LPCWSTR format, va_list arguments) {
  return _vsnwprintf(out, capacity, format, arguments);
}

// A formatted text of any length up to a limit, on the stack while it is short. It is not
// terminated.
template <class Char>
class FormattedText {
 public:
  // FALSE after the report of what failed; `routine` names the caller there.
  BOOL Make(const Char* format, va_list arguments, LPCWSTR routine) {
    count_ = FormatOnce(onStack_, kStackUnits, format, arguments);
    if (count_ < 0 && !MakeLong(format, arguments)) return FALSE;
    if (count_ > 0) return TRUE;
    ShowError(IDS_ROUTINE_FAILED, routine);
    return FailWith(ERROR_INVALID_PARAMETER);
  }

  const Char* text() const { return text_; }
  int count() const { return count_; }

 private:
  static constexpr size_t kStackUnits = 516;
  static constexpr DWORD kStep = 4096;
  static constexpr DWORD kLargest = 204800;

  int FormatOnce(Char* out, size_t capacity, const Char* format, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    const int count = Format(out, capacity, format, copy);
    va_end(copy);
    text_ = out;
    return count;
  }

  // FALSE when memory runs out, which the block reports.
  BOOL MakeLong(const Char* format, va_list arguments) {
    for (DWORD size = kStep; count_ <= 0 && size <= kLargest; size += kStep) {
      const BOOL grown = size == kStep ? block_.Alloc(kStep, GMEM_MOVEABLE, 0) : block_.Grow(kStep);
      if (!grown) return FALSE;
      count_ =
          FormatOnce(static_cast<Char*>(block_.data()), size / sizeof(Char), format, arguments);
    }
    return TRUE;
  }

  Char onStack_[kStackUnits];
  CGlobalBlock block_;
  const Char* text_ = onStack_;
  int count_ = 0;
};

}  // namespace

BOOL File::printfV(LPCSTR format, va_list arguments) {
  FormattedText<CHAR> formatted;
  return formatted.Make(format, arguments, TEXT("File::printfV")) &&
         WriteStringA(formatted.text(), formatted.count());
}

BOOL File::printfV(LPCWSTR format, va_list arguments) {
  FormattedText<WCHAR> formatted;
  return formatted.Make(format, arguments, TEXT("File::printfV")) &&
         WriteStringAsAnsi(formatted.text(), formatted.count());
}

BOOL File::printf(LPCSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const BOOL written = printfV(format, arguments);
  va_end(arguments);
  return written;
}

BOOL File::printf(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const BOOL written = printfV(format, arguments);
  va_end(arguments);
  return written;
}

BOOL File::printfW(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  FormattedText<WCHAR> formatted;
  const BOOL written = formatted.Make(format, arguments, TEXT("File::printfW")) &&
                       WriteStringW(formatted.text(), formatted.count());
  va_end(arguments);
  return written;
}

}  // namespace kv
