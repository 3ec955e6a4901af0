#include "runtime/printing/printer_installation.h"

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_keys.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/text/format.h"

namespace kv {
namespace {

// Returns the spooler's error.
DWORD AddPrinterRecord(PRINTER_INFO_2W& info) {
  const CDefaultPrinterGuard guard;
  const UniquePrinter added(AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info)));
  return added ? ERROR_SUCCESS : GetLastError();
}

void ReportRefusal(LPCWSTR printer, DWORD error) {
  constexpr int kReasonCapacity = 512;
  WCHAR reason[kReasonCapacity];
  if (error == ERROR_ACCESS_DENIED) {
    WCHAR advice[kErrorTextCapacity];
    LoadResourceString(advice, kErrorTextCapacity, IDS_NEED_ADMINISTRATOR);
    FormatText(reason, TEXT(".\n\n%s"), static_cast<LPCWSTR>(advice));
  } else {
    GetErrorSuffix(error, reason, kReasonCapacity);
  }
  ShowError(IDS_PRINTER_NOT_CREATED, printer, reason);
}

}  // namespace

BOOL AddProductPrinter(LPCWSTR printer, LPCWSTR port, LPCWSTR driver) {
  if (!IsConnectionName(port) && !PortExists(port)) InstallPortMonitor();
  WCHAR processor[] = TEXT("winprint"), dataType[] = TEXT("RAW");
  PRINTER_INFO_2W info = {};
  info.pPrinterName = const_cast<LPWSTR>(printer);
  info.pDriverName =
      driver == nullptr ? startupContext.productNameVersion : const_cast<LPWSTR>(driver);
  info.pPrintProcessor = processor;
  info.pDatatype = dataType;
  info.pPortName = const_cast<LPWSTR>(port);
  const DWORD error = AddPrinterRecord(info);
  if (error == ERROR_SUCCESS || error == ERROR_PRINTER_ALREADY_EXISTS) return TRUE;
  ReportRefusal(printer, error);
  return FailWith(error);
}

BOOL CreateProductPrinter(LPCWSTR printer, LPCWSTR port, WORD paperId, LPCWSTR driver) {
  if (IsConnectionName(printer)) return AddPrinterConnectionW(const_cast<LPWSTR>(printer));
  if (MayHavePaperSize(printer)) paperId = 0;
  if (!AddProductPrinter(printer, port, driver)) return FALSE;
  if (paperId != 0) StorePaperSize(printer, paperId);
  return TRUE;
}

void StorePaperSize(LPCWSTR printer, WORD paperId) {
  ProductDevMode devMode;
  DefaultDevMode(printer, devMode);
  devMode.dev.dmFields = DM_PAPERSIZE;
  devMode.dev.dmPaperSize = static_cast<short>(paperId);
  devMode.settings.flags = 0;
  WriteUserPrinterSettings(printer, devMode);
}

}  // namespace kv
