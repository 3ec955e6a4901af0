#include "runtime/printing/printer_handle.h"

namespace kv {

BOOL OpenPrinterHandle(LPCWSTR name, HANDLE* printer, PRINTER_DEFAULTSW* defaults, BOOL,
                       BOOL* outFlag) {
  if (outFlag != nullptr) *outFlag = FALSE;
  if (OpenPrinterW(const_cast<LPWSTR>(name), printer, defaults)) return TRUE;
  *printer = nullptr;
  return FALSE;
}

}  // namespace kv
