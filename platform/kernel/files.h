// Open files.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "platform/kernel/file_attributes.h"
#include "platform/kernel/handle_table.h"
#include "platform/kernel/path.h"
#include "platform/kernel/shared_descriptor.h"

namespace platform {

// What ReadFile and WriteFile reach through a handle.
class ByteStream : public KernelObject {
 public:
  // At most `size` bytes from or to the current position; an error code comes back, the bytes moved
  // in `done`. At the end of the file reading succeeds with 0 bytes.
  virtual DWORD Read(void* buffer, DWORD size, DWORD& done) = 0;
  virtual DWORD Write(const void* data, DWORD size, DWORD& done) = 0;
};

class File : public ByteStream {
 public:
  struct Opening {
    DWORD access = 0;  // generic or specific rights
    DWORD share = 0;
    DWORD disposition = OPEN_EXISTING;
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
  };

  // The rules of CreateFileW. `existed` tells whether the file was there before.
  static DWORD Open(WideView path, const Opening& opening, std::shared_ptr<File>& file,
                    bool& existed);

  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  // Writes nothing when the disk has no room for all of it.
  DWORD Write(const void* data, DWORD size, DWORD& done) override;
  // The whole block, or the error that stopped it.
  DWORD WriteAll(const void* data, size_t size);
  DWORD Size(uint64_t& size) const;
  // Moves the position, which comes back in `position`, by `distance` from the begin, the current
  // position or the end (FILE_BEGIN, …).
  DWORD Seek(int64_t distance, DWORD method, int64_t& position);
  // Cuts or extends the file at the current position.
  DWORD SetEnd();

  // For mappings and the like; -1 never.
  int descriptor() const { return shared_.get(); }
  const SharedDescriptor& shared() const { return shared_; }
  DWORD access() const { return access_; }
  const std::filesystem::path& host_path() const { return host_path_; }

 private:
  DWORD OpenOnce(const ResolvedPath& path, const Opening& opening, bool existed);
  DWORD TakeSpace(DWORD size) const;

  SharedDescriptor shared_;
  DWORD access_ = 0;
  bool marked_for_archive_ = false;
  std::filesystem::path host_path_;
};

// CreateFileW for the name of a pipe: for reading and writing what exists, unshared.
HANDLE OpenPipeClient(WideView name, const File::Opening& opening);
// Deletes a file under the rules of DeleteFileW; the error code.
DWORD DeleteHostFile(const std::filesystem::path& host);
// The whole content of a file, at most `limit` bytes; the error code.
DWORD ReadHostFile(int descriptor, size_t limit, std::vector<BYTE>& content);

}  // namespace platform
