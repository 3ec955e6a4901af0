// Printers: adding, opening and deleting them.
#include <windows.h>

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/security/rights.h"
#include "platform/spooler/printer_changes.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/printer_levels.h"
#include "platform/spooler/remote_printers.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"
#include "platform/spooler/user_printers.h"

namespace platform {
namespace {

using Printer = PrinterRecord;

constexpr size_t kLongestPrinterName = 220;

bool IsPrinterName(WideView name) {
  return !name.empty() && name.size() <= kLongestPrinterName &&
         name.find_first_of(TEXT("\\,!")) == WideView::npos;
}

// Why the printer cannot be added, or 0.
DWORD RefusalToAdd(const Printer& printer) {
  if (!IsPrinterName(printer.name)) return ERROR_INVALID_PRINTER_NAME;
  if (ReadPrinter(printer.name)) return ERROR_PRINTER_ALREADY_EXISTS;
  return RefusalOf(printer);
}

// The rights asked for, generic ones resolved; using the printer when nothing is asked.
ACCESS_MASK ResolveAccess(ACCESS_MASK asked, ACCESS_MASK allowed) {
  ACCESS_MASK access =
      asked & ~(GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL | MAXIMUM_ALLOWED);
  if ((asked & GENERIC_READ) != 0) access |= PRINTER_READ;
  if ((asked & GENERIC_WRITE) != 0) access |= PRINTER_WRITE;
  if ((asked & GENERIC_EXECUTE) != 0) access |= PRINTER_EXECUTE;
  if ((asked & GENERIC_ALL) != 0) access |= PRINTER_ALL_ACCESS;
  if ((asked & MAXIMUM_ALLOWED) != 0) access |= allowed;
  return asked == 0 ? PRINTER_READ : access;
}

BOOL OpenNamedPrinter(WideView name, const PRINTER_DEFAULTSW& defaults, LPHANDLE handle) {
  const auto printer = FindPrinter(name);
  if (!printer) return FailSpooler(ERROR_INVALID_PRINTER_NAME);
  const bool administers = printer->server.empty() && CallerIsElevatedAdministrator();
  const ACCESS_MASK allowed = administers ? PRINTER_ALL_ACCESS : PRINTER_READ;
  const ACCESS_MASK access = ResolveAccess(defaults.DesiredAccess, allowed);
  if ((access & ~allowed) != 0) return FailSpooler(ERROR_ACCESS_DENIED);
  const WideView datatype = View(defaults.pDatatype);
  if (!datatype.empty() && !IsDatatype(datatype)) return FailSpooler(ERROR_INVALID_DATATYPE);
  *handle = OpenPrinterHandle(
      {printer->name, access, WideString(datatype.empty() ? printer->datatype : datatype), {}});
  return TRUE;
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE WINAPI AddPrinterW(LPWSTR server, DWORD level, LPBYTE info) {
  KV_API(AddPrinterW, ERROR_ACCESS_DENIED, nullptr, server, level, info);
  if (level != 2 || info == nullptr) {
    SetLastError(level != 2 ? ERROR_INVALID_LEVEL : ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  if (!RequireSpoolerAdministrator(server)) return nullptr;
  const Printer printer = PrinterFrom(*reinterpret_cast<const PRINTER_INFO_2W*>(info));
  const DWORD refusal = RefusalToAdd(printer);
  if (refusal != 0 || !WritePrinter(printer)) {
    SetLastError(refusal != 0 ? refusal : ERROR_CANTWRITE);
    return nullptr;
  }
  AddDeviceEntry(printer.name, printer.port);
  return OpenPrinterHandle({printer.name, PRINTER_ALL_ACCESS, printer.datatype, {}});
}

BOOL WINAPI AddPrinterConnectionW(LPWSTR name) {
  KV_API(AddPrinterConnectionW, ERROR_INVALID_PRINTER_NAME, FALSE, name);
  if (!RequireLocalSpooler(nullptr)) return FALSE;
  const auto printer = RemotePrinter(View(name));
  if (!printer) return FailSpooler(ERROR_INVALID_PRINTER_NAME);
  if (!WriteConnection(printer->name)) return FailSpooler(ERROR_CANTWRITE);
  AddDeviceEntry(printer->name, printer->port);
  return TRUE;
}

BOOL WINAPI DeletePrinter(HANDLE printer) {
  KV_API(DeletePrinter, ERROR_ACCESS_DENIED, FALSE, printer);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr || !RequireLocalSpooler(nullptr)) return FALSE;
  if ((open->access & DELETE) == 0) return FailSpooler(ERROR_ACCESS_DENIED);
  if (!Spooler::Current().state().Jobs(open->name).empty()) {
    return FailSpooler(ERROR_PRINTER_HAS_JOBS_QUEUED);
  }
  if (!RemovePrinter(open->name)) return FailSpooler(ERROR_PRINTER_DELETED);
  RemoveDeviceEntry(open->name);
  return TRUE;
}

BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults) {
  KV_API(OpenPrinterW, ERROR_INVALID_PRINTER_NAME, FALSE, name, printer, defaults);
  if (printer == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  if (name == nullptr) return FailSpooler(ERROR_CALL_NOT_IMPLEMENTED);
  if (!RequireLocalSpooler(nullptr)) return FALSE;
  return OpenNamedPrinter(WithoutOwnServer(name),
                          defaults == nullptr ? PRINTER_DEFAULTSW{} : *defaults, printer);
}

BOOL WINAPI ClosePrinter(HANDLE printer) {
  KV_API_NOFAIL(ClosePrinter, FALSE, printer);
  const auto closed = ClosePrinterHandle(printer);
  if (closed == nullptr) return FALSE;
  if (closed->job != nullptr) closed->job->End();
  return TRUE;
}
