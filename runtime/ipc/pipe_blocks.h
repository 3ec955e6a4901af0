// Named pipes that carry blocks: a size of 32 bits, little-endian, then that many bytes.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// FALSE when no server has a pipe of that name (or the server is not there); TRUE when it has, also
// when all instances are still taken after `timeout` milliseconds (0: the pipe's own default).
// Failures leave WaitNamedPipeW's last error.
BOOL PipeExists(LPCWSTR name, DWORD timeout);
// Connects as a client, for reading and writing whole messages. Null, with the last error, when no
// instance becomes free within `timeout` milliseconds or the connection fails. The caller closes
// the handle.
HANDLE OpenPipe(LPCWSTR name, DWORD timeout);

// Reads exactly `size` bytes, which may come in several messages but not as part of a longer one.
// Empty for size 0, which sets no last error, and, after a report and with the last error, when
// memory runs out, reading fails, the message is longer than what is still wanted
// (ERROR_MORE_DATA), or an empty message comes (ERROR_INVALID_DATA).
std::unique_ptr<BYTE[]> ReadFromPipe(HANDLE pipe, DWORD size);
// Sends the size and then the data in pieces of at most `largestPiece` bytes (0: in one piece).
// FALSE, after a report and with the last error, when that fails or takes less than all
// (ERROR_WRITE_FAULT); what has been sent stays sent.
BOOL WriteSizedBlock(HANDLE pipe, const void* data, DWORD size, DWORD largestPiece);

// Ends a server's instance after the client has read what was written. Null and
// INVALID_HANDLE_VALUE are ignored.
void ClosePipeServer(HANDLE pipe);

}  // namespace kv
