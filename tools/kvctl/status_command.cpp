#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/text/format.h"
#include "tools/kvctl/json.h"
#include "tools/kvctl/port_files.h"
#include "tools/kvctl/port_status.h"

namespace kvctl {
namespace {

constexpr WCHAR kJsonOption[] = TEXT("--json");
constexpr Option kOptions[] = {{kJsonOption, false}};

WideString Described(const PortFile& file) {
  if (file.version == 0) return Text(IDS_CTL_STATUS_FILE_MISSING, file.path.c_str());
  return Text(IDS_CTL_STATUS_FILE, file.path.c_str(), VersionText(file.version).c_str());
}

WideString LanguageCode(LANGID language) {
  WCHAR code[8];
  kv::FormatText(code, TEXT("%04x"), language);
  return code;
}

WideString YesOrNo(bool flag) {
  return Text(flag ? IDS_CTL_YES : IDS_CTL_NO);
}

void PrintText(const PortStatus& status) {
  PrintLine(Text(IDS_CTL_STATUS_MODULE, Described(status.module).c_str()));
  for (const PortFile& file : status.resources) {
    PrintLine(Text(IDS_CTL_STATUS_RESOURCES, Described(file).c_str(),
                   LanguageCode(file.language).c_str()));
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
}

void AddFile(JsonWriter& json, const PortFile& file) {
  json.Add(TEXT("path"), file.path);
  if (file.version == 0) {
    json.AddNull(TEXT("version"));
  } else {
    json.Add(TEXT("version"), VersionText(file.version));
  }
}

void AddResources(JsonWriter& json, const PortStatus& status) {
  json.BeginList(TEXT("resources"));
  for (const PortFile& file : status.resources) {
    json.BeginObject();
    AddFile(json, file);
    json.Add(TEXT("language"), LanguageCode(file.language));
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

void PrintJson(const PortStatus& status) {
  JsonWriter json;
  json.BeginObject();
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
  arguments.Has(kJsonOption) ? PrintJson(status) : PrintText(status);
  if (!status.Works()) return kFailed;
  return status.pending.empty() ? kDone : kNeedsRestart;
}

}  // namespace

const Command kStatusCommand = {
    TEXT("status"), IDS_CTL_STATUS_SUMMARY, IDS_CTL_STATUS_USAGE, kOptions, 0, 0, ShowStatus};

}  // namespace kvctl
