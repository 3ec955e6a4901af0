// The printers as EnumPrintersW lists them.
#pragma once

#include <memory>

#include "runtime/printing/printer_source.h"

namespace kv {

class SpoolerPrinters : public PrinterSource {
 public:
  virtual ~SpoolerPrinters() = default;

  // Asks for the printers by `flags` and `name` (may be null), and for the files of their drivers;
  // those of printers that belong to a server named so are not looked up. FALSE, without a report,
  // when there are none, the spooler refuses or memory runs out.
  BOOL Load(DWORD flags, LPCWSTR name);

  DWORD Count() const override { return count_; }
  BOOL Read(DWORD index, PrinterTexts& texts) override;

 private:
  BOOL LoadTitles(DWORD flags);
  DWORD FindSameDriver(DWORD index) const;
  const PRINTER_INFO_2W* Records() const {
    return reinterpret_cast<const PRINTER_INFO_2W*>(records_.get());
  }

  std::unique_ptr<BYTE[]> records_;
  DWORD count_ = 0;
  struct Title {
    std::unique_ptr<WCHAR[]> own;
    LPCWSTR text;  // that one, or another printer's
  };
  std::unique_ptr<Title[]> titles_;
};

}  // namespace kv
