// Host descriptors under the sharing rules of files, which all processes of the machine agree on.
#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>

namespace platform {

// Everything that an opening can let others do.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A host descriptor with the uses it is open for. While it lives, others can open the file only as
// it allows.
class SharedDescriptor {
 public:
  // Refuses others every use of the file of a host descriptor for as long as that is open. The
  // bytes from here on must not be locked otherwise.
  static constexpr int64_t kFirstLockByte = INT64_MAX - 255;
  static void DenyAll(int descriptor);

  // An image that is mapped for execution: nobody may write or delete it.
  static constexpr DWORD kImage = 0x80000000;
  // As DELETE, but of an image too: it may get another name.
  static constexpr DWORD kRename = 0x40000000;

  SharedDescriptor() = default;
  ~SharedDescriptor();
  SharedDescriptor(SharedDescriptor&& other) noexcept;
  SharedDescriptor& operator=(SharedDescriptor&& other) noexcept;

  // Opens `host` for `access` (FILE_READ_DATA, FILE_WRITE_DATA, DELETE, kImage, kRename), letting
  // others have what `share` (FILE_SHARE_*) allows. `host_flags` are added to those of open(2).
  // Gives ERROR_SHARING_VIOLATION where the openings do not go together.
  DWORD Open(const std::filesystem::path& host, DWORD access, DWORD share, int host_flags = 0);
  // Opens the file of `file` once more for a mapping: it denies nobody an opening, but while it
  // lives the file can be neither cut nor deleted.
  DWORD OpenForMapping(const SharedDescriptor& file, bool writable);
  bool IsMapped() const;
  int get() const { return descriptor_; }
  // A path that leads to the open file, whatever its name is now.
  std::filesystem::path host_path() const;

 private:
  DWORD Claim(DWORD access, DWORD share) const;

  int descriptor_ = -1;
};

}  // namespace platform
