#include "tools/kvctl/margins_action.h"

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/printing/printer_margins.h"
#include "runtime/printing/printer_settings.h"
#include "tools/kvctl/port_registration.h"

namespace kvctl {
namespace {

// Empty after a message.
WideString ProductPrinter(const Arguments& arguments) {
  if (arguments.Has(kForOption)) {
    WideString named = arguments.Value(kForOption);
    kv::UniquePrinter printer;
    if (kv::OpenPrinterHandle(named.c_str(), printer.Receive(), nullptr, FALSE)) return named;
    PrintLastError(IDS_CTL_CANNOT_OPEN_PRINTER, named.c_str());
    return {};
  }
  std::vector<PortPrinter> printers;
  if (!ListPortPrinters(printers)) {
    PrintLastError(IDS_CTL_CANNOT_LIST_PRINTERS);
    return {};
  }
  if (!printers.empty()) return printers[0].name;
  PrintError(Text(IDS_CTL_NO_PRINTER, kv::startupContext.portName));
  return {};
}

}  // namespace

ExitStatus StoreMargins(const Arguments& arguments) {
  const WideString& device = arguments.operands()[0];
  const WideString printer = ProductPrinter(arguments);
  if (printer.empty()) return kFailed;
  if (!kv::StoreDeviceMargins(printer.c_str(), device.c_str(), nullptr)) {
    PrintError(Text(IDS_CTL_CANNOT_MEASURE, device.c_str()));
    return kFailed;
  }
  kv::ProductDevMode stored;
  kv::ReadUserPrinterSettings(nullptr, printer.c_str(), kv::kStoredOnly, stored);
  const kv::ProductSettings& settings = stored.settings;
  PrintLine(Text(
      IDS_CTL_MARGINS, printer.c_str(), SignedNumber(settings.resolution).c_str(),
      SignedNumber(settings.leftMargin).c_str(), SignedNumber(settings.topMargin).c_str(),
      SignedNumber(settings.rightMargin).c_str(), SignedNumber(settings.bottomMargin).c_str()));
  return kDone;
}

}  // namespace kvctl
