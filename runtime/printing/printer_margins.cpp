#include "runtime/printing/printer_margins.h"

#include "runtime/core/product.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/printer_device.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kMarginFlags = kPrivateResolution | kPrivateLeftMargin | kPrivateTopMargin |
                               kPrivateRightMargin | kPrivateBottomMargin;

struct Margins {
  WORD resolution;  // dpi
  short left;       // thousandths of an inch, as the next ones
  short top;
  short right;
  short bottom;
};

// Rounds to the nearest, half away from 0. FALSE for what has more than 16 bits.
bool ToThousandths(LONGLONG distance, WORD resolution, short& thousandths) {
  const LONGLONG scaled = distance * 1000;
  const LONGLONG half = scaled < 0 ? -(resolution / 2) : resolution / 2;
  const LONGLONG number = (scaled + half) / resolution;
  thousandths = static_cast<short>(number);
  return thousandths == number;
}

bool Measure(const CPrinterDevice& device, Margins& margins) {
  const RECT paper = device.GetPaperRect(), printable = device.GetPrintableRect();
  const WORD resolution = margins.resolution = device.verticalResolution();
  return ToThousandths(LONGLONG{printable.left} - paper.left, resolution, margins.left) &&
         ToThousandths(LONGLONG{printable.top} - paper.top, resolution, margins.top) &&
         ToThousandths(LONGLONG{paper.right} - printable.right, resolution, margins.right) &&
         ToThousandths(LONGLONG{paper.bottom} - printable.bottom, resolution, margins.bottom);
}

bool HasExtent(const RECT& area) {
  return area.right > area.left && area.bottom > area.top;
}

bool AreStored(const ProductSettings& stored, const Margins& margins) {
  return stored.resolution == margins.resolution && stored.leftMargin == margins.left &&
         stored.topMargin == margins.top && stored.rightMargin == margins.right &&
         stored.bottomMargin == margins.bottom;
}

void MarkForPublishing(LPCWSTR printer) {
  WCHAR name[MAX_PATH];
  RegKey key;
  if (MakeKeyName(printer, name) &&
      key.Create(HKEY_CURRENT_USER, TEXT("%s\\%s"), kSettingsRoot, TEXT("PublishSettings"))) {
    key.SetDword(name, 1);
  }
}

void Store(LPCWSTR printer, const Margins& margins) {
  ProductDevMode devMode;
  ReadUserPrinterSettings(nullptr, printer, 0, devMode);
  ProductSettings& settings = devMode.settings;
  if (AreStored(settings, margins)) return;
  devMode.dev.dmFields = 0;
  settings.flags = kMarginFlags;
  settings.resolution = margins.resolution;
  settings.leftMargin = margins.left;
  settings.topMargin = margins.top;
  settings.rightMargin = margins.right;
  settings.bottomMargin = margins.bottom;
  WriteUserPrinterSettings(printer, devMode);
  MarkForPublishing(printer);
}

}  // namespace

BOOL StoreDeviceMargins(LPCWSTR productPrinter, LPCWSTR device, const DEVMODEW* devMode) {
  const CPrinterDevice printer(device, 1, devMode, nullptr);
  if (printer.dc() == nullptr || printer.devMode() == nullptr) return FALSE;
  if (!View(productPrinter).empty() && printer.verticalResolution() != 0 &&
      HasExtent(printer.GetPaperRect()) && HasExtent(printer.GetPrintableRect())) {
    Margins margins;
    if (Measure(printer, margins)) Store(productPrinter, margins);
  }
  return TRUE;
}

}  // namespace kv
