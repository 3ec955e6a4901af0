// Loaded modules: host modules (shared objects under a .dll name), libraries of resources only, and
// the system's own libraries.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/kernel/pe_image.h"

namespace platform {

// The resources of a loaded module, the program's for null. Null when the handle is not a module
// (ERROR_MOD_NOT_FOUND) or the module carries none (ERROR_RESOURCE_DATA_NOT_FOUND).
std::shared_ptr<const PeImage> ResourcesOf(HMODULE module, DWORD& error);

// The resources that a file carries: a PE image, or the image in a host module's .kvrsrc section.
// ERROR_BAD_EXE_FORMAT for other files.
DWORD ReadResources(int descriptor, std::shared_ptr<const PeImage>& image);

// The path of a module, that of the program for null; empty for what is no module.
WideString ModulePath(HMODULE module);

// LoadLibraryW of a path, but the module's code and resources come from the host file `image`, for
// a file that was replaced since it was loaded elsewhere. Null with the last error.
HMODULE LoadModuleImage(WideView path, const std::filesystem::path& image);

}  // namespace platform
