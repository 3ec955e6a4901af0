#include "resources/string_ids.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

// What may follow behind a command: its actions and options.
std::vector<WideString> WordsBehind(const Command& command) {
  std::vector<WideString> words;
  const auto add = [&](LPCWSTR word) {
    for (const WideString& known : words) {
      if (known == word) return;
    }
    words.push_back(word);
  };
  for (const Action& action : command.actions) {
    if (action.name != nullptr) add(action.name);
  }
  for (const Action& action : command.actions) {
    for (const Option& option : action.options) add(option.name);
  }
  add(TEXT("--help"));
  return words;
}

std::vector<WideString> CommandNames() {
  std::vector<WideString> names;
  for (const Command* command : AllCommands()) names.push_back(command->name);
  return names;
}

WideString Joined(const std::vector<WideString>& words, WideView before, WideView behind,
                  WideView between) {
  WideString text;
  for (const WideString& word : words) {
    if (!text.empty()) text.append(between);
    text.append(before).append(word).append(behind);
  }
  return text;
}

ExitStatus PrintBash(const Arguments&) {
  const auto list = [](const std::vector<WideString>& words) {
    return Joined(words, {}, {}, TEXT(" "));
  };
  PrintLine(TEXT("# Completion of kvctl: source <(kvctl completion bash)\n_kvctl() {\n")
                TEXT("  local words\n  if [ \"$COMP_CWORD\" -le 1 ]; then\n    words='") +
            list(CommandNames()) + TEXT("'\n  else\n    case ${COMP_WORDS[1]} in"));
  for (const Command* command : AllCommands()) {
    PrintLine(WideString(TEXT("      ")) + command->name + TEXT(") words='") +
              list(WordsBehind(*command)) + TEXT("' ;;"));
  }
  PrintLine(TEXT("    esac\n  fi\n")
                TEXT("  COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n}\n")
                    TEXT("complete -o default -F _kvctl kvctl kvctl.exe"));
  return kDone;
}

ExitStatus PrintPowerShell(const Arguments&) {
  const auto list = [](const std::vector<WideString>& words) {
    return TEXT("@(") + Joined(words, TEXT("'"), TEXT("'"), TEXT(", ")) + TEXT(")");
  };
  PrintLine(TEXT("# Completion of kvctl: kvctl completion powershell | Out-String | ")
                TEXT("Invoke-Expression\n")
                    TEXT("Register-ArgumentCompleter -Native -CommandName kvctl, kvctl.exe ")
                        TEXT("-ScriptBlock {\n")
                            TEXT("  param($word, $ast, $position)\n  $words = @{\n    '' = ") +
            list(CommandNames()));
  for (const Command* command : AllCommands()) {
    PrintLine(WideString(TEXT("    '")) + command->name + TEXT("' = ") +
              list(WordsBehind(*command)));
  }
  PrintLine(TEXT("  }\n  $typed = @($ast.CommandElements | ForEach-Object { \"$_\" })\n")
                TEXT("  if ($word -ne '') { $typed = @($typed | Select-Object -SkipLast 1) }\n")
                    TEXT("  $command = if ($typed.Count -gt 1) { $typed[1] } else { '' }\n")
                        TEXT("  $words[$command] | Where-Object { $_ -like \"$word*\" } |\n")
                            TEXT("    ForEach-Object { [System.Management.Automation.")
                                TEXT("CompletionResult]::new($_) }\n}"));
  return kDone;
}

constexpr Action kActions[] = {{TEXT("bash"), {}, 0, 0, PrintBash},
                               {TEXT("powershell"), {}, 0, 0, PrintPowerShell}};

}  // namespace

const Command kCompletionCommand = {TEXT("completion"), IDS_CTL_COMPLETION_SUMMARY,
                                    IDS_CTL_COMPLETION_USAGE, kActions};

}  // namespace kvctl
