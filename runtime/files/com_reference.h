// Owning pointers to component objects.
#pragma once

#include "runtime/core/handles.h"

namespace kv {

template <class Interface>
struct ComReferenceTraits {
  using Handle = Interface*;
  static Handle Empty() { return nullptr; }
  static void Close(Handle object) { object->Release(); }
};
// One reference to an object; Get()->Method(…) calls it.
template <class Interface>
using ComReference = UniqueResource<ComReferenceTraits<Interface>>;

// Another interface of an object; an empty reference when it has none of that name.
template <class Wanted, class Interface>
ComReference<Wanted> QueryFor(const ComReference<Interface>& object, REFIID id) {
  ComReference<Wanted> wanted;
  if (object) object.Get()->QueryInterface(id, reinterpret_cast<void**>(wanted.Receive()));
  return wanted;
}

}  // namespace kv
