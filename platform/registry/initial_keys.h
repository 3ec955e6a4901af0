// What the registry of a freshly installed machine holds.
#pragma once

#include "platform/registry/registry.h"

namespace platform {

// Each takes the root of the empty hive.
void FillSoftwareHive(const RegistryKey& root);
void FillSystemHive(const RegistryKey& root);
void FillUserHive(const RegistryKey& root, WideView profile_directory);

// Writes what tells the Windows version again, after the facts have changed.
void UpdateVersionKeys();

}  // namespace platform
