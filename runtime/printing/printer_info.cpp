#include "runtime/printing/printer_info.h"

#include <cstring>

#include "runtime/core/startup_context.h"
#include "runtime/printing/spooler_fetch.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

constexpr FetchNames kPrinter = {TEXT("GetPrinter"), TEXT("GetPrinter level %d"),
                                 TEXT("could not allocate PRINTER_INFO_x")};
constexpr FetchNames kDriver = {TEXT("GetPrinterDriver"), TEXT("GetPrinterDriver level %d"),
                                TEXT("could not allocate DRIVER_INFO_x")};
constexpr size_t kShareRoom = 256;  // bytes
constexpr DWORD kAmd64 = 9;

template <class Info>
UniqueBlock<Info> PrinterInfoAs(HANDLE printer, DWORD level, Quiet quiet) {
  return UniqueBlock<Info>(
      reinterpret_cast<Info*>(GetPrinterInfo(printer, level, quiet).release()));
}

// Whether there is a printer to ask.
bool IsHandle(HANDLE printer) {
  if (printer == nullptr) SetLastError(ERROR_INVALID_HANDLE);
  return printer != nullptr;
}

void NameDevMode(DEVMODEA* devMode, LPCSTR name) {
  if (devMode == nullptr) return;
  CopyStringA(reinterpret_cast<LPSTR>(devMode->dmDeviceName), sizeof(devMode->dmDeviceName), name);
}

// Puts the share's name, converted from its wide form, into `room`.
void ReplaceShare(HANDLE printer, PRINTER_INFO_2A& info, LPSTR room, Quiet quiet) {
  if (info.pShareName == nullptr || info.pShareName[0] == 0) return;
  const auto wide = GetPrinterInfo2(printer, quiet);
  if (wide == nullptr) return;
  WideToAnsi(room, kShareRoom, wide->pShareName, CP_ACP);
  info.pShareName = room;
}

// Where the structure of a level has the printer's name; null for one without.
LPSTR* NamePlace(BYTE* block, DWORD level) {
  switch (level) {
    case 1:
      return &reinterpret_cast<PRINTER_INFO_1A*>(block)->pName;
    case 2:
      return &reinterpret_cast<PRINTER_INFO_2A*>(block)->pPrinterName;
    case 4:
      return &reinterpret_cast<PRINTER_INFO_4A*>(block)->pPrinterName;
    case 5:
      return &reinterpret_cast<PRINTER_INFO_5A*>(block)->pPrinterName;
    default:
      return nullptr;
  }
}

// The device mode in the structure of a level; null without one.
DEVMODEA* DevModeIn(BYTE* block, DWORD level) {
  switch (level) {
    case 2:
      return reinterpret_cast<PRINTER_INFO_2A*>(block)->pDevMode;
    case 8:
      return reinterpret_cast<PRINTER_INFO_8A*>(block)->pDevMode;
    case 9:
      return reinterpret_cast<PRINTER_INFO_9A*>(block)->pDevMode;
    default:
      return nullptr;
  }
}

// `name` stands within the block and is followed by room for the share's name.
void ReplaceName(HANDLE printer, BYTE* block, DWORD level, LPSTR name, Quiet quiet) {
  if (LPSTR* const place = NamePlace(block, level)) *place = name;
  NameDevMode(DevModeIn(block, level), name);
  if (level != 2) return;
  ReplaceShare(printer, *reinterpret_cast<PRINTER_INFO_2A*>(block), name + std::strlen(name) + 1,
               quiet);
}

}  // namespace

UniqueBlock<BYTE> GetPrinterInfo(HANDLE printer, DWORD level, Quiet quiet) {
  if (!IsHandle(printer)) return nullptr;
  DWORD written = 0;
  return FetchBlock(kPrinter, level, quiet, 0, &written,
                    [=](BYTE* buffer, DWORD size, DWORD* needed) {
                      return GetPrinterW(printer, level, buffer, size, needed);
                    });
}

UniqueBlock<BYTE> GetPrinterInfoA(HANDLE printer, LPCSTR name, DWORD level, Quiet quiet) {
  if (!IsHandle(printer)) return nullptr;
  const size_t length = name == nullptr ? 0 : std::strlen(name);
  DWORD written = 0;
  auto block = FetchBlock(kPrinter, level, quiet, length == 0 ? 0 : length + 1 + kShareRoom,
                          &written, [=](BYTE* buffer, DWORD size, DWORD* needed) {
                            return GetPrinterA(printer, level, buffer, size, needed);
                          });
  if (block == nullptr || length == 0) return block;
  LPSTR const place = reinterpret_cast<LPSTR>(block.get() + written);
  std::memcpy(place, name, length + 1);
  ReplaceName(printer, block.get(), level, place, quiet);
  return block;
}

UniqueBlock<PRINTER_INFO_2W> GetPrinterInfo2(HANDLE printer, Quiet quiet) {
  return PrinterInfoAs<PRINTER_INFO_2W>(printer, 2, quiet);
}

UniqueBlock<PRINTER_INFO_8W> GetPrinterInfo8(HANDLE printer, Quiet quiet) {
  return PrinterInfoAs<PRINTER_INFO_8W>(printer, 8, quiet);
}

UniqueBlock<PRINTER_INFO_9W> GetPrinterInfo9(HANDLE printer, Quiet quiet) {
  return PrinterInfoAs<PRINTER_INFO_9W>(printer, 9, quiet);
}

BOOL GetPrinterDriverInfo(HANDLE printer, LPCWSTR environment, DWORD level, UniqueBlock<BYTE>* info,
                          Quiet quiet) {
  UniqueBlock<BYTE> fetched;
  if (IsHandle(printer)) {
    DWORD written = 0;
    fetched = FetchBlock(kDriver, level, quiet, 0, &written,
                         [=](BYTE* buffer, DWORD size, DWORD* needed) {
                           return GetPrinterDriverW(printer, const_cast<LPWSTR>(environment), level,
                                                    buffer, size, needed);
                         });
  }
  *info = std::move(fetched);
  return *info != nullptr;
}

UniqueBlock<DRIVER_INFO_3W> GetPrinterDriverInfo3(HANDLE printer, LPCWSTR environment,
                                                  Quiet quiet) {
  UniqueBlock<BYTE> info;
  GetPrinterDriverInfo(printer, environment, 3, &info, quiet);
  return UniqueBlock<DRIVER_INFO_3W>(reinterpret_cast<DRIVER_INFO_3W*>(info.release()));
}

LPCWSTR GetNativePrintEnvironment() {
  switch (startupContext.platform.wow64Arch) {
    case 0:
      return GetPrintEnvironment();
    case kAmd64:
      return TEXT("Windows x64");
    default:
      return nullptr;
  }
}

}  // namespace kv
