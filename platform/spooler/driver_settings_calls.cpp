// What printers' drivers say about settings.
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/spooler/host_driver.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/printer_levels.h"
#include "platform/spooler/printer_settings.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

constexpr size_t kBinNameCapacity = 24;  // characters

LONG FailDriver(DWORD error) {
  SetLastError(error);
  return -1;
}

// Whether the user keeps the settings.
bool Confirm(HWND owner, const PrinterRecord& printer) {
  return MessageBoxW(owner, (printer.name + TEXT(" Properties")).c_str(), TEXT("Print"),
                     MB_OKCANCEL) == IDOK;
}

int CopyBins(const HostDriver& driver, WORD* ids) {
  const std::vector<HostDriver::Bin> bins = driver.Bins();
  for (size_t i = 0; ids != nullptr && i < bins.size(); ++i) ids[i] = bins[i].id;
  return static_cast<int>(bins.size());
}

int CopyBinNames(const HostDriver& driver, WCHAR* names) {
  const std::vector<HostDriver::Bin> bins = driver.Bins();
  for (size_t i = 0; names != nullptr && i < bins.size(); ++i) {
    WCHAR* const name = names + i * kBinNameCapacity;
    std::fill(name, name + kBinNameCapacity, WCHAR{0});
    bins[i].name.copy(name, kBinNameCapacity);
  }
  return static_cast<int>(bins.size());
}

}  // namespace
}  // namespace platform

using namespace platform;

LONG WINAPI DocumentPropertiesW(HWND owner, HANDLE printer, LPWSTR device, PDEVMODEW out,
                                PDEVMODEW in, DWORD mode) {
  KV_API(DocumentPropertiesW, ERROR_INVALID_HANDLE, -1, owner, printer, device, out, in, mode);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr || !RequireLocalSpooler(nullptr)) return -1;
  if ((mode & ~DWORD{DM_IN_BUFFER | DM_IN_PROMPT | DM_OUT_BUFFER}) != 0) {
    return FailDriver(ERROR_CALL_NOT_IMPLEMENTED);
  }
  const auto described = DescribePrinter(open->name);
  if (!described) return FailDriver(ERROR_PRINTER_DELETED);
  Bytes settings = SettingsInForce(*described);
  if (mode == 0) return static_cast<LONG>(settings.size());
  if ((mode & DM_IN_BUFFER) != 0 && in != nullptr) {
    HostDriver(described->driver).Merge(settings, *in);
  }
  if ((mode & DM_IN_PROMPT) != 0 && !Confirm(owner, *described)) return IDCANCEL;
  if ((mode & DM_OUT_BUFFER) != 0) {
    if (out == nullptr) return FailDriver(ERROR_INVALID_PARAMETER);
    std::memcpy(static_cast<void*>(out), settings.data(), settings.size());
  }
  return IDOK;
}

int WINAPI DeviceCapabilitiesW(LPCWSTR device, LPCWSTR port, WORD capability, LPWSTR out,
                               const DEVMODEW* mode) {
  KV_API(DeviceCapabilitiesW, ERROR_INVALID_PRINTER_NAME, -1, device, port, capability, out, mode);
  if (!RequireLocalSpooler(nullptr)) return -1;
  const auto printer = FindPrinter(WithoutOwnServer(View(device)));
  if (!printer) return FailDriver(ERROR_INVALID_PRINTER_NAME);
  const HostDriver driver(printer->driver);
  switch (capability) {
    case DC_FIELDS:
      return static_cast<int>(driver.Fields());
    case DC_BINS:
      return CopyBins(driver, reinterpret_cast<WORD*>(out));
    case DC_BINNAMES:
      return CopyBinNames(driver, out);
    case DC_DUPLEX:
      return driver.Number("duplex", 0);
    case DC_COPIES:
      return driver.Number("copies", 1);
    case DC_DRIVER:
      return driver.Number("version", 0x0600);
    case DC_TRUETYPE:
      return driver.Number("truetype", 0);
    default:
      return FailDriver(ERROR_CALL_NOT_IMPLEMENTED);
  }
}
