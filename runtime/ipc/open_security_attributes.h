// Security attributes of objects that everybody may open.
#pragma once

#include "runtime/core/handles.h"
#include "runtime/core/win.h"

namespace kv {

struct LocalMemoryTraits {
  using Handle = HLOCAL;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { LocalFree(handle); }
};
using UniqueLocal = UniqueResource<LocalMemoryTraits>;

// Lets every user do everything and, from Windows Vista on, processes of every integrity level
// write.
class COpenSecurityAttributes {
 public:
  // `inherit`: whether started processes inherit the handles of objects made with it.
  explicit COpenSecurityAttributes(BOOL inherit);
  COpenSecurityAttributes(const COpenSecurityAttributes&) = delete;
  COpenSecurityAttributes& operator=(const COpenSecurityAttributes&) = delete;
  // Frees in the order of the fields.
  ~COpenSecurityAttributes();

  // Lives as long as the object; null when it could not be built.
  SECURITY_ATTRIBUTES* Get() const { return static_cast<SECURITY_ATTRIBUTES*>(attributes_.Get()); }

 private:
  BOOL BuildDescriptor();
  BOOL AddLowLabel();

  UniqueLocal attributes_;
  UniqueLocal descriptor_;
  UniqueLocal label_;  // self-relative; owns the label that the first descriptor borrows
};

}  // namespace kv
