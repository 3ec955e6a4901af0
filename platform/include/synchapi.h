// Waiting, and what threads and processes wait for.
#pragma once

#include <minwinbase.h>

#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 ((DWORD)0x00000000)
#define WAIT_ABANDONED ((DWORD)0x00000080)
#define WAIT_ABANDONED_0 ((DWORD)0x00000080)
#define WAIT_FAILED ((DWORD)0xFFFFFFFF)
#define MAXIMUM_WAIT_OBJECTS 64

// Only the functions below know what the members hold.
typedef struct _RTL_CRITICAL_SECTION {
  PVOID DebugInfo;
  LONG LockCount;
  LONG RecursionCount;
  HANDLE OwningThread;
  HANDLE LockSemaphore;
  ULONG_PTR SpinCount;
} CRITICAL_SECTION, *LPCRITICAL_SECTION;
static_assert(sizeof(CRITICAL_SECTION) == (sizeof(void*) == 4 ? 24 : 40));

extern "C" {
void WINAPI Sleep(DWORD milliseconds);

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section);
void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);
void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);

// Objects by name: "Global\\NAME" for all sessions, "Local\\NAME" or "NAME" for the caller's
// session; null or empty: without a name. At most MAX_PATH characters (ERROR_FILENAME_EXCED_RANGE),
// case counts, no further backslash (ERROR_PATH_NOT_FOUND). Mutexes, events and mappings share one
// set of names: ERROR_INVALID_HANDLE when the name is another kind's. What exists already is opened
// with ERROR_ALREADY_EXISTS as last error, a new object leaves ERROR_SUCCESS. An object goes with
// its last handle. Security descriptors are not looked at.
HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initial_owner, LPCWSTR name);
// ERROR_FILE_NOT_FOUND when there is none.
HANDLE WINAPI OpenMutexW(DWORD access, BOOL inherit, LPCWSTR name);
// ERROR_NOT_OWNER when the calling thread does not own it.
BOOL WINAPI ReleaseMutex(HANDLE mutex);
HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                           LPCWSTR name);
BOOL WINAPI SetEvent(HANDLE event);

// Mutexes, events, threads, processes. A mutex whose owner ended is given with WAIT_ABANDONED.
DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
// 1 to 64 objects. With `all` only a poll (0 ms) of several objects exists here; other waits for
// all fail with ERROR_CALL_NOT_IMPLEMENTED.
DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all,
                                    DWORD milliseconds);
}
