#include "runtime/printing/gdi_plus.h"

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"

namespace kv {

BOOL EnsureGdiPlus() {
  LoadedLibrary library;
  while (!library.Load(TEXT("gdiplus.dll"), Quiet::kYes)) {
    // Silently the answer is IDOK: without anybody who could help, trying again would never end.
    if (AskRetryCancel(IDS_GDIPLUS_MISSING, startupContext.productName) != IDRETRY) return FALSE;
  }
  return TRUE;
}

}  // namespace kv
