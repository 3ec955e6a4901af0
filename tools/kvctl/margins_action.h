// "kvctl printer margins NAME": what a printer cannot print on.
#pragma once

#include "tools/kvctl/command.h"

namespace kvctl {

inline constexpr WCHAR kForOption[] = TEXT("--for");

// Measures the printer that the second operand names and stores its margins for the product printer
// of the option --for, or for the first one on the port.
ExitStatus StoreMargins(const Arguments& arguments);

}  // namespace kvctl
