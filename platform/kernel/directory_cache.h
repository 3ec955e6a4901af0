// Names in host directories, found without regard to case.
#pragma once

#include <string>

namespace platform {

// The name in `directory` (a host path) that equals `name` but for case; empty when there is none.
// Of several the one that sorts first. Listings are kept and follow the directory's changes, those
// of other processes included, so that a lookup in a large directory costs no new listing.
std::string FindNameIgnoringCase(const std::string& directory, const std::string& name);

}  // namespace platform
