// Critical sections. The owner is the thread's id, the lock count the number of threads that wait.
#include <unistd.h>
#include <windows.h>

#include <atomic>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"

namespace platform {
namespace {

std::atomic_ref<HANDLE> OwnerOf(CRITICAL_SECTION& section) {
  return std::atomic_ref<HANDLE>(section.OwningThread);
}
std::atomic_ref<LONG> WaitersOf(CRITICAL_SECTION& section) {
  return std::atomic_ref<LONG>(section.LockCount);
}

bool TryEnter(CRITICAL_SECTION& section) {
  const HANDLE self = reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(gettid()));
  HANDLE owner = nullptr;
  if (!OwnerOf(section).compare_exchange_strong(owner, self) && owner != self) return false;
  ++section.RecursionCount;
  return true;
}

}  // namespace
}  // namespace platform

using namespace platform;

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section) {
  KV_API_VOID(InitializeCriticalSection, section);
  *section = {};
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section) {
  KV_API_VOID(EnterCriticalSection, section);
  if (TryEnter(*section)) return;
  ++WaitersOf(*section);
  WaitOnClock(kNever, [&] { return TryEnter(*section); });
  --WaitersOf(*section);
}

BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section) {
  KV_API_NOFAIL(TryEnterCriticalSection, FALSE, section);
  return TryEnter(*section);
}

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section) {
  KV_API_VOID(LeaveCriticalSection, section);
  if (--section->RecursionCount != 0) return;
  OwnerOf(*section) = nullptr;
  if (WaitersOf(*section) != 0) WakeWaiters();
}

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section) {
  KV_API_VOID(DeleteCriticalSection, section);
  *section = {};
}
