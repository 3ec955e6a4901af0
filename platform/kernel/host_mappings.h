// What of the process's address space the host has mapped.
#pragma once

#include <cstdint>
#include <optional>

namespace platform {

struct HostMapping {
  uint64_t start;
  uint64_t end;  // the first address behind it
  bool readable, writable, executable;
  bool of_file;
};

// The mapping that holds the address, else the next one above it; nothing when there is none.
std::optional<HostMapping> FindHostMapping(uint64_t address);

}  // namespace platform
