// Single facts about printers by name. Texts are MAX_PATH characters long, cut to fit, and empty
// after a failure. The printer's name may be one of the outputs.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// The names of a printer's driver, port and share, and the title (without folder and extension) of
// its driver's file; each may be null. FALSE, with the last error, when the printer cannot be
// opened (ERROR_INVALID_PRINTER_NAME for no name, which would stand for the spooler itself) or one
// of the two questions that are asked of the spooler fails; of these only the failed PRINTER_INFO_2
// is reported, and the answer to the other one is still given.
BOOL GetPrinterDetails(LPCWSTR printer, LPWSTR driver, LPWSTR port, LPWSTR share,
                       LPWSTR driverFileTitle);
BOOL GetPrinterDriverName(LPCWSTR printer, LPWSTR driver);
BOOL GetPrinterPortName(LPCWSTR printer, LPWSTR port);
BOOL GetPrinterDriverFileTitle(LPCWSTR printer, LPWSTR title);

// The share name in `output` of `capacity` characters (cut to fit). On the NT family what the
// machine remembers of a printer on another server comes before what the spooler says. TRUE, with
// an empty output, when it is not shared; FALSE, with an empty output, as GetPrinterDetails.
BOOL GetPrinterShareName(LPCWSTR printer, LPWSTR output, int capacity);
// The first character of the share name: 0 when the printer is not shared or cannot be asked.
WCHAR IsPrinterShared(LPCWSTR printer);
// Shares a local printer under that name, or ends its sharing (null or empty). Nothing is written
// when it is not shared and shall not be. FALSE, with the spooler's last error and without a
// report, when the printer cannot be opened with all rights or the spooler refuses.
BOOL SetPrinterShareName(LPCWSTR printer, LPCWSTR share);

// The name of the printer that `server` (without backslashes) shares as `share`, in `output` of
// `capacity` characters (cut to fit, and to 259): asked of the server's spooler, then of the
// network. FALSE, with an empty output, when it is not found; the network is not asked when the
// spooler has nothing to say, and nobody for an empty name or a server's of more than 257
// characters (ERROR_INVALID_PARAMETER). `server` and `share` may lie in `output`.
BOOL FindSharedPrinterName(LPCWSTR server, LPCWSTR share, LPWSTR output, int capacity);

// Whether the driver of a device prints on both sides.
BOOL DeviceSupportsDuplex(LPCWSTR device);
// The port text of a device in the profile's device list: what stands behind the first comma,
// within the first 299 characters. Null when the device is null, not listed or has no comma there,
// and when memory runs out.
std::unique_ptr<WCHAR[]> GetDevicePort(LPCWSTR device);

}  // namespace kv
