#include "runtime/printing/readable_memory.h"

namespace kv {
namespace {

// No page of the systems that the product runs on is smaller.
constexpr UINT_PTR kPage = 4096;

bool IsByteReadable(UINT_PTR address) {
  BYTE byte;
  return ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(address), &byte,
                           sizeof(byte), nullptr) != FALSE;
}

bool AreBytesReadable(UINT_PTR first, UINT_PTR last) {
  if (!IsByteReadable(first)) return false;
  for (UINT_PTR page = first / kPage + 1; page <= last / kPage; ++page) {
    if (!IsByteReadable(page * kPage)) return false;
  }
  return true;
}

}  // namespace

BOOL IsReadable(const void* address, size_t size) {
  if (size == 0) return TRUE;
  const UINT_PTR first = reinterpret_cast<UINT_PTR>(address);
  const UINT_PTR last = first + (size - 1);
  if (first == 0 || last < first) return FALSE;
  const DWORD error = GetLastError();
  const bool readable = AreBytesReadable(first, last);
  SetLastError(error);
  return readable;
}

}  // namespace kv
