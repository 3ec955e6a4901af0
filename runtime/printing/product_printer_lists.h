// The printers of the product and of its sibling family.
#pragma once

#include "runtime/printing/printer_list.h"

namespace kv {

// The printers with the product's driver or one of its graphics drivers; one that is called as the
// product comes first. A printer of this machine that stands for a server printer has that server
// and the state kPrinterOfServer; the server is named by what stands, without backslashes in front,
// before the next backslash of the text, or by the whole text. Loading fails as for CPrinterList,
// and with ERROR_INVALID_DATA when the names of the servers change meanwhile.
class CProductPrinterList : public CPrinterList {
 public:
  // kOfServers: only those that have a server, be they connections or printers that stand for one.
  enum class Selection { kAll, kOfServers };

  explicit CProductPrinterList(Selection selection = Selection::kAll,
                               DWORD flags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS,
                               LPCWSTR name = nullptr);
  BOOL LoadPrinters() override;

 private:
  void MoveProductNameToFront();
  BOOL FindServers();

  Selection selection_;
};

class CSiblingPrinterList : public CPrinterList {
 public:
  using CPrinterList::CPrinterList;
  BOOL LoadPrinters() override;
};

}  // namespace kv
