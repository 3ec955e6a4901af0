// Where the system keeps its own things, and the making of a fresh machine.
#pragma once

#include "platform/kernel/machine.h"
#include "platform/kernel/text.h"

namespace platform {

// "C:\Windows" and so on, without a backslash at the end.
WideString WindowsDirectory();
WideString SystemDirectory();
WideString UserProfileDirectory();
WideString TempDirectory();

// Makes the directories and the system's files of a machine that has none yet. Called with the
// machine already current.
void PrepareMachine(Machine& machine);

}  // namespace platform
