#include "platform/spooler/printer_levels.h"

#include <cstddef>
#include <cstring>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/spooler/host_driver.h"
#include "platform/spooler/remote_printers.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/user_printers.h"

namespace platform {
namespace {

using Printer = PrinterRecord;

constexpr auto kServer = LevelField<Printer>::OrNull(&Printer::server);
constexpr LevelField<Printer> kPrinter1[] = {&Printer::flags, &Printer::description, &Printer::name,
                                             &Printer::comment};
constexpr LevelField<Printer> kPrinter2[] = {
    kServer,
    &Printer::name,
    &Printer::share,
    &Printer::port,
    &Printer::driver,
    &Printer::comment,
    &Printer::location,
    &Printer::devmode,
    &Printer::separator_file,
    &Printer::processor,
    &Printer::datatype,
    &Printer::parameters,
    &Printer::security,
    &Printer::attributes,
    &Printer::priority,
    &Printer::default_priority,
    &Printer::start_time,
    &Printer::until_time,
    &Printer::status,
    &Printer::jobs,
    &Printer::average_ppm,
};
constexpr LevelField<Printer> kPrinter3[] = {&Printer::security};
constexpr LevelField<Printer> kPrinter4[] = {&Printer::name, kServer, &Printer::attributes};
constexpr LevelField<Printer> kPrinter5[] = {&Printer::name, &Printer::port, &Printer::attributes,
                                             &Printer::not_selected_timeout,
                                             &Printer::retry_timeout};
constexpr LevelField<Printer> kPrinter6[] = {&Printer::status};
constexpr LevelField<Printer> kPrinter7[] = {
    LevelField<Printer>::OrNull(&Printer::directory_object), &Printer::directory_action};
constexpr LevelField<Printer> kPrinter8[] = {&Printer::devmode};
constexpr LevelField<Printer> kPrinter9[] = {&Printer::user_devmode};
constexpr Level<Printer> kLevels[] = {{1, kPrinter1}, {2, kPrinter2}, {3, kPrinter3},
                                      {4, kPrinter4}, {5, kPrinter5}, {6, kPrinter6},
                                      {7, kPrinter7}, {8, kPrinter8}, {9, kPrinter9}};
constexpr DWORD kFirstLevelOfWindows2000 = 7;

template <size_t kSize>
void CopyNarrow(const WCHAR (&text)[kSize], BYTE (&field)[kSize]) {
  const WideString terminated(text, std::find(text, text + kSize, 0) - text);
  char narrow[2 * kSize + 1] = {};
  WideCharToMultiByte(CP_ACP, 0, terminated.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr);
  std::memcpy(field, narrow, kSize - 1);
}

Bytes NarrowDevMode(const Bytes& wide) {
  if (wide.size() < sizeof(DEVMODEW)) return {};
  const auto& from = *reinterpret_cast<const DEVMODEW*>(wide.data());
  DEVMODEA to = {};
  CopyNarrow(from.dmDeviceName, to.dmDeviceName);
  std::memcpy(&to.dmSpecVersion, &from.dmSpecVersion,
              offsetof(DEVMODEW, dmFormName) - offsetof(DEVMODEW, dmSpecVersion));
  to.dmSize = sizeof to;
  CopyNarrow(from.dmFormName, to.dmFormName);
  std::memcpy(&to.dmLogPixels, &from.dmLogPixels, sizeof to - offsetof(DEVMODEA, dmLogPixels));
  const auto* bytes = reinterpret_cast<const uint8_t*>(&to);
  Bytes narrow(bytes, bytes + sizeof to);
  narrow.insert(narrow.end(), wide.begin() + sizeof(DEVMODEW), wide.end());
  return narrow;
}

}  // namespace

std::optional<Printer> FindPrinter(WideView name) {
  return ServerOf(name).empty() ? ReadPrinter(name) : RemotePrinter(name);
}

std::optional<Printer> DescribePrinter(WideView name) {
  auto printer = FindPrinter(name);
  if (!printer) return printer;
  if (printer->devmode.empty()) {
    printer->devmode = HostDriver(printer->driver).DefaultDevMode(printer->name);
  }
  printer->user_devmode = ReadUserDevMode(printer->name);
  printer->jobs = static_cast<DWORD>(Spooler::Current().state().Jobs(printer->name).size());
  return printer;
}

PrinterFields PrinterFieldsOf(DWORD level) {
  if (level >= kFirstLevelOfWindows2000 && FactNumber(facts::kMajor, 10) < 5) {
    SetLastError(ERROR_INVALID_LEVEL);
    return {};
  }
  return FieldsOfLevel<Printer>(kLevels, level);
}

Printer WithNarrowDevModes(Printer printer) {
  printer.devmode = NarrowDevMode(printer.devmode);
  printer.user_devmode = NarrowDevMode(printer.user_devmode);
  return printer;
}

}  // namespace platform
