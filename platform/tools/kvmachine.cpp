// kvmachine: makes machines and shows what they are.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "platform/control/machine.h"
#include "platform/control/profiles.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

constexpr const char* kHelp =
    "usage: kvmachine create DIR [--profile NAME] [--arch x86|x64] [FACT=VALUE ...]\n"
    "       kvmachine facts DIR\n"
    "       kvmachine profiles\n"
    "       kvmachine --help\n"
    "\n"
    "A machine is a directory that stands for one Windows installation. Programs use the one\n"
    "that the environment variable KV_MACHINE names.\n"
    "\n"
    "  create    makes DIR a machine, or changes the facts of one that is there\n"
    "  facts     prints the facts that have been set, one NAME=VALUE a line\n"
    "  profiles  lists the Windows versions for --profile, oldest first\n";

int Fail(int status, const std::string& what, const std::string& why) {
  std::cerr << "kvmachine: " << what << ": " << why << '\n';
  return status;
}

struct Creation {
  std::string directory;
  std::string profile;
  std::string architecture;
  std::vector<std::pair<std::string, std::string>> facts;
};

// The value of an option: what follows "=", else the next argument.
std::optional<std::string> ValueOf(const std::vector<std::string>& arguments, size_t& index,
                                   const std::string& option) {
  const std::string& argument = arguments[index];
  if (argument.size() > option.size()) return argument.substr(option.size() + 1);
  if (index + 1 == arguments.size()) return std::nullopt;
  return arguments[++index];
}

bool IsOption(const std::string& argument, const std::string& option) {
  return argument == option || argument.starts_with(option + "=");
}

// An exit status; 0 when `creation` is filled.
int ParseCreation(const std::vector<std::string>& arguments, Creation& creation) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    std::string* option_value = IsOption(argument, "--profile") ? &creation.profile
                                : IsOption(argument, "--arch")  ? &creation.architecture
                                                                : nullptr;
    if (option_value != nullptr) {
      const std::string name = argument.substr(0, argument.find('='));
      const auto value = ValueOf(arguments, i, name);
      if (!value || value->empty()) return Fail(kUsage, name, "a value is missing");
      *option_value = *value;
    } else if (argument.starts_with("-")) {
      return Fail(kUsage, argument, "unknown option");
    } else if (creation.directory.empty()) {
      creation.directory = argument;
    } else {
      const size_t equals = argument.find('=');
      if (equals == 0 || equals == std::string::npos) {
        return Fail(kUsage, argument, "not of the form FACT=VALUE");
      }
      creation.facts.emplace_back(argument.substr(0, equals), argument.substr(equals + 1));
    }
  }
  if (creation.directory.empty()) return Fail(kUsage, "create", "a directory is missing");
  return 0;
}

int Create(const std::vector<std::string>& arguments) {
  Creation creation;
  if (const int status = ParseCreation(arguments, creation); status != 0) return status;
  const bool has_architecture = !creation.architecture.empty();
  if (has_architecture && creation.architecture != "x86" && creation.architecture != "x64") {
    return Fail(kUsage, creation.architecture, "the architectures are x86 and x64");
  }
  platform::UseMachine(creation.directory);
  if (creation.profile.empty() && has_architecture) creation.profile = "windows-10";
  if (!creation.profile.empty() && !platform::UseProfile(creation.profile, creation.architecture)) {
    const std::string on = has_architecture ? " for " + creation.architecture : "";
    return Fail(kFailed, creation.profile, "there is no such Windows version" + on);
  }
  for (const auto& [name, value] : creation.facts) platform::SetFact(name, value);
  if (!creation.facts.empty()) platform::InstallSystemFiles();
  platform::CloseMachine();
  return 0;
}

int ShowFacts(const std::vector<std::string>& arguments) {
  if (arguments.size() != 1) return Fail(kUsage, "facts", "exactly one directory is needed");
  const std::filesystem::path directory = arguments[0];
  if (!std::filesystem::is_directory(directory / "drive_c")) {
    return Fail(kFailed, arguments[0], "not a machine");
  }
  std::ifstream facts(directory / "facts");
  for (std::string line; std::getline(facts, line);) std::cout << line << '\n';
  return 0;
}

int Run(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::cerr << kHelp;
    return kUsage;
  }
  const std::string& command = arguments[0];
  const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
  for (const std::string& argument : arguments) {
    if (argument != "--help" && argument != "-h") continue;
    std::cout << kHelp;
    return 0;
  }
  if (command == "create") return Create(rest);
  if (command == "facts") return ShowFacts(rest);
  if (command == "profiles") {
    for (const std::string& name : platform::ProfileNames()) std::cout << name << '\n';
    return 0;
  }
  return Fail(kUsage, command, "unknown command");
}

}  // namespace

int main(int count, char** values) {
  try {
    return Run(std::vector<std::string>(values + 1, values + count));
  } catch (const std::filesystem::filesystem_error& error) {
    return Fail(kFailed, error.path1().string(), error.code().message());
  }
}
