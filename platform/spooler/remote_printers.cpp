#include "platform/spooler/remote_printers.h"

#include <algorithm>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/split.h"

namespace platform {
namespace {

std::string PrintersFact(WideView server) {
  return facts::kServerPrefix + ToUtf8(UpperCase(server)) + ".printers";
}

}  // namespace

WideView ServerOf(WideView name) {
  if (!name.starts_with(TEXT("\\\\"))) return {};
  name.remove_prefix(2);
  return name.substr(0, name.find(TEXT('\\')));
}

bool HasServer(WideView server) {
  return !server.empty() && !Fact(PrintersFact(server)).empty();
}

std::vector<PrinterRecord> RemotePrinters(WideView server) {
  std::vector<PrinterRecord> printers;
  for (const std::string& text : Split(Fact(PrintersFact(server)), ',')) {
    const std::vector<std::string> parts = Split(text, ':');
    if (parts.size() != 2) continue;
    PrinterRecord& printer = printers.emplace_back();
    printer.server = TEXT("\\\\") + WideString(server);
    printer.name = printer.server + TEXT('\\') + ToWide(parts[0]);
    printer.share = ToWide(parts[1]);
    printer.port = TEXT("LPT1:");
    printer.driver = TEXT("Generic / Text Only");
    printer.processor = TEXT("winprint");
    printer.datatype = TEXT("RAW");
    printer.attributes = PRINTER_ATTRIBUTE_NETWORK | PRINTER_ATTRIBUTE_SHARED;
    printer.priority = 1;
    printer.description = printer.name + TEXT(',') + printer.driver + TEXT(',');
    printer.flags = PRINTER_ENUM_ICON8;
  }
  return printers;
}

std::optional<PrinterRecord> RemotePrinter(WideView name) {
  for (PrinterRecord& printer : RemotePrinters(ServerOf(name))) {
    if (EqualNoCase(printer.name, name)) return std::move(printer);
  }
  return std::nullopt;
}

}  // namespace platform
