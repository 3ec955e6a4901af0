// Links to what only the shell knows.
#pragma once

#include <shtypes.h>

#include <string_view>

namespace platform {

// The item list of a printer in the Printers folder, as the shell would put it into a link; freed
// with CoTaskMemFree.
PIDLIST_ABSOLUTE PrinterItemList(std::basic_string_view<WCHAR> printer);

}  // namespace platform
