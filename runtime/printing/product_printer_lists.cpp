#include "runtime/printing/product_printer_lists.h"

#include <algorithm>

#include "runtime/core/last_error.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/printing/printer_keys.h"

namespace kv {

namespace {

// The server for one of whose printers a product printer stands; empty when it stands for none. It
// lies in the key's buffers.
WideView ServerOf(CPrinterSettingsKey& key) {
  const WideView printer = View(key.GetServerPrinter());
  const WideView name =
      printer.substr(std::min(printer.find_first_not_of(TEXT('\\')), printer.size()));
  return name.substr(0, name.find(TEXT('\\')));
}

}  // namespace

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
    const size_t length = ServerOf(key).size();
    if (length == 0) continue;
    entry.state = kPrinterOfServer;
    room += length + 1;
  }
  if (room == 0) return TRUE;
  LPWSTR place = AllocateServers(room);
  if (place == nullptr) return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  for (PrinterEntry& entry : *this) {
    if (entry.state != kPrinterOfServer) continue;
    CPrinterSettingsKey key(entry.name, KeyMode::kRead, HKEY_LOCAL_MACHINE);
    const WideView server = ServerOf(key);
    if (server.empty() || server.size() + 1 > room) return FailWith(ERROR_INVALID_DATA);
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
