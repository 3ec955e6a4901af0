#include "tools/kvctl/command.h"

namespace kvctl {
namespace {
constexpr const Command* kCommands[] = {
    &kPortsCommand,  &kMonitorsCommand, &kInstallCommand,  &kRemoveCommand,   &kStatusCommand,
    &kPrintCommand,  &kSettingsCommand, &kSessionsCommand, &kWhoamiCommand,   &kSpoolerCommand,
    &kDemoCommand,   &kDocnameCommand,  &kShortcutCommand, &kDescribeCommand, &kLocalesCommand,
    &kPapersCommand, &kPrintersCommand, &kPrinterCommand,  &kDefaultCommand};
}

std::span<const Command* const> AllCommands() {
  return kCommands;
}

const Command* FindCommand(WideView name) {
  for (const Command* command : kCommands) {
    if (name == command->name) return command;
  }
  return nullptr;
}

}  // namespace kvctl
