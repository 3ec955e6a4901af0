#include "runtime/files/ansi_text.h"

#include <algorithm>
#include <new>

#include "runtime/core/messages.h"

namespace kv {

std::unique_ptr<CHAR[]> ToAnsi(WideView text, int* size) {
  *size = 0;
  const int length = static_cast<int>(text.size());
  // Code pages take two bytes at most for each unit of UTF-16; only UTF-8 takes three.
  const int needed = length == 0 ? 0
                                 : WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0,
                                                       nullptr, nullptr);
  const int capacity = std::max(2 * length + 1, needed);
  std::unique_ptr<CHAR[]> narrow(new (std::nothrow) CHAR[capacity]);
  if (narrow == nullptr) {
    ShowInternalError(TEXT("UnicodeToAnsiNew new char"));
    return nullptr;
  }
  if (length == 0) return narrow;
  *size =
      WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.get(), capacity, nullptr, nullptr);
  if (*size > 0) return narrow;
  ShowLastError(TEXT("WideCharToMultiByte"));
  return nullptr;
}

}  // namespace kv
