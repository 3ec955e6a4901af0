// Small pieces of executable code that carry the address of an object.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Code to be copied. It holds the four bytes 0x17171717 once, as the value that it loads as the
// object's address; in 64 bits four zero bytes follow them.
struct CodeTemplate {
  const BYTE* begin;
  const BYTE* end;
};

// A callback with up to three arguments, none wider than a pointer, calls the second virtual
// operation of an object, whose first one is its destructor.
CodeTemplate HookTemplate();
// The same for the first virtual operation of an object without a virtual destructor.
CodeTemplate EnumerationTemplate();
// Both operations are declared CALLBACK and take the callback's arguments; the object begins with
// its table (it has a virtual operation and no base without one).

// Owns one executable copy of a template.
class CCodeThunk {
 public:
  CCodeThunk() = default;
  CCodeThunk(const CCodeThunk&) = delete;
  CCodeThunk& operator=(const CCodeThunk&) = delete;
  ~CCodeThunk() { Free(); }

  // Copies the template with the object's address in place of the marker and returns the copy,
  // which this object keeps until it is built again or destroyed. Null when the template holds no
  // marker, or the memory cannot be had or made executable.
  void* Build(const CodeTemplate& code, const void* object);
  template <class Function>
  Function BuildAs(const CodeTemplate& code, const void* object) {
    return reinterpret_cast<Function>(Build(code, object));
  }

 private:
  void Free();

  void* code_ = nullptr;
};

}  // namespace kv
