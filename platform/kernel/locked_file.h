// A file of the host on which one thread of all processes works at a time.
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

namespace platform {

// Opens the file, made when it is missing, and waits until nobody else has it open this way. The
// host ends the turn of a process that dies.
class LockedFile {
 public:
  explicit LockedFile(const std::filesystem::path& path)
      : file_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    if (file_ >= 0) flock(file_, LOCK_EX);
  }
  // Not by closing alone: a mapping of the file would keep the lock.
  ~LockedFile() {
    if (file_ < 0) return;
    flock(file_, LOCK_UN);
    close(file_);
  }
  LockedFile(const LockedFile&) = delete;
  LockedFile& operator=(const LockedFile&) = delete;

  // -1 when the file cannot be opened; nothing is locked then.
  int get() const { return file_; }

 private:
  int file_;
};

}  // namespace platform
