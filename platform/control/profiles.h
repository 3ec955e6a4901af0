// Whole Windows versions by name, for machines of every age.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Makes the current machine one of the named system: version record, product type, suite, service
// pack, directories, common controls, and the system's files with their versions. Facts that do not
// belong to the Windows version stay. `architecture` is "x86" or "x64"; empty takes x64 where the
// system exists for it. False, with nothing changed, when there is no such system.
bool UseProfile(std::string_view name, std::string_view architecture = {});
// The names, oldest first: "windows-95", …, "windows-server-2012-r2", "windows-10", "windows-11".
std::vector<std::string> ProfileNames();

// Writes the system's files and directories as the facts say now; for tests that set single facts
// of the version.
void InstallSystemFiles();

}  // namespace platform
