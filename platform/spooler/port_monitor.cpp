#include "platform/spooler/port_monitor.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/modules.h"
#include "platform/spooler/local_ports.h"

namespace platform {
namespace {

template <class Function>
Function* FindExport(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// A monitor may fail without saying why.
bool KeepingAnError(bool result) {
  if (!result && GetLastError() == ERROR_SUCCESS) SetLastError(ERROR_GEN_FAILURE);
  return result;
}

// Calls an operation of a monitor, as the product's code when it comes from a module; false with
// ERROR_NOT_SUPPORTED when the monitor has none.
template <class Function, class... Arguments>
bool Call(HMODULE module, Function* operation, Arguments... arguments) {
  if (operation == nullptr) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
  }
  std::optional<ProductCallback> callback;
  if (module != nullptr) callback.emplace();
  return operation(arguments...) != FALSE;
}

std::filesystem::path ImageDirectory() {
  return Machine::Current().directory() / "objects" / "spooler images";
}

// Tells a file in the system directory from one that takes its place.
std::string ImageName(const WideString& file, const std::filesystem::path& host) {
  struct stat status = {};
  if (stat(host.c_str(), &status) != 0) return {};
  return ToUtf8(file) + "." + std::to_string(status.st_size) + "." +
         std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
}

HMODULE LoadModule(const WideString& file, const WideString& image) {
  const WideString path = SystemDirectory() + TEXT('\\') + file;
  const std::filesystem::path kept = ImageDirectory() / ToUtf8(image);
  if (image.empty() || image == ToWide(ImageName(file, HostPath(path))) ||
      !std::filesystem::exists(kept)) {
    return LoadLibraryW(path.c_str());
  }
  return LoadModuleImage(path, kept);
}

WideString TextOrEmpty(LPCWSTR text) {
  return WideString(View(text));
}

}  // namespace

WideString PortMonitor::KeepImage(const WideString& file) {
  const std::filesystem::path host = HostPath(SystemDirectory() + TEXT('\\') + file);
  const std::string name = ImageName(file, host);
  std::error_code error;
  std::filesystem::create_directory(ImageDirectory(), error);
  std::filesystem::copy_file(host, ImageDirectory() / name,
                             std::filesystem::copy_options::overwrite_existing, error);
  return error ? WideString() : ToWide(name);
}

void PortMonitor::DropImages() {
  std::error_code ignored;
  std::filesystem::remove_all(ImageDirectory(), ignored);
}

std::shared_ptr<PortMonitor> PortMonitor::Load(WideString name, WideString file,
                                               const WideString& image) {
  std::shared_ptr<PortMonitor> monitor(new PortMonitor(std::move(name), std::move(file)));
  monitor->module_ = LoadModule(monitor->file_, image);
  if (monitor->module_ == nullptr || !monitor->Initialize()) return nullptr;
  return monitor;
}

std::shared_ptr<PortMonitor> PortMonitor::Local() {
  std::shared_ptr<PortMonitor> monitor(new PortMonitor(TEXT("Local Port"), TEXT("localspl.dll")));
  monitor->operations_ = LocalPortOperations();
  return monitor;
}

PortMonitor::~PortMonitor() {
  const DWORD error = GetLastError();
  if (module_ != nullptr) FreeLibrary(module_);
  SetLastError(error);
}

// Windows NT 4 knows only the older initialisation, Windows 2000 to Server 2003 both.
bool PortMonitor::Initialize() {
  WideString root = TEXT("System\\CurrentControlSet\\Control\\Print\\Monitors\\") + name_;
  const long major = FactNumber(facts::kMajor, 10);
  if (major >= 5) {
    if (auto* initialize =
            FindExport<decltype(InitializePrintMonitor)>(module_, "InitializePrintMonitor")) {
      ProductCallback callback;
      const MONITOREX* table = initialize(root.data());
      if (table != nullptr) {
        std::memcpy(static_cast<void*>(&operations_), &table->Monitor,
                    std::min<size_t>(table->dwMonitorSize, sizeof operations_));
        return true;
      }
      return KeepingAnError(false);
    }
  }
  if (major < 6) {
    if (auto* initialize =
            FindExport<decltype(InitializeMonitorEx)>(module_, "InitializeMonitorEx")) {
      return KeepingAnError(Call(module_, initialize, root.data(), &operations_));
    }
  }
  SetLastError(ERROR_INVALID_PRINT_MONITOR);
  return false;
}

std::vector<PortRecord> PortMonitor::Ports(DWORD level) const {
  std::vector<PortRecord> ports;
  DWORD needed = 0, returned = 0;
  Call(module_, operations_.pfnEnumPorts, nullptr, level, nullptr, 0, &needed, &returned);
  std::vector<BYTE> buffer(needed);
  if (needed == 0 || !Call(module_, operations_.pfnEnumPorts, nullptr, level, buffer.data(), needed,
                           &needed, &returned)) {
    return ports;
  }
  for (DWORD i = 0; i < returned; ++i) {
    PortRecord& port = ports.emplace_back();
    if (level == 1) {
      port.name = TextOrEmpty(reinterpret_cast<const PORT_INFO_1W*>(buffer.data())[i].pName);
      continue;
    }
    const PORT_INFO_2W& info = reinterpret_cast<const PORT_INFO_2W*>(buffer.data())[i];
    port.name = TextOrEmpty(info.pPortName);
    port.monitor = TextOrEmpty(info.pMonitorName);
    port.description = TextOrEmpty(info.pDescription);
    port.type = info.fPortType;
  }
  return ports;
}

bool PortMonitor::HasPort(WideView port) const {
  const std::vector<PortRecord> ports = Ports(1);
  return std::any_of(ports.begin(), ports.end(), [&](const PortRecord& candidate) {
    return EqualNoCase(candidate.name, port);
  });
}

bool PortMonitor::OpenPort(const WideString& port, HANDLE& handle) const {
  WideString name = port;
  SetLastError(ERROR_SUCCESS);
  return KeepingAnError(Call(module_, operations_.pfnOpenPort, name.data(), &handle));
}

bool PortMonitor::StartDocPort(HANDLE port, const WideString& printer, DWORD job,
                               DOC_INFO_1W& document) const {
  WideString name = printer;
  SetLastError(ERROR_SUCCESS);
  return KeepingAnError(Call(module_, operations_.pfnStartDocPort, port, name.data(), job, DWORD{1},
                             reinterpret_cast<LPBYTE>(&document)));
}

bool PortMonitor::WritePort(HANDLE port, const void* data, DWORD size, DWORD& written) const {
  written = 0;
  SetLastError(ERROR_SUCCESS);
  return KeepingAnError(Call(module_, operations_.pfnWritePort, port,
                             static_cast<LPBYTE>(const_cast<void*>(data)), size, &written));
}

bool PortMonitor::EndDocPort(HANDLE port) const {
  SetLastError(ERROR_SUCCESS);
  return KeepingAnError(Call(module_, operations_.pfnEndDocPort, port));
}

bool PortMonitor::ClosePort(HANDLE port) const {
  SetLastError(ERROR_SUCCESS);
  return KeepingAnError(Call(module_, operations_.pfnClosePort, port));
}

}  // namespace platform
