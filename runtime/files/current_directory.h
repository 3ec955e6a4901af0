// Another current directory for the life of an object.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Saves the process's current directory and restores it when it ends. The directory belongs to the
// whole process: not for code that runs beside threads that depend on it.
class CCurrentDirectory {
 public:
  // Changes to `directory` when it is not null. A directory that cannot be entered, an empty one
  // among them, changes nothing, and neither does any when the present one could not be restored.
  explicit CCurrentDirectory(LPCWSTR directory = nullptr);
  virtual ~CCurrentDirectory();
  CCurrentDirectory(const CCurrentDirectory&) = delete;
  CCurrentDirectory& operator=(const CCurrentDirectory&) = delete;

 private:
  WCHAR savedDirectory_[MAX_PATH] = {};
};

}  // namespace kv
