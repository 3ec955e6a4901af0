#include "runtime/printing/product_printer_lists.h"

#include <algorithm>

#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/printing/printer_keys.h"

namespace kv {

CProductPrinterList::CProductPrinterList(Selection selection, DWORD flags, LPCWSTR name)
    : CPrinterList(flags, name), selection_(selection) {}

BOOL CProductPrinterList::LoadPrinters() {
  if (IsLoaded()) return TRUE;
  if (!CPrinterList::LoadPrinters()) return FALSE;
  MoveProductNameToFront();
  HideAll();
  ShowDriver(startupContext.productNameVersion);
  WCHAR title[MAX_PATH];
  GetBaseName(startupContext.graphicsDriverFile, title);
  ShowDriverFile(title);
  if (!FindServers()) {
    Clear();
    return FALSE;
  }
  if (selection_ == Selection::kOfServers) {
    for (PrinterEntry& entry : *this) {
      if (entry.server == nullptr) entry.state = kPrinterHidden;
    }
  }
  return TRUE;
}

void CProductPrinterList::MoveProductNameToFront() {
  const auto named = std::find_if(begin(), end(), [](const PrinterEntry& entry) {
    return EqualNoCase(entry.name, startupContext.productName);
  });
  if (named != end()) std::swap(*named, *begin());
}

// The registry is read twice: for the room that the servers' names need, and for the names.
BOOL CProductPrinterList::FindServers() {
  size_t room = 0;
  for (PrinterEntry& entry : *this) {
    if (entry.state == kPrinterHidden || entry.server != nullptr) continue;
    CPrinterSettingsKey key(entry.name, KeyMode::kRead, HKEY_LOCAL_MACHINE);
    const LPCWSTR printer = key.GetServerPrinter();
    if (printer == nullptr) continue;
    entry.state = kPrinterOfServer;
    room += ServerPartOf(printer).size() + 1;
  }
  if (room == 0) return TRUE;
  LPWSTR place = AllocateServers(room);
  if (place == nullptr) return FALSE;
  for (PrinterEntry& entry : *this) {
    if (entry.state != kPrinterOfServer) continue;
    CPrinterSettingsKey key(entry.name, KeyMode::kRead, HKEY_LOCAL_MACHINE);
    const WideView server = ServerPartOf(key.GetServerPrinter());
    if (server.empty() || server.size() + 1 > room) continue;
    entry.server = place;
    place = std::copy(server.begin(), server.end(), place);
    *place++ = 0;
    room -= server.size() + 1;
  }
  return TRUE;
}

BOOL CSiblingPrinterList::LoadPrinters() {
  if (IsLoaded()) return TRUE;
  if (!CPrinterList::LoadPrinters()) return FALSE;
  HideAll();
  ShowDriverFile(TEXT("kvpgraf?"));
  return TRUE;
}

}  // namespace kv
