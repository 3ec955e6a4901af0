// A machine in a temporary directory, for as long as a fuzzing process lives.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/control/machine.h"

namespace kv::fuzz {

// Called once, from LLVMFuzzerInitialize.
inline void UseTemporaryMachine() {
  static std::filesystem::path directory;
  std::string pattern = (std::filesystem::temp_directory_path() / "kvfuzz.XXXXXX").string();
  directory = mkdtemp(pattern.data());
  platform::UseMachine(directory);
  atexit([] {
    platform::CloseMachine();
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
  });
}

}  // namespace kv::fuzz
