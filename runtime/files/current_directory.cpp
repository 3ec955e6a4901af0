#include "runtime/files/current_directory.h"

namespace kv {

CCurrentDirectory::CCurrentDirectory(LPCWSTR directory) {
  const DWORD length = GetCurrentDirectoryW(MAX_PATH, savedDirectory_);
  if (length == 0 || length >= MAX_PATH) {
    savedDirectory_[0] = 0;
  } else if (directory != nullptr) {
    SetCurrentDirectoryW(directory);
  }
}

CCurrentDirectory::~CCurrentDirectory() {
  if (savedDirectory_[0] != 0) SetCurrentDirectoryW(savedDirectory_);
}

}  // namespace kv
