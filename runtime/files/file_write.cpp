// What File writes as it is told.
#include <string.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>

#include "resources/string_ids.h"
#include "runtime/files/ansi_text.h"
#include "runtime/files/file.h"
#include "runtime/files/file_report.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr char kLineFeed = '\n';
constexpr char kBlank = ' ';

WideView Measured(LPCWSTR text, int length) {
  return text == nullptr || length < 0 ? View(text) : WideView(text, length);
}

}  // namespace

BOOL File::Write(const void* data, DWORD size) {
  if (size == 0) return TRUE;
  DWORD written = 0;
  if (!WriteFile(handle_, data, size, &written, nullptr)) {
    return ReportFileError(IDS_WRITE_FAILED, name_, GetLastError());
  }
  RememberWritten(data, written);
  return written == size || ReportFileError(IDS_WRITE_FAILED, name_, ERROR_WRITE_FAULT);
}

void File::RememberWritten(const void* data, DWORD size) {
  const BYTE* const bytes = static_cast<const BYTE*>(data);
  if (size >= kLastBytes) {
    memcpy(lastBytes_, bytes + size - kLastBytes, kLastBytes);
  } else {
    BYTE* const kept = std::copy(lastBytes_ + size, std::end(lastBytes_), lastBytes_);
    memcpy(kept, bytes, size);
  }
}

BOOL File::WriteStringA(LPCSTR text, int length, Terminator terminator) {
  if (text == nullptr) return TRUE;
  const DWORD size = length < 0 ? static_cast<DWORD>(strlen(text)) : static_cast<DWORD>(length);
  return Write(text, size) && (terminator == Terminator::kNo || WriteByte(0));
}

BOOL File::WriteStringAsAnsi(LPCWSTR text, int length) {
  if (text == nullptr) return TRUE;
  int size = 0;
  const std::unique_ptr<CHAR[]> narrow = ToAnsi(Measured(text, length), &size);
  return narrow != nullptr && WriteStringA(narrow.get(), size);
}

BOOL File::WriteStringW(LPCWSTR text, int length) {
  const WideView measured = Measured(text, length);
  return Write(measured.data(), static_cast<DWORD>(measured.size() * sizeof(WCHAR)));
}

BOOL File::WriteCountedStringW(LPCWSTR text, int length) {
  const WideView measured = Measured(text, length);
  return WriteWord(static_cast<WORD>(measured.size())) &&
         Write(measured.data(), static_cast<DWORD>(measured.size() * sizeof(WCHAR)));
}

BOOL File::WriteBom() {
  return WriteWord(0xFEFF);
}

BOOL File::AlignWord() {
  return WriteZeros(sizeof(WORD));
}

BOOL File::AlignDword() {
  return WriteZeros(sizeof(DWORD));
}

BOOL File::WriteZeros(DWORD multiple) {
  constexpr BYTE kZeros[sizeof(DWORD)] = {};
  ULONGLONG position = 0;
  return TellWhole(&position) &&
         Write(kZeros, static_cast<DWORD>((multiple - position % multiple) % multiple));
}

// How many of the bytes before the position are blanks that were written last.
DWORD File::BlanksBefore(ULONGLONG position) const {
  DWORD blanks = 0;
  while (blanks < kLastBytes && blanks < position &&
         lastBytes_[kLastBytes - 1 - blanks] == kBlank) {
    ++blanks;
  }
  return blanks;
}

BOOL File::NewLine(Trim trim) {
  if (lastBytes_[kLastBytes - 1] == kLineFeed) return TRUE;
  if (trim == Trim::kYes) {
    ULONGLONG position = 0;
    if (!TellWhole(&position)) return FALSE;
    const DWORD blanks = BlanksBefore(position);
    if (blanks > 0 && !SeekTo(position - blanks)) return FALSE;
  }
  return WriteByte(kLineFeed);
}

}  // namespace kv
