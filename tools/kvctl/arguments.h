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
};

class Arguments {
 public:
  // Takes apart what stands behind the command's name; "--" ends the options. False, after a
  // message, for an option that the command does not have, a missing or superfluous value, or too
  // few or many operands.
  bool Parse(std::span<const WideString> words, std::span<const Option> options,
             int minimumOperands, int maximumOperands);

  bool Has(WideView option) const { return values_.find(option) != values_.end(); }
  // The option's value, `otherwise` when it is not given.
  WideString Value(WideView option, WideView otherwise = {}) const;
  const std::vector<WideString>& operands() const { return operands_; }

 private:
  bool TakeOption(std::span<const WideString> words, size_t& at, std::span<const Option> options);

  std::map<WideString, WideString, std::less<>> values_;
  std::vector<WideString> operands_;
};

}  // namespace kvctl
