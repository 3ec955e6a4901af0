#include "runtime/files/whole_files.h"

#include <string.h>

#include <new>

#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/files/global_block.h"

namespace kv {

std::unique_ptr<File> NewFile(LPCWSTR name, DWORD flags) {
  std::unique_ptr<File> file(new (std::nothrow) File);
  if (file == nullptr) {
    ShowInternalError(TEXT("new File failed"));
    return nullptr;
  }
  if (!file->Open(name, flags)) return nullptr;
  return file;
}

BOOL ReadEntireFile(LPCWSTR name, DWORD extraBytes, std::unique_ptr<BYTE[]>& buffer, DWORD& size) {
  buffer.reset();
  size = 0;
  File file;
  DWORD fileSize = 0;
  if (!file.OpenRead(name) || !file.GetSize(&fileSize)) return FALSE;
  const ULONGLONG total = ULONGLONG{fileSize} + extraBytes;
  if (total == 0) return TRUE;
  std::unique_ptr<BYTE[]> bytes;
  if (total <= static_cast<size_t>(-1) / 2) {
    bytes.reset(new (std::nothrow) BYTE[static_cast<size_t>(total)]);
  }
  if (bytes == nullptr) {
    ShowInternalError(TEXT("ReadEntireFile"));
    return FALSE;
  }
  if (!file.Read(bytes.get(), fileSize)) return FALSE;
  memset(bytes.get() + fileSize, 0, extraBytes);
  buffer = std::move(bytes);
  size = fileSize;
  return TRUE;
}

BOOL WriteEntireFile(LPCWSTR name, const void* data, DWORD size) {
  const UniqueFile file(CreateFileW(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  DWORD written = 0;
  return file && WriteFile(file.Get(), data, size, &written, nullptr);
}

HGLOBAL ReadFileToGlobal(LPCWSTR name) {
  File file;
  DWORD size = 0;
  CGlobalBlock block;
  if (!file.OpenRead(name) || !file.GetSize(&size) || !block.Alloc(size, GMEM_MOVEABLE, 0) ||
      !file.Read(block.data(), size)) {
    return nullptr;
  }
  return block.Detach();
}

}  // namespace kv
