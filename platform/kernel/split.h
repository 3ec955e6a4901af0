// Lists in the values of facts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The parts of `text` between separators, without blanks around them and without empty ones.
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

}  // namespace platform
