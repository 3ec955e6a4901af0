#include "platform/spooler/user_printers.h"

#include <algorithm>

#include "platform/registry/registry.h"

namespace platform {
namespace {

constexpr const WCHAR* kUserDevModes = TEXT("Printers\\DevModePerUser");
constexpr const WCHAR* kConnections = TEXT("Printers\\Connections");

RegistryPath UserPath(WideView path) {
  RegistryPath whole = Registry::Current().RootPath(HKEY_CURRENT_USER);
  for (auto& name : SplitPath(path)) whole.push_back(std::move(name));
  return whole;
}

RegistryKey FindUserKey(WideView path) {
  return Registry::Current().Find(UserPath(path));
}

}  // namespace

Bytes ReadUserDevMode(WideView printer) {
  const RegistryKey key = FindUserKey(kUserDevModes);
  if (!key) return {};
  auto value = key.Value(printer);
  return value && value->type == REG_BINARY ? std::move(value->data) : Bytes();
}

bool WriteUserDevMode(WideView printer, const Bytes& mode) {
  if (mode.empty()) {
    const RegistryKey key = FindUserKey(kUserDevModes);
    if (key) key.DeleteValue(printer);
    return true;
  }
  RegistryKey key;
  bool created = false;
  return Registry::Current().Create(UserPath(kUserDevModes), key, created) == ERROR_SUCCESS &&
         key.Set(printer, REG_BINARY, mode.data(), mode.size());
}

std::vector<WideString> ReadConnections() {
  const RegistryKey key = FindUserKey(kConnections);
  std::vector<WideString> names = key ? key.SubKeys() : std::vector<WideString>();
  for (WideString& name : names) std::replace(name.begin(), name.end(), TEXT(','), TEXT('\\'));
  return names;
}

bool WriteConnection(WideView printer) {
  WideString name(printer);
  std::replace(name.begin(), name.end(), TEXT('\\'), TEXT(','));
  RegistryKey key;
  bool created = false;
  return Registry::Current().Create(UserPath(kConnections + (TEXT("\\") + name)), key, created) ==
             ERROR_SUCCESS &&
         key.SetText(TEXT("Provider"), TEXT("win32spl.dll"));
}

void AddDeviceEntry(WideView printer, WideView port) {
  WriteProfileStringW(TEXT("Devices"), WideString(printer).c_str(),
                      (TEXT("winspool,") + WideString(port)).c_str());
}

void RemoveDeviceEntry(WideView printer) {
  WriteProfileStringW(TEXT("Devices"), WideString(printer).c_str(), nullptr);
}

}  // namespace platform
