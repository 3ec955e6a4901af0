#include "runtime/printing/printer_device.h"

#include <algorithm>
#include <new>

#include "runtime/printing/printer_details.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kMicrometresPerInch = 25400;

// Drivers of older systems ask for less than today's structure has.
size_t RoomFor(LONG size) {
  return std::max<size_t>(static_cast<size_t>(size), sizeof(DEVMODEW));
}

}  // namespace

CPrinterDevice::CPrinterDevice(LPCWSTR name, int openMode, const DEVMODEW* input, HDC context)
    : context_(context) {
  if (View(name).empty()) return;
  deviceName_ = CopyOf(name);
  portName_ = GetDevicePort(name);
  if (deviceName_ == nullptr) return;
  Open(openMode);
  if (printer_ != nullptr) AskDriver(input);
}

CPrinterDevice::~CPrinterDevice() {
  DropOwnedContext();
  if (printer_ != nullptr) ClosePrinter(printer_);
}

void CPrinterDevice::Open(int openMode) {
  if (openMode == kOpenForChange) {
    PRINTER_DEFAULTSW all = {nullptr, nullptr, PRINTER_ALL_ACCESS};
    if (OpenPrinterHandle(deviceName_.get(), &printer_, &all, FALSE)) return;
  }
  if (!OpenPrinterHandle(deviceName_.get(), &printer_, nullptr, FALSE)) printer_ = nullptr;
}

void CPrinterDevice::AskDriver(const DEVMODEW* input) {
  devModeSize_ = DocumentPropertiesW(nullptr, printer_, deviceName_.get(), nullptr, nullptr, 0);
  if (devModeSize_ <= 0) return;
  devMode_.reset(static_cast<DEVMODEW*>(AllocateBlock(RoomFor(devModeSize_))));
  if (devMode_ == nullptr) return;
  DWORD mode = DM_OUT_BUFFER;
  UniqueDevMode copy;
  if (input != nullptr) {
    mode |= DM_IN_BUFFER;
    copy = DuplicateDevmodePtr(input, Quiet::kNo);
  }
  const LONG answer =
      DocumentPropertiesW(nullptr, printer_, deviceName_.get(), devMode_.get(), copy.get(), mode);
  // What claims to be longer than the driver asked room for would be read beyond its end.
  if (answer <= 0 || DevModeSize(*devMode_) > RoomFor(devModeSize_)) {
    devMode_.reset();
    return;
  }
  if (context_ == nullptr) CreateContext();
  if (context_ != nullptr) ReadMetrics();
  fieldsSupported_ = static_cast<DWORD>(std::max(Capability(DC_FIELDS), 0));
  trueTypeCapabilities_ = Capability(DC_TRUETYPE);
}

int CPrinterDevice::Capability(WORD capability, LPWSTR output) const {
  return DeviceCapabilitiesW(deviceName_.get(), portName_.get(), capability, output, nullptr);
}

void CPrinterDevice::CreateContext() {
  context_ = CreateDCW(nullptr, deviceName_.get(), nullptr, devMode_.get());
  ownsContext_ = context_ != nullptr;
}

void CPrinterDevice::DropOwnedContext() {
  if (!ownsContext_) return;
  DeleteDC(context_);
  context_ = nullptr;
  ownsContext_ = FALSE;
}

void CPrinterDevice::AttachDC(HDC context) {
  DropOwnedContext();
  context_ = context;
  if (context_ != nullptr) ReadMetrics();
}

void CPrinterDevice::SetMarginAdjust(LONG x, LONG y) {
  marginAdjust_ = {x, y};
  if (context_ != nullptr) ReadMetrics();
}

void CPrinterDevice::ReadMetrics() {
  const auto pair = [this](int across, int down) -> SIZE {
    return {GetDeviceCaps(context_, across), GetDeviceCaps(context_, down)};
  };
  resolution_ = pair(LOGPIXELSX, LOGPIXELSY);
  physicalSize_ = pair(PHYSICALWIDTH, PHYSICALHEIGHT);
  physicalOffset_ = pair(PHYSICALOFFSETX, PHYSICALOFFSETY);
  printableSize_ = pair(HORZRES, VERTRES);
  printableSize_.cx -= marginAdjust_.cx;
  printableSize_.cy -= marginAdjust_.cy;
}

BOOL CPrinterDevice::ApplyDevMode(Refresh refresh) {
  if (devMode_ == nullptr || context_ == nullptr) return FALSE;
  const HDC reset = ResetDCW(context_, devMode_.get());
  if (reset != nullptr) {
    context_ = reset;
  } else {
    if (!ownsContext_) return FALSE;
    DropOwnedContext();
    CreateContext();
    if (context_ == nullptr) return FALSE;
  }
  if (refresh == Refresh::kYes) ReadMetrics();
  return TRUE;
}

RECT CPrinterDevice::GetPaperRect() const {
  const SIZE size = physicalSize(), offset = physicalOffset();
  return {-offset.cx, -offset.cy, size.cx - offset.cx, size.cy - offset.cy};
}

RECT CPrinterDevice::GetPrintableRect() const {
  const SIZE size = printableSize();
  return {0, 0, size.cx, size.cy};
}

RECT CPrinterDevice::GetCenteredPrintableRect() const {
  const SIZE paper = physicalSize(), area = printableSize(), offset = physicalOffset();
  const LONG x = std::max(offset.cx, paper.cx - area.cx - offset.cx);
  const LONG y = std::max(offset.cy, paper.cy - area.cy - offset.cy);
  return {x - offset.cx, y - offset.cy, paper.cx - x - offset.cx, paper.cy - y - offset.cy};
}

int CPrinterDevice::GetLineHeight() const {
  TEXTMETRICW metrics = {};
  if (context_ == nullptr || !GetTextMetricsW(context_, &metrics)) return 0;
  return static_cast<int>(metrics.tmHeight + metrics.tmExternalLeading);
}

BOOL CPrinterDevice::HasEscape(int escape) const {
  return context_ != nullptr && ExtEscape(context_, QUERYESCSUPPORT, sizeof escape,
                                          reinterpret_cast<LPCSTR>(&escape), 0, nullptr) > 0;
}

BOOL CPrinterDevice::IsPostScript() const {
  return HasEscape(POSTSCRIPT_PASSTHROUGH);
}

BOOL CPrinterDevice::SupportsClipToPath() const {
  return HasEscape(CLIP_TO_PATH);
}

void CPrinterDevice::GetPaper(WORD* id, SIZE* size, SIZE* micrometres) const {
  const SIZE paper = physicalSize(), dpi = resolution();
  if (id != nullptr) *id = devMode_ == nullptr ? WORD{0} : static_cast<WORD>(devMode_->dmPaperSize);
  if (size != nullptr) *size = paper;
  if (micrometres == nullptr) return;
  *micrometres = {};
  if (context_ == nullptr) return;
  micrometres->cx =
      MulDiv(static_cast<int>(paper.cx), kMicrometresPerInch, static_cast<int>(dpi.cx));
  micrometres->cy =
      MulDiv(static_cast<int>(paper.cy), kMicrometresPerInch, static_cast<int>(dpi.cy));
}

BOOL CPrinterDevice::SupportsCollate() const {
  return (fieldsSupported_ & DM_COLLATE) != 0;
}

BOOL CPrinterDevice::SupportsDuplex() const {
  return deviceName_ != nullptr && Capability(DC_DUPLEX) > 0;
}

short CPrinterDevice::GetMaxCopies() const {
  const short copies =
      deviceName_ == nullptr ? short{1} : static_cast<short>(Capability(DC_COPIES));
  return std::max<short>(copies, 1);
}

BOOL CPrinterDevice::BuildBinTable() {
  if (bins_ != nullptr) return TRUE;
  if (deviceName_ == nullptr) return FALSE;
  const int count = Capability(DC_BINS);
  if (count < 1) return FALSE;
  const size_t number = static_cast<size_t>(count);
  const std::unique_ptr<WORD[]> ids(new (std::nothrow) WORD[number]());
  const std::unique_ptr<WCHAR[]> names(new (std::nothrow) WCHAR[number * kBinNameLength]());
  std::unique_ptr<PrinterBin[]> bins(new (std::nothrow) PrinterBin[number]());
  if (ids == nullptr || names == nullptr || bins == nullptr) return FALSE;
  Capability(DC_BINS, reinterpret_cast<LPWSTR>(ids.get()));
  Capability(DC_BINNAMES, names.get());
  for (size_t i = 0; i < number; ++i) {
    const WCHAR* const end = names.get() + (i + 1) * kBinNameLength;
    const WCHAR* const name =
        std::find_if(end - kBinNameLength, end, [](WCHAR c) { return c != TEXT(' '); });
    bins[i].id = ids[i];
    std::copy(name, end, bins[i].name);
  }
  bins_ = std::move(bins);
  binCount_ = static_cast<DWORD>(count);
  return TRUE;
}

DWORD CPrinterDevice::GetBinCount() {
  return BuildBinTable() ? binCount_ : 0;
}

BOOL CPrinterDevice::GetBin(DWORD index, WORD* id, WCHAR (&name)[kBinNameLength + 1]) {
  *id = 0;
  std::fill(std::begin(name), std::end(name), WCHAR{0});
  if (!BuildBinTable() || index >= binCount_) return FALSE;
  const PrinterBin& bin = bins_[index];
  *id = bin.id;
  const WCHAR* const end = std::find(std::begin(bin.name), std::end(bin.name), WCHAR{0});
  std::copy(std::begin(bin.name), end, name);
  return *id != 0 && name[0] != 0;
}

const DEVMODEW* CPrinterDevice::ShowProperties(HWND owner, const DEVMODEW* devMode) {
  if (printer_ == nullptr || devMode_ == nullptr) return nullptr;
  const UniqueDevMode input =
      DuplicateDevmodePtr(devMode != nullptr ? devMode : devMode_.get(), Quiet::kNo);
  const LONG answer = DocumentPropertiesW(owner, printer_, deviceName_.get(), devMode_.get(),
                                          input.get(), DM_IN_BUFFER | DM_IN_PROMPT | DM_OUT_BUFFER);
  return answer == IDOK ? devMode_.get() : nullptr;
}

BOOL IsPrinterUsable(LPCWSTR device) {
  const CPrinterDevice printer(device, 0, nullptr, nullptr);
  return printer.printer() != nullptr && printer.devMode() != nullptr;
}

}  // namespace kv
