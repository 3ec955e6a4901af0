#include "platform/spooler/print_records.h"

#include <algorithm>
#include <array>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/path.h"
#include "platform/kernel/wow64.h"
#include "platform/registry/record_values.h"

namespace platform {
namespace {

constexpr const WCHAR* kPrint = TEXT("MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\");

WideString Below(WideView path) {
  return kPrint + WideString(path);
}
WideString PrinterPath(WideView name) {
  return Below(TEXT("Printers\\")) + WideString(name);
}
WideString EnvironmentPath(WideView environment) {
  return Below(TEXT("Environments\\")) + WideString(environment);
}
WideString DriversPath(WideView environment) {
  return EnvironmentPath(environment) + TEXT("\\Drivers\\Version-") +
         static_cast<WCHAR>(TEXT('0') + DriverVersion());
}

constexpr TextValue<PrinterRecord> kPrinterTexts[] = {
    {TEXT("Name"), &PrinterRecord::name},
    {TEXT("Share Name"), &PrinterRecord::share},
    {TEXT("Port"), &PrinterRecord::port},
    {TEXT("Printer Driver"), &PrinterRecord::driver},
    {TEXT("Description"), &PrinterRecord::comment},
    {TEXT("Location"), &PrinterRecord::location},
    {TEXT("Separator File"), &PrinterRecord::separator_file},
    {TEXT("Print Processor"), &PrinterRecord::processor},
    {TEXT("Datatype"), &PrinterRecord::datatype},
    {TEXT("Parameters"), &PrinterRecord::parameters},
};
constexpr NumberValue<PrinterRecord> kPrinterNumbers[] = {
    {TEXT("Attributes"), &PrinterRecord::attributes},
    {TEXT("Priority"), &PrinterRecord::priority},
    {TEXT("Default Priority"), &PrinterRecord::default_priority},
    {TEXT("StartTime"), &PrinterRecord::start_time},
    {TEXT("UntilTime"), &PrinterRecord::until_time},
    {TEXT("Status"), &PrinterRecord::status},
    {TEXT("dnsTimeout"), &PrinterRecord::not_selected_timeout},
    {TEXT("txTimeout"), &PrinterRecord::retry_timeout},
};
constexpr const WCHAR* kDevModeValue = TEXT("Default DevMode");
constexpr const WCHAR* kSecurityValue = TEXT("Security");

constexpr TextValue<DriverRecord> kDriverFiles[] = {
    {TEXT("Driver"), &DriverRecord::driver_path},
    {TEXT("Data File"), &DriverRecord::data_file},
    {TEXT("Configuration File"), &DriverRecord::config_file},
    {TEXT("Help File"), &DriverRecord::help_file},
};
constexpr TextValue<DriverRecord> kDriverTexts[] = {
    {TEXT("Monitor"), &DriverRecord::monitor},
    {TEXT("Datatype"), &DriverRecord::datatype},
};
constexpr const WCHAR* kDependentFilesValue = TEXT("Dependent Files");

// Not while another process is still writing the printer, whose name comes last.
bool IsComplete(const RegistryKey& key) {
  return key && key.Value(TEXT("Name"));
}

PrinterRecord PrinterFrom(const RegistryKey& key) {
  PrinterRecord printer;
  ReadValues(key, kPrinterTexts, kPrinterNumbers, printer);
  if (auto devmode = key.Value(kDevModeValue)) printer.devmode = std::move(devmode->data);
  if (auto security = key.Value(kSecurityValue)) printer.security = std::move(security->data);
  printer.description = printer.name + TEXT(',') + printer.driver + TEXT(',') + printer.location;
  printer.flags = PRINTER_ENUM_ICON8;
  return printer;
}

DriverRecord DriverFrom(const RegistryKey& key, WideView environment, WideView name) {
  const WideString directory =
      DriverDirectory(environment) + TEXT('\\') + static_cast<WCHAR>(TEXT('0') + DriverVersion());
  const auto full = [&](const WideString& file) {
    return file.empty() ? file : directory + TEXT('\\') + file;
  };
  DriverRecord driver;
  driver.version = DriverVersion();
  driver.name = name;
  driver.environment = environment;
  for (const auto& file : kDriverFiles) driver.*file.member = full(key.Text(file.name));
  for (const WideString& file : key.Texts(kDependentFilesValue)) {
    driver.dependent_files.push_back(full(file));
  }
  for (const auto& text : kDriverTexts) driver.*text.member = key.Text(text.name);
  return driver;
}

}  // namespace

std::vector<WideString> PortsOf(const PrinterRecord& printer) {
  std::vector<WideString> ports;
  for (WideView rest = printer.port; !rest.empty();) {
    const size_t end = std::min(rest.find(TEXT(',')), rest.size());
    ports.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return ports;
}

std::optional<PrinterRecord> ReadPrinter(WideView name) {
  if (name.empty()) return std::nullopt;
  const RegistryKey key = FindKey(PrinterPath(name));
  if (!IsComplete(key)) return std::nullopt;
  return PrinterFrom(key);
}

std::vector<PrinterRecord> ReadPrinters() {
  std::vector<PrinterRecord> printers;
  const RegistryKey all = FindKey(Below(TEXT("Printers")));
  for (const WideString& name : all.SubKeys()) {
    const RegistryKey key = all.Open(name);
    if (IsComplete(key)) printers.push_back(PrinterFrom(key));
  }
  return printers;
}

bool WritePrinter(const PrinterRecord& printer) {
  const RegistryKey key = MakeKey(PrinterPath(printer.name));
  return key.Set(kDevModeValue, REG_BINARY, printer.devmode.data(), printer.devmode.size()) &&
         key.Set(kSecurityValue, REG_BINARY, printer.security.data(), printer.security.size()) &&
         WriteValues(key, kPrinterTexts, kPrinterNumbers, printer);
}

bool RemovePrinter(WideView name) {
  return FindKey(Below(TEXT("Printers"))).DeleteTree(name);
}

std::optional<DriverRecord> ReadDriver(WideView environment, WideView name) {
  if (name.empty()) return std::nullopt;
  const RegistryKey key = FindKey(DriversPath(environment) + TEXT('\\') + WideString(name));
  return key ? std::optional(DriverFrom(key, environment, name)) : std::nullopt;
}

std::vector<DriverRecord> ReadDrivers(WideView environment) {
  std::vector<DriverRecord> drivers;
  const RegistryKey all = FindKey(DriversPath(environment));
  for (const WideString& name : all.SubKeys()) {
    drivers.push_back(DriverFrom(all.Open(name), environment, name));
  }
  return drivers;
}

bool WriteDriver(const DriverRecord& driver) {
  const RegistryKey key = MakeKey(DriversPath(driver.environment) + TEXT('\\') + driver.name);
  bool written = static_cast<bool>(key);
  for (const auto& file : kDriverFiles) {
    written = written && key.SetText(file.name, BaseName(driver.*file.member));
  }
  std::vector<WideString> dependent;
  for (const WideString& file : driver.dependent_files) dependent.emplace_back(BaseName(file));
  written = written && key.SetTexts(kDependentFilesValue, dependent);
  for (const auto& text : kDriverTexts) {
    written = written && key.SetText(text.name, driver.*text.member);
  }
  return written && key.SetNumber(TEXT("Version"), driver.version);
}

DWORD DriverVersion() {
  return FactNumber(facts::kMajor, 10) < 5 ? 2 : 3;
}

WideString NativeEnvironment() {
  return SystemIs64Bit() ? TEXT("Windows x64") : TEXT("Windows NT x86");
}

WideString FindEnvironment(LPCWSTR name) {
  if (View(name).empty()) return NativeEnvironment();
  for (const WideString& known : FindKey(Below(TEXT("Environments"))).SubKeys()) {
    if (EqualNoCase(known, View(name))) return known;
  }
  return {};
}

WideString DriverDirectory(WideView environment) {
  return SystemDirectory() + TEXT("\\spool\\DRIVERS\\") +
         FindKey(EnvironmentPath(environment)).Text(TEXT("Directory"));
}

bool HasPrintProcessor(WideView name) {
  return !name.empty() && FindKey(EnvironmentPath(NativeEnvironment()) +
                                  TEXT("\\Print Processors\\") + WideString(name));
}

bool IsDatatype(WideView name) {
  constexpr std::array<WideView, 4> kKnown = {TEXT("RAW"), TEXT("RAW [FF appended]"),
                                              TEXT("RAW [FF auto]"), TEXT("TEXT")};
  return std::any_of(kKnown.begin(), kKnown.end(),
                     [&](WideView known) { return EqualNoCase(known, name); });
}

std::vector<std::pair<WideString, WideString>> ReadRegisteredMonitors() {
  std::vector<std::pair<WideString, WideString>> monitors;
  const RegistryKey all = FindKey(Below(TEXT("Monitors")));
  for (const WideString& name : all.SubKeys()) {
    const WideString file = all.Open(name).Text(TEXT("Driver"));
    if (!file.empty()) monitors.emplace_back(name, file);
  }
  return monitors;
}

bool RegisterMonitor(WideView name, WideView file) {
  return MakeKey(Below(TEXT("Monitors\\")) + WideString(name)).SetText(TEXT("Driver"), file);
}

bool UnregisterMonitor(WideView name) {
  return FindKey(Below(TEXT("Monitors"))).DeleteTree(name);
}

}  // namespace platform
