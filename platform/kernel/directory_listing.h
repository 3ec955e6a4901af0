// What directories of the host hold, with the names that the machine's programs see.
#pragma once

#include <filesystem>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

struct ListedName {
  WideString name;
  // The 8.3 name; empty where the name is one itself.
  WideString short_name;
};

// The entries in the order of their upper-cased names, without "." and "..", and without names that
// no path of the machine could hold.
std::vector<ListedName> ListDirectory(const std::filesystem::path& host);
// The entry with that short name; empty when there is none.
WideString FindByShortName(const std::filesystem::path& host, WideView short_name);
// The short form of one entry's name.
WideString ShortNameOf(const std::filesystem::path& host, WideView name);

}  // namespace platform
