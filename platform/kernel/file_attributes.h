// Attributes and times of files, kept where the host keeps its own.
//
// The host's permission for the owner to write carries "read-only". Three mode bits that mean
// nothing for a file that is not a program carry the rest: the sticky bit "hidden", set-group
// "system", and set-user the absence of "archive".
#pragma once

#include <sys/stat.h>
#include <windows.h>

#include <filesystem>

namespace platform {

// What the system tells about a file without opening it.
struct FileFacts {
  DWORD attributes = 0;
  FILETIME created = {};
  FILETIME accessed = {};
  FILETIME written = {};
  uint64_t size = 0;
  DWORD volume = 0;
  uint64_t index = 0;
  DWORD links = 0;
};
// Of a name, which may be a link. False when there is nothing.
bool ReadFileFacts(const std::filesystem::path& host, FileFacts& facts);
// Of an open file.
bool ReadFileFacts(int descriptor, FileFacts& facts);

// The attributes of a file or directory of the host, that to which a link leads;
// INVALID_FILE_ATTRIBUTES when it is not there.
DWORD HostAttributes(const std::filesystem::path& host);
// Those of the name itself, which may be a link.
DWORD NameAttributes(const std::filesystem::path& host);
DWORD AttributesOfMode(mode_t mode);
// `mode` with the attributes in it.
mode_t ModeWithAttributes(mode_t mode, DWORD attributes);
// Content has changed: the file is due for the archive.
void MarkForArchive(int descriptor);

}  // namespace platform
