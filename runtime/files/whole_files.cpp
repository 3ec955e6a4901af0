#include "runtime/files/whole_files.h"

#include <string.h>

#include <new>

#include "runtime/core/handles.h"
#include "runtime/files/file_report.h"
#include "runtime/files/global_block.h"

namespace kv {
namespace {

constexpr DWORD kLargestSize = 0xFFFFFFFF;

// Leaves `bytes` null and `size` 0 on failure.
BOOL ReadWithRoom(LPCWSTR name, DWORD extraBytes, std::unique_ptr<BYTE[]>& bytes, DWORD& size) {
  File file;
  ULONGLONG fileSize = 0;
  if (!file.OpenRead(name) || !file.GetWholeSize(&fileSize)) return FALSE;
  const ULONGLONG total = fileSize + extraBytes;
  if (total == 0) return TRUE;
  if (fileSize <= kLargestSize && total <= static_cast<size_t>(-1) / 2) {
    bytes.reset(new (std::nothrow) BYTE[static_cast<size_t>(total)]);
  }
  if (bytes == nullptr) return ReportNoMemory(TEXT("ReadEntireFile"));
  if (!file.Read(bytes.get(), static_cast<DWORD>(fileSize))) {
    bytes.reset();
    return FALSE;
  }
  memset(bytes.get() + fileSize, 0, extraBytes);
  size = static_cast<DWORD>(fileSize);
  return TRUE;
}

}  // namespace

std::unique_ptr<File> NewFile(LPCWSTR name, DWORD flags) {
  std::unique_ptr<File> file(new (std::nothrow) File);
  if (file == nullptr) {
    ReportNoMemory(TEXT("new File failed"));
    return nullptr;
  }
  if (!file->Open(name, flags)) return nullptr;
  return file;
}

BOOL ReadEntireFile(LPCWSTR name, DWORD extraBytes, std::unique_ptr<BYTE[]>& buffer, DWORD& size) {
  std::unique_ptr<BYTE[]> bytes;
  size = 0;
  const BOOL read = ReadWithRoom(name, extraBytes, bytes, size);
  buffer = std::move(bytes);
  return read;
}

BOOL WriteEntireFile(LPCWSTR name, const void* data, DWORD size) {
  const UniqueFile file(CreateFileW(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  DWORD written = 0;
  if (!file || !WriteFile(file.Get(), data, size, &written, nullptr)) return FALSE;
  return written == size || FailWith(ERROR_WRITE_FAULT);
}

HGLOBAL ReadFileToGlobal(LPCWSTR name) {
  File file;
  ULONGLONG size = 0;
  CGlobalBlock block;
  if (!file.OpenRead(name) || !file.GetWholeSize(&size)) return nullptr;
  if (size > kLargestSize) {
    ReportNoMemory(TEXT("GlobalAlloc failed"));
    return nullptr;
  }
  if (!block.Alloc(static_cast<DWORD>(size), GMEM_MOVEABLE, 0) ||
      !file.Read(block.data(), static_cast<DWORD>(size))) {
    return nullptr;
  }
  return block.Detach();
}

}  // namespace kv
