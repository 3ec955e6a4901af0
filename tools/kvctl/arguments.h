// The command line of one command: options ("--name", "--name VALUE", "--name=VALUE") and operands.
#pragma once

#include <map>
#include <span>
#include <vector>

#include "tools/kvctl/console.h"

namespace kvctl {

struct Option {
  LPCWSTR name;  // with its two hyphens
  bool takesValue;

  bool operator==(const Option& other) const { return WideView(name) == other.name; }
};

// The option of every command whose result scripts may want: one JSON text on one line.
inline constexpr Option kJsonOption = {TEXT("--json"), false};

class Arguments {
 public:
  // Takes apart what stands behind the command's name; "--" ends the options, "-" is an operand.
  // False, after a message, for a word that begins with a hyphen and is none of the options, and
  // for a missing or superfluous value.
  bool Parse(std::span<const WideString> words, std::span<const Option> options);
  // The first operand, which is taken out; there must be one.
  WideString TakeOperand();

  bool Has(const Option& option) const { return values_.find(option.name) != values_.end(); }
  // The option's value, `otherwise` when it is not given.
  WideString Value(const Option& option, WideView otherwise = {}) const;
  const std::vector<WideString>& operands() const { return operands_; }
  // The names of the options that are given.
  std::vector<WideString> options() const;

 private:
  bool TakeOption(std::span<const WideString> words, size_t& at, std::span<const Option> options);

  std::map<WideString, WideString, std::less<>> values_;
  std::vector<WideString> operands_;
};

// The one of `known` that `word` was probably meant to be; empty when none is near.
WideString NearestOf(WideView word, std::span<const WideString> known);
// "what" alone, or "what; did you mean …?".
WideString WithSuggestion(const WideString& what, WideView word, std::span<const WideString> known);

}  // namespace kvctl
