// SIDs, and what the system keeps behind security identifiers.
#pragma once

#include <memory>

#include "runtime/core/handles.h"
#include "runtime/core/win.h"

namespace kv {

// A SID in a block of the library's heap.
class HeapSid {
 public:
  HeapSid() = default;
  // A block of `size` bytes; empty when memory runs out.
  static HeapSid Allocate(DWORD size);

  PSID Get() const { return block_.get(); }
  explicit operator bool() const { return block_ != nullptr; }
  void Reset() { block_.reset(); }

 private:
  std::unique_ptr<BYTE[]> block_;
};

struct SystemSidTraits {
  using Handle = PSID;
  static Handle Empty() { return nullptr; }
  static void Close(Handle sid) { FreeSid(sid); }
};
// A SID from AllocateAndInitializeSid.
using SystemSid = UniqueResource<SystemSidTraits>;

// S-1-5-32-544 and S-1-5-32-545; empty on failure, with AllocateAndInitializeSid's last error.
SystemSid CreateAdministratorsSid();
SystemSid CreateUsersSid();

}  // namespace kv
