#include "runtime/printing/connection_name.h"

#include <algorithm>

#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WideView kStart = TEXT("\\\\");

}  // namespace

BOOL IsConnectionName(LPCWSTR name) {
  return View(name).starts_with(kStart);
}

BOOL SplitConnectionName(LPCWSTR name, ConnectionName& parts) {
  parts.server[0] = parts.printer[0] = 0;
  if (!IsConnectionName(name)) return FALSE;
  const LPCWSTR server = name + kStart.size();
  const size_t length = View(server).find(TEXT('\\'));
  if (length == WideView::npos) return FALSE;
  const int capacity = static_cast<int>(std::min<size_t>(length, MAX_PATH - 1)) + 1;
  CopyStringW(parts.server, capacity, server);
  CopyStringW(parts.printer, server + length + 1);
  return parts.printer[0] != 0;
}

void MakeKeyName(LPCWSTR name, WCHAR (&output)[MAX_PATH]) {
  CopyStringW(output, name);
  for (WCHAR* c = output; *c != 0; ++c) {
    if (*c == TEXT('\\')) *c = TEXT(',');
  }
}

}  // namespace kv
