#include "runtime/printing/driver_recognition.h"

#include <string_view>

#include "runtime/core/handles.h"
#include "runtime/printing/printer_details.h"
#include "runtime/text/wide_text.h"
#include "runtime/text/wildcard.h"

namespace kv {
namespace {

constexpr std::string_view kProductTechnology = "Folvane";
constexpr WCHAR kDriverTitle[] = TEXT("kvgraph");
constexpr WCHAR kVersionedDriverTitle[] = TEXT("kvgraph?");
constexpr WCHAR kSiblingDriverTitle[] = TEXT("kvpgraf?");
constexpr DWORD kFirstVersionWithTechnology = 1024;
constexpr int kTechnologyCapacity = 260;  // bytes

struct DeviceContextTraits {
  using Handle = HDC;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { DeleteDC(handle); }
};
using UniqueDC = UniqueResource<DeviceContextTraits>;

bool IsProductTechnology(HDC dc) {
  const int escape = GETTECHNOLOGY;
  if (ExtEscape(dc, QUERYESCSUPPORT, sizeof escape, reinterpret_cast<LPCSTR>(&escape), 0,
                nullptr) <= 0) {
    return false;
  }
  char technology[kTechnologyCapacity + 1] = {};
  ExtEscape(dc, GETTECHNOLOGY, 0, nullptr, kTechnologyCapacity, technology);
  return technology == kProductTechnology;
}

DWORD DriverVersion(LPCWSTR device) {
  const auto port = GetDevicePort(device);
  if (port == nullptr) return 0;
  const int version = DeviceCapabilitiesW(device, port.get(), DC_DRIVER, nullptr, nullptr);
  return version > 0 ? static_cast<DWORD>(version) : 0;
}

// The version of a driver that answers as the product's do, or is older than `unproven`.
DWORD VersionOfProduct(LPCWSTR device, HDC dc, DWORD unproven) {
  UniqueDC own;
  if (dc == nullptr) {
    own.Reset(CreateDCW(nullptr, device, nullptr, nullptr));
    dc = own.Get();
  }
  if (dc == nullptr) return 0;
  const bool isProduct = IsProductTechnology(dc);
  const DWORD version = DriverVersion(device);
  return isProduct || version < unproven ? version : 0;
}

}  // namespace

DWORD GetProductGraphDriverVersion(LPCWSTR device, HDC dc) {
  WCHAR title[MAX_PATH];
  GetPrinterDriverFileTitle(device, title);
  if (!EqualNoCase(title, kDriverTitle) && !MatchWildcard(kVersionedDriverTitle, title)) return 0;
  return VersionOfProduct(device, dc, kFirstVersionWithTechnology);
}

DWORD GetSiblingGraphDriverVersion(LPCWSTR device, HDC dc) {
  WCHAR title[MAX_PATH];
  GetPrinterDriverFileTitle(device, title);
  return MatchWildcard(kSiblingDriverTitle, title) ? VersionOfProduct(device, dc, 0) : 0;
}

}  // namespace kv
