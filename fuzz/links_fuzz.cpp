// Whatever bytes a shortcut consists of, it is read within them; one that is accepted is written
// and read again unchanged.
#include <cstdlib>

#include "platform/shell/link_file.h"

namespace {

void Require(bool holds) {
  if (!holds) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  using namespace platform;
  const auto link = ReadLink({reinterpret_cast<const char*>(bytes), count});
  if (!link.has_value()) return 0;
  PathOfList(link->target);
  NameWithin({}, link->target);
  NameWithin(ComputerFolder(), link->target);

  const LinkData& whole = *link;
  const std::string written = WriteLink(whole);
  const auto again = ReadLink(written);
  Require(again.has_value());
  Require(again->flags == whole.flags && again->icon_index == whole.icon_index &&
          again->show == whole.show && again->hot_key == whole.hot_key);
  Require(again->target == whole.target && again->local_path == whole.local_path);
  Require(again->description == whole.description && again->arguments == whole.arguments &&
          again->relative_path == whole.relative_path &&
          again->working_directory == whole.working_directory &&
          again->icon_file == whole.icon_file);
  return 0;
}
