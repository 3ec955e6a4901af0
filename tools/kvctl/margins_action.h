// "kvctl printer margins NAME": what a printer cannot print on.
#pragma once

#include "tools/kvctl/command.h"

namespace kvctl {

inline constexpr Option kForOption = {TEXT("--for"), true};

// Measures the printer that the operand names and stores its margins for the product printer of the
// option --for, which must exist, or for the first one on the port.
ExitStatus StoreMargins(const Arguments& arguments);

}  // namespace kvctl
