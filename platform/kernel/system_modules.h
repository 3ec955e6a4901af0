// The system's own libraries: which there are, and which of their functions can be found by name.
#pragma once

#include "platform/kernel/system_version.h"
#include "platform/kernel/text.h"

namespace platform {

struct SystemFunction {
  const char* name;
  Availability since;
  // The layer's symbol where it has another name.
  const char* symbol = nullptr;
};

struct SystemModule {
  const char* file_name;
  // Part of every process from its start.
  bool always_loaded;
  Availability since;
  const SystemFunction* functions;
  size_t function_count;
};

// Whether the installed system has the library: by its version, or as the machine's facts say.
bool IsInstalled(const SystemModule& module);
// The library of this file name, with or without ".dll" and without regard to case; null when the
// name is not one of the system's.
const SystemModule* FindSystemModule(WideView base_name);

// The layer's function behind an export; null when this system does not have it.
FARPROC FindSystemFunction(const SystemModule& module, const char* name);

// All that any system has.
const SystemModule* SystemModulesBegin();
const SystemModule* SystemModulesEnd();

}  // namespace platform
