#include "runtime/ipc/shared_counter.h"

namespace kv {
namespace {

class LockScope {
 public:
  explicit LockScope(CSharedMemory& memory) : memory_(memory) { memory_.Lock(); }
  ~LockScope() { memory_.Unlock(); }
  LockScope(const LockScope&) = delete;
  LockScope& operator=(const LockScope&) = delete;

 private:
  CSharedMemory& memory_;
};

}  // namespace

BOOL CSharedCounter::Create(LPCWSTR mappingName, BOOL useMutex, LPCWSTR mutexName) {
  if (useMutex && CreateMutex(mutexName) == kNotCreated) return FALSE;
  if (MapCounter(mappingName)) return TRUE;
  Close();
  return FALSE;
}

BOOL CSharedCounter::MapCounter(LPCWSTR mappingName) {
  const LockScope lock(*this);
  if (IsOpen()) return TRUE;
  const Creation creation = MapBlock(TRUE, mappingName, sizeof(LONG), Quiet::kNo);
  if (creation == kCreated) Value() = 0;
  return creation != kNotCreated;
}

BOOL CSharedCounter::Replace(LONG expected, LONG value) {
  if (!IsOpen()) return FALSE;
  const LockScope lock(*this);
  if (Value() != expected) return FALSE;
  Value() = value;
  return TRUE;
}

void CSharedCounter::DecrementAboveZero() {
  if (!IsOpen()) return;
  const LockScope lock(*this);
  const LONG value = Value();
  if (value > 0) Value() = value - 1;
}

LONG CSharedCounter::Add(LONG difference) {
  if (!IsOpen()) return 0;
  const LockScope lock(*this);
  const LONG value =
      static_cast<LONG>(static_cast<DWORD>(Value()) + static_cast<DWORD>(difference));
  Value() = value;
  return value;
}

}  // namespace kv
