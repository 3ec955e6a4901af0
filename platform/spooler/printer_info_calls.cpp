// Describing, listing and changing printers.
#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/spooler/print_records.h"
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

std::vector<Printer> Described(const std::vector<WideString>& names) {
  std::vector<Printer> printers;
  for (const WideString& name : names) {
    if (auto printer = DescribePrinter(name)) printers.push_back(std::move(*printer));
  }
  return printers;
}

std::vector<Printer> ListLocalPrinters() {
  std::vector<WideString> names;
  for (const Printer& printer : ReadPrinters()) names.push_back(printer.name);
  return Described(names);
}

std::vector<Printer> ListRemotePrinters(WideView server) {
  std::vector<WideString> names;
  for (const Printer& printer : RemotePrinters(server)) names.push_back(printer.name);
  return Described(names);
}

std::vector<Printer> ListPrinters(DWORD flags, WideView server) {
  std::vector<Printer> printers;
  if ((flags & PRINTER_ENUM_NAME) != 0 && HasServer(server)) {
    printers = ListRemotePrinters(server);
  } else if ((flags & (PRINTER_ENUM_LOCAL | PRINTER_ENUM_NAME)) != 0) {
    printers = ListLocalPrinters();
  }
  if ((flags & PRINTER_ENUM_CONNECTIONS) != 0) {
    for (Printer& printer : Described(ReadConnections())) printers.push_back(std::move(printer));
  }
  if ((flags & PRINTER_ENUM_SHARED) != 0) {
    std::erase_if(printers,
                  [](const Printer& p) { return (p.attributes & PRINTER_ATTRIBUTE_SHARED) == 0; });
  }
  return printers;
}

// The description that both forms of GetPrinter pack; nothing with the last error set.
std::optional<Printer> PrinterToPack(HANDLE handle, PrinterFields fields) {
  const auto open = PrinterOfHandle(handle);
  if (open == nullptr || fields.empty() || !RequireLocalSpooler(nullptr)) return std::nullopt;
  auto described = DescribePrinter(open->name);
  if (!described) SetLastError(ERROR_PRINTER_DELETED);
  return described;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  KV_API(GetPrinterW, ERROR_INVALID_HANDLE, FALSE, printer, level, buffer, size, needed);
  const PrinterFields fields = PrinterFieldsOf(level);
  const auto described = PrinterToPack(printer, fields);
  return described ? PackLevel<Printer>(fields, {*described}, buffer, size, needed) : FALSE;
}

BOOL WINAPI GetPrinterA(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  KV_API(GetPrinterA, ERROR_INVALID_HANDLE, FALSE, printer, level, buffer, size, needed);
  const PrinterFields fields = PrinterFieldsOf(level);
  const auto described = PrinterToPack(printer, fields);
  return described ? PackLevel<Printer>(fields, {WithNarrowDevModes(*described)}, buffer, size,
                                        needed, TextForm::kNarrow)
                   : FALSE;
}

BOOL WINAPI SetPrinterW(HANDLE printer, DWORD level, LPBYTE info, DWORD command) {
  KV_API(SetPrinterW, ERROR_ACCESS_DENIED, FALSE, printer, level, info, command);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr || !RequireLocalSpooler(nullptr)) return FALSE;
  if (command == PRINTER_CONTROL_PURGE && level == 0) {
    if ((open->access & PRINTER_ACCESS_ADMINISTER) == 0) return FailSpooler(ERROR_ACCESS_DENIED);
    Spooler::Current().state().RemoveJobs(open->name);
    return TRUE;
  }
  if (command != 0) return FailSpooler(ERROR_CALL_NOT_IMPLEMENTED);
  if (PrinterFieldsOf(level).empty()) return FALSE;
  if (info == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  const DWORD error = ChangePrinter(*open, level, info);
  return error == ERROR_SUCCESS ? TRUE : FailSpooler(error);
}

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size,
                          LPDWORD needed, LPDWORD returned) {
  KV_API(EnumPrintersW, RPC_S_SERVER_UNAVAILABLE, FALSE, flags, name, level, buffer, size, needed,
         returned);
  constexpr DWORD kKnown =
      PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS | PRINTER_ENUM_NAME | PRINTER_ENUM_SHARED;
  if ((flags & ~kKnown) != 0) return FailSpooler(ERROR_CALL_NOT_IMPLEMENTED);
  const PrinterFields fields = PrinterFieldsOf(level);
  if (fields.empty()) return FALSE;
  const WideView server = (flags & PRINTER_ENUM_NAME) != 0 ? ServerOf(View(name)) : WideView();
  const bool is_remote = HasServer(server);
  if (!RequireLocalSpooler(is_remote || (flags & PRINTER_ENUM_NAME) == 0 ? nullptr : name)) {
    return FALSE;
  }
  return PackLevel(fields, ListPrinters(flags, server), buffer, size, needed, returned);
}
