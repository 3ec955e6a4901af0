// Installing the monitor and the product's printers, and recognising drivers.
#include <cstring>
#include <set>

#include "platform/control/profiles.h"
#include "runtime/printing/driver_recognition.h"
#include "runtime/printing/gdi_plus.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_info.h"
#include "runtime/printing/printer_installation.h"
#include "runtime/printing/printer_keys.h"
#include "runtime/printing/printer_margins.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/registry/settings.h"
#include "tests/printing/growing_calls.h"
#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;
constexpr WCHAR kPort[] = TEXT("KVR8:");
constexpr WCHAR kDriver[] = TEXT("Generic / Text Only");

class InstallationTest : public PrinterTest {
 protected:
  void SetUp() override {
    PrinterTest::SetUp();
    WCHAR directory[MAX_PATH] = {};
    DWORD needed;
    GetPrinterDriverDirectoryW(nullptr, const_cast<LPWSTR>(startupContext.printEnvironment), 1,
                               reinterpret_cast<BYTE*>(directory), sizeof directory, &needed);
    drivers_ = WideString(directory) + TEXT("\\3\\");
  }
  // Puts the port's files where the installation takes them from.
  void ProvideFiles(std::set<std::string> names = {"kvmon8.dll", "kvres832.dll"}) {
    for (const std::string& name : names) {
      const auto target = platform::HostPath(drivers_) / name;
      std::filesystem::create_directories(target.parent_path());
      std::filesystem::copy_file(TestDirectory() / name, target);
    }
  }

  WideString drivers_;
};

TEST_F(InstallationTest, TheMonitorComesFromTheDirectoryOfDrivers) {
  ProvideFiles();
  EXPECT_FALSE(PortExists(kPort));
  EXPECT_TRUE(InstallPortMonitor());
  EXPECT_TRUE(PortExists(TEXT("kvr8:")));
  EXPECT_TRUE(InstallPortMonitor()) << "it is there";
  EXPECT_EQ(platform::CallCount("ControlService"), 0u);
  EXPECT_EQ(platform::CallCount("CopyFileW"), 2u);
}

UINT system_directory_length;

UINT WINAPI LongSystemDirectory(LPWSTR path, UINT size) {
  if (system_directory_length < size) {
    std::fill(path, path + system_directory_length, TEXT('d'));
    path[system_directory_length] = 0;
  }
  return system_directory_length;
}

// What is copied goes to the system directory or nowhere.
TEST_F(InstallationTest, WithoutASystemDirectoryNothingIsCopied) {
  ProvideFiles();
  const WideString report =
      TEXT("The port monitor of Folvane could not be installed (GetSystemDirectory).\n\n");
  const auto refused = [](DWORD error) {
    return BoxOf([=] { ExpectRefusal(error, InstallPortMonitor()); });
  };
  platform::FailCall("GetSystemDirectoryW", 1, ERROR_ACCESS_DENIED, 100);
  EXPECT_EQ(refused(ERROR_ACCESS_DENIED), report + TEXT("Access is denied."));
  // Too long for a buffer, and with "\\kvres832.dll", 13 characters, for a path.
  for (const UINT length : {300u, 260u, 247u}) {
    system_directory_length = length;
    platform::ResetFaults();
    platform::Replace("GetSystemDirectoryW", &LongSystemDirectory);
    EXPECT_TRUE(refused(ERROR_FILENAME_EXCED_RANGE).starts_with(report));
  }
  EXPECT_EQ(platform::CallCount("CopyFileW") + platform::CallCount("AddMonitorW"), 0u);
  platform::ResetFaults();
  EXPECT_TRUE(InstallPortMonitor()) << "later";
}

TEST_F(InstallationTest, PortsThatAreAddedMeanwhileAreAskedForAgain) {
  LetGrow<&EnumPortsW>("EnumPortsW", 4);
  EXPECT_TRUE(PortExists(TEXT("lpt1:")));
  LetGrow<&EnumPortsW>("EnumPortsW", 5);
  ExpectRefusal(ERROR_INSUFFICIENT_BUFFER, PortExists(TEXT("lpt1:")));
  platform::ResetFaults();
  SpoolerList<PORT_INFO_2W> ports;
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(ports.Fetch([&](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
      // What the list held before is there until it is replaced.
      EXPECT_TRUE(i == 0 || View(ports[0].pPortName).ends_with(TEXT(":")));
      return EnumPortsW(nullptr, 2, buffer, size, needed, count);
    }));
  }
  ExpectRefusal(ERROR_UNKNOWN_PORT, PortExists(TEXT("LPT9:")));
  platform::FailCall("EnumPortsW", 2, ERROR_ACCESS_DENIED);
  ExpectRefusal(ERROR_ACCESS_DENIED, PortExists(TEXT("LPT1:")));
}

TEST_F(InstallationTest, WhatTheSpoolerRefuses) {
  const auto install = [](DWORD error) {
    platform::ResetFaults();
    platform::FailCall("AddMonitorW", 1, error);
    return InstallPortMonitor();
  };
  EXPECT_EQ(BoxOf([&] { ExpectRefusal(ERROR_ACCESS_DENIED, install(ERROR_ACCESS_DENIED)); }),
            TEXT("The port monitor of Folvane could not be installed (AddMonitor).\n\n")
                TEXT("Access is denied."));
  EXPECT_EQ(platform::CallCount("StartServiceW"), 1u) << "the registry's entry counts for nothing";
  ProvideFiles();
  const auto texts = platform::HostPath(TEXT("C:\\Windows\\System32\\kvres832.dll"));
  std::filesystem::copy_file(TestDirectory() / "kvmon8.dll", texts);
  for (const DWORD error : {ERROR_ALREADY_EXISTS, ERROR_PRINT_MONITOR_ALREADY_INSTALLED}) {
    EXPECT_TRUE(install(error));
    EXPECT_EQ(platform::CallCount("StartServiceW"), 0u);
  }
  EXPECT_EQ(std::filesystem::file_size(texts),
            std::filesystem::file_size(TestDirectory() / "kvmon8.dll"))
      << "what is there stays";
  std::filesystem::remove(texts);
  EXPECT_TRUE(install(ERROR_ACCESS_DENIED));
  EXPECT_EQ(platform::CallCount("StartServiceW"), 1u);
  EXPECT_TRUE(PortExists(kPort));
  EXPECT_EQ(Text(Key::Open(HKEY_LOCAL_MACHINE,
                           TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\KVR8:")),
                 TEXT("Driver")),
            TEXT("kvmon8.dll"));
}

// What the spooler is given, while it takes the chance to change the default printer.
HANDLE WINAPI MeddlingAddPrinter(LPWSTR server, DWORD level, LPBYTE info) {
  const auto& added = *reinterpret_cast<PRINTER_INFO_2W*>(info);
  EXPECT_EQ(WideView(added.pPrintProcessor), TEXT("winprint"));
  EXPECT_EQ(WideView(added.pDatatype), TEXT("RAW"));
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Meddled,winspool,X:"));
  return AddPrinterW(server, level, info);
}

TEST_F(InstallationTest, PrintersAreAddedOnce) {
  ProvideFiles();
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
  platform::Replace("AddPrinterW", &MeddlingAddPrinter);
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(AddProductPrinter(TEXT("P"), kPort, kDriver));
  EXPECT_EQ(platform::CallCount("AddMonitorW"), 1u) << "the port is there the second time";
  const auto info = GetPrinterInfo2(Open(TEXT("P")).Get(), Quiet::kNo);
  EXPECT_EQ(WideView(info->pPortName), kPort);
  EXPECT_EQ(WideView(info->pDriverName), kDriver);
  WCHAR device[MAX_PATH];
  GetProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT(""), device, MAX_PATH);
  EXPECT_EQ(WideView(device), TEXT("Laser,winspool,LPT1:"));
  EXPECT_EQ(BoxOf([] {
              ExpectRefusal(ERROR_UNKNOWN_PRINTER_DRIVER, AddProductPrinter(TEXT("Q"), kPort));
            }),
            TEXT("The printer \"Q\" could not be created.\n\nThe printer driver is unknown."));
  platform::SetFactNumber(facts::kUserIsElevated, 0);
  for (const LPCWSTR port : {kPort, TEXT("\\\\S\\q")}) {
    EXPECT_EQ(BoxOf([&] {
                ExpectRefusal(ERROR_ACCESS_DENIED,
                              CreateProductPrinter(TEXT("Q"), port, 9, kDriver));
              }),
              TEXT("The printer \"Q\" could not be created.\n\nOnly an administrator can do ")
                  TEXT("this. Sign in as an administrator and try again."));
  }
  EXPECT_FALSE(MayHavePaperSize(TEXT("Q")));
  EXPECT_EQ(platform::CallCount("AddMonitorW"), 1u) << "other machines have ports of their own";
}

TEST_F(InstallationTest, APaperIsTheUsersUnlessOneIsChosen) {
  const auto paper = [](const char* unreadable, WORD id) {
    platform::FailCall(unreadable, 1, ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_TRUE(CreateProductPrinter(TEXT("P"), TEXT("LPT1:"), id, kDriver));
    ProductDevMode settings;
    ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, settings);
    EXPECT_EQ(settings.settings.flags, 0u);
    return std::pair(settings.dev.dmFields, settings.dev.dmPaperSize);
  };
  EXPECT_EQ(paper("none", 0).first, 0u);
  const auto a4 = std::pair(DWORD{DM_PAPERSIZE}, short{DMPAPER_A4});
  EXPECT_EQ(paper("none", DMPAPER_A4), a4);
  for (const char* const unreadable : {"none", "RegOpenKeyExW", "RegQueryValueExW"}) {
    EXPECT_EQ(paper(unreadable, DMPAPER_LETTER), a4) << "perhaps the user has chosen it";
  }
  EXPECT_FALSE(MayHavePaperSize(TEXT("")));
}

TEST_F(InstallationTest, PrintersOfServersAreConnectedTo) {
  platform::SetFact(facts::kServerPrefix + std::string("ALPHA.printers"), "Ink:ink");
  EXPECT_TRUE(CreateProductPrinter(TEXT("\\\\ALPHA\\Ink"), kPort, 0));
  EXPECT_FALSE(CreateProductPrinter(TEXT("\\\\ALPHA\\None"), kPort, 0));
  EXPECT_EQ(platform::CallCount("AddPrinterW"), 0u);
}

TEST_F(InstallationTest, GraphicsDriversAreRecognised) {
  static constexpr struct {
    const char* file;
    const char* technology;
    const char* version;
    DWORD product;
    DWORD sibling;
  } kRows[] = {
      {"kvgraph8.dll", "", "0x3FF", 0x3FF, 0},       {"kvgraph8.dll", "", "0x400", 0, 0},
      {"KVGRAPH.dll", "Folvane", "0x400", 0x400, 0}, {"kvgraph10.dll", "Folvane", "0x400", 0, 0},
      {"kvpgraf5.dll", "", "0x300", 0, 0},           {"kvpgraf5.dll", "Folvane", "0x300", 0, 0x300},
      {"unidrv.dll", "Folvane", "0x300", 0, 0},      {"kvgraph8.dll", "Folvane2", "0x400", 0, 0},
  };
  const WideString driver = WideString(TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\")) +
                            TEXT("Environments\\") + startupContext.printEnvironment +
                            TEXT("\\Drivers\\Version-3\\") + kDriver;
  const auto set_file = [&](const std::string& file) {
    SetText(Key::Open(HKEY_LOCAL_MACHINE, driver, KEY_ALL_ACCESS), TEXT("Driver"),
            WideString(file.begin(), file.end()));
  };
  for (const auto& row : kRows) {
    set_file(row.file);
    SetDriverFact("technology", row.technology);
    SetDriverFact("version", row.version);
    EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), nullptr), row.product) << row.file;
    EXPECT_EQ(GetSiblingGraphDriverVersion(TEXT("Laser"), nullptr), row.sibling) << row.file;
  }
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("None"), nullptr), 0u);
  set_file("kvgraph8.dll");
  SetDriverFact("version", "0x300");
  platform::FailCall("CreateDCW", 1);
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), nullptr), 0u);
  const HDC dc = CreateDCW(nullptr, TEXT("Laser"), nullptr, nullptr);
  platform::ResetFaults();
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), dc), 0x300u);
  EXPECT_EQ(platform::CallCount("CreateDCW") + platform::CallCount("DeleteDC"), 0u);
  platform::FailCall("DeviceCapabilitiesW", 1);
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), dc), 0u);
  platform::Replace(
      "DeviceCapabilitiesW",
      static_cast<decltype(&DeviceCapabilitiesW)>(
          [](LPCWSTR device, LPCWSTR port, WORD, LPWSTR, const DEVMODEW*) CALLBACK -> int {
            return WideView(device) == TEXT("Laser") && WideView(port) == TEXT("LPT1:");
          }));
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), dc), 1u);
  WriteProfileStringW(TEXT("Devices"), TEXT("Laser"), TEXT("winspool"));
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), dc), 0u) << "no port";
  EXPECT_TRUE(DeleteDC(dc));
}

TEST_F(InstallationTest, GdiPlusIsTriedAgainAtTheUsersWish) {
  EXPECT_TRUE(EnsureGdiPlus());
  const auto have = [](const char* installed) {
    platform::SetFact("module.gdiplus", installed);
    platform::InstallSystemFiles();
  };
  have("0");
  platform::AnswerNextBox(IDRETRY);
  platform::AnswerNextBox(IDCANCEL);
  EXPECT_FALSE(EnsureGdiPlus());
  EXPECT_EQ(platform::ShownBoxes().size(), 2u);
  EXPECT_EQ(platform::ShownBoxes()[0].text,
            TEXT("Folvane needs the Windows component GDI+ (gdiplus.dll), which is not on this ")
                TEXT("computer. Install it and choose Retry."));
  startupContext.silent = 1;
  EXPECT_FALSE(EnsureGdiPlus());
  startupContext.silent = 0;
  platform::AnswerNextBox([&](HWND) {
    have("1");
    return IDRETRY;
  });
  EXPECT_TRUE(EnsureGdiPlus());
}

// A page of 1000 x 1000 pixels.
void SetPage(int dpi, int left, int top, int printable) {
  std::fill(std::begin(caps_of), std::end(caps_of), 1000);
  caps_of[LOGPIXELSY] = dpi;
  caps_of[PHYSICALOFFSETX] = left;
  caps_of[PHYSICALOFFSETY] = top;
  caps_of[HORZRES] = printable;
}

TEST_F(InstallationTest, MarginsAreMeasuredAndPublishedOnce) {
  const WideString settings = TEXT("Software\\Veltmoor Software\\Folvane8\\");
  const WideString data = settings + TEXT("Folvaners\\,,S,P\\PrinterDriverData");
  const auto store = [](LPCWSTR printer = TEXT("\\\\S\\P"), LPCWSTR device = TEXT("Laser")) {
    platform::ResetFaults();
    platform::Replace("GetDeviceCaps", &CapsOfPage);
    return StoreDeviceMargins(printer, device, nullptr);
  };
  const LPCWSTR kNames[] = {TEXT("Resolution"), TEXT("MarginLeft"), TEXT("MarginTop"),
                            TEXT("MarginRight"), TEXT("MarginBottom")};
  const auto stored = [&] {
    std::vector<int> numbers;
    RegKey key;
    key.Open(HKEY_CURRENT_USER, TEXT("%s"), data.c_str());
    for (const LPCWSTR name : kNames)
      numbers.push_back(static_cast<int>(key.GetDword(name, 99999)));
    return numbers;
  };
  SetPage(300, 30, 60, 800);
  EXPECT_FALSE(store(TEXT("\\\\S\\P"), TEXT("None")));
  EXPECT_TRUE(store(TEXT("")));
  EXPECT_EQ(Key::Open(HKEY_CURRENT_USER, settings + TEXT("PublishSettings")).status,
            ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(store());
  EXPECT_EQ(stored(), (std::vector<int>{300, 100, 200, 567, -200}));
  RegKey publish;
  publish.Open(HKEY_CURRENT_USER, TEXT("%s"), (settings + TEXT("PublishSettings")).c_str());
  EXPECT_EQ(publish.GetDword(TEXT(",,S,P"), 0), 1u);
  EXPECT_TRUE(store());
  EXPECT_EQ(platform::CallCount("RegSetValueExW"), 0u) << "stored already";
  for (const LPCWSTR name : kNames) {
    RegKey key;
    key.OpenRW(HKEY_CURRENT_USER, TEXT("%s"), data.c_str());
    key.SetDword(name, 7);
    EXPECT_TRUE(store());
    EXPECT_EQ(stored(), (std::vector<int>{300, 100, 200, 567, -200}));
  }
  // Pixels and the nearest thousandths of an inch, of which 16 bits hold 32767.
  static constexpr int kMargins[][3] = {{300, 1, 3},          {300, 2, 7},          {300, -1, -3},
                                        {300, -2, -7},        {16, 1, 63},          {16, -1, -63},
                                        {1000, 32767, 32767}, {1000, 32768, 32767}, {0, 5, 32767}};
  for (const auto& [dpi, pixels, thousandths] : kMargins) {
    SetPage(dpi, pixels, 0, 1000);
    EXPECT_TRUE(store());
    EXPECT_EQ(stored()[1], thousandths) << dpi << " " << pixels;
  }
  SetPage(300, 1, 0, 0);
  EXPECT_TRUE(store());
  SetPage(300, 1, 0, 1000);
  caps_of[VERTRES] = 0;
  EXPECT_TRUE(store());
  EXPECT_EQ(stored()[1], 32767) << "nothing is printable";
  platform::ResetFaults();
  ExpectRefusal(ERROR_INVALID_PARAMETER,
                StoreDeviceMargins(TEXT("P"), TEXT("Laser"), reinterpret_cast<DEVMODEW*>(16)));
}

TEST_F(InstallationTest, SettingsOfDestinations) {
  const WideString root = TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners\\P");
  EXPECT_FALSE(CDestPrinterKey(TEXT("P"), TEXT("\\\\S\\q"), KeyMode::kRead).IsOpen());
  CDestPrinterKey key(TEXT("P"), TEXT("\\\\S\\q"), KeyMode::kWrite);
  EXPECT_EQ(WideView(key.path()), root + TEXT("\\DestPrinters\\,,S,q"));
  EXPECT_EQ(WideView(CDestPrinterKey(TEXT("P"), nullptr, KeyMode::kRead).path()),
            root + TEXT("\\DestPrinters"));
  // With "\\DestPrinters\\" 46 + 1 + 14 characters stand before the name.
  for (const auto& [length, fits] : {std::pair(198, true), {199, false}, {260, false}}) {
    const WideString name(static_cast<size_t>(length), TEXT('d'));
    EXPECT_EQ(CDestPrinterKey(TEXT("P"), name.c_str(), KeyMode::kWrite).IsOpen() != FALSE, fits);
  }
  EXPECT_FALSE(CDestPrinterKey(TEXT("P"), TEXT("q"), KeyMode{2}).IsOpen());
  CPrinterSettingsKey own(TEXT("P"), KeyMode::kWrite);
  EXPECT_EQ(own.GetServerPrinter(), nullptr);
  own.SetSz(TEXT("ServerPrinter"), TEXT("\\\\S\\q"));
  EXPECT_EQ(View(own.GetServerPrinter()), TEXT("\\\\S\\q"));
  EXPECT_EQ(CPrinterSettingsKey(TEXT(""), KeyMode::kWrite).GetServerPrinter(), nullptr);
  EXPECT_EQ(key.GetDuplexSupport(), -1);
  UserSettingsKey(KeyMode::kWrite).SetDword(TEXT("AssumeHardwareDuplex"), 1);
  EXPECT_EQ(key.GetDuplexSupport(), 3);
  EXPECT_EQ(key.GetMarginAdjust().cx, 0);
  key.SetDword(TEXT("DuplexSupport"), 2);
  key.SetDword(TEXT("AddMargin"), 30);
  EXPECT_EQ(key.GetDuplexSupport(), 2);
  EXPECT_EQ(key.GetMarginAdjust().cx + key.GetMarginAdjust().cy, 60);
  WORD trays[] = {9, 9};
  platform::FailCall("RegSetValueExW", 1);
  EXPECT_FALSE(key.SetTrays(1, 2));
  key.GetTrays(trays[0], trays[1]);
  EXPECT_EQ(trays[0] + trays[1], 0);
  EXPECT_TRUE(key.SetTrays(1, 2));
  EXPECT_EQ(key.GetDword(TEXT("Tray1"), 0) + 10 * key.GetDword(TEXT("Tray2"), 0), 21u);
  key.GetTrays(trays[0], trays[1]);
  EXPECT_EQ(trays[0] + 10 * trays[1], 21);
  RawMode mode(3);
  std::memset(mode.At(0), 7, 3);
  const auto expect_stored = [&] {
    DWORD size = 1;
    const UniqueDevMode stored = key.GetDevMode(&size);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(size, 223u);
    EXPECT_EQ(std::memcmp(stored.get(), mode.get(), 223), 0);
  };
  EXPECT_TRUE(key.SetDevMode(OddCopy(mode.dev()).get()));
  expect_stored();
  EXPECT_TRUE(
      CDestPrinterKey(TEXT("P"), TEXT("\\\\S\\q"), KeyMode::kRead).QueryValue(TEXT("Devmode")));
  ExpectRefusal(ERROR_INVALID_PARAMETER, key.SetDevMode(reinterpret_cast<DEVMODEW*>(16)));
  DWORD none = 1;
  FailAllocation(1);
  const UniqueDevMode unread = key.GetDevMode(&none);
  FailAllocation(0);
  EXPECT_TRUE(unread == nullptr && none == 0);
  expect_stored();
  for (int i = 0; i < 2; ++i) {
    DWORD size = 1;
    EXPECT_TRUE(key.SetDevMode(nullptr));
    EXPECT_EQ(key.GetDevMode(&size), nullptr);
    EXPECT_EQ(size, 0u);
  }
  EXPECT_FALSE(CDestPrinterKey(TEXT(""), nullptr, KeyMode::kWrite).SetDevMode(nullptr)) << "closed";
}

}  // namespace
}  // namespace kv::test
