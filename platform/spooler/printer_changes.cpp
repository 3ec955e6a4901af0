#include "platform/spooler/printer_changes.h"

#include <algorithm>

#include "platform/spooler/remote_printers.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/user_printers.h"

namespace platform {
namespace {

bool PortsExist(const PrinterRecord& printer) {
  const std::vector<WideString> ports = PortsOf(printer);
  return !ports.empty() && std::all_of(ports.begin(), ports.end(), [](const WideString& port) {
    return Spooler::Current().MonitorOfPort(port) != nullptr;
  });
}

Bytes DevModeBytes(const DEVMODEW* mode) {
  if (mode == nullptr) return {};
  const auto* bytes = reinterpret_cast<const uint8_t*>(mode);
  return Bytes(bytes, bytes + mode->dmSize + mode->dmDriverExtra);
}

DWORD ChangeWhole(const PrinterRecord& old, const PRINTER_INFO_2W& info) {
  if (!EqualNoCase(View(info.pPrinterName), old.name)) return ERROR_CALL_NOT_IMPLEMENTED;
  PrinterRecord changed = PrinterFrom(info);
  changed.name = old.name;
  changed.security = old.security;
  changed.status = old.status;
  if (changed.devmode.empty()) changed.devmode = old.devmode;
  const bool shared = (changed.attributes & PRINTER_ATTRIBUTE_SHARED) != 0;
  if (shared && changed.share.empty()) return ERROR_INVALID_SHARENAME;
  const DWORD refusal = RefusalOf(changed);
  if (refusal != 0) return refusal;
  return WritePrinter(changed) ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

DWORD ChangeGlobalDevMode(PrinterRecord printer, const PRINTER_INFO_8W& info) {
  printer.devmode = DevModeBytes(info.pDevMode);
  return WritePrinter(printer) ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

}  // namespace

PrinterRecord PrinterFrom(const PRINTER_INFO_2W& info) {
  PrinterRecord printer;
  printer.name = View(info.pPrinterName);
  printer.share = View(info.pShareName);
  printer.port = View(info.pPortName);
  printer.driver = View(info.pDriverName);
  printer.comment = View(info.pComment);
  printer.location = View(info.pLocation);
  printer.separator_file = View(info.pSepFile);
  printer.processor = View(info.pPrintProcessor);
  printer.datatype = View(info.pDatatype);
  printer.parameters = View(info.pParameters);
  printer.attributes = info.Attributes | PRINTER_ATTRIBUTE_LOCAL;
  printer.priority = info.Priority == 0 ? 1 : info.Priority;
  printer.default_priority = info.DefaultPriority;
  printer.start_time = info.StartTime;
  printer.until_time = info.UntilTime;
  printer.not_selected_timeout = 15'000;
  printer.retry_timeout = 45'000;
  printer.devmode = DevModeBytes(info.pDevMode);
  return printer;
}

DWORD RefusalOf(const PrinterRecord& printer) {
  if (!ReadDriver(NativeEnvironment(), printer.driver)) return ERROR_UNKNOWN_PRINTER_DRIVER;
  if (!PortsExist(printer)) return ERROR_UNKNOWN_PORT;
  if (!HasPrintProcessor(printer.processor)) return ERROR_UNKNOWN_PRINTPROCESSOR;
  if (!printer.datatype.empty() && !IsDatatype(printer.datatype)) return ERROR_INVALID_DATATYPE;
  return 0;
}

DWORD ChangePrinter(const OpenPrinterState& open, DWORD level, const void* info) {
  if (level == 9) {
    if ((open.access & PRINTER_ACCESS_USE) == 0) return ERROR_ACCESS_DENIED;
    const Bytes mode = DevModeBytes(static_cast<const PRINTER_INFO_9W*>(info)->pDevMode);
    return WriteUserDevMode(open.name, mode) ? ERROR_SUCCESS : ERROR_CANTWRITE;
  }
  if (level != 2 && level != 8) return ERROR_CALL_NOT_IMPLEMENTED;
  if ((open.access & PRINTER_ACCESS_ADMINISTER) == 0) return ERROR_ACCESS_DENIED;
  const auto printer = ReadPrinter(open.name);
  if (!printer) return ERROR_PRINTER_DELETED;
  return level == 2 ? ChangeWhole(*printer, *static_cast<const PRINTER_INFO_2W*>(info))
                    : ChangeGlobalDevMode(*printer, *static_cast<const PRINTER_INFO_8W*>(info));
}

}  // namespace platform
