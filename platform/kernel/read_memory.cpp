// Reading memory of which nobody knows whether it is there.
#include <sys/uio.h>
#include <unistd.h>

#include "platform/kernel/api_call.h"

BOOL WINAPI ReadProcessMemory(HANDLE process, LPCVOID address, LPVOID buffer, SIZE_T size,
                              SIZE_T* read) {
  KV_API(ReadProcessMemory, ERROR_PARTIAL_COPY, FALSE, process, address, buffer, size, read);
  if (read != nullptr) *read = 0;
  if (process != GetCurrentProcess()) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  const iovec local = {buffer, size};
  const iovec remote = {const_cast<void*>(address), size};
  const ssize_t copied = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
  if (read != nullptr && copied > 0) *read = static_cast<SIZE_T>(copied);
  if (copied == static_cast<ssize_t>(size)) return TRUE;
  SetLastError(ERROR_PARTIAL_COPY);
  return FALSE;
}
