// The machine that the layer stands for: a directory with its drives, hives and shared objects, and
// the facts that describe it.
//
//   drive_c/     C:, looked up without regard to case
//   registry/    the hives
//   objects/     what processes share by name
//   facts        one "name=value" a line, UTF-8
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

// Makes `directory` a machine (created when it does not exist) and the current one of this process.
// Whatever the process had open on the previous machine is closed first: monitors are unloaded,
// hives written.
void UseMachine(const std::filesystem::path& directory);
// Closes the current machine; the next call that needs one opens KV_MACHINE, or the default below
// the user's data directory ($XDG_DATA_HOME/folvane-machine).
void CloseMachine();
// The directory of the current machine; opens one when there is none.
std::filesystem::path MachineDirectory();

// Facts are the settings of the machine; see facts.h for their names. Changes are written at once,
// and all processes of the machine see them.
std::string Fact(std::string_view name, std::string_view otherwise = {});
long FactNumber(std::string_view name, long otherwise = 0);
void SetFact(std::string_view name, std::string_view value);
void SetFactNumber(std::string_view name, long value);
void ClearFact(std::string_view name);

// The host's path of a path on the machine ("C:\Windows\x.txt"), whether or not it exists.
std::filesystem::path HostPath(std::basic_string_view<WCHAR> path);

}  // namespace platform
