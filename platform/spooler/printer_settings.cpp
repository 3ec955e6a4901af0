#include "platform/spooler/printer_settings.h"

#include "platform/spooler/host_driver.h"

namespace platform {

Bytes SettingsInForce(const PrinterRecord& printer) {
  const HostDriver driver(printer.driver);
  Bytes settings = driver.DefaultDevMode(printer.name);
  for (const Bytes* stored : {&printer.devmode, &printer.user_devmode}) {
    if (stored->size() < sizeof(DEVMODEW)) continue;
    const auto& mode = *reinterpret_cast<const DEVMODEW*>(stored->data());
    if (stored->size() == size_t{mode.dmSize} + mode.dmDriverExtra) driver.Merge(settings, mode);
  }
  return settings;
}

}  // namespace platform
