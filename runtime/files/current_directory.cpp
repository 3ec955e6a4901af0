#include "runtime/files/current_directory.h"

namespace kv {

CCurrentDirectory::CCurrentDirectory(LPCWSTR directory) {
  if (GetCurrentDirectoryW(MAX_PATH, savedDirectory_) >= MAX_PATH) savedDirectory_[0] = 0;
  if (directory != nullptr) SetCurrentDirectoryW(directory);
}

CCurrentDirectory::~CCurrentDirectory() {
  if (savedDirectory_[0] != 0) SetCurrentDirectoryW(savedDirectory_);
}

}  // namespace kv
