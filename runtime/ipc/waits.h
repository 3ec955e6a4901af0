// Waits that keep the windows of the waiting thread alive.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Waits for one, or with `waitAll` for each, of `count` kernel objects (at most 63) behind a
// progress window of the class `className` with `title`, `text`, and `cancelText` on its Cancel
// button (null or empty: the product's own text). A time-out (milliseconds, INFINITE allowed) shows
// as the window's bar. TRUE when the wait was satisfied, at once when `count` is below 1; without a
// window when it is satisfied from the start. FALSE when the time ran out, the user cancelled, the
// thread was told to quit (which it goes on being told), the owner of a mutex had died (the mutex
// is free then), or the window could not be made. The array is not changed; with `waitAll` objects
// are taken one by one, and those taken stay so when the wait ends early.
BOOL WaitForMultipleObjectsWithProgress(const HANDLE* handles, int count, BOOL waitAll,
                                        DWORD timeout, LPCWSTR className, LPCWSTR title,
                                        LPCWSTR text, LPCWSTR cancelText);

// Waits until a print job has been printed or is gone, on the 9x family until the printer's queue
// is empty; handles the thread's messages four times a second. Nothing for an empty printer name,
// job 0, and a printer that cannot be opened.
void WaitForPrintJob(LPCWSTR printerName, DWORD jobId);

// Waits without limit for a thread's end; its exit code, 0 when that cannot be read.
DWORD WaitForThreadExit(HANDLE thread);

}  // namespace kv
