// The objects that the system keeps for every process.
#pragma once

#include <windows.h>

namespace platform {

// The handle of a stock object; null for one that there is not.
HGDIOBJ StockObject(int index);
// The bitmap of a memory context that has no other yet.
HBITMAP StockBitmap();

}  // namespace platform
