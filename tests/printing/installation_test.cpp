// Installing the monitor and the product's printers, and recognising drivers.
#include <set>

#include "platform/control/profiles.h"
#include "runtime/printing/driver_recognition.h"
#include "runtime/printing/gdi_plus.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_installation.h"
#include "runtime/printing/printer_keys.h"
#include "runtime/printing/printer_margins.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/registry/settings.h"
#include "tests/printing/growing_calls.h"
#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"
#include "tests/support/test_key.h"

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
  static bool IsRegistered() {
    return Key::Open(HKEY_LOCAL_MACHINE,
                     TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\KVR8:"))
               .status == ERROR_SUCCESS;
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
  const auto expect_refusal = [](DWORD error, WideView reason) {
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(InstallPortMonitor());
    EXPECT_EQ(GetLastError(), error);
    EXPECT_TRUE(WideView(LastBox()).starts_with(
        TEXT("The port monitor of Folvane could not be installed (GetSystemDirectory).\n\n")));
    EXPECT_NE(LastBox().find(reason), WideString::npos);
    EXPECT_EQ(platform::CallCount("CopyFileW"), 0u);
    EXPECT_EQ(platform::CallCount("AddMonitorW"), 0u);
    platform::ResetFaults();
  };
  platform::FailCall("GetSystemDirectoryW", 1, ERROR_ACCESS_DENIED, 100);
  expect_refusal(ERROR_ACCESS_DENIED, TEXT("Access is denied."));
  // Too long for a buffer, and with "\\kvres832.dll", 13 characters, for a path.
  for (const UINT length : {300u, 247u}) {
    system_directory_length = length;
    platform::Replace("GetSystemDirectoryW", &LongSystemDirectory);
    expect_refusal(ERROR_FILENAME_EXCED_RANGE, TEXT("."));
  }
  EXPECT_TRUE(InstallPortMonitor()) << "later";
}

TEST_F(InstallationTest, PortsThatAreAddedMeanwhileAreAskedForAgain) {
  for (const auto& [times, found] : {std::pair(4, true), std::pair(5, false)}) {
    LetGrow<&EnumPortsW>("EnumPortsW", times);
    EXPECT_EQ(PortExists(TEXT("lpt1:")) != FALSE, found);
    EXPECT_TRUE(found || GetLastError() == ERROR_INSUFFICIENT_BUFFER);
  }
  platform::ResetFaults();
  SpoolerList<PORT_INFO_2W> ports;
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(ports.Fetch([&](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
      // What the list held before is there until it is replaced.
      EXPECT_TRUE(i == 0 || View(ports[0].pPortName).ends_with(TEXT(":")));
      return EnumPortsW(nullptr, 2, buffer, size, needed, count);
    }));
  }
  EXPECT_FALSE(PortExists(TEXT("LPT9:")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_UNKNOWN_PORT});
  platform::FailCall("EnumPortsW", 2, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(PortExists(TEXT("LPT1:")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(InstallationTest, WhatTheSpoolerRefuses) {
  // The port exists only where the registry's entry counts.
  static constexpr struct {
    DWORD error;
    bool hasFiles;
    bool restarts;
    bool installed;
  } kRows[] = {
      {ERROR_ACCESS_DENIED, false, true, false},
      {ERROR_ALREADY_EXISTS, true, false, true},
      {ERROR_PRINT_MONITOR_ALREADY_INSTALLED, true, false, true},
      {ERROR_ACCESS_DENIED, true, true, true},
  };
  for (const auto& row : kRows) {
    if (row.hasFiles && !std::filesystem::exists(platform::HostPath(drivers_) / "kvmon8.dll")) {
      ProvideFiles();
    }
    platform::ResetFaults();
    platform::FailCall("AddMonitorW", 1, row.error);
    if (!row.installed) platform::AnswerNextBox(IDOK);
    EXPECT_EQ(InstallPortMonitor(), row.installed) << row.error;
    EXPECT_EQ(platform::CallCount("StartServiceW"), row.restarts ? 1u : 0u);
    if (row.installed) continue;
    EXPECT_EQ(GetLastError(), row.error);
    EXPECT_EQ(LastBox(),
              TEXT("The port monitor of Folvane could not be installed (AddMonitor).\n\n")
                  TEXT("Access is denied."));
  }
  EXPECT_TRUE(PortExists(kPort) && IsRegistered());
}

TEST_F(InstallationTest, WithoutItsTextsTheMonitorDoesNotLoad) {
  ProvideFiles({"kvmon8.dll"});
  platform::AnswerNextBox(IDOK);  // of the module, in this process
  platform::AnswerNextBox(IDOK);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(InstallPortMonitor());
  EXPECT_FALSE(PortExists(kPort));
}

TEST_F(InstallationTest, PrintersAreAddedOnce) {
  ProvideFiles();
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(AddProductPrinter(TEXT("P"), kPort, kDriver));
  EXPECT_EQ(platform::CallCount("AddMonitorW"), 1u) << "the port is there the second time";
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(AddProductPrinter(TEXT("Q"), kPort));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_UNKNOWN_PRINTER_DRIVER});
  EXPECT_TRUE(WideView(LastBox()).starts_with(TEXT("The printer \"Q\" could not be created.\n\n")));
  platform::SetFactNumber(facts::kUserIsElevated, 0);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(AddProductPrinter(TEXT("Q"), kPort, kDriver));
  EXPECT_EQ(LastBox(),
            TEXT("The printer \"Q\" could not be created.\n\nOnly an administrator can do ")
                TEXT("this. Sign in as an administrator and try again."));
}

TEST_F(InstallationTest, APaperIsTheUsersUnlessOneIsChosen) {
  ProvideFiles();
  EXPECT_TRUE(CreateProductPrinter(TEXT("P"), kPort, DMPAPER_A4, kDriver));
  ProductDevMode settings;
  ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, settings);
  EXPECT_EQ(settings.dev.dmFields, DWORD{DM_PAPERSIZE});
  EXPECT_EQ(settings.dev.dmPaperSize, DMPAPER_A4);
  EXPECT_TRUE(CreateProductPrinter(TEXT("P"), kPort, DMPAPER_LETTER, kDriver));
  ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, settings);
  EXPECT_EQ(settings.dev.dmPaperSize, DMPAPER_A4);
  for (const char* const unreadable : {"RegOpenKeyExW", "RegQueryValueExW"}) {
    platform::FailCall(unreadable, 1, ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_TRUE(CreateProductPrinter(TEXT("P"), kPort, DMPAPER_LETTER, kDriver));
    ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, settings);
    EXPECT_EQ(settings.dev.dmPaperSize, DMPAPER_A4) << "perhaps the user has chosen it";
  }
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
      {"kvgraph8.dll", "", "0x300", 0x300, 0},       {"kvgraph8.dll", "", "0x400", 0, 0},
      {"KVGRAPH.dll", "Folvane", "0x400", 0x400, 0}, {"kvgraph10.dll", "Folvane", "0x400", 0, 0},
      {"kvpgraf5.dll", "", "0x300", 0, 0},           {"kvpgraf5.dll", "Folvane", "0x300", 0, 0x300},
      {"unidrv.dll", "Folvane", "0x300", 0, 0},
  };
  const WideString driver = WideString(TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\")) +
                            TEXT("Environments\\") + startupContext.printEnvironment +
                            TEXT("\\Drivers\\Version-3\\") + kDriver;
  for (const auto& row : kRows) {
    const std::string file = row.file;
    SetText(Key::Open(HKEY_LOCAL_MACHINE, driver, KEY_ALL_ACCESS), TEXT("Driver"),
            WideString(file.begin(), file.end()));
    SetDriverFact("technology", row.technology);
    SetDriverFact("version", row.version);
    EXPECT_EQ(GetProductGraphDriverVersion(TEXT("Laser"), nullptr), row.product) << row.file;
    EXPECT_EQ(GetSiblingGraphDriverVersion(TEXT("Laser"), nullptr), row.sibling) << row.file;
  }
  EXPECT_EQ(GetProductGraphDriverVersion(TEXT("None"), nullptr), 0u);
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
  startupContext.silent = 1;
  EXPECT_FALSE(EnsureGdiPlus());
  startupContext.silent = 0;
  platform::AnswerNextBox([&](HWND) {
    have("1");
    return IDRETRY;
  });
  EXPECT_TRUE(EnsureGdiPlus());
}

int unprintable_pixels;

// At 1000 dpi, with a margin on the left only.
int WINAPI CapsOfMargins(HDC, int index) {
  switch (index) {
    case PHYSICALWIDTH:
      return unprintable_pixels + 100;
    case PHYSICALOFFSETX:
      return unprintable_pixels;
    case PHYSICALOFFSETY:
      return 0;
    case LOGPIXELSX:
    case LOGPIXELSY:
      return 1000;
    default:
      return 100;
  }
}

TEST_F(InstallationTest, MarginsAreMeasuredAndPublishedOnce) {
  SetDriverFact("margins", "2540,5080,7620,10160");
  const auto is_published = [] {
    return Key::Open(HKEY_CURRENT_USER,
                     TEXT("Software\\Veltmoor Software\\Folvane8\\PublishSettings"))
               .status == ERROR_SUCCESS;
  };
  EXPECT_FALSE(StoreDeviceMargins(TEXT("P"), TEXT("None"), nullptr));
  EXPECT_TRUE(StoreDeviceMargins(TEXT(""), TEXT("Laser"), nullptr));
  EXPECT_FALSE(is_published());
  EXPECT_TRUE(StoreDeviceMargins(TEXT("P"), TEXT("Laser"), nullptr));
  ProductDevMode stored;
  ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, stored);
  const ProductSettings& settings = stored.settings;
  EXPECT_EQ(settings.resolution, 300);
  EXPECT_EQ(settings.leftMargin, 100);
  EXPECT_EQ(settings.topMargin, 200);
  EXPECT_EQ(settings.rightMargin, 300);
  EXPECT_EQ(settings.bottomMargin, 400);
  EXPECT_TRUE(is_published());
  platform::ResetFaults();
  EXPECT_TRUE(StoreDeviceMargins(TEXT("P"), TEXT("Laser"), nullptr));
  EXPECT_EQ(platform::CallCount("RegSetValueExW"), 0u);
  EXPECT_FALSE(StoreDeviceMargins(TEXT("P"), TEXT("Laser"), reinterpret_cast<DEVMODEW*>(16)));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  // 16 bits hold 32767 thousandths of an inch.
  for (const auto& [pixels, margin] : {std::pair(32767, 32767), std::pair(32768, 32767)}) {
    unprintable_pixels = pixels;
    platform::Replace("GetDeviceCaps", &CapsOfMargins);
    EXPECT_TRUE(StoreDeviceMargins(TEXT("P"), TEXT("Laser"), nullptr));
    platform::ResetFaults();
    ReadUserPrinterSettings(nullptr, TEXT("P"), kStoredOnly, stored);
    EXPECT_EQ(stored.settings.leftMargin, margin);
  }
}

TEST_F(InstallationTest, SettingsOfDestinations) {
  EXPECT_FALSE(CDestPrinterKey(TEXT("P"), TEXT("\\\\S\\q"), KeyMode::kRead).IsOpen());
  CDestPrinterKey key(TEXT("P"), TEXT("\\\\S\\q"), KeyMode::kWrite);
  EXPECT_TRUE(WideView(key.path()).ends_with(TEXT("\\Folvaners\\P\\DestPrinters\\,,S,q")));
  EXPECT_EQ(key.GetDuplexSupport(), kDuplexUnknown);
  UserSettingsKey(KeyMode::kWrite).SetDword(TEXT("AssumeHardwareDuplex"), 1);
  EXPECT_EQ(key.GetDuplexSupport(), kDuplexHardware);
  key.SetDword(TEXT("DuplexSupport"), 2);
  key.SetDword(TEXT("AddMargin"), 30);
  EXPECT_EQ(key.GetDuplexSupport(), 2);
  EXPECT_EQ(key.GetMarginAdjust().cx, 30);
  EXPECT_EQ(key.GetMarginAdjust().cy, 30);
  WORD first = 9, second = 9;
  platform::FailCall("RegSetValueExW", 1);
  EXPECT_FALSE(key.SetTrays(1, 2));
  key.GetTrays(first, second);
  EXPECT_TRUE(first == 0 && second == 0);
  EXPECT_TRUE(key.SetTrays(1, 2));
  key.GetTrays(first, second);
  EXPECT_TRUE(first == 1 && second == 2);
  struct {
    DEVMODEW mode;
    BYTE extra[3];
  } const stored = {[] {
                      DEVMODEW mode = {};
                      mode.dmSize = sizeof mode;
                      mode.dmDriverExtra = 3;
                      return mode;
                    }(),
                    {7, 8, 9}};
  DWORD size = 1;
  EXPECT_EQ(key.GetDevMode(&size), nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_TRUE(key.SetDevMode(&stored.mode));
  EXPECT_EQ(memcmp(key.GetDevMode(&size).get(), &stored, sizeof stored.mode + 3), 0);
  EXPECT_EQ(size, sizeof stored.mode + 3);
  EXPECT_FALSE(key.SetDevMode(reinterpret_cast<DEVMODEW*>(16)));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_TRUE(key.SetDevMode(OddCopy(stored.mode).get()));
  EXPECT_EQ(memcmp(key.GetDevMode(&size).get(), &stored, sizeof stored.mode + 3), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(key.SetDevMode(nullptr));
    EXPECT_EQ(key.GetDevMode(&size), nullptr);
  }
  EXPECT_FALSE(CDestPrinterKey(TEXT(""), nullptr, KeyMode::kWrite).SetDevMode(nullptr)) << "closed";
  const WideString too_long(260, TEXT('d'));
  EXPECT_FALSE(CDestPrinterKey(TEXT("P"), too_long.c_str(), KeyMode::kWrite).IsOpen());
  EXPECT_TRUE(CDestPrinterKey(TEXT("P"), nullptr, KeyMode::kRead).IsOpen());
}

}  // namespace
}  // namespace kv::test
