#include "platform/kernel/name_pattern.h"

#include <vector>

namespace platform {
namespace {

// The file system's wildcards, characters that no name holds. Any number of characters, but never
// across the last dot; one character, or none before a dot and at the end; a dot, or none at the
// end.
constexpr WCHAR kDosStar = '<';
constexpr WCHAR kDosOne = '>';
constexpr WCHAR kDosDot = '"';

}  // namespace

NamePattern::NamePattern(WideView pattern) {
  if (pattern == TEXT("*.*")) pattern = TEXT("*");
  for (size_t i = 0; i < pattern.size(); ++i) {
    const WCHAR c = pattern[i];
    const WCHAR before = i > 0 ? pattern[i - 1] : 0;
    if ((c == '?' || c == '*') && before == '.') pattern_.back() = kDosDot;
    if (c == '.' && before == '*') pattern_.back() = kDosStar;
    // A dot at the end says only that the name has none.
    if (c == '.' && before == '*' && i + 1 == pattern.size()) break;
    pattern_ += c == '?' ? kDosOne : UpperCase(c);
  }
}

// Works backwards: matches[n] says whether the rest of the pattern fits the name from n on.
bool NamePattern::Matches(WideView name) const {
  const size_t last_dot = name.rfind('.');
  const size_t size = name.size();
  std::vector<char> matches(size + 2, 0);
  matches[size] = 1;
  for (size_t p = pattern_.size(); p-- > 0;) {
    const WCHAR c = pattern_[p];
    for (size_t n = 0; n <= size; ++n) {
      // For the stars matches[n + 1] must already be that of this pattern position.
      const size_t at = c == '*' || c == kDosStar ? size - n : n;
      const bool is_end = at == size, is_dot = !is_end && name[at] == '.';
      const bool here = matches[at] != 0, next = !is_end && matches[at + 1] != 0;
      bool fits;
      if (c == '*') {
        fits = here || next;
      } else if (c == kDosStar) {
        fits = here || (next && at != last_dot);
      } else if (c == kDosOne) {
        fits = is_end || is_dot ? here : next;
      } else if (c == kDosDot) {
        fits = is_end ? here : is_dot && next;
      } else {
        fits = next && UpperCase(name[at]) == c;
      }
      matches[at] = fits;
    }
  }
  return matches[0] != 0;
}

}  // namespace platform
