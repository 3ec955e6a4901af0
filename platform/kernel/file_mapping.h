// Files, and memory that processes share, mapped.
#pragma once

#include "platform/kernel/files.h"
#include "platform/kernel/shared_object.h"

namespace platform {

// What views are made of.
class Mapping : public KernelObject {
 public:
  virtual int descriptor() const = 0;
  // Where the content begins in the descriptor, and its size; bytes.
  virtual size_t offset() const { return 0; }
  virtual size_t size() const = 0;
  virtual bool writable() const = 0;
  // What must live as long as a view; may be null.
  virtual std::shared_ptr<KernelObject> KeptByViews() { return nullptr; }
};

// A mapped file. It keeps the file, not the handle it was made with.
class FileMapping : public Mapping, public std::enable_shared_from_this<FileMapping> {
 public:
  // The rules of CreateFileMappingW for files; `maximum` 0 takes the file's size.
  static DWORD Create(const File& file, DWORD protection, uint64_t maximum,
                      std::shared_ptr<FileMapping>& mapping);

  int descriptor() const override { return file_.get(); }
  size_t size() const override { return size_; }
  bool writable() const override { return writable_; }
  std::shared_ptr<KernelObject> KeptByViews() override { return shared_from_this(); }

 private:
  SharedDescriptor file_;
  size_t size_ = 0;
  bool writable_ = false;
};

// Memory of its own. Its name goes with the last handle, what views show stays.
class MemoryMapping : public Mapping {
 public:
  // `size` bytes without a name.
  static DWORD Create(uint64_t size, std::shared_ptr<MemoryMapping>& mapping);
  // `create`: makes the object when there is none. `existed` tells.
  static DWORD Open(WideView name, uint64_t size, bool create,
                    std::shared_ptr<MemoryMapping>& mapping, bool& existed);
  ~MemoryMapping() override;

  int descriptor() const override;
  size_t offset() const override;
  size_t size() const override { return size_; }
  bool writable() const override { return true; }

 private:
  std::shared_ptr<SharedObject> object_;
  int descriptor_ = -1;  // without a name
  size_t size_ = 0;
};

}  // namespace platform
