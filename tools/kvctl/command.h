// The commands of kvctl.
#pragma once

#include <span>

#include "runtime/core/win.h"
#include "tools/kvctl/arguments.h"

namespace kvctl {

// Exit statuses that scripts may rely on.
enum ExitStatus : int {
  kDone = 0,
  kFailed = 1,
  kUsage = 2,         // the command line cannot be understood
  kNeedsRights = 3,   // refused for lack of rights
  kNeedsRestart = 4,  // done, but the system must be restarted first
};

// One of the things that a command does: "kvctl papers add". A command that does one thing only has
// one action, without a name. Who runs an action that answers kUsage has said why; where to read
// more is said behind it.
struct Action {
  LPCWSTR name;
  std::span<const Option> options;
  int minimumOperands;  // behind the action's name
  int maximumOperands;
  ExitStatus (*run)(const Arguments& arguments);
};

struct Command {
  LPCWSTR name;
  UINT summary;                     // string number: one line for the list of commands
  UINT usage;                       // string number: the command's own help
  std::span<const Action> actions;  // the first one runs when none is named
};

extern const Command kPortsCommand;
extern const Command kMonitorsCommand;
extern const Command kDriversCommand;
extern const Command kInstallCommand;
extern const Command kRemoveCommand;
extern const Command kStatusCommand;
extern const Command kPrintCommand;
extern const Command kSettingsCommand;
extern const Command kSessionsCommand;
extern const Command kWhoamiCommand;
extern const Command kSpoolerCommand;
extern const Command kDemoCommand;
extern const Command kShortcutCommand;
extern const Command kDescribeCommand;
extern const Command kLocalesCommand;
extern const Command kDocnameCommand;
extern const Command kPapersCommand;
extern const Command kPrintersCommand;
extern const Command kPrinterCommand;
extern const Command kDefaultCommand;
extern const Command kCompletionCommand;
extern const Command kHelpCommand;

// All of them, in the order of the help text.
std::span<const Command* const> AllCommands();
// Null, after a message that names the nearest one, when there is no such command.
const Command* FindCommand(WideView name);
// Runs the command with the words behind its name. kUsage after a message when it does not take
// them; "--help", "-h" and "/?" show its help.
ExitStatus RunCommand(const Command& command, std::span<const WideString> words);

}  // namespace kvctl
