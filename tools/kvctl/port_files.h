// The files that make up the port, wherever they lie: the language resource libraries and the
// module itself.
#pragma once

#include <vector>

#include "tools/kvctl/console.h"

namespace kvctl {

// Directories without a backslash at their ends; empty when the spooler (the system) does not say.
WideString PackageDirectory();  // of this program
WideString SystemDirectory();
WideString DriverDirectory();  // where the product's printer drivers take their files from

// The names of the port's files in a directory, the libraries before the module: who needs a file
// comes behind it.
std::vector<WideString> PortFilesIn(const WideString& directory);
WideString PathIn(const WideString& directory, WideView name);

// The file version's first two numbers, the first in the high word; 0 for a file without a version.
DWORD FileVersion(const WideString& path);
// "8.27".
WideString VersionText(DWORD version);

}  // namespace kvctl
