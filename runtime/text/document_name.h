// Plain document names from the titles of print jobs, which are what the printing application
// chose: a window's caption, a path or a web address.
#pragma once

#include "runtime/core/win.h"

namespace kv {

enum class StripScheme : bool { kNo, kYes };
enum class StripExtension : bool { kNo, kYes };

// Whether the extension, with or without its ".", is a file type that the system knows (a key below
// HKEY_CLASSES_ROOT that can be read). FALSE for null, an empty one, and one of more than 258
// characters.
BOOL IsRegisteredExtension(LPCWSTR extension);

// Turns the title into the document's name, in place. The captions of applications that are known
// by their pattern lose what stands around the name, addresses a final slash and with `stripScheme`
// all up to the first "//", and of a path the last part stays. Web and file addresses keep their
// extension whatever `stripExtension` says; other names lose it only when it is registered.
void DocumentNameFromTitle(LPWSTR title, StripScheme stripScheme, StripExtension stripExtension);

}  // namespace kv
