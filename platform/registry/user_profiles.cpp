#include <windows.h>

#include "platform/control/users.h"
#include "platform/registry/initial_keys.h"
#include "platform/security/users.h"

namespace platform {
namespace {

RegistryKey NewHive(WideView path) {
  const std::filesystem::path host = HostPath(path);
  std::filesystem::create_directories(host.parent_path());
  return RegistryKey(Hive::Open(host, {}), KeyTree::kRoot);
}

}  // namespace

WideString MakeProfile(WideView name, bool classes) {
  const std::optional<User> user = User::Named(name);
  if (!user) return {};
  const WideString directory = TEXT("C:\\Users\\") + user->name();
  const WideString local = directory + TEXT("\\AppData\\Local");
  const RegistryKey hive = NewHive(directory + TEXT("\\ntuser.dat"));
  FillUserHive(hive, directory);
  if (classes) {
    const WideString file = local + TEXT("\\Microsoft\\Windows\\UsrClass.dat");
    NewHive(file).Create(TEXT("Local Settings"));
  }
  const RegistryKey entry =
      MakeKey(TEXT("MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\") +
              user->SidText());
  const std::vector<uint8_t> sid = user->UserSid().bytes();
  entry.Set(TEXT("Sid"), REG_BINARY, sid.data(), sid.size());
  entry.SetText(TEXT("ProfileImagePath"), TEXT("%SystemDrive%\\Users\\") + user->name(),
                REG_EXPAND_SZ);
  return user->SidText();
}

}  // namespace platform
