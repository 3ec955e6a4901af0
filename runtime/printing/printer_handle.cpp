#include "runtime/printing/printer_handle.h"

namespace kv {

BOOL OpenPrinterHandle(LPCWSTR name, HANDLE* printer, PRINTER_DEFAULTSW* defaults, BOOL,
                       BOOL* outFlag) {
  if (outFlag != nullptr) *outFlag = FALSE;
  return OpenPrinterW(const_cast<LPWSTR>(name), printer, defaults);
}

}  // namespace kv
