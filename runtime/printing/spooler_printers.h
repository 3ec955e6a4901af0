// The printers as EnumPrintersW lists them.
#pragma once

#include <memory>

#include "runtime/printing/printer_source.h"
#include "runtime/printing/spooler_list.h"

namespace kv {

class SpoolerPrinters : public PrinterSource {
 public:
  virtual ~SpoolerPrinters() = default;

  // Asks for the printers by `flags` and `name` (may be null), and for the files of their drivers;
  // those of printers that belong to a server named so are not looked up. FALSE, without a report,
  // with the spooler's last error, ERROR_NO_MORE_ITEMS when there are none, or
  // ERROR_NOT_ENOUGH_MEMORY.
  BOOL Load(DWORD flags, LPCWSTR name);

  DWORD Count() const override { return records_.count(); }
  BOOL Read(DWORD index, PrinterTexts& texts) override;

 private:
  BOOL LoadTitles(DWORD flags);
  DWORD FindSameDriver(DWORD index) const;

  SpoolerList<PRINTER_INFO_2W> records_;
  struct Title {
    std::unique_ptr<WCHAR[]> own;
    LPCWSTR text;  // that one, or another printer's
  };
  std::unique_ptr<Title[]> titles_;
};

}  // namespace kv
