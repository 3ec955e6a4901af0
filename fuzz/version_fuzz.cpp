// Whatever bytes a version resource consists of, its texts and numbers are read within them.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "runtime/core/version_details.h"
#include "runtime/text/wide_text.h"

namespace {

void Require(bool holds) {
  if (!holds) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  WORD length;
  // GetFileVersionInfoW takes nothing shorter for a block.
  if (count < 3 * sizeof length) return 0;
  // A copy of exactly that size, so that the sanitizer sees each byte too many.
  BYTE* const block = new BYTE[count];
  std::memcpy(block, bytes, count);
  // It also sees to it that the block's own length does not lead out of it.
  std::memcpy(&length, block, sizeof length);
  length = static_cast<WORD>(std::min<size_t>(length, count));
  std::memcpy(block, &length, sizeof length);

  kv::VersionText product, version, company, original;
  kv::VersionDetails details = {&product, &version, &company, &original};
  const bool read = kv::ReadVersionBlock(block, count, details) != FALSE;
  for (const kv::VersionText* text : {&product, &version, &company, &original}) {
    const size_t characters = kv::View(text->text).size();
    Require(characters < kv::kVersionTextCapacity && (read || characters == 0));
    Require(characters * sizeof(WCHAR) <= count);
  }
  Require(read || (details.fileVersionHigh == 0 && details.packedProductVersion == 0));
  delete[] block;
  return 0;
}
