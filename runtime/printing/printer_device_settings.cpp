// The settings of a printer device: reading and changing its device mode.
#include <cstring>

#include "runtime/core/last_error.h"
#include "runtime/printing/printer_device.h"

namespace kv {
namespace {

constexpr DWORD kPaperDetails = DM_PAPERLENGTH | DM_PAPERWIDTH | DM_FORMNAME;

}  // namespace

short CPrinterDevice::GetOrientation() const {
  const bool isLandscape =
      HasField(DM_ORIENTATION) && devMode_->dmOrientation == DMORIENT_LANDSCAPE;
  return isLandscape ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
}

short CPrinterDevice::GetDuplex() const {
  return HasField(DM_DUPLEX) ? devMode_->dmDuplex : short{DMDUP_SIMPLEX};
}

short CPrinterDevice::GetCopies() const {
  return HasField(DM_COPIES) ? devMode_->dmCopies : short{1};
}

short CPrinterDevice::GetTTOption() const {
  return HasField(DM_TTOPTION) ? devMode_->dmTTOption : short{0};
}

short CPrinterDevice::GetDefaultSource() const {
  return devMode_ == nullptr ? short{0} : devMode_->dmDefaultSource;
}

BOOL CPrinterDevice::RefuseWithoutParts() {
  return FailWith(ERROR_INVALID_HANDLE);
}

BOOL CPrinterDevice::Store(DWORD flag, short& field, short value) {
  if (HasField(flag) && field == value) return FALSE;
  devMode_->dmFields |= flag;
  field = value;
  return TRUE;
}

void CPrinterDevice::StorePaperSize(short id) {
  devMode_->dmFields |= DM_PAPERSIZE;
  devMode_->dmPaperSize = id;
  devMode_->dmFields &= ~kPaperDetails;
  devMode_->dmPaperWidth = devMode_->dmPaperLength = 0;
  std::memset(devMode_->dmFormName, 0, sizeof(devMode_->dmFormName));
}

BOOL CPrinterDevice::ApplyIfAsked(Apply apply) {
  if (context_ == nullptr || apply == Apply::kNo) return TRUE;
  return ApplyDevMode(Refresh::kYes);
}

BOOL CPrinterDevice::SetPaperSize(short id, Apply apply) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  // Ids are unsigned: those above 32767 are the driver's as well.
  const bool isDriversOwn = static_cast<WORD>(id) >= DMPAPER_USER;
  if (HasField(DM_PAPERSIZE) && devMode_->dmPaperSize == id && !isDriversOwn) return TRUE;
  StorePaperSize(id);
  return ApplyIfAsked(apply);
}

BOOL CPrinterDevice::SetOrientation(short orientation, Apply apply) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  if (!Store(DM_ORIENTATION, devMode_->dmOrientation, orientation)) return TRUE;
  return ApplyIfAsked(apply);
}

BOOL CPrinterDevice::SetPortrait(BOOL portrait, Apply apply) {
  return SetOrientation(portrait ? DMORIENT_PORTRAIT : DMORIENT_LANDSCAPE, apply);
}

BOOL CPrinterDevice::SetDuplex(short duplex, Apply apply) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  if (!Store(DM_DUPLEX, devMode_->dmDuplex, duplex)) return TRUE;
  return ApplyIfAsked(apply);
}

BOOL CPrinterDevice::SetDefaultSource(short source) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  if (!Store(DM_DEFAULTSOURCE, devMode_->dmDefaultSource, source)) return TRUE;
  return ApplyNow();
}

BOOL CPrinterDevice::SetCollate(short collate) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  Store(DM_COLLATE, devMode_->dmCollate, collate);
  return ApplyNow();
}

BOOL CPrinterDevice::SetColor(short color) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  Store(DM_COLOR, devMode_->dmColor, color);
  return ApplyNow();
}

BOOL CPrinterDevice::SetCopies(short copies) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  if (copies > GetMaxCopies()) return FailWith(ERROR_INVALID_PARAMETER);
  Store(DM_COPIES, devMode_->dmCopies, copies);
  return ApplyNow();
}

BOOL CPrinterDevice::SetTTOption(short option) {
  if (devMode_ == nullptr) return RefuseWithoutParts();
  if (option == 0) return TRUE;
  Store(DM_TTOPTION, devMode_->dmTTOption, option);
  return ApplyNow();
}

void CPrinterDevice::ApplyPaperFrom(const DEVMODEW* source) {
  if (devMode_ == nullptr || !IsValidDevMode(source)) return;
  const DEVMODEW from = PublicPartOf(source);
  const auto carries = [&](DWORD flag) { return (from.dmFields & flag) != 0; };
  BOOL changed = FALSE;
  if (carries(DM_PAPERSIZE) &&
      (!HasField(DM_PAPERSIZE) || devMode_->dmPaperSize != from.dmPaperSize)) {
    StorePaperSize(from.dmPaperSize);
    changed = TRUE;
  }
  if (carries(DM_ORIENTATION)) {
    changed |= Store(DM_ORIENTATION, devMode_->dmOrientation, from.dmOrientation);
  }
  if (carries(DM_PAPERWIDTH)) {
    changed |= Store(DM_PAPERWIDTH, devMode_->dmPaperWidth, from.dmPaperWidth);
  }
  if (carries(DM_PAPERLENGTH)) {
    changed |= Store(DM_PAPERLENGTH, devMode_->dmPaperLength, from.dmPaperLength);
  }
  if (changed && context_ != nullptr) ApplyDevMode(Refresh::kYes);
}

}  // namespace kv
