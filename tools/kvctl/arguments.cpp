#include "tools/kvctl/arguments.h"

#include "resources/string_ids.h"

namespace kvctl {

bool Arguments::Parse(std::span<const WideString> words, std::span<const Option> options,
                      int minimumOperands, int maximumOperands) {
  bool optionsEnded = false;
  for (size_t at = 0; at < words.size(); ++at) {
    if (!optionsEnded && words[at] == TEXT("--")) {
      optionsEnded = true;
    } else if (!optionsEnded && words[at].starts_with(TEXT("--"))) {
      if (!TakeOption(words, at, options)) return false;
    } else {
      operands_.push_back(words[at]);
    }
  }
  const int count = static_cast<int>(operands_.size());
  if (count < minimumOperands) {
    PrintError(Text(IDS_CTL_OPERAND_MISSING));
    return false;
  }
  if (count > maximumOperands) {
    PrintError(Text(IDS_CTL_UNEXPECTED_OPERAND, operands_[maximumOperands].c_str()));
    return false;
  }
  return true;
}

bool Arguments::TakeOption(std::span<const WideString> words, size_t& at,
                           std::span<const Option> options) {
  const WideView word = words[at];
  const size_t equals = word.find('=');
  const WideString name(word.substr(0, equals));
  for (const Option& option : options) {
    if (name != option.name) continue;
    if (!option.takesValue) {
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
  PrintError(Text(IDS_CTL_UNKNOWN_OPTION, name.c_str()));
  return false;
}

WideString Arguments::Value(WideView option, WideView otherwise) const {
  const auto found = values_.find(option);
  return found == values_.end() ? WideString(otherwise) : found->second;
}

}  // namespace kvctl
