// Reading version resources.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// A text of a version resource; longer values are cut to fit.
constexpr int kVersionTextCapacity = 256;
struct VersionText {
  WCHAR text[kVersionTextCapacity];
};

// What a version resource can tell. The texts are read where a place for them is given.
struct VersionDetails {
  VersionText* productName = nullptr;
  VersionText* productVersion = nullptr;
  VersionText* companyName = nullptr;
  VersionText* originalFileName = nullptr;
  // From the fixed information.
  WORD productMajor = 0;
  WORD productMinor = 0;
  DWORD fileVersionHigh = 0;      // the file version's most significant double word
  WORD packedProductVersion = 0;  // low bytes of major and minor: 0x081B for 8.27
};

// Reads the version resource of the file `path`: the texts of the first translation, and the fixed
// numbers. TRUE when the resource has a translation table; otherwise FALSE, and every text is empty
// and every number 0.
BOOL GetFileVersionDetails(LPCWSTR path, VersionDetails& details);
// The same for the file of a loaded module; FALSE also when its path has more than 259 characters.
BOOL GetModuleVersionDetails(HMODULE module, VersionDetails& details);
// The same for the `size` bytes of a block that GetFileVersionInfoW has filled. Of its values
// nothing is believed: a text ends at its terminator, at the length that the block gives for it (in
// characters, though some writers count bytes), or with the block.
BOOL ReadVersionBlock(const BYTE* block, size_t size, VersionDetails& details);

// The product version of the dispatcher program, major * 65536 + minor; 0 when it has none, or its
// path more than 259 characters. The program is looked for in the startup context's `appDir` when
// that is set, else beside this module.
DWORD GetDispatcherVersion();

}  // namespace kv
