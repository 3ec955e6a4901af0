// The platform's headers, in the one order that works, without the macros that hide names of ours.
#pragma once

#include <stdio.h>
#include <wchar.h>
#include <windows.h>
// winsplp.h builds on the types of winspool.h.
#include <winsplp.h>
#include <winspool.h>

#undef AddPort
#undef ConfigurePort
#undef DeletePort
#undef EnumPorts
#undef CreateMutex
#undef OpenMutex
#undef GetUserName
