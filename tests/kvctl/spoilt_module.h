// Modules that are not as they should be.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/machine_test.h"

namespace kv::test {

inline constexpr char kVersionMark[] = "\xBD\x04\xEF\xFE";  // begins a VS_FIXEDFILEINFO
inline constexpr char kMonitorEntry[] = "InitializePrintMonitor";

// Writes the module that was built to `path`, with `spoil(place)` for each place where `sought`
// stands.
template <class Spoil>
void WriteSpoiltModule(const std::filesystem::path& path, const std::string& sought, Spoil spoil) {
  std::ifstream file(TestDirectory() / "kvmon8.dll", std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  for (size_t at = bytes.find(sought); at != std::string::npos; at = bytes.find(sought, at + 1)) {
    spoil(bytes.data() + at);
  }
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace kv::test
