// Waiting.
#pragma once

#include <minwinbase.h>

#define INFINITE 0xFFFFFFFF

extern "C" {
void WINAPI Sleep(DWORD milliseconds);
}
