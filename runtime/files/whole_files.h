// Files opened, read and written in one step.
#pragma once

#include <memory>

#include "runtime/files/file.h"

namespace kv {

// A new File opened by File::Open with `flags`; null when that fails, which has been reported, and
// after the report "new File failed" when memory runs out.
std::unique_ptr<File> NewFile(LPCWSTR name, DWORD flags);

// Reads the whole file and adds `extraBytes` zero bytes, which `size` does not count. The buffer is
// null when there are no bytes at all, and on failure, which has been reported.
BOOL ReadEntireFile(LPCWSTR name, DWORD extraBytes, std::unique_ptr<BYTE[]>& buffer, DWORD& size);
// Makes the file with this content. Failures are not reported; the last error is the failed call's.
BOOL WriteEntireFile(LPCWSTR name, const void* data, DWORD size);
// The file's bytes as an unlocked movable block of the caller's; null on failure, which has been
// reported, as for an empty file.
HGLOBAL ReadFileToGlobal(LPCWSTR name);

}  // namespace kv
