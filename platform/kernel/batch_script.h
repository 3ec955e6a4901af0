// The few commands of batch scripts that programs of the machine use, as the system's shell
// understands them: in the OEM code page, with percent signs and wildcards.
#pragma once

#include "platform/kernel/text.h"

namespace platform {

// Whether the file can be run: its lines are "@echo off", ":LABEL", "goto LABEL",
// "if not exist "PATH" goto LABEL" and "del "PATH"". The error code.
DWORD CheckBatchScript(WideView path);
// Runs the script to its end; the exit status. A loop looks again a few times a second.
int RunBatchScript(WideView path);

}  // namespace platform
