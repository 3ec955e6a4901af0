// Device contexts of printers: what is drawn goes nowhere, what they tell is the page's.
#pragma once

#include "platform/gdi/device_context.h"
#include "platform/spooler/host_driver.h"
#include "platform/spooler/print_records.h"

namespace platform {

class PrinterContext : public DeviceContext {
 public:
  // `printer` comes from DescribePrinter.
  PrinterContext(PrinterRecord printer, const DEVMODEW* mode);

  int Capability(int index) const override;
  // Lays the mode over the printer's own settings, as the driver reads it; null: these alone.
  void Follow(const DEVMODEW* mode);
  const HostDriver& driver() const { return driver_; }

 private:
  PrinterRecord printer_;
  HostDriver driver_;
  PageMetrics page_ = {};
};

}  // namespace platform
