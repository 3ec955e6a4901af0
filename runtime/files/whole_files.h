// Files opened, read and written in one step.
#pragma once

#include <memory>

#include "runtime/files/file.h"

namespace kv {

// A new File opened by File::Open with `flags`; null when that fails, as it reports, and after the
// report "new File failed" when memory runs out.
std::unique_ptr<File> NewFile(LPCWSTR name, DWORD flags);

// Reads the whole file and adds `extraBytes` zero bytes, which `size` does not count. The buffer is
// null when there are no bytes at all, and on failure, which File reports; a file that does not fit
// into memory is one (report "ReadEntireFile", ERROR_NOT_ENOUGH_MEMORY). `name` may stand in the
// old buffer.
BOOL ReadEntireFile(LPCWSTR name, DWORD extraBytes, std::unique_ptr<BYTE[]>& buffer, DWORD& size);
// Makes the file with this content, in place of the old one. Failures, of which a write that wrote
// less is one (ERROR_WRITE_FAULT), are not reported; the last error is the failed call's. A file
// whose writing failed holds what was written until then.
BOOL WriteEntireFile(LPCWSTR name, const void* data, DWORD size);
// The file's bytes as an unlocked movable block of the caller's; null on failure, which File and
// CGlobalBlock report, also for an empty file and for one that does not fit into memory
// (ERROR_NOT_ENOUGH_MEMORY).
HGLOBAL ReadFileToGlobal(LPCWSTR name);

}  // namespace kv
