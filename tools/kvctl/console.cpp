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

void Write(DWORD which, FILE* file, WideView text) {
  // A program that was started without the stream has nobody to tell.
  if (text.empty() || GetStdHandle(which) == nullptr) return;
  DWORD written;
  if (IsConsole(which)) {
    static_cast<void>(fflush(file));
    if (WriteConsoleW(GetStdHandle(which), text.data(), static_cast<DWORD>(text.size()), &written,
                      nullptr))
      return;
  }
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

void PrintSystemError(WideView what, DWORD error) {
  WCHAR reason[kv::kErrorTextCapacity];
  kv::GetSystemErrorText(error, reason, kv::kErrorTextCapacity);
  WideString why(reason);
  while (!why.empty() && (kv::IsSpaceW(why.back()) || why.back() == '.')) why.pop_back();
  if (why.empty()) why = Text(IDS_CTL_ERROR_NUMBER, Number(error).c_str());
  PrintError(WideString(what) + TEXT(": ") + why);
}

void PrintStatus(WideView text) {
  Write(STD_ERROR_HANDLE, stderr, text);
}
bool StatusIsVisible() {
  return IsConsole(STD_ERROR_HANDLE);
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
