// Open files. What each opening does with its file and lets others do is agreed on between all
// processes of the machine.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "platform/kernel/handle_table.h"
#include "platform/kernel/path.h"

namespace platform {

// What ReadFile and WriteFile reach through a handle.
class ByteStream : public KernelObject {
 public:
  // At most `size` bytes from or to the current position; an error code comes back, the bytes moved
  // in `done`. At the end of the file reading succeeds with 0 bytes.
  virtual DWORD Read(void* buffer, DWORD size, DWORD& done) = 0;
  virtual DWORD Write(const void* data, DWORD size, DWORD& done) = 0;
};

// A host descriptor with the uses it is open for. While it lives, others can open the file only as
// it allows.
class SharedDescriptor {
 public:
  // An image that is mapped for execution: nobody may write or delete it.
  static constexpr DWORD kImage = 0x80000000;

  SharedDescriptor() = default;
  ~SharedDescriptor();
  SharedDescriptor(SharedDescriptor&& other) noexcept;
  SharedDescriptor& operator=(SharedDescriptor&& other) noexcept;

  // Opens `host` for `access` (FILE_READ_DATA, FILE_WRITE_DATA, DELETE, kImage), letting others
  // have what `share` (FILE_SHARE_*) allows. `host_flags` are added to those of open(2). Gives
  // ERROR_SHARING_VIOLATION where the openings do not go together.
  DWORD Open(const std::filesystem::path& host, DWORD access, DWORD share, int host_flags = 0);
  int get() const { return descriptor_; }

 private:
  DWORD Claim(DWORD access, DWORD share) const;

  int descriptor_ = -1;
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
  DWORD Write(const void* data, DWORD size, DWORD& done) override;
  // The whole block, or the error that stopped it.
  DWORD WriteAll(const void* data, size_t size);
  DWORD Size(uint64_t& size) const;

  // For mappings and the like; -1 never.
  int descriptor() const { return shared_.get(); }
  DWORD access() const { return access_; }
  const std::filesystem::path& host_path() const { return host_path_; }

 private:
  SharedDescriptor shared_;
  DWORD access_ = 0;
  std::filesystem::path host_path_;
};

// The attributes of a file or directory of the host; INVALID_FILE_ATTRIBUTES when it is not there.
DWORD HostAttributes(const std::filesystem::path& host);
// Deletes a file under the rules of DeleteFileW; the error code.
DWORD DeleteHostFile(const std::filesystem::path& host);
// The whole content of a file, at most `limit` bytes; the error code.
DWORD ReadHostFile(int descriptor, size_t limit, std::vector<BYTE>& content);

}  // namespace platform
