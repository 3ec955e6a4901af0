// The common controls in use: the progress bar.
#pragma once

#include <winuser.h>

#define PROGRESS_CLASSW TEXT("msctls_progress32")
#define PBS_SMOOTH 0x01
#define PBM_SETPOS (WM_USER + 2)
#define PBM_SETSTEP (WM_USER + 4)
#define PBM_STEPIT (WM_USER + 5)
#define PBM_SETRANGE32 (WM_USER + 6)
#define PBM_GETRANGE (WM_USER + 7)
#define PBM_GETPOS (WM_USER + 8)

typedef struct {
  int iLow;
  int iHigh;
} PBRANGE;
static_assert(sizeof(PBRANGE) == 8);

extern "C" {
// Makes the classes of the common controls known.
void WINAPI InitCommonControls();
}
