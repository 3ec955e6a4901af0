// Telling the product's own graphics drivers from other drivers.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The version (DC_DRIVER) of the driver behind a printer, or 0 when that cannot be found out or is
// not a graphics driver of the product: those are called "kvgraph" or "kvgraph" with one more
// character and, from version 1024 on, answer the escape GETTECHNOLOGY with the product's name.
// Without a device context (null) one is made for the question. Nothing is reported.
DWORD GetProductGraphDriverVersion(LPCWSTR device, HDC dc);
// The same for the graphics drivers of the sibling family, called "kvpgraf" with one more
// character; all of them answer the escape.
DWORD GetSiblingGraphDriverVersion(LPCWSTR device, HDC dc);

}  // namespace kv
