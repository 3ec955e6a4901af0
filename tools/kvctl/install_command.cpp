#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr WCHAR kDriverOption[] = TEXT("--driver");
constexpr WCHAR kPrinterOption[] = TEXT("--printer");
constexpr Option kOptions[] = {{kDriverOption, true}, {kPrinterOption, true}};

ExitStatus StatusOf(DWORD error) {
  return error == ERROR_ACCESS_DENIED ? kNeedsRights : kFailed;
}

// Puts a file of the product from the program's directory into the system directory.
ExitStatus CopyToSystem(LPCWSTR name) {
  WCHAR source[MAX_PATH], target[MAX_PATH];
  kv::PathBesideModule(GetModuleHandleW(nullptr), name, source);
  kv::GetSystemFilePath(name, target);
  if (CopyFileW(source, target, FALSE)) return kDone;
  const DWORD error = GetLastError();
  PrintSystemError(Text(IDS_CTL_CANNOT_COPY, source, target), error);
  return StatusOf(error);
}

ExitStatus AddProductMonitor() {
  MONITOR_INFO_2W monitor = {};
  monitor.pName = kv::startupContext.portName;
  monitor.pEnvironment = const_cast<LPWSTR>(kv::startupContext.printEnvironment);
  monitor.pDLLName = const_cast<LPWSTR>(kv::startupContext.monitorFile);
  if (AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&monitor))) return kDone;
  const DWORD error = GetLastError();
  if (error == ERROR_PRINT_MONITOR_ALREADY_INSTALLED || error == ERROR_ALREADY_EXISTS) return kDone;
  PrintSystemError(Text(IDS_CTL_CANNOT_ADD_MONITOR, kv::startupContext.portName), error);
  return StatusOf(error);
}

ExitStatus AddPrinterOnPort(WideString name, WideString driver) {
  WCHAR processor[] = TEXT("winprint"), dataType[] = TEXT("RAW");
  PRINTER_INFO_2W printer = {};
  printer.pPrinterName = name.data();
  printer.pPortName = kv::startupContext.portName;
  printer.pDriverName = driver.data();
  printer.pPrintProcessor = processor;
  printer.pDatatype = dataType;
  const kv::UniquePrinter added(AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&printer)));
  if (added) return kDone;
  const DWORD error = GetLastError();
  if (error == ERROR_PRINTER_ALREADY_EXISTS) return kDone;
  if (error == ERROR_UNKNOWN_PRINTER_DRIVER) {
    PrintError(Text(IDS_CTL_DRIVER_MISSING, driver.c_str()));
    return kFailed;
  }
  PrintSystemError(Text(IDS_CTL_CANNOT_ADD_PRINTER, name.c_str()), error);
  return StatusOf(error);
}

ExitStatus Install(const Arguments& arguments) {
  for (const LPCWSTR file : {kv::startupContext.monitorFile, kv::kResourceDllName}) {
    if (const ExitStatus status = CopyToSystem(file)) return status;
  }
  if (const ExitStatus status = AddProductMonitor()) return status;
  const WideString name = arguments.Value(kPrinterOption, kv::startupContext.productName);
  const WideString driver = arguments.Value(kDriverOption, kv::startupContext.productNameVersion);
  if (const ExitStatus status = AddPrinterOnPort(name, driver)) return status;
  PrintLine(Text(IDS_CTL_INSTALLED, name.c_str(), kv::startupContext.portName, driver.c_str()));
  return kDone;
}

}  // namespace

const Command kInstallCommand = {
    TEXT("install"), IDS_CTL_INSTALL_SUMMARY, IDS_CTL_INSTALL_USAGE, kOptions, 0, 0, Install};

}  // namespace kvctl
