// The files that make up the port, wherever they lie: the language resource libraries and the
// module itself.
#pragma once

#include <optional>
#include <vector>

#include "tools/kvctl/console.h"

namespace kvctl {

// What a new file is called beside the one that it is to replace, and a copy of the replaced one.
inline constexpr WCHAR kStagedSuffix[] = TEXT(".new");
inline constexpr WCHAR kBackupSuffix[] = TEXT(".old");

// Directories without a backslash at their ends; empty, with the last error, when the system or the
// spooler does not say.
WideString PackageDirectory();  // of this program
WideString SystemDirectory();
WideString DriverDirectory();  // where the product's printer drivers take their files from

// Whether the files that an interrupted installation leaves ("….new", "….old") count as well.
enum class Leftovers : bool { kNo, kYes };
// The names of the port's files in a directory, the libraries before the module: who needs a file
// comes behind it. The system's error code, ERROR_SUCCESS when the whole directory was read.
DWORD ListPortFiles(const WideString& directory, Leftovers leftovers,
                    std::vector<WideString>& names);
// The name of the file that a leftover was to replace; other names as they are.
WideView TargetName(WideView name);
// Empty for an unknown (empty) directory.
WideString PathIn(const WideString& directory, WideView name);

// The file version's first two numbers, the first in the high word; nothing for a file without a
// version or one that cannot be read.
std::optional<DWORD> FileVersion(const WideString& path);
// "8.27".
WideString VersionText(DWORD version);

}  // namespace kvctl
