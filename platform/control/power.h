// The end of the machine's run, as programs ask for it.
#pragma once

#include <windows.h>

namespace platform {

// The flags (EWX_…) of the last ExitWindowsEx of this process on this machine; nothing follows from
// them. ~0: nobody has asked.
UINT RequestedExit();

}  // namespace platform
