#include "runtime/files/ansi_text.h"

#include <algorithm>
#include <new>

#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"

namespace kv {

std::unique_ptr<CHAR[]> ToAnsi(WideView text, int* size) {
  *size = 0;
  const int length = static_cast<int>(text.size());
  // Code pages take two bytes at most for each unit of UTF-16; only UTF-8 takes three.
  const int needed = length == 0 ? 0
                                 : WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0,
                                                       nullptr, nullptr);
  const int capacity = std::max(2 * length, needed);
  std::unique_ptr<CHAR[]> narrow(new (std::nothrow) CHAR[capacity + 1]);
  if (narrow == nullptr) {
    ReportNoMemory(TEXT("UnicodeToAnsiNew new char"));
    return nullptr;
  }
  if (length != 0) {
    *size = WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.get(), capacity, nullptr,
                                nullptr);
    if (*size <= 0) {
      ReportFailedCall(TEXT("WideCharToMultiByte"));
      return nullptr;
    }
  }
  narrow[*size] = 0;
  return narrow;
}

BOOL CAnsiText::Set(LPCWSTR text) {
  int size = 0;
  text_ = ToAnsi(View(text), &size);
  return text_ != nullptr;
}

BOOL ShortPathForAnsi(LPCWSTR path, CAnsiText& text) {
  WCHAR buffer[MAX_PATH];
  return text.Set(ShortPath(path, buffer));
}

}  // namespace kv
