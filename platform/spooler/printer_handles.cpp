#include "platform/spooler/printer_handles.h"

#include "platform/kernel/handle_map.h"

namespace platform {
namespace {

HandleMap<std::shared_ptr<OpenPrinterState>>& handles() {
  static auto* instance = new HandleMap<std::shared_ptr<OpenPrinterState>>(0x30000004);
  return *instance;
}

}  // namespace

HANDLE OpenPrinterHandle(OpenPrinterState state) {
  return handles().Add(std::make_shared<OpenPrinterState>(std::move(state)),
                       Resource::kPrinterHandle);
}

std::shared_ptr<OpenPrinterState> PrinterOfHandle(HANDLE handle) {
  const auto printer = handles().Find(handle);
  if (printer) return *printer;
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

std::shared_ptr<OpenPrinterState> ClosePrinterHandle(HANDLE handle) {
  const auto closed = handles().Take(handle);
  if (closed) return closed->value;
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

}  // namespace platform
