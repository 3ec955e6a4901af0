// The language resource library: the file that holds every text the product shows.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Loads the language resource library that lies beside `module` and sets the startup context's
// `hResources` and `resourceLangId`. When a library is loaded already, only `resourceLangId` is
// read again. FALSE when there is none or it cannot be loaded, after a message box; later calls
// then fail at once.
BOOL LoadResourceLibrary(HMODULE module);

// The language of the first string-table block of a loaded module; 0 when it has none.
LANGID GetResourceLanguage(HMODULE module);

}  // namespace kv
