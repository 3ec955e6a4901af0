// Named pipes.
#pragma once

#include <minwinbase.h>

#define PIPE_ACCESS_DUPLEX 0x00000003
#define PIPE_TYPE_MESSAGE 0x00000004
#define PIPE_READMODE_MESSAGE 0x00000002
#define PIPE_UNLIMITED_INSTANCES 255
#define NMPWAIT_USE_DEFAULT_WAIT 0x00000000

extern "C" {
// Pipes of this machine that carry messages both ways, which ReadFile and WriteFile move whole; a
// longer message than the read asks for comes in parts with ERROR_MORE_DATA (reading mode
// PIPE_READMODE_MESSAGE). When the other end has gone reading fails with ERROR_BROKEN_PIPE, writing
// with ERROR_NO_DATA, both with ERROR_PIPE_NOT_CONNECTED once the server has disconnected. Other
// kinds of pipes fail with ERROR_CALL_NOT_IMPLEMENTED. The sizes and the security are not looked
// at.
//
// An instance waits for a client as soon as it is made. ERROR_PIPE_BUSY when there are as many as
// the first one allowed.
HANDLE WINAPI CreateNamedPipeW(LPCWSTR name, DWORD open_mode, DWORD pipe_mode, DWORD most_instances,
                               DWORD out_size, DWORD in_size, DWORD default_timeout,
                               LPSECURITY_ATTRIBUTES attributes);
// ERROR_PIPE_CONNECTED when a client was there before, ERROR_NO_DATA when it has gone again.
BOOL WINAPI ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped);
// What the client has not read is lost.
BOOL WINAPI DisconnectNamedPipe(HANDLE pipe);
// Waits until an instance is free: ERROR_FILE_NOT_FOUND when there is no such pipe,
// ERROR_SEM_TIMEOUT when all stay taken, ERROR_BAD_NETPATH for other machines.
BOOL WINAPI WaitNamedPipeW(LPCWSTR name, DWORD timeout);
BOOL WINAPI SetNamedPipeHandleState(HANDLE pipe, LPDWORD mode, LPDWORD most_collected,
                                    LPDWORD collect_timeout);
// Waits until the other end of a pipe has read everything; files: ERROR_CALL_NOT_IMPLEMENTED.
BOOL WINAPI FlushFileBuffers(HANDLE file);
}
