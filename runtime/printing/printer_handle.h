// Opening printers.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// OpenPrinterW for `name`; `defaults` may be null (default access). On success *printer is the
// caller's to close with ClosePrinter; on failure FALSE with OpenPrinterW's last error, and
// *printer is null. The flag is part of the library's interface and changes nothing; *outFlag, when
// given, is set to 0.
BOOL OpenPrinterHandle(LPCWSTR name, HANDLE* printer, PRINTER_DEFAULTSW* defaults,
                       BOOL flag = FALSE, BOOL* outFlag = nullptr);

}  // namespace kv
