#include "runtime/printing/printer_device.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "runtime/printing/printer_details.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kMicrometresPerInch = 25400;
constexpr int kMostBins = 0xFFFF;  // their ids have 16 bits

// Drivers of older systems ask for less than today's structure has.
size_t RoomFor(LONG size) {
  return std::max<size_t>(static_cast<size_t>(size), sizeof(DEVMODEW));
}

// Margins and what drivers say of a page may be any numbers.
LONG Saturated(LONGLONG number) {
  constexpr LONGLONG kLargest = 0x7FFFFFFF;
  return static_cast<LONG>(std::clamp(number, -kLargest - 1, kLargest));
}

LONG Refuse(DWORD error) {
  SetLastError(error);
  return -1;
}

LONG ToMicrometres(LONG pixels, LONG dpi) {
  if (dpi <= 0) return 0;
  return std::max(MulDiv(static_cast<int>(pixels), kMicrometresPerInch, static_cast<int>(dpi)), 0);
}

}  // namespace

CPrinterDevice::CPrinterDevice(LPCWSTR name, int openMode, const DEVMODEW* input, HDC context)
    : context_(context) {
  if (View(name).empty()) {
    SetLastError(ERROR_INVALID_PRINTER_NAME);
    return;
  }
  deviceName_ = CopyOf(name);
  portName_ = GetDevicePort(name);
  if (deviceName_ == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return;
  }
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
    if (OpenPrinterHandle(deviceName_.get(), &printer_, &all)) return;
  }
  OpenPrinterHandle(deviceName_.get(), &printer_, nullptr);
}

LONG CPrinterDevice::FillFromDriver(HWND owner, const DEVMODEW* input, DWORD mode) {
  // The driver may have more settings than when it was asked last.
  const LONG size = DocumentPropertiesW(nullptr, printer_, deviceName_.get(), nullptr, nullptr, 0);
  if (size <= 0) return size;
  UniqueDevMode output(static_cast<DEVMODEW*>(AllocateBlock(RoomFor(size)))), copy;
  if (output == nullptr) return Refuse(ERROR_NOT_ENOUGH_MEMORY);
  if (input != nullptr) {
    copy = DuplicateDevmodePtr(input, Quiet::kNo);
    // Settings that are not those asked for would be worse than none.
    if (copy == nullptr) return -1;
    mode |= DM_IN_BUFFER;
  }
  const LONG answer = DocumentPropertiesW(owner, printer_, deviceName_.get(), output.get(),
                                          copy.get(), mode | DM_OUT_BUFFER);
  const bool isCancelled = (mode & DM_IN_PROMPT) != 0 && answer != IDOK;
  if (answer <= 0 || isCancelled) return answer;
  // What claims to be longer than the driver asked room for would be read beyond its end.
  if (DevModeSize(*output) > RoomFor(size)) return Refuse(ERROR_INVALID_DATA);
  Adopt(std::move(output), size);
  return answer;
}

// Callers may hold the address of the device mode.
void CPrinterDevice::Adopt(UniqueDevMode settings, LONG size) {
  if (devMode_ != nullptr && RoomFor(size) <= RoomFor(devModeSize_)) {
    std::memcpy(static_cast<void*>(devMode_.get()), settings.get(), RoomFor(size));
    return;
  }
  devMode_ = std::move(settings);
  devModeSize_ = size;
}

void CPrinterDevice::AskDriver(const DEVMODEW* input) {
  if (FillFromDriver(nullptr, input, 0) <= 0) return;
  if (context_ == nullptr) CreateContext();
  const DWORD error = GetLastError();
  if (context_ != nullptr) ReadMetrics();
  fieldsSupported_ = static_cast<DWORD>(std::max(Capability(DC_FIELDS), 0));
  trueTypeCapabilities_ = std::max(Capability(DC_TRUETYPE), 0);
  if (context_ == nullptr) SetLastError(error);
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
  printableSize_.cx = Saturated(LONGLONG{printableSize_.cx} - marginAdjust_.cx);
  printableSize_.cy = Saturated(LONGLONG{printableSize_.cy} - marginAdjust_.cy);
}

BOOL CPrinterDevice::ApplyDevMode(Refresh refresh) {
  if (devMode_ == nullptr || context_ == nullptr) return RefuseWithoutParts();
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
  const LONGLONG x = physicalOffset().cx, y = physicalOffset().cy;
  const SIZE size = physicalSize();
  return {Saturated(-x), Saturated(-y), Saturated(size.cx - x), Saturated(size.cy - y)};
}

RECT CPrinterDevice::GetPrintableRect() const {
  const SIZE size = printableSize();
  return {0, 0, size.cx, size.cy};
}

RECT CPrinterDevice::GetCenteredPrintableRect() const {
  const SIZE paper = physicalSize(), area = printableSize();
  const LONGLONG left = physicalOffset().cx, top = physicalOffset().cy;
  const LONGLONG x = std::max(left, LONGLONG{paper.cx} - area.cx - left);
  const LONGLONG y = std::max(top, LONGLONG{paper.cy} - area.cy - top);
  return {Saturated(x - left), Saturated(y - top), Saturated(paper.cx - x - left),
          Saturated(paper.cy - y - top)};
}

int CPrinterDevice::GetLineHeight() const {
  TEXTMETRICW metrics = {};
  if (context_ == nullptr || !GetTextMetricsW(context_, &metrics)) return 0;
  return static_cast<int>(Saturated(LONGLONG{metrics.tmHeight} + metrics.tmExternalLeading));
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
  *micrometres = {ToMicrometres(paper.cx, dpi.cx), ToMicrometres(paper.cy, dpi.cy)};
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

void CPrinterDevice::BuildBinTable() {
  if (bins_ != nullptr || deviceName_ == nullptr) return;
  const int count = Capability(DC_BINS);
  if (count < 1 || count > kMostBins) return;
  const size_t number = static_cast<size_t>(count);
  const std::unique_ptr<WORD[]> ids(new (std::nothrow) WORD[number]());
  const std::unique_ptr<WCHAR[]> names(new (std::nothrow) WCHAR[number * kBinNameLength]());
  std::unique_ptr<PrinterBin[]> bins(new (std::nothrow) PrinterBin[number]());
  if (ids == nullptr || names == nullptr || bins == nullptr) return;
  if (Capability(DC_BINS, reinterpret_cast<LPWSTR>(ids.get())) < 1) return;
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
}

DWORD CPrinterDevice::GetBinCount() {
  BuildBinTable();
  return binCount_;
}

BOOL CPrinterDevice::GetBin(DWORD index, WORD* id, WCHAR (&name)[kBinNameLength + 1]) {
  *id = 0;
  std::fill(std::begin(name), std::end(name), WCHAR{0});
  if (index >= GetBinCount()) return FALSE;
  const PrinterBin& bin = bins_[index];
  *id = bin.id;
  const WCHAR* const end = std::find(std::begin(bin.name), std::end(bin.name), WCHAR{0});
  std::copy(std::begin(bin.name), end, name);
  return *id != 0 && name[0] != 0;
}

const DEVMODEW* CPrinterDevice::ShowProperties(HWND owner, const DEVMODEW* devMode) {
  if (printer_ == nullptr || devMode_ == nullptr) {
    RefuseWithoutParts();
    return nullptr;
  }
  const DEVMODEW* const input = devMode != nullptr ? devMode : devMode_.get();
  const LONG answer = FillFromDriver(owner, input, DM_IN_PROMPT);
  if (answer == IDCANCEL) SetLastError(ERROR_CANCELLED);
  return answer == IDOK ? devMode_.get() : nullptr;
}

BOOL IsPrinterUsable(LPCWSTR device) {
  const CPrinterDevice printer(device, 0, nullptr, nullptr);
  return printer.printer() != nullptr && printer.devMode() != nullptr;
}

}  // namespace kv
