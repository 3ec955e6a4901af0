#include "runtime/printing/printer_devmodes.h"

#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/printer_info.h"

namespace kv {
namespace {

using ReadDevMode = BOOL(HANDLE printer, UniqueDevMode* devMode, Quiet quiet);

bool HasLevels8And9() {
  const bool has = startupContext.platform.ntKind >= kWindows2000;
  if (!has) SetLastError(ERROR_INVALID_LEVEL);
  return has;
}

template <class Info>
BOOL CopyDevMode(const UniqueBlock<Info>& info, UniqueDevMode* devMode, Quiet quiet) {
  devMode->reset();
  if (info == nullptr) return FALSE;
  *devMode = DuplicateDevmodePtr(info->pDevMode, quiet);
  return *devMode != nullptr || info->pDevMode == nullptr;
}

// Whether the device mode has to be written, and the copy to write in *copy.
WriteResult PrepareWrite(HANDLE printer, ReadDevMode* read, const DEVMODEW* devMode,
                         UniqueDevMode* copy, Quiet quiet) {
  UniqueDevMode current;
  if (!read(printer, &current, quiet)) return kWriteFailed;
  if (current != nullptr && DevModesEqual(current.get(), devMode)) return kUnchanged;
  *copy = DuplicateDevmodePtr(devMode, quiet);
  return *copy != nullptr || devMode == nullptr ? kWritten : kWriteFailed;
}

// The error code of SetPrinterW, 0 when it succeeded.
DWORD CallSetPrinter(HANDLE printer, DWORD level, void* info) {
  return SetPrinterW(printer, level, static_cast<BYTE*>(info), 0) ? ERROR_SUCCESS : GetLastError();
}

DWORD CallSetPrinterGuarded(HANDLE printer, DWORD level, void* info) {
  const CDefaultPrinterGuard guard;
  return CallSetPrinter(printer, level, info);
}

WriteResult FinishWrite(DWORD error, Quiet quiet) {
  if (error == ERROR_SUCCESS) return kWritten;
  if (quiet == Quiet::kNo) ShowErrorCode(TEXT("SetPrinter"), error);
  SetLastError(error);
  return kWriteFailed;
}

}  // namespace

BOOL GetPrinterDevMode(HANDLE printer, UniqueDevMode* devMode, Quiet quiet) {
  return CopyDevMode(GetPrinterInfo2(printer, quiet), devMode, quiet);
}

BOOL GetPrinterGlobalDevMode(HANDLE printer, UniqueDevMode* devMode, Quiet quiet) {
  devMode->reset();
  return HasLevels8And9() && CopyDevMode(GetPrinterInfo8(printer, quiet), devMode, quiet);
}

BOOL GetPrinterUserDevMode(HANDLE printer, UniqueDevMode* devMode, Quiet quiet) {
  devMode->reset();
  return HasLevels8And9() && CopyDevMode(GetPrinterInfo9(printer, quiet), devMode, quiet);
}

WriteResult SetPrinterDevMode(HANDLE printer, const DEVMODEW* devMode, Quiet quiet) {
  UniqueDevMode copy;
  const WriteResult prepared = PrepareWrite(printer, GetPrinterDevMode, devMode, &copy, quiet);
  if (prepared != kWritten) return prepared;
  const auto info = GetPrinterInfo2(printer, quiet);
  if (info == nullptr) return kWriteFailed;
  info->pDevMode = copy.get();
  return FinishWrite(CallSetPrinterGuarded(printer, 2, info.get()), quiet);
}

WriteResult SetPrinterGlobalDevMode(HANDLE printer, const DEVMODEW* devMode, Quiet quiet) {
  UniqueDevMode copy;
  const WriteResult prepared =
      PrepareWrite(printer, GetPrinterGlobalDevMode, devMode, &copy, quiet);
  if (prepared != kWritten) return prepared;
  PRINTER_INFO_8W info = {copy.get()};
  return FinishWrite(CallSetPrinterGuarded(printer, 8, &info), quiet);
}

WriteResult SetPrinterUserDevMode(HANDLE printer, const DEVMODEW* devMode, Quiet quiet) {
  UniqueDevMode copy;
  const WriteResult prepared = PrepareWrite(printer, GetPrinterUserDevMode, devMode, &copy, quiet);
  if (prepared != kWritten) return prepared;
  PRINTER_INFO_9W info = {copy.get()};
  return FinishWrite(CallSetPrinter(printer, 9, &info), quiet);
}

}  // namespace kv
