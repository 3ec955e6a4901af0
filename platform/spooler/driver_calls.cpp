// Printer drivers.
#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/path.h"
#include "platform/kernel/split.h"
#include "platform/spooler/level_packing.h"
#include "platform/spooler/print_records.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/printer_levels.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

using Driver = DriverRecord;

constexpr LevelField<Driver> kDriver2[] = {&Driver::version,     &Driver::name,
                                           &Driver::environment, &Driver::driver_path,
                                           &Driver::data_file,   &Driver::config_file};
constexpr LevelField<Driver> kDriver3[] = {&Driver::version,
                                           &Driver::name,
                                           &Driver::environment,
                                           &Driver::driver_path,
                                           &Driver::data_file,
                                           &Driver::config_file,
                                           LevelField<Driver>::OrNull(&Driver::help_file),
                                           &Driver::dependent_files,
                                           LevelField<Driver>::OrNull(&Driver::monitor),
                                           LevelField<Driver>::OrNull(&Driver::datatype)};
constexpr Level<Driver> kLevels[] = {{2, kDriver2}, {3, kDriver3}};

struct DirectoryRecord {
  WideString path;
};

Driver DriverFrom(DWORD level, const DRIVER_INFO_3W& info) {
  Driver driver;
  driver.version = info.cVersion;
  driver.name = View(info.pName);
  driver.environment = FindEnvironment(info.pEnvironment);
  driver.driver_path = View(info.pDriverPath);
  driver.data_file = View(info.pDataFile);
  driver.config_file = View(info.pConfigFile);
  if (level == 3) {
    driver.help_file = View(info.pHelpFile);
    driver.dependent_files = SplitTexts(info.pDependentFiles);
    driver.monitor = View(info.pMonitorName);
    driver.datatype = View(info.pDefaultDataType);
  }
  return driver;
}

std::vector<WideString> FilesOf(const Driver& driver) {
  std::vector<WideString> files = {driver.driver_path, driver.data_file, driver.config_file};
  if (!driver.help_file.empty()) files.push_back(driver.help_file);
  files.insert(files.end(), driver.dependent_files.begin(), driver.dependent_files.end());
  return files;
}

// Drivers are put into the environment's directory; installing them moves them into the directory
// of their version. False, with ERROR_FILE_NOT_FOUND, when a file is in neither.
bool TakeDriverFile(const Driver& driver, const WideString& file) {
  const WideString directory = DriverDirectory(driver.environment);
  const WideString name(BaseName(file));
  const std::filesystem::path source = HostPath(directory + TEXT('\\') + name);
  const WideString folder = directory + TEXT('\\') + static_cast<WCHAR>(TEXT('0') + driver.version);
  std::error_code error;
  std::filesystem::create_directories(HostPath(folder), error);
  const std::filesystem::path target = HostPath(folder + TEXT('\\') + name);
  if (std::filesystem::is_regular_file(source, error)) {
    std::filesystem::rename(source, target, error);
  }
  if (std::filesystem::is_regular_file(target, error)) return true;
  SetLastError(ERROR_FILE_NOT_FOUND);
  return false;
}

BOOL InstallDriver(const Driver& driver) {
  if (driver.name.empty() || driver.driver_path.empty() || driver.data_file.empty() ||
      driver.config_file.empty() || driver.version != DriverVersion()) {
    return FailSpooler(ERROR_INVALID_PARAMETER);
  }
  if (driver.environment.empty()) return FailSpooler(ERROR_INVALID_ENVIRONMENT);
  for (const WideString& file : FilesOf(driver)) {
    if (!TakeDriverFile(driver, file)) return FALSE;
  }
  return WriteDriver(driver) ? TRUE : FailSpooler(ERROR_CANTWRITE);
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI AddPrinterDriverW(LPWSTR server, DWORD level, LPBYTE info) {
  KV_API(AddPrinterDriverW, ERROR_ACCESS_DENIED, FALSE, server, level, info);
  if (level != 2 && level != 3) return FailSpooler(ERROR_INVALID_LEVEL);
  if (info == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  if (!RequireSpoolerAdministrator(server)) return FALSE;
  return InstallDriver(DriverFrom(level, *reinterpret_cast<const DRIVER_INFO_3W*>(info)));
}

BOOL WINAPI EnumPrinterDriversW(LPWSTR server, LPWSTR environment, DWORD level, LPBYTE buffer,
                                DWORD size, LPDWORD needed, LPDWORD returned) {
  KV_API(EnumPrinterDriversW, RPC_S_SERVER_UNAVAILABLE, FALSE, server, environment, level, buffer,
         size, needed, returned);
  const auto fields = FieldsOfLevel<Driver>(kLevels, level);
  if (fields.empty() || !RequireLocalSpooler(server)) return FALSE;
  const WideString known = FindEnvironment(environment);
  if (known.empty()) return FailSpooler(ERROR_INVALID_ENVIRONMENT);
  return PackLevel(fields, ReadDrivers(known), buffer, size, needed, returned);
}

BOOL WINAPI GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer,
                              DWORD size, LPDWORD needed) {
  KV_API(GetPrinterDriverW, ERROR_UNKNOWN_PRINTER_DRIVER, FALSE, printer, environment, level,
         buffer, size, needed);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr) return FALSE;
  const auto fields = FieldsOfLevel<Driver>(kLevels, level);
  if (fields.empty() || !RequireLocalSpooler(nullptr)) return FALSE;
  const WideString known = FindEnvironment(environment);
  if (known.empty()) return FailSpooler(ERROR_INVALID_ENVIRONMENT);
  const auto record = FindPrinter(open->name);
  if (!record) return FailSpooler(ERROR_PRINTER_DELETED);
  const auto driver = ReadDriver(known, record->driver);
  if (!driver) return FailSpooler(ERROR_UNKNOWN_PRINTER_DRIVER);
  return PackLevel<Driver>(fields, {*driver}, buffer, size, needed);
}

BOOL WINAPI GetPrinterDriverDirectoryW(LPWSTR server, LPWSTR environment, DWORD level,
                                       LPBYTE buffer, DWORD size, LPDWORD needed) {
  KV_API(GetPrinterDriverDirectoryW, RPC_S_SERVER_UNAVAILABLE, FALSE, server, environment, level,
         buffer, size, needed);
  if (level != 1) return FailSpooler(ERROR_INVALID_LEVEL);
  if (!RequireLocalSpooler(server)) return FALSE;
  const WideString known = FindEnvironment(environment);
  if (known.empty()) return FailSpooler(ERROR_INVALID_ENVIRONMENT);
  if (needed == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  const WideString path = DriverDirectory(known);
  *needed = static_cast<DWORD>((path.size() + 1) * sizeof(WCHAR));
  if (buffer == nullptr || size < *needed) return FailSpooler(ERROR_INSUFFICIENT_BUFFER);
  std::copy_n(path.c_str(), path.size() + 1, reinterpret_cast<LPWSTR>(buffer));
  return TRUE;
}
