// A half turn exchanges each row with its opposite one and mirrors both on the way, so that every
// byte is read and written once.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "runtime/graphics/registers.h"
#include "runtime/graphics/turn_bits.h"

namespace kv {
namespace {

__m128i ReverseDwords(__m128i x) {
  return _mm_shuffle_epi32(x, _MM_SHUFFLE(0, 1, 2, 3));
}
__m128i ReverseWords(__m128i x) {
  x = _mm_shufflelo_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
  x = _mm_shufflehi_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
  return ReverseDwords(x);
}
__m128i ReverseBytes(__m128i x) {
  return ReverseWords(_mm_or_si128(_mm_slli_epi16(x, 8), _mm_srli_epi16(x, 8)));
}

// Depths of whole bytes: how a block of kPixels pixels is mirrored. Both blocks are read before one
// is written.
struct Pixels8 {
  static constexpr int kBytes = 1, kPixels = 16;
  static void Exchange(BYTE* a, BYTE* b) {
    const __m128i x = Load(a), y = Load(b);
    Store(a, ReverseBytes(y));
    Store(b, ReverseBytes(x));
  }
};
struct Pixels16 {
  static constexpr int kBytes = 2, kPixels = 8;
  static void Exchange(BYTE* a, BYTE* b) {
    const __m128i x = Load(a), y = Load(b);
    Store(a, ReverseWords(y));
    Store(b, ReverseWords(x));
  }
};
struct Pixels24 {
  static constexpr int kBytes = 3, kPixels = 4;
  static void Exchange(BYTE* a, BYTE* b) {
    const DWORD a0 = Word(a), a1 = Word(a + 4), a2 = Word(a + 8);
    const DWORD b0 = Word(b), b1 = Word(b + 4), b2 = Word(b + 8);
    WriteMirrored(a0, a1, a2, b);
    WriteMirrored(b0, b1, b2, a);
  }
  // Four pixels lie in three words as 1000, 2211 and 3332 (the highest byte first).
  static void WriteMirrored(DWORD word0, DWORD word1, DWORD word2, BYTE* to) {
    const DWORD p1 = word0 >> 24 | word1 << 8, p2 = word1 >> 16 | word2 << 16, p3 = word2 >> 8;
    SetWord(to, p3 | p2 << 24);
    SetWord(to + 4, (p2 >> 8 & 0xFFFF) | p1 << 16);
    SetWord(to + 8, (p1 >> 16 & 0xFF) | word0 << 8);
  }
  static DWORD Word(const BYTE* from) {
    DWORD word;
    std::memcpy(&word, from, sizeof word);
    return word;
  }
  static void SetWord(BYTE* to, DWORD word) { std::memcpy(to, &word, sizeof word); }
};
struct Pixels32 {
  static constexpr int kBytes = 4, kPixels = 4;
  static void Exchange(BYTE* a, BYTE* b) {
    const __m128i x = Load(a), y = Load(b);
    Store(a, ReverseDwords(y));
    Store(b, ReverseDwords(x));
  }
};

// Exchanges pixel i of one run with pixel count - 1 - i of another; the runs do not overlap.
template <class Pixels>
void ExchangeMirrored(BYTE* a, BYTE* b, int count) {
  constexpr size_t kBlock = size_t{Pixels::kPixels} * Pixels::kBytes;
  b += static_cast<size_t>(count) * Pixels::kBytes;
  for (; count >= Pixels::kPixels; count -= Pixels::kPixels) {
    b -= kBlock;
    Pixels::Exchange(a, b);
    a += kBlock;
  }
  for (; count > 0; --count, a += Pixels::kBytes) {
    b -= Pixels::kBytes;
    std::swap_ranges(a, a + Pixels::kBytes, b);
  }
}

template <class Pixels>
void TurnWholeBytes(BYTE* bits, int width, int height) {
  const auto stride = static_cast<size_t>(DibStride(width, Pixels::kBytes * 8));
  const size_t used = static_cast<size_t>(width) * Pixels::kBytes;
  BYTE* upper = bits;
  BYTE* lower = bits + stride * (height - 1);
  for (; upper < lower; upper += stride, lower -= stride) {
    ExchangeMirrored<Pixels>(upper, lower, width);
    std::swap_ranges(upper + used, upper + stride, lower + used);
  }
  if (upper == lower) {
    const int half = width / 2;
    ExchangeMirrored<Pixels>(upper, upper + used - static_cast<size_t>(half) * Pixels::kBytes,
                             half);
  }
}

// Exchanges the neighbouring groups of `kBits` bits in each byte.
template <int kBits>
__m128i ExchangeGroups(__m128i x, BYTE upperGroups) {
  const __m128i upper = _mm_set1_epi8(static_cast<char>(upperGroups));
  return _mm_or_si128(_mm_srli_epi16(_mm_and_si128(x, upper), kBits),
                      _mm_and_si128(upper, _mm_slli_epi16(x, kBits)));
}

// The pixels of each byte in reverse.
template <int kDepth>
__m128i ReversePixelsOfBytes(__m128i x) {
  x = ExchangeGroups<4>(x, 0xF0);
  if (kDepth <= 2) x = ExchangeGroups<2>(x, 0xCC);
  if (kDepth == 1) x = ExchangeGroups<1>(x, 0xAA);
  return x;
}

// Rows of pixels narrower than bytes. Scratch holds copies of two rows, with room in front of and
// behind each that a register may be read from.
template <int kDepth>
class PackedRows {
 public:
  PackedRows(int width, int height)
      : height_(height),
        stride_(static_cast<size_t>(DibStride(width, kDepth))),
        bytes_((static_cast<size_t>(width) * kDepth + 7) / 8),
        unused_(static_cast<int>(bytes_ * 8 - static_cast<size_t>(width) * kDepth)),
        scratch_(new (std::nothrow) BYTE[2 * ScratchRow()]()) {}

  BOOL Turn(BYTE* bits) {
    if (scratch_ == nullptr) return FALSE;
    BYTE* const first = scratch_.get() + kRegister;
    BYTE* const second = first + ScratchRow();
    BYTE* upper = bits;
    BYTE* lower = bits + stride_ * (height_ - 1);
    for (; upper <= lower; upper += stride_, lower -= stride_) {
      std::memcpy(first, upper, stride_);
      std::memcpy(second, lower, stride_);
      WriteMirrored(second, upper);
      if (upper != lower) WriteMirrored(first, lower);
    }
    return TRUE;
  }

 private:
  size_t ScratchRow() const { return stride_ + 2 * kRegister; }

  // Reads backwards, each byte together with the low bits of the one before it, to which the pixels
  // move that the unused bits at the row's end leave room for.
  void WriteMirrored(const BYTE* row, BYTE* to) const {
    const __m128i right = _mm_cvtsi32_si128(unused_), left = _mm_cvtsi32_si128(8 - unused_);
    const __m128i fromRight = _mm_set1_epi8(static_cast<char>(0xFF >> unused_));
    for (size_t done = 0; done < bytes_; done += kRegister) {
      const BYTE* from = row + bytes_ - done - kRegister;
      const __m128i here = _mm_and_si128(_mm_srl_epi16(Load(from), right), fromRight);
      const __m128i before = _mm_andnot_si128(fromRight, _mm_sll_epi16(Load(from - 1), left));
      const __m128i mirrored =
          ReverseBytes(ReversePixelsOfBytes<kDepth>(_mm_or_si128(here, before)));
      if (bytes_ - done >= kRegister) {
        Store(to + done, mirrored);
      } else {
        BYTE rest[kRegister];
        Store(rest, mirrored);
        std::memcpy(to + done, rest, bytes_ - done);
      }
    }
    const auto unusedBits = static_cast<BYTE>((1 << unused_) - 1);
    BYTE& last = to[bytes_ - 1];
    last = static_cast<BYTE>((last & ~unusedBits) | (row[bytes_ - 1] & unusedBits));
    std::memcpy(to + bytes_, row + bytes_, stride_ - bytes_);
  }

  int height_;
  size_t stride_, bytes_;  // of a row, and of those the ones with pixels
  int unused_;             // bits of the last of them
  std::unique_ptr<BYTE[]> scratch_;
};

}  // namespace

BOOL TurnBitsHalf(BYTE* bits, int width, int height, int bitsPerPixel) {
  switch (bitsPerPixel) {
    case 1:
      return PackedRows<1>(width, height).Turn(bits);
    case 2:
      return PackedRows<2>(width, height).Turn(bits);
    case 4:
      return PackedRows<4>(width, height).Turn(bits);
    case 8:
      TurnWholeBytes<Pixels8>(bits, width, height);
      return TRUE;
    case 16:
      TurnWholeBytes<Pixels16>(bits, width, height);
      return TRUE;
    case 24:
      TurnWholeBytes<Pixels24>(bits, width, height);
      return TRUE;
    case 32:
      TurnWholeBytes<Pixels32>(bits, width, height);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace kv
