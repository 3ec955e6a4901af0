#include "platform/spooler/inbox_driver.h"

#include <fstream>

#include "platform/control/machine.h"
#include "platform/control/pe_writer.h"
#include "platform/kernel/wow64.h"
#include "platform/spooler/print_records.h"

namespace platform {
namespace {

constexpr const WCHAR* kName = TEXT("Generic / Text Only");

std::filesystem::path HostFile(const WideString& path) {
  return HostPath(path);
}

}  // namespace

void InstallInboxDriver() {
  const WideString environment = NativeEnvironment();
  if (ReadDriver(environment, kName)) return;
  DriverRecord driver;
  driver.version = DriverVersion();
  driver.name = kName;
  driver.environment = environment;
  driver.driver_path = TEXT("unidrv.dll");
  driver.data_file = TEXT("tty.gpd");
  driver.config_file = TEXT("unidrvui.dll");
  driver.help_file = TEXT("unidrv.hlp");
  driver.dependent_files = {TEXT("ttyres.dll"), TEXT("stdnames.gpd")};
  driver.datatype = TEXT("RAW");
  WriteDriver(driver);

  const DriverRecord installed = *ReadDriver(environment, kName);
  const WORD machine = SystemIs64Bit() ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386;
  VersionResource version;
  version.file_version = version.product_version = {0, 3, 0, 0};
  for (const WideString& library : {installed.driver_path, installed.config_file}) {
    PeWriter(machine).AddVersion(version).WriteTo(HostFile(library));
  }
  std::ofstream(HostFile(installed.data_file)) << "*GPDSpecVersion: \"1.0\"\n";
}

}  // namespace platform
