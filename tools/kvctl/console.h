// Text to the person or script that called: UTF-16 on a console, UTF-8 into files and pipes.
#pragma once

#include <string>
#include <string_view>

#include "runtime/core/resource_text.h"
#include "runtime/core/win.h"
#include "runtime/text/wide_text.h"

namespace kvctl {

using kv::WideView;
using WideString = std::basic_string<WCHAR>;

void Print(WideView text);
// Whether all that was printed so far has been written.
bool IsOutputComplete();
void PrintLine(WideView text);
// One line "kvctl: text" on standard error.
void PrintError(WideView text);
// The system's text for `error` without its closing full stop.
WideString SystemErrorText(DWORD error);
// "kvctl: what: why", where why is SystemErrorText.
void PrintSystemError(WideView what, DWORD error);
// Standard error without a prefix, for progress.
void PrintStatus(WideView text);
// Whether standard error (standard output) is a terminal.
bool StatusIsVisible();
bool OutputIsTerminal();

// String `number` of the language resource library with its inserts.
template <class... Texts>
WideString Text(UINT number, Texts... inserts) {
  constexpr int kCapacity = 2048;
  WCHAR text[kCapacity];
  return kv::LoadResourceString(text, kCapacity, number, inserts...);
}

// PrintSystemError for the thread's last error, where what is string `number` with its inserts.
template <class... Texts>
void PrintLastError(UINT number, Texts... inserts) {
  const DWORD error = GetLastError();
  PrintSystemError(Text(number, inserts...), error);
}

// A number in decimal.
WideString Number(ULONGLONG value);
WideString SignedNumber(LONGLONG value);
// `text` and blanks up to `width` characters, at least two blanks.
WideString Padded(WideView text, size_t width);

}  // namespace kvctl
