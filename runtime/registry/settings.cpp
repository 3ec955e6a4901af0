#include "runtime/registry/settings.h"

#include "runtime/core/product.h"
#include "runtime/core/startup_context.h"

namespace kv {
namespace {

DWORD ReadFlags(LPCWSTR name) {
  return ReadMachineSettingDword(name, 0) | ReadSettingDword(HKEY_CURRENT_USER, name, 0);
}

}  // namespace

void OpenSettings(RegKey& key, HKEY root, KeyMode mode) {
  if (mode == KeyMode::kRead) key.Open(root, kSettingsRoot);
  if (mode == KeyMode::kWrite) key.Create64(root, kSettingsRoot);
}

MachineSettingsKey::MachineSettingsKey(KeyMode mode) {
  OpenSettings(*this, HKEY_LOCAL_MACHINE, mode);
}

UserSettingsKey::UserSettingsKey(KeyMode mode) : UserSettingsKey(HKEY_CURRENT_USER, mode) {}

UserSettingsKey::UserSettingsKey(HKEY root, KeyMode mode) {
  OpenSettings(*this, root, mode);
}

DWORD ReadSettingDword(HKEY root, LPCWSTR name, DWORD otherwise) {
  return UserSettingsKey(root, KeyMode::kRead).GetDword(name, otherwise);
}

DWORD ReadMachineSettingDword(LPCWSTR name, DWORD otherwise) {
  return ReadSettingDword(HKEY_LOCAL_MACHINE, name, otherwise);
}

int ReadSettingString(HKEY root, LPCWSTR name, LPWSTR buffer, int capacity) {
  return UserSettingsKey(root, KeyMode::kRead).ReadString(name, buffer, capacity, Expand::kNo);
}

int ReadMachineSettingString(LPCWSTR name, LPWSTR buffer, int capacity) {
  return ReadSettingString(HKEY_LOCAL_MACHINE, name, buffer, capacity);
}

void ReadStartupSettings() {
  startupContext.compatibilityFlags = ReadFlags(TEXT("Compatibility"));
  startupContext.silent = ReadFlags(TEXT("Silent"));
  ReadMachineSettingString(TEXT("AppDir"), startupContext.appDir, MAX_PATH);
}

}  // namespace kv
