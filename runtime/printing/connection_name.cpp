#include "runtime/printing/connection_name.h"

#include <algorithm>

#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WideView kStart = TEXT("\\\\");

bool FitsName(WideView text) {
  return text.size() < MAX_PATH;
}

}  // namespace

BOOL IsConnectionName(LPCWSTR name) {
  return View(name).starts_with(kStart);
}

BOOL SplitConnectionName(LPCWSTR name, ConnectionName& parts) {
  ConnectionName split = {};
  const WideView whole = View(name);
  const size_t end = whole.find(TEXT('\\'), kStart.size());
  if (IsConnectionName(name) && end != WideView::npos) {
    const WideView server = whole.substr(kStart.size(), end - kStart.size());
    const WideView printer = whole.substr(end + 1);
    if (!printer.empty() && FitsName(server) && FitsName(printer)) {
      std::copy(server.begin(), server.end(), split.server);
      std::copy(printer.begin(), printer.end(), split.printer);
    }
  }
  parts = split;
  return parts.printer[0] != 0;
}

BOOL IsPrinterName(LPCWSTR name) {
  const auto isPart = [](WideView part) {
    return !part.empty() && FitsName(part) && part.find(TEXT('\\')) == WideView::npos;
  };
  if (!IsConnectionName(name)) return isPart(View(name));
  ConnectionName parts;
  return SplitConnectionName(name, parts) && isPart(parts.server) && isPart(parts.printer);
}

BOOL MakeKeyName(LPCWSTR name, WCHAR (&output)[MAX_PATH]) {
  const bool fits = FitsName(View(name));
  CopyStringW(output, fits ? name : nullptr);
  std::replace(output, output + View(output).size(), TEXT('\\'), TEXT(','));
  return fits;
}

}  // namespace kv
