// The product's settings, one key for the machine and one for each user.
//
// A flag is on when the machine or the user turns it on. A settings key that cannot be opened reads
// as one without values.
#pragma once

#include "runtime/registry/reg_key.h"

namespace kv {

// (Re)opens the settings below `root` in `key`; other modes do nothing. Below HKEY_LOCAL_MACHINE,
// reading takes the process's own view of the registry and writing the 64-bit view.
void OpenSettings(RegKey& key, HKEY root, KeyMode mode);

class MachineSettingsKey : public RegKey {
 public:
  explicit MachineSettingsKey(KeyMode mode);
};

class UserSettingsKey : public RegKey {
 public:
  explicit UserSettingsKey(KeyMode mode);
  // The settings of the user whose hive `root` is.
  UserSettingsKey(HKEY root, KeyMode mode);
};

// A REG_DWORD setting below `root`, or below HKEY_LOCAL_MACHINE; `otherwise` when it is missing or
// of another type.
DWORD ReadSettingDword(HKEY root, LPCWSTR name, DWORD otherwise);
DWORD ReadMachineSettingDword(LPCWSTR name, DWORD otherwise);
// A text setting, not expanded, into `buffer` of `capacity` characters; returns its length. 0 with
// an empty buffer when it is missing, of another type, or does not fit.
int ReadSettingString(HKEY root, LPCWSTR name, LPWSTR buffer, int capacity);
int ReadMachineSettingString(LPCWSTR name, LPWSTR buffer, int capacity);

// Fills `compatibilityFlags`, `silent` and `appDir` of the startup context. An AppDir of more than
// 259 characters counts as missing.
void ReadStartupSettings();

}  // namespace kv
