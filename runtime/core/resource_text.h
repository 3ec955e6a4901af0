// Texts of the language resource library, and their inserts.
//
// A template marks its inserts with ^1 to ^8, without gaps from 1 on; each may occur more than
// once. A caret before anything else stands for itself. An inserted text is not searched for
// inserts again. What does not fit is cut, but no character of two units is halved. No insert may
// lie in the output.
#pragma once

#include <span>

#include "runtime/core/win.h"

namespace kv {

// The texts for inserts 1, 2, …; a null one stands for the empty text.
using Inserts = std::span<const LPCWSTR>;

// The inserts that a variadic function was called with, as long as the full expression lives.
template <class... Texts>
class InsertList {
 public:
  explicit InsertList(Texts... texts) : texts_{texts..., nullptr} {}
  operator Inserts() const { return Inserts(texts_, sizeof...(Texts)); }

 private:
  LPCWSTR texts_[sizeof...(Texts) + 1];
};

// The string `number` with its inserts filled, in `output` of `capacity` characters (cut to fit);
// empty when no library is loaded or the number has no text. Returns `output`.
LPWSTR LoadResourceStringV(LPWSTR output, int capacity, UINT number, Inserts inserts);
template <class... Texts>
LPWSTR LoadResourceString(LPWSTR output, int capacity, UINT number, Texts... inserts) {
  return LoadResourceStringV(output, capacity, number, InsertList<Texts...>(inserts...));
}

// Fills `text` into `output` of `capacity` characters, which may be `text` itself; cut to fit. As
// many of `inserts` are used as there are different insert numbers in the template; a number above
// that count (a template with gaps) gives the empty text. Without memory for a copy of a template
// that is filled in place, `output` is emptied. Returns `output`.
LPWSTR FillInserts(LPCWSTR text, LPWSTR output, int capacity, Inserts inserts);
LPWSTR FillTwoInserts(LPCWSTR text, LPWSTR output, int capacity, LPCWSTR insert1, LPCWSTR insert2);
template <class... Texts>
LPWSTR FillInsertsInPlace(LPWSTR buffer, int capacity, Texts... inserts) {
  return FillInserts(buffer, buffer, capacity, InsertList<Texts...>(inserts...));
}

}  // namespace kv
