// The 16-byte registers that every processor of the product has.
#pragma once

#include <emmintrin.h>

#include "runtime/core/win.h"

namespace kv {

inline constexpr size_t kRegister = sizeof(__m128i);

// From and to any address.
inline __m128i Load(const BYTE* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}
inline void Store(BYTE* to, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

}  // namespace kv
