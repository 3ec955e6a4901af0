// Whatever bytes a file consists of, asking for the language of its texts stays within them and
// ends.
#include "runtime/core/resource_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  // A copy of exactly that size, so that the sanitizer sees each byte too many.
  BYTE* const image = new BYTE[count];
  for (size_t i = 0; i < count; ++i) image[i] = bytes[i];
  kv::GetImageLanguage(image, count);
  delete[] image;
  return 0;
}
