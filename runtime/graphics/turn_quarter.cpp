// A quarter turn goes tile by tile: the source's part is gathered into a block that the first-level
// cache holds whatever the rows' distance is, turned there by exchanges of whole registers, and
// written out in runs that fill cache lines. Tiles at the edges are turned like others and cut when
// they are written, so that no pixel is treated by itself.
#include <algorithm>
#include <cstring>

#include "runtime/graphics/registers.h"
#include "runtime/graphics/turn_bits.h"

namespace kv {
namespace {

// Deals the rows of the upper and of the lower half out in turn, element by element. A square of
// n by n elements is turned into its columns by log2(n) rounds of it.
template <size_t kRows, class Low, class High>
void Deal(__m128i (&rows)[kRows], Low low, High high) {
  __m128i dealt[kRows];
  for (size_t i = 0; i < kRows / 2; ++i) {
    dealt[2 * i] = low(rows[i], rows[i + kRows / 2]);
    dealt[2 * i + 1] = high(rows[i], rows[i + kRows / 2]);
  }
  for (size_t i = 0; i < kRows; ++i) rows[i] = dealt[i];
}

void TransposeBytes(__m128i (&rows)[16]) {
  for (int round = 0; round < 4; ++round) {
    Deal(
        rows, [](__m128i a, __m128i b) { return _mm_unpacklo_epi8(a, b); },
        [](__m128i a, __m128i b) { return _mm_unpackhi_epi8(a, b); });
  }
}
void TransposeWords(__m128i (&rows)[8]) {
  for (int round = 0; round < 3; ++round) {
    Deal(
        rows, [](__m128i a, __m128i b) { return _mm_unpacklo_epi16(a, b); },
        [](__m128i a, __m128i b) { return _mm_unpackhi_epi16(a, b); });
  }
}

// The tiles of each depth: squares whose rows have kBytes on both sides. Turn makes the target's
// rows from the source's, pixel x of row y becoming pixel y of row x.
template <int kDepth, int kTileSize>
struct TileSize {
  static constexpr int kBits = kDepth;
  static constexpr int kSize = kTileSize;  // pixels
  static constexpr int kBytes = kTileSize * kDepth / 8;
};

struct Tile1 : TileSize<1, 256> {
  // The eight bits of a column of 16 bytes come out one by one, all at once for 16 rows. A mask has
  // byte 0 in its lowest bit, so that the rows of each byte are taken from the last to the first.
  static void Turn(const BYTE* source, BYTE* target) {
    for (int row = 0; row < kSize; row += 16) {
      for (int byte = 0; byte < kBytes; byte += 16) {
        __m128i block[16];
        for (int i = 0; i < 16; ++i) block[i] = Load(source + (row + (i ^ 7)) * kBytes + byte);
        TransposeBytes(block);
        for (int column = 0; column < 16; ++column) {
          BYTE* to = target + (byte + column) * 8 * kBytes + row / 8;
          for (int bit = 0; bit < 8; ++bit, to += kBytes) {
            const auto mask = static_cast<WORD>(_mm_movemask_epi8(block[column]));
            std::memcpy(to, &mask, sizeof mask);
            block[column] = _mm_add_epi8(block[column], block[column]);
          }
        }
      }
    }
  }
};

// Puts the low 8 bits at the even places.
DWORD Spread(DWORD bits) {
  bits = (bits | bits << 4) & 0x0F0F;
  bits = (bits | bits << 2) & 0x3333;
  return (bits | bits << 1) & 0x5555;
}

struct Tile2 : TileSize<2, 128> {
  // As with one bit, high and low bits apart.
  static void Turn(const BYTE* source, BYTE* target) {
    for (int row = 0; row < kSize; row += 16) {
      for (int byte = 0; byte < kBytes; byte += 16) {
        __m128i block[16];
        for (int i = 0; i < 16; ++i) block[i] = Load(source + (row + (i ^ 7)) * kBytes + byte);
        TransposeBytes(block);
        for (int column = 0; column < 16; ++column) {
          BYTE* to = target + (byte + column) * 4 * kBytes + row / 4;
          for (int pixel = 0; pixel < 4; ++pixel, to += kBytes) {
            const DWORD high = _mm_movemask_epi8(block[column]);
            block[column] = _mm_add_epi8(block[column], block[column]);
            const DWORD low = _mm_movemask_epi8(block[column]);
            block[column] = _mm_add_epi8(block[column], block[column]);
            WriteEight(to, high & 0xFF, low & 0xFF);
            WriteEight(to + 2, high >> 8, low >> 8);
          }
        }
      }
    }
  }
  static void WriteEight(BYTE* to, DWORD high, DWORD low) {
    const DWORD pixels = Spread(high) << 1 | Spread(low);
    to[0] = static_cast<BYTE>(pixels >> 8);
    to[1] = static_cast<BYTE>(pixels);
  }
};

struct Tile4 : TileSize<4, 128> {
  // A column of 16 bytes is a pixel of 16 rows in its high halves and the next one in its low ones.
  static void Turn(const BYTE* source, BYTE* target) {
    const __m128i low = _mm_set1_epi16(0x000F), high = _mm_set1_epi16(0x00F0);
    for (int row = 0; row < kSize; row += 16) {
      for (int byte = 0; byte < kBytes; byte += 16) {
        __m128i block[16];
        for (int i = 0; i < 16; ++i) block[i] = Load(source + (row + i) * kBytes + byte);
        TransposeBytes(block);
        for (int column = 0; column < 16; ++column) {
          const __m128i pairs = block[column];
          const __m128i first = _mm_or_si128(_mm_and_si128(pairs, high), _mm_srli_epi16(pairs, 12));
          const __m128i second = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(pairs, low), 4),
                                              _mm_and_si128(_mm_srli_epi16(pairs, 8), low));
          const __m128i both = _mm_packus_epi16(first, second);
          BYTE* to = target + (byte + column) * 2 * kBytes + row / 2;
          _mm_storel_epi64(reinterpret_cast<__m128i*>(to), both);
          _mm_storel_epi64(reinterpret_cast<__m128i*>(to + kBytes), _mm_srli_si128(both, 8));
        }
      }
    }
  }
};

struct Tile8 : TileSize<8, 128> {
  static void Turn(const BYTE* source, BYTE* target) {
    for (int row = 0; row < kSize; row += 16) {
      for (int column = 0; column < kSize; column += 16) {
        __m128i block[16];
        for (int i = 0; i < 16; ++i) block[i] = Load(source + (row + i) * kBytes + column);
        TransposeBytes(block);
        for (int i = 0; i < 16; ++i) Store(target + (column + i) * kBytes + row, block[i]);
      }
    }
  }
};

struct Tile16 : TileSize<16, 128> {
  static void Turn(const BYTE* source, BYTE* target) {
    for (int row = 0; row < kSize; row += 8) {
      for (int column = 0; column < kSize; column += 8) {
        __m128i block[8];
        for (int i = 0; i < 8; ++i) block[i] = Load(source + (row + i) * kBytes + column * 2);
        TransposeWords(block);
        for (int i = 0; i < 8; ++i) Store(target + (column + i) * kBytes + row * 2, block[i]);
      }
    }
  }
};

struct Tile24 : TileSize<24, 64> {
  // Four pixels of a column make three words. The last pixel of a tile is read with the byte behind
  // it, for which the tile has room.
  static void Turn(const BYTE* source, BYTE* target) {
    for (int column = 0; column < kSize; ++column) {
      const BYTE* from = source + column * 3;
      BYTE* to = target + column * kBytes;
      for (int row = 0; row < kSize; row += 4, from += 4 * kBytes, to += 12) {
        const DWORD a = Pixel(from), b = Pixel(from + kBytes), c = Pixel(from + 2 * kBytes),
                    d = Pixel(from + 3 * kBytes);
        const DWORD words[] = {a | b << 24, b >> 8 | c << 16, c >> 16 | d << 8};
        std::memcpy(to, words, sizeof words);
      }
    }
  }
  static DWORD Pixel(const BYTE* from) {
    DWORD pixel;
    std::memcpy(&pixel, from, sizeof pixel);
    return pixel & 0xFFFFFF;
  }
};

struct Tile32 : TileSize<32, 64> {
  static void Turn(const BYTE* source, BYTE* target) {
    for (int row = 0; row < kSize; row += 4) {
      for (int column = 0; column < kSize; column += 4) {
        const BYTE* from = source + row * kBytes + column * 4;
        const __m128i a = Load(from), b = Load(from + kBytes), c = Load(from + 2 * kBytes),
                      d = Load(from + 3 * kBytes);
        const __m128i ac = _mm_unpacklo_epi32(a, c), bd = _mm_unpacklo_epi32(b, d);
        const __m128i ac2 = _mm_unpackhi_epi32(a, c), bd2 = _mm_unpackhi_epi32(b, d);
        BYTE* to = target + column * kBytes + row * 4;
        Store(to, _mm_unpacklo_epi32(ac, bd));
        Store(to + kBytes, _mm_unpackhi_epi32(ac, bd));
        Store(to + 2 * kBytes, _mm_unpacklo_epi32(ac2, bd2));
        Store(to + 3 * kBytes, _mm_unpackhi_epi32(ac2, bd2));
      }
    }
  }
};

constexpr size_t kLine = 64;  // of the cache

// Copies a tile's part of a row; the constant size of whole tiles makes it a few moves.
template <int kWhole>
void CopyRun(BYTE* to, const BYTE* from, size_t bytes) {
  if (bytes == kWhole) {
    std::memcpy(to, from, kWhole);
  } else {
    std::memcpy(to, from, bytes);
  }
}

// Writes whole lines past the cache, which then need not be read before.
template <int kWhole>
void StreamRun(BYTE* to, const BYTE* from) {
  for (int at = 0; at < kWhole; at += static_cast<int>(kRegister)) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(to + at), Load(from + at));
  }
}

template <class Tile>
class QuarterTurn {
 public:
  QuarterTurn(const BYTE* source, BYTE* target, int width, int height)
      : source_(source),
        target_(target),
        width_(width),
        height_(height),
        sourceStride_(static_cast<size_t>(DibStride(width, Tile::kBits))),
        targetStride_(static_cast<size_t>(DibStride(height, Tile::kBits))),
        lead_(FindLead()) {}

  void Run() {
    for (int x = 0; x < width_; x += Tile::kSize) {
      if (lead_ > 0) TurnTile(x, 0, lead_);
      for (int y = std::max(lead_, 0); y < height_; y += Tile::kSize)
        TurnTile(x, y, std::min(Tile::kSize, height_ - y));
    }
    _mm_sfence();
  }

 private:
  static constexpr int kNoStreaming = -1;
  // Below, the target had better stay in the cache for its reader.
  static constexpr size_t kLeastStreamed = 4 << 20;

  static size_t BytesOf(int pixels) { return (static_cast<size_t>(pixels) * Tile::kBits + 7) / 8; }

  // The pixels in front of the first cache line that begins in a target row, when all rows lie
  // alike and tiles write whole lines; kNoStreaming otherwise.
  int FindLead() const {
    if (targetStride_ % kLine != 0 || Tile::kBytes % kLine != 0 ||
        targetStride_ * width_ < kLeastStreamed) {
      return kNoStreaming;
    }
    for (int lead = 0; lead < std::min(Tile::kSize, height_); ++lead) {
      const bool isWhole = lead * Tile::kBits % 8 == 0;
      const auto address = reinterpret_cast<ULONG_PTR>(target_ + BytesOf(lead));
      if (isWhole && address % kLine == 0) return lead;
    }
    return kNoStreaming;
  }

  // Turns `rows` source rows, from the one that becomes target column y.
  void TurnTile(int x, int y, int rows) {
    const int columns = std::min(Tile::kSize, width_ - x);
    Gather(x, y, rows, columns);
    FetchAhead(x, y, rows, columns);
    Tile::Turn(gathered_, turned_);
    Write(x, y, rows, columns);
  }

  void Gather(int x, int y, int rows, int columns) {
    const size_t bytes = BytesOf(columns);
    const BYTE* from = SourceRow(y) + BytesOf(x);
    for (int row = 0; row < rows; ++row, from -= sourceStride_) {
      CopyRun<Tile::kBytes>(gathered_ + row * Tile::kBytes, from, bytes);
    }
    // Rows that are not there fill up the target's last bytes.
    std::memset(gathered_ + rows * Tile::kBytes, 0, (Tile::kSize - rows) * Tile::kBytes);
  }
  // The row that becomes target column y.
  const BYTE* SourceRow(int y) const { return source_ + (height_ - 1 - y) * sourceStride_; }

  // While a tile is turned, the lines of the next one arrive, and those that it will be written to.
  // As functions of their own these two would count as doing nothing, and be left out.
  [[gnu::always_inline]] void FetchAhead(int x, int y, int rows, int columns) const {
    const int next = y + rows;
    for (int row = next; row < std::min(next + Tile::kSize, height_); ++row) {
      Fetch(SourceRow(row) + BytesOf(x), BytesOf(columns));
    }
    if (lead_ != kNoStreaming) return;
    const BYTE* to = target_ + x * targetStride_ + BytesOf(y);
    for (int row = 0; row < columns; ++row) Fetch(to + row * targetStride_, BytesOf(rows));
  }
  [[gnu::always_inline]] static void Fetch(const BYTE* from, size_t bytes) {
    const size_t inLine = reinterpret_cast<ULONG_PTR>(from) % kLine;
    for (size_t at = 0; at < inLine + bytes; at += kLine) {
      _mm_prefetch(reinterpret_cast<const char*>(from - inLine + at), _MM_HINT_T0);
    }
  }

  void Write(int x, int y, int rows, int columns) {
    const bool isWhole = rows == Tile::kSize, isLast = y + rows == height_;
    const size_t begin = BytesOf(y), bytes = BytesOf(rows);
    BYTE* to = target_ + x * targetStride_ + begin;
    const BYTE* from = turned_;
    for (int row = 0; row < columns; ++row, to += targetStride_, from += Tile::kBytes) {
      if (isWhole && lead_ != kNoStreaming) {
        StreamRun<Tile::kBytes>(to, from);
      } else {
        CopyRun<Tile::kBytes>(to, from, bytes);
      }
      if (isLast) std::memset(to + bytes, 0, targetStride_ - begin - bytes);
    }
  }

  const BYTE* source_;
  BYTE* target_;
  int width_, height_;
  size_t sourceStride_, targetStride_;
  int lead_;
  alignas(kLine) BYTE gathered_[Tile::kSize * Tile::kBytes + 1] = {};
  alignas(kLine) BYTE turned_[Tile::kSize * Tile::kBytes];
};

}  // namespace

BOOL TurnBitsQuarter(const BYTE* source, BYTE* target, int width, int height, int bitsPerPixel) {
  const auto run = [&](auto tile) {
    QuarterTurn<decltype(tile)>(source, target, width, height).Run();
    return TRUE;
  };
  switch (bitsPerPixel) {
    case 1:
      return run(Tile1());
    case 2:
      return run(Tile2());
    case 4:
      return run(Tile4());
    case 8:
      return run(Tile8());
    case 16:
      return run(Tile16());
    case 24:
      return run(Tile24());
    case 32:
      return run(Tile32());
    default:
      return FALSE;
  }
}

}  // namespace kv
