#include "platform/gdi/printer_context.h"

#include <cstring>

#include "platform/kernel/api_call.h"
#include "platform/spooler/printer_levels.h"
#include "platform/spooler/printer_settings.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

int HasEscape(const PrinterContext& context, int in_size, LPCSTR in) {
  int asked = 0;
  if (in_size != sizeof asked || in == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::memcpy(&asked, in, sizeof asked);
  return context.driver().HasEscape(asked) ? 1 : 0;
}

int CopyTechnology(const PrinterContext& context, int size, LPSTR out) {
  const std::string technology = context.driver().Technology();
  if (technology.empty() || size <= 0 || out == nullptr) return 0;
  out[technology.copy(out, static_cast<size_t>(size - 1))] = 0;
  return 1;
}

}  // namespace

PrinterContext::PrinterContext(PrinterRecord printer, const DEVMODEW* mode)
    : printer_(std::move(printer)), driver_(printer_.driver) {
  Follow(mode);
}

int PrinterContext::Capability(int index) const {
  switch (index) {
    case TECHNOLOGY:
      return DT_RASPRINTER;
    case HORZRES:
      return page_.printable.cx;
    case VERTRES:
      return page_.printable.cy;
    case BITSPIXEL:
      return page_.bits_per_pixel;
    case PLANES:
      return 1;
    case LOGPIXELSX:
      return page_.resolution.cx;
    case LOGPIXELSY:
      return page_.resolution.cy;
    case PHYSICALWIDTH:
      return page_.paper.cx;
    case PHYSICALHEIGHT:
      return page_.paper.cy;
    case PHYSICALOFFSETX:
      return page_.offset.x;
    case PHYSICALOFFSETY:
      return page_.offset.y;
    default:
      return 0;
  }
}

void PrinterContext::Follow(const DEVMODEW* mode) {
  Bytes settings = SettingsInForce(printer_);
  if (mode != nullptr) driver_.Merge(settings, *mode);
  page_ = driver_.Page(*reinterpret_cast<const DEVMODEW*>(settings.data()));
}

}  // namespace platform

using namespace platform;

HDC WINAPI CreateDCW(LPCWSTR driver, LPCWSTR device, LPCWSTR port, const DEVMODEW* mode) {
  KV_API(CreateDCW, ERROR_INVALID_PRINTER_NAME, nullptr, driver, device, port, mode);
  if ((driver != nullptr && !EqualNoCase(driver, TEXT("WINSPOOL"))) || port != nullptr) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  if (!RequireLocalSpooler(nullptr)) return nullptr;
  auto printer = DescribePrinter(WithoutOwnServer(View(device)));
  if (!printer) {
    SetLastError(ERROR_INVALID_PRINTER_NAME);
    return nullptr;
  }
  return static_cast<HDC>(AddGdiObject(std::make_shared<PrinterContext>(std::move(*printer), mode),
                                       Resource::kDeviceContext));
}

HDC WINAPI ResetDCW(HDC handle, const DEVMODEW* mode) {
  KV_API(ResetDCW, ERROR_INVALID_HANDLE, nullptr, handle, mode);
  const auto context = RequireGdiObject<PrinterContext>(handle);
  if (context == nullptr) return nullptr;
  if (mode == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  context->Follow(mode);
  return handle;
}

int WINAPI ExtEscape(HDC handle, int escape, int in_size, LPCSTR in, int out_size, LPSTR out) {
  KV_API_NOFAIL(ExtEscape, 0, handle, escape, in_size, in, out_size, out);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return 0;
  if (escape != QUERYESCSUPPORT && escape != GETTECHNOLOGY) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  const auto printer = std::dynamic_pointer_cast<PrinterContext>(context);
  if (printer == nullptr) return 0;
  return escape == QUERYESCSUPPORT ? HasEscape(*printer, in_size, in)
                                   : CopyTechnology(*printer, out_size, out);
}
