// Printers, drivers and print environments as the registry keeps them below
// HKLM\SYSTEM\CurrentControlSet\Control\Print.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/registry/registry.h"

namespace platform {

struct PrinterRecord {
  WideString server;  // empty: this machine
  WideString name;
  WideString share;
  WideString port;  // several are separated by commas
  WideString driver;
  WideString comment;
  WideString location;
  Bytes devmode;
  WideString separator_file;
  WideString processor;
  WideString datatype;
  WideString parameters;
  Bytes security;
  DWORD attributes = 0;
  DWORD priority = 0;
  DWORD default_priority = 0;
  DWORD start_time = 0;  // minutes since midnight UTC, like the next
  DWORD until_time = 0;
  DWORD status = 0;
  DWORD jobs = 0;  // not kept here
  DWORD average_ppm = 0;
  DWORD not_selected_timeout = 0;  // ms
  DWORD retry_timeout = 0;         // ms
  WideString description;          // "name,driver,location"
  DWORD flags = 0;                 // of level 1
  Bytes user_devmode;              // of the calling user; not kept here
  WideString directory_object;     // no printer is published in a directory
  DWORD directory_action = DSPRINT_UNPUBLISH;
};

// The names in a printer's list of ports.
std::vector<WideString> PortsOf(const PrinterRecord& printer);

std::optional<PrinterRecord> ReadPrinter(WideView name);
// Sorted by name.
std::vector<PrinterRecord> ReadPrinters();
bool WritePrinter(const PrinterRecord& printer);
bool RemovePrinter(WideView name);

struct DriverRecord {
  DWORD version = 0;
  WideString name;
  WideString environment;
  // File names without their directory in the registry, full paths when read.
  WideString driver_path;
  WideString data_file;
  WideString config_file;
  WideString help_file;
  std::vector<WideString> dependent_files;
  WideString monitor;
  WideString datatype;
};

std::optional<DriverRecord> ReadDriver(WideView environment, WideView name);
std::vector<DriverRecord> ReadDrivers(WideView environment);
bool WriteDriver(const DriverRecord& driver);

// The version of the drivers that this system uses: 3, or 2 before Windows 2000.
DWORD DriverVersion();

// The environment of this machine's spooler.
WideString NativeEnvironment();
// The environment as the registry spells it, the native one for null; empty for one that this
// machine does not know.
WideString FindEnvironment(LPCWSTR name);
// "C:\Windows\System32\spool\DRIVERS\x64".
WideString DriverDirectory(WideView environment);

// Whether the native environment has the print processor, and whether it takes the datatype.
bool HasPrintProcessor(WideView name);
bool IsDatatype(WideView name);

// The monitors that the spooler loads when it starts, and their "Driver" values.
std::vector<std::pair<WideString, WideString>> ReadRegisteredMonitors();
bool RegisterMonitor(WideView name, WideView file);
bool UnregisterMonitor(WideView name);

}  // namespace platform
