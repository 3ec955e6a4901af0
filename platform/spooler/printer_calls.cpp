// Printers: adding, opening, describing and deleting them.
#include <windows.h>

#include <algorithm>

#include "platform/kernel/api_call.h"
#include "platform/security/rights.h"
#include "platform/spooler/default_devmode.h"
#include "platform/spooler/level_packing.h"
#include "platform/spooler/print_records.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

using Printer = PrinterRecord;

constexpr size_t kLongestPrinterName = 220;

constexpr auto kServer = LevelField<Printer>::OrNull(&Printer::server);
constexpr LevelField<Printer> kPrinter1[] = {&Printer::flags, &Printer::description, &Printer::name,
                                             &Printer::comment};
constexpr LevelField<Printer> kPrinter2[] = {
    kServer,
    &Printer::name,
    &Printer::share,
    &Printer::port,
    &Printer::driver,
    &Printer::comment,
    &Printer::location,
    &Printer::devmode,
    &Printer::separator_file,
    &Printer::processor,
    &Printer::datatype,
    &Printer::parameters,
    &Printer::security,
    &Printer::attributes,
    &Printer::priority,
    &Printer::default_priority,
    &Printer::start_time,
    &Printer::until_time,
    &Printer::status,
    &Printer::jobs,
    &Printer::average_ppm,
};
constexpr LevelField<Printer> kPrinter4[] = {&Printer::name, kServer, &Printer::attributes};
constexpr LevelField<Printer> kPrinter5[] = {&Printer::name, &Printer::port, &Printer::attributes,
                                             &Printer::not_selected_timeout,
                                             &Printer::retry_timeout};
constexpr Level<Printer> kLevels[] = {
    {1, kPrinter1}, {2, kPrinter2}, {4, kPrinter4}, {5, kPrinter5}};

std::optional<Printer> DescribePrinter(WideView name) {
  auto printer = ReadPrinter(name);
  if (!printer) return printer;
  if (printer->devmode.empty()) printer->devmode = DefaultDevMode(printer->name);
  printer->jobs = static_cast<DWORD>(Spooler::Current().state().Jobs(printer->name).size());
  return printer;
}

bool IsPrinterName(WideView name) {
  return !name.empty() && name.size() <= kLongestPrinterName &&
         name.find_first_of(TEXT("\\,!")) == WideView::npos;
}

bool PortsExist(WideView ports) {
  while (!ports.empty()) {
    const size_t end = std::min(ports.find(TEXT(',')), ports.size());
    if (Spooler::Current().MonitorOfPort(ports.substr(0, end)) == nullptr) return false;
    ports.remove_prefix(std::min(end + 1, ports.size()));
  }
  return true;
}

Printer PrinterFrom(const PRINTER_INFO_2W& info) {
  Printer printer;
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
  if (info.pDevMode != nullptr) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(info.pDevMode);
    printer.devmode.assign(bytes, bytes + info.pDevMode->dmSize + info.pDevMode->dmDriverExtra);
  }
  return printer;
}

// Why the printer cannot be added, or 0.
DWORD RefusalOf(const Printer& printer) {
  if (!IsPrinterName(printer.name)) return ERROR_INVALID_PRINTER_NAME;
  if (ReadPrinter(printer.name)) return ERROR_PRINTER_ALREADY_EXISTS;
  if (!ReadDriver(NativeEnvironment(), printer.driver)) return ERROR_UNKNOWN_PRINTER_DRIVER;
  if (printer.port.empty() || !PortsExist(printer.port)) return ERROR_UNKNOWN_PORT;
  if (!HasPrintProcessor(printer.processor)) return ERROR_UNKNOWN_PRINTPROCESSOR;
  if (!printer.datatype.empty() && !IsDatatype(printer.datatype)) return ERROR_INVALID_DATATYPE;
  return 0;
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

BOOL OpenLocalPrinter(WideView name, const PRINTER_DEFAULTSW& defaults, LPHANDLE handle) {
  const auto printer = ReadPrinter(name);
  if (!printer) return FailSpooler(ERROR_INVALID_PRINTER_NAME);
  const ACCESS_MASK allowed = CallerIsElevatedAdministrator() ? PRINTER_ALL_ACCESS : PRINTER_READ;
  const ACCESS_MASK access = ResolveAccess(defaults.DesiredAccess, allowed);
  if ((access & ~allowed) != 0) return FailSpooler(ERROR_ACCESS_DENIED);
  const WideView datatype = View(defaults.pDatatype);
  if (!datatype.empty() && !IsDatatype(datatype)) return FailSpooler(ERROR_INVALID_DATATYPE);
  *handle = OpenPrinterHandle(
      {printer->name, access, WideString(datatype.empty() ? printer->datatype : datatype), {}});
  return TRUE;
}

std::vector<Printer> ListPrinters(DWORD flags) {
  std::vector<Printer> printers;
  if ((flags & (PRINTER_ENUM_LOCAL | PRINTER_ENUM_NAME)) == 0) return printers;
  for (const Printer& printer : ReadPrinters()) {
    const bool shared = (printer.attributes & PRINTER_ATTRIBUTE_SHARED) != 0;
    if ((flags & PRINTER_ENUM_SHARED) != 0 && !shared) continue;
    if (auto described = DescribePrinter(printer.name)) printers.push_back(std::move(*described));
  }
  return printers;
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
  const DWORD refusal = RefusalOf(printer);
  if (refusal != 0 || !WritePrinter(printer)) {
    SetLastError(refusal != 0 ? refusal : ERROR_CANTWRITE);
    return nullptr;
  }
  return OpenPrinterHandle({printer.name, PRINTER_ALL_ACCESS, printer.datatype, {}});
}

BOOL WINAPI DeletePrinter(HANDLE printer) {
  KV_API(DeletePrinter, ERROR_ACCESS_DENIED, FALSE, printer);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr || !RequireLocalSpooler(nullptr)) return FALSE;
  if ((open->access & DELETE) == 0) return FailSpooler(ERROR_ACCESS_DENIED);
  if (!Spooler::Current().state().Jobs(open->name).empty()) {
    return FailSpooler(ERROR_PRINTER_HAS_JOBS_QUEUED);
  }
  return RemovePrinter(open->name) ? TRUE : FailSpooler(ERROR_PRINTER_DELETED);
}

BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults) {
  KV_API(OpenPrinterW, ERROR_INVALID_PRINTER_NAME, FALSE, name, printer, defaults);
  if (printer == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  if (name == nullptr) return FailSpooler(ERROR_CALL_NOT_IMPLEMENTED);
  if (!RequireLocalSpooler(nullptr)) return FALSE;
  return OpenLocalPrinter(WithoutOwnServer(name),
                          defaults == nullptr ? PRINTER_DEFAULTSW{} : *defaults, printer);
}

BOOL WINAPI ClosePrinter(HANDLE printer) {
  KV_API_NOFAIL(ClosePrinter, FALSE, printer);
  const auto closed = ClosePrinterHandle(printer);
  if (closed == nullptr) return FALSE;
  if (closed->job != nullptr) closed->job->End();
  return TRUE;
}

BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  KV_API(GetPrinterW, ERROR_INVALID_HANDLE, FALSE, printer, level, buffer, size, needed);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr) return FALSE;
  const auto fields = FieldsOfLevel<Printer>(kLevels, level);
  if (fields.empty() || !RequireLocalSpooler(nullptr)) return FALSE;
  const auto described = DescribePrinter(open->name);
  if (!described) return FailSpooler(ERROR_PRINTER_DELETED);
  return PackLevel<Printer>(fields, {*described}, buffer, size, needed);
}

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size,
                          LPDWORD needed, LPDWORD returned) {
  KV_API(EnumPrintersW, RPC_S_SERVER_UNAVAILABLE, FALSE, flags, name, level, buffer, size, needed,
         returned);
  constexpr DWORD kKnown =
      PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS | PRINTER_ENUM_NAME | PRINTER_ENUM_SHARED;
  if ((flags & ~kKnown) != 0) return FailSpooler(ERROR_CALL_NOT_IMPLEMENTED);
  const auto fields = FieldsOfLevel<Printer>(kLevels, level);
  if (fields.empty()) return FALSE;
  if (!RequireLocalSpooler((flags & PRINTER_ENUM_NAME) != 0 ? name : nullptr)) return FALSE;
  return PackLevel(fields, ListPrinters(flags), buffer, size, needed, returned);
}
