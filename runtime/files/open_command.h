// The program that opens a kind of file.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// The program of the open command that the system has for an extension, with or without its ".".
// A command that begins with a double quote names its program up to the next one, any other up to
// its first blank. Null when the extension is empty or has no class, the class no open command, or
// memory runs out. Reads HKEY_CLASSES_ROOT; extensions and class names of more than 255 characters,
// and commands of more than 1023 before or after the expansion of variables, count as missing.
std::unique_ptr<WCHAR[]> GetOpenCommandProgram(LPCWSTR extension);

// The program between the first two double quotes of the open command of an extension that begins
// with ".", at most 259 characters; FALSE, with an empty text, when there is none. The extension
// may stand in `program`.
BOOL GetQuotedOpenProgram(LPCWSTR extension, WCHAR (&program)[MAX_PATH]);

}  // namespace kv
