#include "resources/string_ids.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

ExitStatus ShowHelp(const Arguments& arguments) {
  constexpr size_t kNameWidth = 12;
  if (!arguments.operands().empty()) {
    const Command* const command = FindCommand(arguments.operands()[0]);
    if (command == nullptr) return kUsage;
    PrintLine(Text(command->usage));
    return kDone;
  }
  PrintLine(Text(IDS_CTL_HELP));
  for (const Command* command : AllCommands()) {
    PrintLine(WideString(TEXT("  ")) + Padded(command->name, kNameWidth) + Text(command->summary));
  }
  return kDone;
}

constexpr Action kActions[] = {{nullptr, {}, 0, 1, ShowHelp}};

}  // namespace

const Command kHelpCommand = {TEXT("help"), IDS_CTL_HELP_SUMMARY, IDS_CTL_HELP_USAGE, kActions};

}  // namespace kvctl
