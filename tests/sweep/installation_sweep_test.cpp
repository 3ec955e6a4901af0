// Settings of printers, device modes, the installation and services when calls and allocations
// fail.
#include "platform/control/services.h"
#include "platform/control/spooler.h"
#include "runtime/files/file_actions.h"
#include "runtime/printing/devmode_store.h"
#include "runtime/printing/effective_devmode.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_installation.h"
#include "runtime/printing/printer_keys.h"
#include "runtime/printing/printer_margins.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/printing/service_control.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/settings.h"
#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kPort[] = TEXT("KVR8:");
constexpr WCHAR kDriver[] = TEXT("Generic / Text Only");
constexpr WCHAR kPrinters[] = TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners");

class SettingsMachine : public PrinterTest {
 public:
  static UniquePrinter OpenLaser() { return Open(); }
  static void SetDriver(const std::string& name, const std::string& value) {
    SetDriverFact(name, value);
  }
};

void NoSettings() {
  { UserSettingsKey make(KeyMode::kWrite); }
  MyDeleteKeyW(HKEY_CURRENT_USER, kPrinters);
}

ProductDevMode Settings(short orientation, WORD resolution) {
  ProductDevMode mode;
  DefaultDevMode(TEXT("Laser"), mode);
  mode.dev.dmFields |= DM_ORIENTATION;
  mode.dev.dmOrientation = orientation;
  mode.settings.resolution = resolution;
  return mode;
}

SWEEP_AREA(PrinterSettings, SettingsMachine);

SCENARIO(PrinterSettings, Write) {
  NoSettings();
  WriteUserPrinterSettings(TEXT("Laser"), Settings(1, 300));
  attempt.Call([] { WriteUserPrinterSettings(TEXT("Laser"), Settings(2, 600)); });
  ProductDevMode now;
  ReadUserPrinterSettings(nullptr, TEXT("Laser"), kStoredOnly, now);
  EXPECT_TRUE(now.dev.dmOrientation == 2 || (attempt.hit() && now.dev.dmOrientation == 1));
  EXPECT_TRUE(now.settings.resolution == 600 || (attempt.hit() && now.settings.resolution == 300));
  EXPECT_EQ(now.settings.flags & kPrivateResolution, DWORD{kPrivateResolution});
}

SCENARIO(PrinterSettings, Read) {
  NoSettings();
  WritePrinterSettings(HKEY_CURRENT_USER, TEXT("Laser"), Settings(2, 600));
  ProductDevMode now, user;
  attempt.Call([&] {
    ReadPrinterSettings(HKEY_CURRENT_USER, TEXT("Laser"), 0, now);
    ReadUserPrinterSettings(TEXT(".DEFAULT"), TEXT("Laser"), 0, user);
  });
  attempt.Expect(now.settings.resolution == 600, true, IsValidDevMode(&now.dev));
  EXPECT_TRUE(IsValidDevMode(&user.dev));
}

SCENARIO(PrinterSettings, StoreDevMode) {
  RawMode old(0), mode(0);
  old.dev().dmCopies = 1;
  mode.dev().dmCopies = 2;
  StoreDevMode(TEXT("Laser"), old.get(), ForPrinter::kYes, ForUser::kYes);
  const WriteResult stored = attempt.Call(
      [&] { return StoreDevMode(TEXT("Laser"), mode.get(), ForPrinter::kYes, ForUser::kYes); });
  attempt.Expect(stored == kWritten, true, stored == kUnchanged || stored == kWriteFailed);
  const WriteResult again =
      StoreDevMode(TEXT("Laser"), mode.get(), ForPrinter::kYes, ForUser::kYes);
  EXPECT_TRUE(again == kUnchanged || (attempt.hit() && again == kWritten));
}

SCENARIO(PrinterSettings, StoreDevModeA) {
  DEVMODEA old = {}, mode = {};
  old.dmSize = mode.dmSize = sizeof mode;
  mode.dmCopies = 7;
  StoreDevModeA(TEXT("Laser"), &old, ForPrinter::kNo, ForUser::kYes);
  const WriteResult stored = attempt.Call(
      [&] { return StoreDevModeA(TEXT("Laser"), &mode, ForPrinter::kNo, ForUser::kYes); });
  attempt.Expect(stored == kWritten, true, stored != kWritten);
}

SCENARIO(PrinterSettings, EffectiveDevMode) {
  NoSettings();
  WriteUserPrinterSettings(TEXT("Laser"), Settings(2, 600));
  const UniquePrinter printer = SettingsMachine::OpenLaser();
  RawMode caller(0);
  caller.dev().dmFields = DM_PAPERSIZE;
  caller.dev().dmPaperSize = DMPAPER_A4;
  ProductDevMode result;
  attempt.Call(
      [&] { GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), caller.get(), result); });
  EXPECT_TRUE(IsValidDevMode(&result.dev));
  EXPECT_TRUE(result.dev.dmPaperSize == DMPAPER_A4 || attempt.failed().starts_with("VirtualQuery"))
      << "the caller's, when it can be read";
  attempt.Expect(result.settings.resolution == 600, true);
}

SCENARIO(PrinterSettings, StoreDeviceMargins) {
  NoSettings();
  SettingsMachine::SetDriver("margins", "2540,5080,7620,10160");
  const BOOL measured =
      attempt.Call([] { return StoreDeviceMargins(TEXT("P"), TEXT("Laser"), nullptr); });
  ProductDevMode stored;
  ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, stored);
  attempt.Expect(measured, stored.settings.topMargin == 200 || attempt.hit());
}

SCENARIO(PrinterSettings, StorePaperSize) {
  NoSettings();
  StorePaperSize(TEXT("P"), DMPAPER_LETTER);
  BOOL had = FALSE;
  attempt.Call([&] {
    had = MayHavePaperSize(TEXT("P"));
    CPrinterSettingsKey(TEXT("P"), KeyMode::kRead).GetServerPrinter();
    StorePaperSize(TEXT("P"), DMPAPER_A4);
  });
  ProductDevMode stored;
  ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, stored);
  const short paper = stored.dev.dmPaperSize;
  EXPECT_TRUE(had);
  attempt.Expect(paper == DMPAPER_A4, true, paper == DMPAPER_LETTER);
}

SCENARIO(PrinterSettings, Destinations) {
  NoSettings();
  const RawMode mode(3);
  WORD first = 0, second = 0;
  DWORD size = 0;
  UniqueDevMode read;
  int duplex = 0;
  SIZE margin = {1, 1};
  const bool stored = attempt.Call([&]() -> bool {
    CDestPrinterKey key(TEXT("P"), TEXT("\\\\S\\q"), KeyMode::kWrite);
    const bool done = key.SetTrays(1, 2) && key.SetDevMode(mode.get());
    key.GetTrays(first, second);
    read = key.GetDevMode(&size);
    duplex = key.GetDuplexSupport();
    margin = key.GetMarginAdjust();
    return done;
  });
  attempt.Expect(stored, (first == 1 && second == 2) || attempt.hit());
  attempt.Expect(read != nullptr, size == DevModeSize(*mode.get()), size == 0);
  EXPECT_EQ(duplex, kDuplexUnknown);
  EXPECT_EQ(margin.cx, 0);
}

SCENARIO(PrinterSettings, DevModeCopies) {
  const RawMode mode(3);
  DEVMODEA narrow = {};
  narrow.dmSize = sizeof narrow;
  UniqueDevMode wide, copy;
  BOOL is_system = FALSE;
  attempt.Call([&] {
    is_system = IsSystemProcessName("spoolsv");
    copy = DuplicateDevmodePtr(mode.get(), Quiet::kNo);
    wide = DevModeFromA(&narrow);
  });
  attempt.Expect(copy != nullptr, DevModesEqual(copy.get(), mode.get()),
                 attempt.reports() == (attempt.failed().starts_with("VirtualQuery") ? 0 : 1));
  attempt.Expect(wide != nullptr, IsValidDevMode(wide.get()));
  attempt.Expect(is_system, true);
}

SCENARIO(PrinterSettings, ProductDevMode) {
  ProductDevMode mode;
  const ProductDevMode source = Settings(2, 600);
  WORD size = 0;
  int layout = 0;
  attempt.Call([&] {
    DefaultDevMode(TEXT("Laser"), mode);
    MergeDevMode(&source.dev, mode);
    SetFormNameFromPaper(mode);
    ResetUserPaperSize(mode);
    RecogniseProductDevMode(&mode.dev, &size, &layout);
  });
  EXPECT_TRUE(IsValidDevMode(&mode.dev));
  attempt.Expect(mode.settings.resolution == 600, layout == kCurrentLayout || attempt.hit());
}

class InstallationMachine : public PrinterTest {
 protected:
  void SetUp() override {
    PrinterTest::SetUp();
    WCHAR directory[MAX_PATH] = {};
    DWORD needed;
    GetPrinterDriverDirectoryW(nullptr, const_cast<LPWSTR>(startupContext.printEnvironment), 1,
                               reinterpret_cast<BYTE*>(directory), sizeof directory, &needed);
    for (const char* const name : {"kvmon8.dll", "kvres832.dll"}) {
      const auto target = platform::HostPath(WideString(directory) + TEXT("\\3\\")) / name;
      std::filesystem::create_directories(target.parent_path());
      std::filesystem::copy_file(TestDirectory() / name, target);
    }
  }

 public:
  // Takes away what a run has installed.
  static void RemoveAll() {
    for (const LPCWSTR name : {TEXT("P"), TEXT("Q")}) {
      UniquePrinter printer;
      PRINTER_DEFAULTSW defaults = {nullptr, nullptr, PRINTER_ALL_ACCESS};
      if (OpenPrinterW(const_cast<LPWSTR>(name), printer.Receive(), &defaults)) {
        DeletePrinter(printer.Get());
      }
    }
    if (!platform::SpoolerRuns()) platform::StartSpooler();
    DeleteMonitorW(nullptr, const_cast<LPWSTR>(startupContext.printEnvironment),
                   const_cast<LPWSTR>(kPort));
    for (const LPCWSTR name :
         {TEXT("C:\\Windows\\System32\\kvmon8.dll"), TEXT("C:\\Windows\\System32\\kvres832.dll"),
          TEXT("C:\\Windows\\SysWOW64\\kvmon8.dll"), TEXT("C:\\Windows\\SysWOW64\\kvres832.dll")}) {
      DeleteFileW(name);
    }
    platform::ScriptBoxes(true);
    EXPECT_FALSE(PortExists(kPort));
  }
  static bool PrinterExists(LPCWSTR name) {
    UniquePrinter printer;
    return OpenPrinterW(const_cast<LPWSTR>(name), printer.Receive(), nullptr);
  }
};

SWEEP_AREA(Installation, InstallationMachine);

SCENARIO(Installation, PortMonitor) {
  EXPECT_TRUE(SetCurrentDirectoryW(TEXT("C:\\")));
  const BOOL done = attempt.Call([] { return InstallPortMonitor(); });
  platform::ScriptBoxes(true);
  attempt.Expect(done, PortExists(kPort) || attempt.hit(), attempt.reports() > 0);
  EXPECT_TRUE(platform::SpoolerRuns() || attempt.hit());
  for (const LPCWSTR stray :
       {TEXT("kvmon8.dll"), TEXT("C:\\kvmon8.dll"), TEXT("C:\\kvres832.dll")}) {
    EXPECT_EQ(GetFileAttributesW(stray), DWORD{INVALID_FILE_ATTRIBUTES});
  }
  if (!platform::SpoolerRuns()) platform::StartSpooler();
  EXPECT_TRUE(InstallPortMonitor() && PortExists(kPort)) << "the second try";
  InstallationMachine::RemoveAll();
}

SCENARIO(Installation, RegisterDirectly) {
  EXPECT_TRUE(InstallPortMonitor());
  const BOOL done = attempt.Call([] { return RegisterMonitorDirectly(); });
  attempt.Expect(done, PortExists(kPort));
  if (!platform::SpoolerRuns()) platform::StartSpooler();
  EXPECT_TRUE(PortExists(kPort));
  InstallationMachine::RemoveAll();
}

SCENARIO(Installation, AddProductPrinter) {
  EXPECT_TRUE(InstallPortMonitor());
  const BOOL done = attempt.Call([] { return AddProductPrinter(TEXT("P"), kPort, kDriver); });
  attempt.Expect(done, InstallationMachine::PrinterExists(TEXT("P")), attempt.reports() > 0);
  EXPECT_TRUE(AddProductPrinter(TEXT("P"), kPort, kDriver)) << "the second try";
  InstallationMachine::RemoveAll();
}

SCENARIO(Installation, CreateProductPrinter) {
  EXPECT_TRUE(InstallPortMonitor());
  NoSettings();
  StorePaperSize(TEXT("Q"), DMPAPER_LETTER);
  const BOOL done =
      attempt.Call([] { return CreateProductPrinter(TEXT("Q"), kPort, DMPAPER_A4, kDriver); });
  attempt.Expect(done, InstallationMachine::PrinterExists(TEXT("Q")));
  ProductDevMode stored;
  ReadUserPrinterSettings(nullptr, TEXT("Q"), kStoredOnly, stored);
  EXPECT_EQ(stored.dev.dmPaperSize, DMPAPER_LETTER) << "the user's choice stays";
  InstallationMachine::RemoveAll();
}

class ServicesMachine : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    platform::InstallService(TEXT("Fax"), {TEXT("Spooler")});
    platform::InstallService(TEXT("Mail"), {TEXT("Fax")});
  }

 public:
  static void StartAll() {
    platform::StartSpooler();
    for (const LPCWSTR name : {TEXT("Fax"), TEXT("Mail")}) {
      platform::SetServiceState(name, SERVICE_RUNNING);
    }
  }
  static bool AllRun() {
    return platform::SpoolerRuns() && platform::ServiceState(TEXT("Fax")) == SERVICE_RUNNING &&
           platform::ServiceState(TEXT("Mail")) == SERVICE_RUNNING;
  }
};

SWEEP_AREA(Services, ServicesMachine);

SCENARIO(Services, RestartSpooler) {
  ServicesMachine::StartAll();
  const BOOL done = attempt.Call([] { return RestartSpooler(); });
  attempt.Expect(done, ServicesMachine::AllRun());
  EXPECT_TRUE(done || attempt.reports() > 0 || ServicesMachine::AllRun());
}

SCENARIO(Services, StopAndStart) {
  ServicesMachine::StartAll();
  BOOL stopped = FALSE;
  const BOOL started = attempt.Call([&] {
    CServiceControl spooler(TEXT("Spooler"), ServiceAccess::kFull);
    stopped = spooler.StopWithDependents();
    return stopped && spooler.StartWithDependents() && spooler.IsServiceRunning() &&
           spooler.WaitForServiceState(SERVICE_RUNNING, 100);
  });
  attempt.Expect(started, ServicesMachine::AllRun());
}

SCENARIO(Services, SingleService) {
  ServicesMachine::StartAll();
  BOOL running = FALSE;
  const bool done = attempt.Call([&]() -> bool {
    struct Handle {
      SC_HANDLE handle;
      ~Handle() {
        if (handle != nullptr) CloseServiceHandle(handle);
      }
    };
    running = IsSpoolerRunning();
    const Handle manager = {OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)};
    if (manager.handle == nullptr) return false;
    const Handle mail = {OpenServiceW(manager.handle, TEXT("Mail"), SERVICE_ALL_ACCESS)};
    return mail.handle != nullptr && StopServiceAndWait(mail.handle) &&
           MyStartService(mail.handle) && WaitService(mail.handle, SERVICE_RUNNING, 100);
  });
  attempt.Expect(done, ServicesMachine::AllRun());
  attempt.Expect(running, true);
}

SCENARIO(Services, CreateAndDelete) {
  ServiceSettings settings = {};
  settings.name = settings.displayName = TEXT("New");
  settings.binaryPath = TEXT("C:\\p.exe");
  settings.type = SERVICE_WIN32_OWN_PROCESS;
  settings.startType = SERVICE_DEMAND_START;
  { CServiceControl(TEXT("New"), ServiceAccess::kFull).DeleteNamedService(); }
  const bool done = attempt.Call([&]() -> bool {
    CServiceControl service(TEXT("New"), ServiceAccess::kFull);
    return service.OpenServiceManager(ServiceAccess::kFull) &&
           service.CreateNamedService(settings) &&
           service.OpenNamedService(TEXT("New"), ServiceAccess::kFull) &&
           service.EnumActiveDependents() && service.DeleteNamedService();
  });
  attempt.Expect(done, platform::ServiceState(TEXT("New")) == 0);
}

}  // namespace
}  // namespace kv::test
