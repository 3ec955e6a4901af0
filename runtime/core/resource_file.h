// Looking into files that may be language resource libraries.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The language of a file's string table, read without loading the file: that of the first string
// block. 0 when the file cannot be read, is open for writing, is not a PE file, has no string
// table, or its first block exists in more than one language.
LANGID GetFileLanguage(LPCWSTR path);

// The same for the bytes of a file. Nothing is believed: every offset and count may point anywhere.
LANGID GetImageLanguage(const BYTE* image, size_t size);

}  // namespace kv
