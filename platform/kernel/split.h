// Lists within texts.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

// Of the values of facts: the parts of `text` between separators, without blanks around them and
// without empty ones.
inline std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const size_t end = std::min(text.find(separator), text.size());
    std::string_view part = text.substr(0, end);
    while (part.starts_with(' ')) part.remove_prefix(1);
    while (part.ends_with(' ')) part.remove_suffix(1);
    if (!part.empty()) parts.emplace_back(part);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

// The texts that stand one behind the other, up to an empty one; none for null.
inline std::vector<WideString> SplitTexts(LPCWSTR texts) {
  std::vector<WideString> list;
  while (texts != nullptr && *texts != 0) {
    list.emplace_back(texts);
    texts += list.back().size() + 1;
  }
  return list;
}

}  // namespace platform
