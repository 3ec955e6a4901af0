// A machine in a temporary directory, for as long as a timing program runs.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/control/machine.h"

namespace kv::bench {

class BenchMachine {
 public:
  BenchMachine() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvbench.XXXXXX").string();
    directory_ = mkdtemp(pattern.data());
    platform::UseMachine(directory_);
  }
  ~BenchMachine() {
    platform::CloseMachine();
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }
  BenchMachine(const BenchMachine&) = delete;
  BenchMachine& operator=(const BenchMachine&) = delete;

 private:
  std::filesystem::path directory_;
};

}  // namespace kv::bench
