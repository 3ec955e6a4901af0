// Wildcards in file names.
#pragma once

#include "platform/kernel/text.h"

namespace platform {

// The last component of a search ("*.txt"), by the rules that searches have kept since DOS: "*.*"
// is everything, "*." a name without a dot, "?" before a dot or the end may stand for nothing.
class NamePattern {
 public:
  explicit NamePattern(WideView pattern);
  bool Matches(WideView name) const;

  static bool HasWildcards(WideView text) {
    return text.find_first_of(TEXT("*?")) != WideView::npos;
  }

 private:
  WideString pattern_;  // upper case, in the file system's own wildcards
};

}  // namespace platform
