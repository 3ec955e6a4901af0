// Files mapped into memory.
#pragma once

#include "platform/kernel/files.h"

namespace platform {

// What CreateFileMappingW makes. It keeps the file, not the handle it was made with.
class FileMapping : public KernelObject {
 public:
  // The rules of CreateFileMappingW for files; `maximum` 0 takes the file's size.
  static DWORD Create(const File& file, DWORD protection, uint64_t maximum,
                      std::shared_ptr<FileMapping>& mapping);

  int descriptor() const { return file_.get(); }
  size_t size() const { return size_; }
  bool writable() const { return writable_; }

 private:
  SharedDescriptor file_;
  size_t size_ = 0;
  bool writable_ = false;
};

}  // namespace platform
