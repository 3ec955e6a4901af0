// The machine's atoms: numbers of names that all its processes share.
#pragma once

#include <windows.h>

#include <mutex>
#include <vector>

#include "platform/kernel/machine.h"
#include "platform/kernel/text.h"

namespace platform {

// Names are kept in the order of their numbers in one file below objects/, which only grows.
class Atoms {
 public:
  explicit Atoms(Machine& machine);

  // The number, from 0xC000, of a name of 1 to 255 characters, without regard to case; the name is
  // added when it is new. 0 on failure, with the last error set.
  ATOM Add(WideView name);
  // The name as it was added first; empty for an unknown number.
  WideString NameOf(ATOM atom);

 private:
  ATOM Find(WideView name) const;
  void ReadNew(int file);

  std::filesystem::path path_;
  std::mutex mutex_;
  std::vector<WideString> names_;
  off_t read_ = 0;
};

}  // namespace platform
