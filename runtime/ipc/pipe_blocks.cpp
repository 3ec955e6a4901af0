#include "runtime/ipc/pipe_blocks.h"

#include <algorithm>
#include <new>

#include "runtime/core/handles.h"
#include "runtime/core/messages.h"

namespace kv {
namespace {

BOOL WritePiece(HANDLE pipe, const void* data, DWORD size) {
  DWORD written = 0;
  if (!WriteFile(pipe, data, size, &written, nullptr)) return ReportFailedCall(TEXT("WriteFile"));
  if (written == size) return TRUE;
  // A pipe that does not wait takes what it has room for.
  SetLastError(ERROR_WRITE_FAULT);
  return ReportFailedCall(TEXT("WriteFile"));
}

}  // namespace

BOOL PipeExists(LPCWSTR name, DWORD timeout) {
  if (WaitNamedPipeW(name, timeout)) return TRUE;
  const DWORD error = GetLastError();
  return error != ERROR_FILE_NOT_FOUND && error != ERROR_BAD_NETPATH &&
         error != ERROR_UNEXP_NET_ERR;
}

HANDLE OpenPipe(LPCWSTR name, DWORD timeout) {
  if (!WaitNamedPipeW(name, timeout)) return nullptr;
  UniqueFile pipe(
      CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!pipe) return nullptr;
  DWORD mode = PIPE_READMODE_MESSAGE;
  SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr);
  return pipe.Release();
}

std::unique_ptr<BYTE[]> ReadFromPipe(HANDLE pipe, DWORD size) {
  if (size == 0) return nullptr;
  std::unique_ptr<BYTE[]> block(new (std::nothrow) BYTE[size]);
  if (block == nullptr) {
    ShowInternalError(TEXT("ReadFromPipe cannot allocate a buffer"));
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  for (DWORD filled = 0; filled < size;) {
    DWORD read = 0;
    BOOL succeeded = ReadFile(pipe, block.get() + filled, size - filled, &read, nullptr);
    if (succeeded && read == 0) {
      // An empty message can be no part of a block.
      SetLastError(ERROR_INVALID_DATA);
      succeeded = FALSE;
    }
    if (!succeeded) {
      ReportFailedCall(TEXT("ReadFile"));
      return nullptr;
    }
    filled += read;
  }
  return block;
}

BOOL WriteSizedBlock(HANDLE pipe, const void* data, DWORD size, DWORD largestPiece) {
  static_assert(sizeof(size) == 4);
  if (!WritePiece(pipe, &size, sizeof(size))) return FALSE;
  if (largestPiece == 0) largestPiece = size;
  const BYTE* next = static_cast<const BYTE*>(data);
  for (DWORD remaining = size; remaining > 0;) {
    const DWORD piece = std::min<DWORD>(remaining, largestPiece);
    if (!WritePiece(pipe, next, piece)) return FALSE;
    next += piece;
    remaining -= piece;
  }
  return TRUE;
}

void ClosePipeServer(HANDLE pipe) {
  if (pipe == nullptr || pipe == INVALID_HANDLE_VALUE) return;
  FlushFileBuffers(pipe);
  DisconnectNamedPipe(pipe);
  CloseHandle(pipe);
}

}  // namespace kv
