#include "runtime/ipc/critical_section.h"

namespace kv {
namespace {

constexpr DWORD kPause = 100;

}  // namespace

BOOL CCriticalSection::TryEnterFor(DWORD milliseconds) {
  if (milliseconds == 0) return TryEnter();
  const DWORD deadline = GetTickCount() + milliseconds;
  while (!TryEnter()) {
    if (GetTickCount() > deadline) return FALSE;
    Sleep(kPause);
  }
  return TRUE;
}

}  // namespace kv
