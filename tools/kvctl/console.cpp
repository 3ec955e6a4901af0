#include "tools/kvctl/console.h"

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"

namespace kvctl {
namespace {

bool IsConsole(DWORD which) {
  DWORD mode;
  return GetConsoleMode(GetStdHandle(which), &mode);
}

// What the console does not take is left in `text`.
void WriteToConsole(HANDLE console, WideView& text) {
  DWORD written = 0;
  while (!text.empty() &&
         WriteConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr)) {
    if (written == 0) return;
    text.remove_prefix(written);
  }
}

void Write(DWORD which, FILE* file, WideView text) {
  // A program that was started without the stream has nobody to tell.
  if (GetStdHandle(which) == nullptr) return;
  if (IsConsole(which)) {
    static_cast<void>(fflush(file));
    WriteToConsole(GetStdHandle(which), text);
  }
  if (text.empty()) return;
  const int length = static_cast<int>(text.size());
  std::string bytes(
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), static_cast<int>(bytes.size()),
                      nullptr, nullptr);
  // What fails here is seen by IsOutputComplete.
  static_cast<void>(fwrite(bytes.data(), 1, bytes.size(), file));
  static_cast<void>(fflush(file));
}

}  // namespace

void Print(WideView text) {
  Write(STD_OUTPUT_HANDLE, stdout, text);
}
bool IsOutputComplete() {
  return std::ferror(stdout) == 0;
}
void PrintLine(WideView text) {
  Print(WideString(text) + WCHAR('\n'));
}

void PrintError(WideView text) {
  PrintStatus(WideString(TEXT("kvctl: ")).append(text) + WCHAR('\n'));
}

WideString SystemErrorText(DWORD error) {
  WCHAR reason[kv::kErrorTextCapacity];
  kv::GetSystemErrorText(error, reason, kv::kErrorTextCapacity);
  WideString why(reason);
  while (!why.empty() && (kv::IsSpaceW(why.back()) || why.back() == '.')) why.pop_back();
  return why.empty() ? Text(IDS_CTL_ERROR_NUMBER, Number(error).c_str()) : why;
}

void PrintSystemError(WideView what, DWORD error) {
  PrintError(WideString(what) + TEXT(": ") + SystemErrorText(error));
}

void PrintStatus(WideView text) {
  Write(STD_ERROR_HANDLE, stderr, text);
}
bool StatusIsVisible() {
  return IsConsole(STD_ERROR_HANDLE);
}
bool OutputIsTerminal() {
  return IsConsole(STD_OUTPUT_HANDLE);
}

WideString Number(ULONGLONG value) {
  WCHAR text[32];
  kv::FormatText(text, TEXT("%I64u"), value);
  return text;
}

WideString SignedNumber(LONGLONG value) {
  WCHAR text[32];
  kv::FormatText(text, TEXT("%I64d"), value);
  return text;
}

WideString Padded(WideView text, size_t width) {
  WideString out(text);
  out.resize(std::max(width, text.size() + 2), ' ');
  return out;
}

}  // namespace kvctl
