// What a destination printer cannot print on, as margins of a product printer.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Measures the page of the printer `device` under `devMode` (null: its own settings) and stores its
// vertical resolution and the four margins, in thousandths of an inch, as the calling user's
// settings of the product printer; the printer is then marked for publishing. Nothing is written
// when they are stored already, for an empty name, for a page without any extent or resolution, and
// for margins that 16 bits do not hold (32.767 inches). TRUE when the device could be measured;
// FALSE, with the last error that making the CPrinterDevice left, when it cannot be opened or
// refuses `devMode`. Registry failures are silent.
BOOL StoreDeviceMargins(LPCWSTR productPrinter, LPCWSTR device, const DEVMODEW* devMode);

}  // namespace kv
