#include <algorithm>
#include <iterator>

#include "resources/string_ids.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr const Command* kCommands[] = {
    &kInstallCommand,    &kRemoveCommand,   &kStatusCommand,   &kPrintCommand,    &kPortsCommand,
    &kMonitorsCommand,   &kDriversCommand,  &kPrintersCommand, &kPrinterCommand,  &kDefaultCommand,
    &kPapersCommand,     &kSettingsCommand, &kSpoolerCommand,  &kSessionsCommand, &kWhoamiCommand,
    &kDescribeCommand,   &kLocalesCommand,  &kDocnameCommand,  &kShortcutCommand, &kDemoCommand,
    &kCompletionCommand, &kHelpCommand};

// The options of all the command's actions.
std::vector<Option> OptionsOf(const Command& command) {
  std::vector<Option> all;
  for (const Action& action : command.actions) {
    std::ranges::copy_if(action.options, std::back_inserter(all), [&](const Option& option) {
      return std::ranges::find(all, option) == all.end();
    });
  }
  return all;
}

WideString FullName(const Command& command, const Action& action) {
  WideString name = command.name;
  return action.name == nullptr ? name : name + TEXT(' ') + action.name;
}

// The action that the first operand names, which is taken out; null after a message.
const Action* TakeAction(const Command& command, Arguments& arguments) {
  const Action& first = command.actions[0];
  if (first.name == nullptr || arguments.operands().empty()) return &first;
  const WideString word = arguments.TakeOperand();
  std::vector<WideString> known;
  for (const Action& action : command.actions) {
    if (word == action.name) return &action;
    known.push_back(action.name);
  }
  PrintError(WithSuggestion(Text(IDS_CTL_UNKNOWN_ACTION, command.name, word.c_str()), word, known));
  return nullptr;
}

// Whether the action takes these options and so many operands; says so when it does not.
bool Takes(const Command& command, const Action& action, const Arguments& arguments) {
  for (const WideString& option : arguments.options()) {
    if (std::ranges::find(action.options, Option{option.c_str(), false}) == action.options.end()) {
      PrintError(Text(IDS_CTL_OPTION_NOT_HERE, FullName(command, action).c_str(), option.c_str()));
      return false;
    }
  }
  const std::vector<WideString>& operands = arguments.operands();
  const int count = static_cast<int>(operands.size());
  if (count < action.minimumOperands) {
    PrintError(Text(IDS_CTL_OPERAND_MISSING));
    return false;
  }
  if (count > action.maximumOperands) {
    PrintError(Text(IDS_CTL_UNEXPECTED_OPERAND, operands[action.maximumOperands].c_str()));
    return false;
  }
  return true;
}

bool AsksForHelp(std::span<const WideString> words) {
  for (const WideString& word : words) {
    if (word == TEXT("--")) return false;
    if (word == TEXT("--help") || word == TEXT("-h") || word == TEXT("/?")) return true;
  }
  return false;
}

ExitStatus RunAction(const Command& command, std::span<const WideString> words) {
  Arguments arguments;
  if (!arguments.Parse(words, OptionsOf(command))) return kUsage;
  const Action* const action = TakeAction(command, arguments);
  if (action == nullptr || !Takes(command, *action, arguments)) return kUsage;
  return action->run(arguments);
}

}  // namespace

std::span<const Command* const> AllCommands() {
  return kCommands;
}

const Command* FindCommand(WideView name) {
  std::vector<WideString> known;
  for (const Command* command : kCommands) {
    if (name == command->name) return command;
    known.push_back(command->name);
  }
  const WideString word(name);
  PrintError(WithSuggestion(Text(IDS_CTL_UNKNOWN_COMMAND, word.c_str()), word, known));
  return nullptr;
}

ExitStatus RunCommand(const Command& command, std::span<const WideString> words) {
  if (AsksForHelp(words)) {
    PrintLine(Text(command.usage));
    return kDone;
  }
  const ExitStatus status = RunAction(command, words);
  if (status == kUsage) PrintError(Text(IDS_CTL_SEE_HELP, command.name));
  return status;
}

}  // namespace kvctl
