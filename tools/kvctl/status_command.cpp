#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/text/format.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"
#include "tools/kvctl/port_files.h"
#include "tools/kvctl/port_status.h"

namespace kvctl {
namespace {

// What is said of a verdict, and what helps.
struct VerdictText {
  Verdict verdict;
  LPCWSTR key;  // for scripts
  UINT text;    // 1 the port
  UINT advice;  // 0: nothing is to be done
};
constexpr VerdictText kVerdicts[] = {
    {Verdict::kWorks, TEXT("works"), IDS_CTL_VERDICT_WORKS, 0},
    {Verdict::kWorksWithoutPrinter, TEXT("no-printer"), IDS_CTL_VERDICT_NO_PRINTER,
     IDS_CTL_ADVICE_PRINTER},
    {Verdict::kWorksUntilStopped, TEXT("works-until-stopped"), IDS_CTL_VERDICT_UNTIL_STOPPED,
     IDS_CTL_ADVICE_INSTALL},
    {Verdict::kRestartDue, TEXT("restart-due"), IDS_CTL_VERDICT_RESTART_DUE,
     IDS_CTL_ADVICE_RESTART},
    {Verdict::kNotInstalled, TEXT("not-installed"), IDS_CTL_VERDICT_NOT_INSTALLED,
     IDS_CTL_ADVICE_INSTALL},
    {Verdict::kSpoolerStopped, TEXT("spooler-stopped"), IDS_CTL_VERDICT_SPOOLER_STOPPED,
     IDS_CTL_ADVICE_START_SPOOLER},
    {Verdict::kModuleMissing, TEXT("module-missing"), IDS_CTL_VERDICT_MODULE_MISSING,
     IDS_CTL_ADVICE_INSTALL},
    {Verdict::kTextsMissing, TEXT("texts-missing"), IDS_CTL_VERDICT_TEXTS_MISSING,
     IDS_CTL_ADVICE_INSTALL},
    {Verdict::kNotRegistered, TEXT("not-registered"), IDS_CTL_VERDICT_NOT_REGISTERED,
     IDS_CTL_ADVICE_INSTALL},
    {Verdict::kNotListed, TEXT("not-listed"), IDS_CTL_VERDICT_NOT_LISTED, IDS_CTL_ADVICE_REPLACE},
};

const VerdictText& TextOf(Verdict verdict) {
  return *std::ranges::find(kVerdicts, verdict, &VerdictText::verdict);
}

WideString VerdictLine(const VerdictText& verdict) {
  return Text(verdict.text, kv::startupContext.portName);
}

WideString Described(const PortFile& file) {
  if (!file.isThere) return Text(IDS_CTL_STATUS_FILE_MISSING, file.path.c_str());
  const WideString version = file.version ? VersionText(*file.version) : Text(IDS_CTL_UNKNOWN);
  return Text(IDS_CTL_STATUS_FILE, file.path.c_str(), version.c_str());
}

WideString LanguageCode(LANGID language) {
  WCHAR code[8];
  kv::FormatText(code, TEXT("%04x"), language);
  return code;
}

WideString YesOrNo(bool flag) {
  return Text(flag ? IDS_CTL_YES : IDS_CTL_NO);
}

void PrintText(const PortStatus& status, const VerdictText& verdict) {
  PrintLine(VerdictLine(verdict));
  PrintLine(Text(IDS_CTL_STATUS_MODULE, Described(status.module).c_str()));
  for (const PortFile& file : status.resources) {
    PrintLine(file.isThere ? Text(IDS_CTL_STATUS_RESOURCES, Described(file).c_str(),
                                  LanguageCode(file.language).c_str())
                           : Text(IDS_CTL_STATUS_NO_RESOURCES, Described(file).c_str()));
  }
  PrintLine(Text(IDS_CTL_STATUS_REGISTERED, YesOrNo(!status.registeredFile.empty()).c_str()));
  PrintLine(Text(IDS_CTL_STATUS_SPOOLER, YesOrNo(status.spoolerRuns).c_str()));
  PrintLine(
      Text(IDS_CTL_STATUS_PORT, kv::startupContext.portName, YesOrNo(status.portIsListed).c_str()));
  for (const PortPrinter& printer : status.printers) {
    PrintLine(Text(IDS_CTL_STATUS_PRINTER, printer.name.c_str(), printer.driver.c_str()));
  }
  for (const PendingOperation& operation : status.pending) {
    PrintLine(Text(operation.target.empty() ? IDS_CTL_STATUS_DELETION : IDS_CTL_STATUS_REPLACEMENT,
                   operation.source.c_str(), operation.target.c_str()));
  }
  if (verdict.advice != 0) PrintLine(Text(verdict.advice));
}

void AddFile(JsonWriter& json, const PortFile& file) {
  json.Add(TEXT("path"), file.path);
  json.AddFlag(TEXT("there"), file.isThere);
  if (file.version) {
    json.Add(TEXT("version"), VersionText(*file.version));
  } else {
    json.AddNull(TEXT("version"));
  }
}

void AddResources(JsonWriter& json, const PortStatus& status) {
  json.BeginList(TEXT("resources"));
  for (const PortFile& file : status.resources) {
    json.BeginObject();
    AddFile(json, file);
    if (file.isThere) json.Add(TEXT("language"), LanguageCode(file.language));
    json.EndObject();
  }
  json.EndList();
}

void AddPrinters(JsonWriter& json, const PortStatus& status) {
  json.BeginList(TEXT("printers"));
  for (const PortPrinter& printer : status.printers) {
    json.BeginObject();
    json.Add(TEXT("name"), printer.name);
    json.Add(TEXT("driver"), printer.driver);
    json.EndObject();
  }
  json.EndList();
}

void AddPending(JsonWriter& json, const PortStatus& status) {
  json.BeginList(TEXT("pending"));
  for (const PendingOperation& operation : status.pending) {
    json.BeginObject();
    json.Add(TEXT("source"), operation.source);
    if (operation.target.empty()) {
      json.AddNull(TEXT("target"));
    } else {
      json.Add(TEXT("target"), operation.target);
    }
    json.EndObject();
  }
  json.EndList();
}

void PrintJson(const PortStatus& status, const VerdictText& verdict) {
  JsonWriter json;
  json.BeginObject();
  json.Add(TEXT("verdict"), verdict.key);
  json.Add(TEXT("message"), VerdictLine(verdict));
  if (verdict.advice == 0) {
    json.AddNull(TEXT("advice"));
  } else {
    json.Add(TEXT("advice"), Text(verdict.advice));
  }
  json.BeginObject(TEXT("module"));
  AddFile(json, status.module);
  json.EndObject();
  AddResources(json, status);
  json.AddFlag(TEXT("registered"), !status.registeredFile.empty());
  json.AddFlag(TEXT("spoolerRuns"), status.spoolerRuns);
  json.Add(TEXT("port"), kv::startupContext.portName);
  json.AddFlag(TEXT("portListed"), status.portIsListed);
  AddPrinters(json, status);
  AddPending(json, status);
  json.EndObject();
  PrintLine(json.text());
}

ExitStatus ShowStatus(const Arguments& arguments) {
  const PortStatus status = ReadPortStatus();
  const VerdictText& verdict = TextOf(status.GetVerdict());
  arguments.Has(kJsonOption) ? PrintJson(status, verdict) : PrintText(status, verdict);
  if (!status.Works()) return kFailed;
  return status.pending.empty() ? kDone : kNeedsRestart;
}

constexpr Option kOptions[] = {kJsonOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, ShowStatus}};

}  // namespace

const Command kStatusCommand = {TEXT("status"), IDS_CTL_STATUS_SUMMARY, IDS_CTL_STATUS_USAGE,
                                kActions};

}  // namespace kvctl
