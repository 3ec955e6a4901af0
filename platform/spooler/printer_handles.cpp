#include "platform/spooler/printer_handles.h"

#include <mutex>
#include <unordered_map>

#include "platform/control/leaks.h"

namespace platform {
namespace {

struct Entry {
  std::shared_ptr<OpenPrinterState> printer;
  std::unique_ptr<CountedResource> counted;
};

struct Handles {
  std::mutex mutex;
  std::unordered_map<UINT_PTR, Entry> open;
  // Apart from kernel and registry handles; values are not used again.
  UINT_PTR next = 0x30000004;
};

Handles& handles() {
  static Handles* instance = new Handles;
  return *instance;
}

}  // namespace

HANDLE OpenPrinterHandle(OpenPrinterState state) {
  Entry entry = {std::make_shared<OpenPrinterState>(std::move(state)),
                 std::make_unique<CountedResource>(Resource::kPrinterHandle)};
  std::lock_guard lock(handles().mutex);
  const UINT_PTR value = handles().next;
  handles().next += 4;
  handles().open.emplace(value, std::move(entry));
  return reinterpret_cast<HANDLE>(value);
}

std::shared_ptr<OpenPrinterState> PrinterOfHandle(HANDLE handle) {
  std::lock_guard lock(handles().mutex);
  const auto found = handles().open.find(reinterpret_cast<UINT_PTR>(handle));
  if (found != handles().open.end()) return found->second.printer;
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

std::shared_ptr<OpenPrinterState> ClosePrinterHandle(HANDLE handle) {
  std::lock_guard lock(handles().mutex);
  const auto found = handles().open.find(reinterpret_cast<UINT_PTR>(handle));
  if (found == handles().open.end()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  std::shared_ptr<OpenPrinterState> printer = std::move(found->second.printer);
  handles().open.erase(found);
  return printer;
}

}  // namespace platform
