#include "tools/kvctl/arguments.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "resources/string_ids.h"

namespace kvctl {
namespace {

// How many characters must be put in, taken out or changed to make one text of the other.
size_t EditDistance(WideView a, WideView b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = diagonal + (a[i] != b[j]);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

bool Arguments::Parse(std::span<const WideString> words, std::span<const Option> options) {
  bool optionsEnded = false;
  for (size_t at = 0; at < words.size(); ++at) {
    if (!optionsEnded && words[at] == TEXT("--")) {
      optionsEnded = true;
    } else if (!optionsEnded && words[at].starts_with('-') && words[at] != TEXT("-")) {
      if (!TakeOption(words, at, options)) return false;
    } else {
      operands_.push_back(words[at]);
    }
  }
  return true;
}

bool Arguments::TakeOption(std::span<const WideString> words, size_t& at,
                           std::span<const Option> options) {
  const WideView word = words[at];
  const size_t equals = word.find('=');
  const WideString name(word.substr(0, equals));
  const auto option = std::find(options.begin(), options.end(), Option{name.c_str(), false});
  if (option == options.end()) {
    std::vector<WideString> known;
    for (const Option& other : options) known.push_back(other.name);
    PrintError(WithSuggestion(Text(IDS_CTL_UNKNOWN_OPTION, name.c_str()), name, known));
    return false;
  }
  if (!option->takesValue) {
    if (equals == WideView::npos) {
      values_[name] = {};
      return true;
    }
    PrintError(Text(IDS_CTL_UNEXPECTED_VALUE, name.c_str()));
    return false;
  }
  if (equals != WideView::npos) {
    values_[name] = word.substr(equals + 1);
  } else if (at + 1 < words.size()) {
    values_[name] = words[++at];
  } else {
    PrintError(Text(IDS_CTL_VALUE_MISSING, name.c_str()));
    return false;
  }
  return true;
}

WideString Arguments::TakeOperand() {
  WideString first = operands_.front();
  operands_.erase(operands_.begin());
  return first;
}

WideString Arguments::Value(const Option& option, WideView otherwise) const {
  const auto found = values_.find(option.name);
  return found == values_.end() ? WideString(otherwise) : found->second;
}

std::vector<WideString> Arguments::options() const {
  std::vector<WideString> names;
  for (const auto& [name, value] : values_) names.push_back(name);
  return names;
}

WideString NearestOf(WideView word, std::span<const WideString> known) {
  WideString nearest;
  // A third of the word may be wrong, of a short one a character.
  size_t least = std::max<size_t>(word.size() / 3, 1) + 1;
  for (const WideString& other : known) {
    const size_t distance = EditDistance(word, other);
    if (distance < least || (other.starts_with(word) && word.size() > 1)) {
      least = std::min(distance, least);
      nearest = other;
    }
  }
  return nearest;
}

WideString WithSuggestion(const WideString& what, WideView word,
                          std::span<const WideString> known) {
  const WideString nearest = NearestOf(word, known);
  return nearest.empty() ? what : what + TEXT("; ") + Text(IDS_CTL_DID_YOU_MEAN, nearest.c_str());
}

}  // namespace kvctl
