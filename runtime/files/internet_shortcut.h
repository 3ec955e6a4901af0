// Internet shortcuts (.url files) through the platform's Internet-shortcut object.
//
// The calling thread has initialised COM. Nothing is reported; the COM calls leave no last error.
#pragma once

#include "runtime/files/com_reference.h"
#include "runtime/files/shell_link.h"

// Needs the declarations of the headers above.
#include <intshcut.h>

namespace kv {

class CInternetShortcut {
 public:
  // A new object; with a file (not null or empty) it is loaded.
  explicit CInternetShortcut(LPCWSTR file = nullptr, Access access = Access::kRead);
  ~CInternetShortcut();
  CInternetShortcut(const CInternetShortcut&) = delete;
  CInternetShortcut& operator=(const CInternetShortcut&) = delete;

  // Whether the object can be used: it could be made, and the file, when one was given, was loaded.
  BOOL ready() const { return ready_; }
  // TRUE when the file was read as an Internet shortcut; else what the object holds is the system's
  // choice. Whether it is ready stays as it was.
  BOOL Load(LPCWSTR file, Access access);
  // Writes a shortcut to an address with a protocol. FALSE when not ready, for an address that is
  // none, and when the file cannot be written.
  BOOL Save(LPCWSTR file, LPCWSTR address);
  // The address, cut to `capacity` characters with the terminator; empty, with FALSE, when there is
  // none.
  BOOL GetURL(LPWSTR address, int capacity) const;

 private:
  ComReference<IUniformResourceLocatorW> locator_;
  ComReference<IPersistFile> persistFile_;
  ComReference<IMalloc> allocator_;
  BOOL ready_ = FALSE;
};

}  // namespace kv
