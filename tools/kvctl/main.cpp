// kvctl: using and administering the port from the command line.
#include <vector>

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/text/format.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

std::vector<WideString> ReadCommandLine() {
  std::vector<WideString> words;
  int count = 0;
  if (LPWSTR* const list = CommandLineToArgvW(GetCommandLineW(), &count)) {
    words.assign(list, list + count);
    LocalFree(list);
  }
  if (!words.empty()) words.erase(words.begin());
  return words;
}

// The library's message boxes, in a program that has no windows.
int PrintReport(LPCWSTR text, LPCWSTR, UINT style) {
  WideString line(text);
  for (WCHAR& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  PrintError(line);
  constexpr UINT kButtonMask = 0xF;
  // Nobody is asked: what would go on or try again is answered with a no.
  switch (style & kButtonMask) {
    case MB_OKCANCEL:
    case MB_RETRYCANCEL:
    case MB_YESNOCANCEL:
      return IDCANCEL;
    case MB_ABORTRETRYIGNORE:
      return IDABORT;
    case MB_YESNO:
      return IDNO;
    default:
      return IDOK;
  }
}

void PrintVersion() {
  WCHAR line[128];
  kv::FormatText(line, TEXT("kvctl %d.%d (%s %d)"), kv::kMajorVersion, kv::kMinorVersion,
                 kv::kProductName, kv::kMajorVersion);
  PrintLine(line);
}

ExitStatus Run(const std::vector<WideString>& words) {
  const auto shows = [&](LPCWSTR word) { return words[0] == word; };
  if (words.empty() || shows(TEXT("--help")) || shows(TEXT("-h")) || shows(TEXT("/?"))) {
    RunCommand(kHelpCommand, {});
    return words.empty() ? kUsage : kDone;
  }
  const Command* const command = FindCommand(words[0]);
  if (command != nullptr) return RunCommand(*command, std::span(words).subspan(1));
  PrintError(Text(IDS_CTL_SEE_COMMANDS));
  return kUsage;
}

// What ended on a full disk was not done, whatever the command says.
ExitStatus RunAndWrite(const std::vector<WideString>& words) {
  const ExitStatus status = Run(words);
  if (IsOutputComplete()) return status;
  PrintSystemError(Text(IDS_CTL_OUTPUT_LOST), ERROR_WRITE_FAULT);
  return status == kDone ? kFailed : status;
}

// Without the resource library there is no text to say so with.
ExitStatus ReportMissingResources() {
  WCHAR path[MAX_PATH];
  kv::PathBesideModule(GetModuleHandleW(nullptr), kv::kResourceDllName, path);
  PrintError(WideString(TEXT("cannot start: the language resource library is not usable: ")) +
             path);
  return kFailed;
}

}  // namespace
}  // namespace kvctl

int main() {
  const std::vector<kvctl::WideString> words = kvctl::ReadCommandLine();
  if (!words.empty() && words[0] == TEXT("--version")) {
    kvctl::PrintVersion();
    return kvctl::kDone;
  }
  kv::SetMessageSink(kvctl::PrintReport);
  const kvctl::ExitStatus status = kv::ProcessAttach(GetModuleHandleW(nullptr))
                                       ? kvctl::RunAndWrite(words)
                                       : kvctl::ReportMissingResources();
  kv::ProcessDetach();
  return status;
}
