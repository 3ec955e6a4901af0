#include "runtime/printing/printer_details.h"

#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/print_servers_key.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/printing/printer_info.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kDeviceEntryCapacity = 300;  // characters

void CopyUnlessNull(LPWSTR output, LPCWSTR text) {
  if (output != nullptr && text != nullptr) CopyStringW(output, MAX_PATH, text);
}

BOOL ReadNames(HANDLE printer, LPWSTR driver, LPWSTR port, LPWSTR share) {
  const auto info = GetPrinterInfo2(printer, Quiet::kNo);
  if (info == nullptr) return FALSE;
  CopyUnlessNull(driver, info->pDriverName);
  CopyUnlessNull(port, info->pPortName);
  CopyUnlessNull(share, info->pShareName);
  return TRUE;
}

BOOL ReadDriverFileTitle(HANDLE printer, LPWSTR output) {
  const auto info = GetPrinterDriverInfo3(printer, GetNativePrintEnvironment(), Quiet::kYes);
  if (info == nullptr) return FALSE;
  WCHAR title[MAX_PATH];
  GetBaseName(info->pDriverPath, title);
  CopyStringW(output, MAX_PATH, title);
  return TRUE;
}

}  // namespace

BOOL GetPrinterDetails(LPCWSTR printer, LPWSTR driver, LPWSTR port, LPWSTR share,
                       LPWSTR driverFileTitle) {
  UniquePrinter handle;
  if (View(printer).empty()) {
    SetLastError(ERROR_INVALID_PRINTER_NAME);
  } else {
    OpenPrinterHandle(printer, handle.Receive(), nullptr);
  }
  for (const LPWSTR output : {driver, port, share, driverFileTitle}) {
    if (output != nullptr) output[0] = 0;
  }
  if (!handle) return FALSE;
  const bool asksNames = driver != nullptr || port != nullptr || share != nullptr;
  const BOOL named = !asksNames || ReadNames(handle.Get(), driver, port, share);
  const DWORD error = GetLastError();
  const BOOL titled =
      driverFileTitle == nullptr || ReadDriverFileTitle(handle.Get(), driverFileTitle);
  if (!named) SetLastError(error);
  return named && titled;
}

BOOL GetPrinterDriverName(LPCWSTR printer, LPWSTR driver) {
  return GetPrinterDetails(printer, driver, nullptr, nullptr, nullptr);
}

BOOL GetPrinterPortName(LPCWSTR printer, LPWSTR port) {
  return GetPrinterDetails(printer, nullptr, port, nullptr, nullptr);
}

BOOL GetPrinterDriverFileTitle(LPCWSTR printer, LPWSTR title) {
  return GetPrinterDetails(printer, nullptr, nullptr, nullptr, title);
}

BOOL GetPrinterShareName(LPCWSTR printer, LPWSTR output, int capacity) {
  WCHAR share[MAX_PATH];
  BOOL found = FALSE;
  if (startupContext.platform.win9xKind == 0 && IsConnectionName(printer)) {
    CPrintServersKey servers(KeyMode::kRead);
    found = servers.GetRemotePrinterShareName(printer, share, MAX_PATH);
  }
  if (!found) found = GetPrinterDetails(printer, nullptr, nullptr, share, nullptr);
  CopyStringW(output, capacity, share);
  return found;
}

WCHAR IsPrinterShared(LPCWSTR printer) {
  WCHAR share[MAX_PATH];
  GetPrinterShareName(printer, share, MAX_PATH);
  return share[0];
}

BOOL SetPrinterShareName(LPCWSTR printer, LPCWSTR share) {
  PRINTER_DEFAULTSW defaults = {nullptr, nullptr, PRINTER_ALL_ACCESS};
  UniquePrinter handle;
  if (!OpenPrinterHandle(printer, handle.Receive(), &defaults)) return FALSE;
  const auto info = GetPrinterInfo2(handle.Get(), Quiet::kYes);
  if (info == nullptr) return FALSE;
  const bool shares = !View(share).empty();
  const bool isShared = (info->Attributes & PRINTER_ATTRIBUTE_SHARED) != 0;
  if (!shares && !isShared && View(info->pShareName).empty()) return TRUE;
  info->pShareName = const_cast<LPWSTR>(share);
  if (shares) {
    info->Attributes |= PRINTER_ATTRIBUTE_SHARED;
  } else {
    info->Attributes &= ~DWORD{PRINTER_ATTRIBUTE_SHARED};
  }
  return SetPrinterW(handle.Get(), 2, reinterpret_cast<BYTE*>(info.get()), 0) ? TRUE : FALSE;
}

BOOL DeviceSupportsDuplex(LPCWSTR device) {
  return DeviceCapabilitiesW(device, nullptr, DC_DUPLEX, nullptr, nullptr) > 0;
}

std::unique_ptr<WCHAR[]> GetDevicePort(LPCWSTR device) {
  // For null the profile would tell the names of all devices.
  if (device == nullptr) return nullptr;
  WCHAR entry[kDeviceEntryCapacity];
  GetProfileStringW(TEXT("Devices"), device, TEXT(""), entry, kDeviceEntryCapacity);
  const size_t comma = View(entry).find(TEXT(','));
  return comma == WideView::npos ? nullptr : CopyOf(entry + comma + 1);
}

}  // namespace kv
