// Files of the machine, as a test puts them there and finds them.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/control/machine.h"

namespace kv::test {

inline void PutFile(LPCWSTR path, const std::string& content) {
  const std::filesystem::path host = platform::HostPath(path);
  std::filesystem::create_directories(host.parent_path());
  std::ofstream(host, std::ios::binary) << content;
}

inline bool IsThere(LPCWSTR path) {
  return std::filesystem::exists(platform::HostPath(path));
}

inline std::string FileBytes(LPCWSTR path) {
  std::ifstream file(platform::HostPath(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace kv::test
