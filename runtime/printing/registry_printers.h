// The local printers and connections as the spooler of systems before Windows Vista keeps them in
// the registry: faster than asking the spooler for each.
#pragma once

#include "runtime/printing/print_servers_key.h"
#include "runtime/printing/printer_source.h"
#include "runtime/printing/spooler_list.h"

namespace kv {

class RegistryPrinters : public PrinterSource {
 public:
  RegistryPrinters() : servers_(KeyMode::kRead) {}
  virtual ~RegistryPrinters() = default;

  // Asks the spooler for the names and opens the keys. FALSE, without a report, when something is
  // missing, and from Windows Vista on.
  BOOL Load();

  DWORD Count() const override { return records_.count(); }
  BOOL Read(DWORD index, PrinterTexts& texts) override;

 private:
  BOOL LoadNames();
  BOOL OpenPrinter(const PRINTER_INFO_4W& printer, RegKey& key);
  BOOL ReadDriverTitle();

  SpoolerList<PRINTER_INFO_4W> records_;
  RegKey printers_;
  RegKey drivers2_;
  RegKey drivers3_;  // from Windows 2000 on
  CPrintServersKey servers_;
  // The texts that were read last.
  WCHAR driver_[MAX_PATH];
  WCHAR driverTitle_[MAX_PATH];
  WCHAR port_[MAX_PATH];
  WCHAR share_[MAX_PATH];
};

}  // namespace kv
