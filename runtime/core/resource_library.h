// The language resource library: the file that holds every text the product shows.
//
// It lies beside the module: "kvres832-0407.dll" for one language, "kvres832.dll" for any.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Loads the library that suits best and sets the startup context's `hResources` and
// `resourceLangId`. When a library is loaded already, only `resourceLangId` is read again. A
// library that is found by its language is taken whatever its version; the default library of
// another version is loaded from a temporary copy, which the system deletes at its next restart, so
// that setup can replace the file. FALSE when there is none or it cannot be loaded, after a message
// box; later calls then fail at once. Writes to the startup context, which no other thread may read
// meanwhile.
BOOL LoadResourceLibrary(HMODULE module);

// The path of the first library beside this module whose string table has the language that the
// user's setting, the machine's setting or the system wants, in that order, else of the one without
// a language; `path` holds `capacity` characters (260). FALSE, with an empty path, when there is
// none, and with ERROR_FILENAME_EXCED_RANGE when its path does not fit.
BOOL FindResourceLibrary(LPWSTR path, int capacity);

// The language of the first string-table block of a loaded module; 0 when it has none.
LANGID GetResourceLanguage(HMODULE module);

}  // namespace kv
