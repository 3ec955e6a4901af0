// What the spooler tells and takes: structures, device modes, shares, other servers' printers.
#include "runtime/printing/printer_info.h"

#include <cstring>

#include "platform/control/profiles.h"
#include "platform/control/users.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/print_servers_key.h"
#include "runtime/printing/printer_details.h"
#include "runtime/printing/printer_devmodes.h"
#include "runtime/registry/user_hives.h"
#include "runtime/text/text.h"
#include "tests/printing/growing_calls.h"
#include "tests/printing/printer_test.h"
#include "tests/support/failing_new.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr LPCWSTR kRemote = TEXT("\\\\ALPHA\\HP Laser");

class PrinterInfoTest : public PrinterTest {
 protected:
  // A system whose native print environment is the one that 32-bit programs ask for.
  void Use32BitSystem() {
    platform::SetFact(platform::facts::kArchitecture, "x86");
    platform::UseMachine(directory());
    Restart();
    platform::ResetFaults();
  }
  static UniqueDevMode UserMode(HANDLE printer) {
    UniqueDevMode mode;
    EXPECT_TRUE(GetPrinterUserDevMode(printer, &mode, Quiet::kYes));
    return mode;
  }
  // A device mode like the printer's own with that many copies.
  static UniqueDevMode ModeWithCopies(HANDLE printer, short copies) {
    UniqueDevMode mode;
    EXPECT_TRUE(GetPrinterDevMode(printer, &mode, Quiet::kYes));
    mode->dmCopies = copies;
    return mode;
  }
  static void SetDevice(LPCWSTR entry) {
    WriteProfileStringW(TEXT("Windows"), TEXT("Device"), entry);
  }
  static WideString Device() {
    WCHAR entry[MAX_PATH];
    GetDefaultPrinterName(entry, CutAtComma::kNo);
    return entry;
  }
};

DWORD growing_calls, growing_succeeds_at;

// Asks for 8 bytes more with each call.
BOOL WINAPI GrowingGetPrinter(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size,
                              LPDWORD needed) {
  ++growing_calls;
  DWORD really_needed = 0;
  GetPrinterW(printer, level, nullptr, 0, &really_needed);
  if (growing_calls == growing_succeeds_at) {
    return GetPrinterW(printer, level, buffer, size, needed);
  }
  *needed = really_needed + 8 * growing_calls;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return FALSE;
}

TEST_F(PrinterInfoTest, BlocksGrowFiveTimes) {
  const UniquePrinter printer = Open();
  platform::Replace("GetPrinterW", &GrowingGetPrinter);
  growing_calls = 0;
  growing_succeeds_at = 6;  // the question for the size, and five attempts
  const auto info = GetPrinterInfo2(printer.Get(), Quiet::kNo);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(WideView(info->pPortName), TEXT("LPT1:"));
  growing_calls = 0;
  growing_succeeds_at = 7;
  EXPECT_EQ(GetPrinterInfo2(printer.Get(), Quiet::kNo), nullptr) << "and no box";
  EXPECT_EQ(growing_calls, 6u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(PrinterInfoTest, FailuresAreReportedByTheFunctionOrTheLevel) {
  const UniquePrinter printer = Open();
  UniqueBlock<BYTE> driver;
  struct Case {
    const char* function;
    uint64_t call;
    DWORD level;
    WideView text;
  };
  const Case cases[] = {
      {"", 0, 77, TEXT("GetPrinter level 77 failed")},
      {"GetPrinterW", 1, 2, TEXT("GetPrinter failed")},
      {"GetPrinterW", 2, 2, TEXT("GetPrinter failed")},
      {"", 0, 78, TEXT("GetPrinterDriver level 78 failed")},
      {"GetPrinterDriverW", 1, 3, TEXT("GetPrinterDriver failed")},
  };
  for (const Case& c : cases) {
    const bool of_driver = c.text.starts_with(TEXT("GetPrinterDriver"));
    const auto fetch = [&](Quiet quiet) {
      platform::ResetFaults();
      if (c.call != 0) platform::FailCall(c.function, c.call, ERROR_ACCESS_DENIED);
      const bool found = of_driver
                             ? GetPrinterDriverInfo(printer.Get(), nullptr, c.level, &driver, quiet)
                             : GetPrinterInfo(printer.Get(), c.level, quiet) != nullptr;
      EXPECT_FALSE(found);
    };
    const size_t boxes = platform::ShownBoxes().size();
    fetch(Quiet::kYes);
    EXPECT_EQ(platform::ShownBoxes().size(), boxes);
    const DWORD error = c.call == 0 ? ERROR_INVALID_LEVEL : ERROR_ACCESS_DENIED;
    EXPECT_EQ(GetLastError(), error);
    platform::AnswerNextBox(IDOK);
    fetch(Quiet::kNo);
    EXPECT_TRUE(WideView(LastBox()).starts_with(c.text)) << c.call;
    EXPECT_EQ(GetLastError(), error) << "behind the box, too";
  }
  EXPECT_EQ(GetPrinterInfo2(nullptr, Quiet::kNo), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  platform::ResetFaults();
  platform::AnswerNextBox(IDOK);
  FailAllocation(1);
  EXPECT_EQ(GetPrinterInfo2(printer.Get(), Quiet::kNo), nullptr);
  FailAllocation(0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  // The environment's name may lie in the block that is replaced.
  ASSERT_TRUE(GetPrinterDriverInfo(printer.Get(), nullptr, 3, &driver, Quiet::kNo));
  const LPCWSTR own = reinterpret_cast<DRIVER_INFO_3W*>(driver.get())->pEnvironment;
  EXPECT_TRUE(GetPrinterDriverInfo(printer.Get(), own, 3, &driver, Quiet::kNo));
}

TEST_F(PrinterInfoTest, NarrowStructuresTakeAnotherName) {
  ASSERT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser share")));
  const UniquePrinter printer = Open();
  const UniqueDevMode mode = ModeWithCopies(printer.Get(), 2);
  ASSERT_EQ(SetPrinterUserDevMode(printer.Get(), mode.get(), Quiet::kNo), kWritten);
  const std::string name(50, 'n');
  const std::string cut(31, 'n');
  const auto fetch = [&](DWORD level) {
    return GetPrinterInfoA(printer.Get(), name.c_str(), level, Quiet::kNo);
  };
  const auto device_name = [](const DEVMODEA* m) {
    return std::string(reinterpret_cast<const char*>(m->dmDeviceName));
  };
  const auto info1 = fetch(1), info2 = fetch(2), info4 = fetch(4), info5 = fetch(5);
  const auto info8 = fetch(8), info9 = fetch(9);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_1A*>(info1.get())->pName, name);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_4A*>(info4.get())->pPrinterName, name);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_5A*>(info5.get())->pPrinterName, name);
  const auto& all = *reinterpret_cast<PRINTER_INFO_2A*>(info2.get());
  EXPECT_EQ(all.pPrinterName, name);
  EXPECT_STREQ(all.pShareName, "laser share");
  EXPECT_STREQ(all.pPortName, "LPT1:");
  EXPECT_EQ(device_name(all.pDevMode), cut);
  EXPECT_EQ(device_name(reinterpret_cast<PRINTER_INFO_8A*>(info8.get())->pDevMode), cut);
  const DEVMODEA* user = reinterpret_cast<PRINTER_INFO_9A*>(info9.get())->pDevMode;
  EXPECT_EQ(device_name(user), cut);
  EXPECT_EQ(user->dmCopies, 2);
  EXPECT_NE(fetch(6), nullptr) << "a level without names";
  const auto unnamed = GetPrinterInfoA(printer.Get(), "", 1, Quiet::kNo);
  EXPECT_STREQ(reinterpret_cast<PRINTER_INFO_1A*>(unnamed.get())->pName, "Laser");
}

// The spooler takes the chance to change the default printer.
BOOL WINAPI MeddlingSetPrinter(HANDLE printer, DWORD level, LPBYTE info, DWORD command) {
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Meddled,winspool,X:"));
  return SetPrinterW(printer, level, info, command);
}

TEST_F(PrinterInfoTest, DeviceModesAreWrittenOnceAndTheDefaultPrinterStays) {
  const UniquePrinter printer = Open();
  platform::Replace("SetPrinterW", &MeddlingSetPrinter);
  const UniqueDevMode mode = ModeWithCopies(printer.Get(), 3);
  struct Case {
    WriteResult (*set)(HANDLE, const DEVMODEW*, Quiet);
    BOOL (*get)(HANDLE, UniqueDevMode*, Quiet);
    LPCWSTR device_after;
  };
  const Case cases[] = {
      {SetPrinterDevMode, GetPrinterDevMode, TEXT("Laser,winspool,LPT1:")},
      {SetPrinterGlobalDevMode, GetPrinterGlobalDevMode, TEXT("Laser,winspool,LPT1:")},
      {SetPrinterUserDevMode, GetPrinterUserDevMode, TEXT("Meddled,winspool,X:")}};
  for (const Case& c : cases) {
    SetDevice(TEXT("Laser,winspool,LPT1:"));
    mode->dmCopies++;
    EXPECT_EQ(c.set(printer.Get(), mode.get(), Quiet::kNo), kWritten);
    EXPECT_EQ(Device(), c.device_after);
    const uint64_t calls = platform::CallCount("SetPrinterW");
    EXPECT_EQ(c.set(printer.Get(), mode.get(), Quiet::kNo), kUnchanged);
    EXPECT_EQ(platform::CallCount("SetPrinterW"), calls);
    UniqueDevMode read;
    EXPECT_TRUE(c.get(printer.Get(), &read, Quiet::kNo));
    EXPECT_TRUE(DevModesEqual(read.get(), mode.get()));
  }
  EXPECT_EQ(SetPrinterUserDevMode(printer.Get(), nullptr, Quiet::kNo), kWritten);
  EXPECT_EQ(UserMode(printer.Get()), nullptr);
  EXPECT_EQ(SetPrinterUserDevMode(printer.Get(), reinterpret_cast<DEVMODEW*>(16), Quiet::kNo),
            kWriteFailed)
      << "and no box";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});

  platform::ResetFaults();
  platform::FailCall("SetPrinterW", 1, ERROR_ACCESS_DENIED);
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(SetPrinterUserDevMode(printer.Get(), mode.get(), Quiet::kNo), kWriteFailed);
  EXPECT_TRUE(WideView(LastBox()).starts_with(TEXT("SetPrinter failed")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(PrinterInfoTest, OldSystemsHaveOneDeviceMode) {
  ASSERT_TRUE(platform::UseProfile("windows-nt4"));
  Restart();
  const UniquePrinter printer = Open();
  UniqueDevMode mode;
  platform::ResetFaults();
  EXPECT_TRUE(GetPrinterDevMode(printer.Get(), &mode, Quiet::kNo));
  EXPECT_FALSE(GetPrinterGlobalDevMode(printer.Get(), &mode, Quiet::kNo));
  EXPECT_FALSE(GetPrinterUserDevMode(printer.Get(), &mode, Quiet::kNo));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_LEVEL});
  EXPECT_EQ(mode, nullptr);
  WCHAR guid[MAX_PATH];
  platform::ResetFaults();
  EXPECT_FALSE(GetPrinterConnectionGuid(HKEY_CURRENT_USER, kRemote, guid, MAX_PATH));
  EXPECT_EQ(platform::TotalCallCount(), 0u) << "the registry is not asked";
}

TEST_F(PrinterInfoTest, DetailsOfAPrinter) {
  Use32BitSystem();
  WCHAR driver[MAX_PATH], port[MAX_PATH], share[MAX_PATH], title[MAX_PATH];
  EXPECT_TRUE(GetPrinterDetails(TEXT("Laser"), driver, port, share, title));
  EXPECT_EQ(WideView(driver), TEXT("Generic / Text Only"));
  EXPECT_EQ(WideView(port), TEXT("LPT1:"));
  EXPECT_EQ(WideView(share), TEXT(""));
  EXPECT_EQ(WideView(title), TEXT("unidrv"));
  EXPECT_FALSE(GetPrinterPortName(TEXT("None"), port));
  EXPECT_EQ(port[0], 0);
  for (const LPCWSTR none : {LPCWSTR{nullptr}, LPCWSTR{TEXT("")}}) {
    port[0] = TEXT('d');
    EXPECT_FALSE(GetPrinterPortName(none, port)) << "and no box";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PRINTER_NAME});
    EXPECT_EQ(port[0], 0);
  }
  WideString(TEXT("Laser")).copy(port, MAX_PATH);
  port[5] = 0;
  EXPECT_TRUE(GetPrinterPortName(port, port)) << "the name lies in the output";
  EXPECT_EQ(WideView(port), TEXT("LPT1:"));
  platform::AnswerNextBox(IDOK);
  platform::FailCall("GetPrinterW", 1, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(GetPrinterDetails(TEXT("Laser"), driver, port, nullptr, title));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << "though the other question succeeded";
  EXPECT_NE(title[0], 0);
  platform::FailCall("GetPrinterDriverW", 1);
  EXPECT_FALSE(GetPrinterDetails(TEXT("Laser"), driver, port, nullptr, title)) << "without a box";
  EXPECT_NE(port[0], 0) << "one failure does not take the rest away";
  EXPECT_EQ(WideView(GetDevicePort(TEXT("Laser")).get()), TEXT("LPT1:"));
  EXPECT_EQ(GetDevicePort(TEXT("None")), nullptr);
  EXPECT_FALSE(DeviceSupportsDuplex(TEXT("Laser")));
  SetDriverFact("duplex", "1");
  EXPECT_TRUE(DeviceSupportsDuplex(TEXT("Laser")));
  for (const auto& [arch, environment] :
       {std::pair(DWORD{0}, GetPrintEnvironment()), std::pair(DWORD{9}, TEXT("Windows x64"))}) {
    startupContext.platform.wow64Arch = arch;
    EXPECT_EQ(WideView(GetNativePrintEnvironment()), environment);
  }
  startupContext.platform.wow64Arch = 0xFFFF;
  EXPECT_EQ(GetNativePrintEnvironment(), nullptr);
}

TEST_F(PrinterInfoTest, SharesAreSetAndTakenAway) {
  platform::ResetFaults();
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("")));
  EXPECT_EQ(platform::CallCount("SetPrinterW"), 0u) << "it is not shared";
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  EXPECT_EQ(IsPrinterShared(TEXT("Laser")), TEXT('l'));
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  EXPECT_EQ(platform::CallCount("SetPrinterW"), 2u) << "the same name is written again";
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), nullptr));
  EXPECT_EQ(IsPrinterShared(TEXT("Laser")), 0);
  platform::SetFactNumber(platform::facts::kUserIsElevated, 0);
  EXPECT_FALSE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(PrinterInfoTest, WhatTheMachineRemembersOfOtherServersComesFirst) {
  platform::SetFact("server.ALPHA.printers", "HP Laser:hplaser,Ink:ink");
  const WideString servers =
      TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\")
          TEXT("Client Side Rendering Print Provider\\Servers\\ALPHA\\Printers\\");
  WCHAR share[MAX_PATH];
  EXPECT_TRUE(GetPrinterShareName(kRemote, share, MAX_PATH));
  EXPECT_EQ(WideView(share), TEXT("hplaser")) << "from the spooler";
  SetText(Key::Create(HKEY_LOCAL_MACHINE, servers + TEXT("HP Laser")), TEXT("Share Name"),
          TEXT("by name"));
  EXPECT_TRUE(GetPrinterShareName(kRemote, share, MAX_PATH));
  EXPECT_EQ(WideView(share), TEXT("by name"));
  SetText(Key::Create(HKEY_CURRENT_USER, TEXT("Printers\\Connections\\,,ALPHA,HP Laser")),
          TEXT("GuidPrinter"), TEXT("{GUID}"));
  SetText(Key::Create(HKEY_LOCAL_MACHINE, servers + TEXT("{GUID}\\DsSpooler")),
          TEXT("printShareName"), TEXT("by guid"));
  CopyStringW(share, kRemote);
  EXPECT_TRUE(GetPrinterShareName(share, share, MAX_PATH)) << "the name lies in the output";
  EXPECT_EQ(WideView(share), TEXT("by guid"));
  CPrintServersKey key(KeyMode::kRead);
  CopyStringW(share, kRemote);
  EXPECT_TRUE(key.GetRemotePrinterShareName(share, share, MAX_PATH));
  EXPECT_EQ(WideView(share), TEXT("by guid"));
  CopyStringW(share, kRemote);
  EXPECT_TRUE(CPrintServersKey::MakePrinterPath(share, share));
  EXPECT_EQ(WideView(share), TEXT("ALPHA\\Printers\\{GUID}"));
  const WideString longest =
      TEXT("\\\\") + WideString(130, TEXT('s')) + TEXT("\\") + WideString(129, TEXT('p'));
  for (const LPCWSTR name : {LPCWSTR{TEXT("Laser")}, LPCWSTR{TEXT("\\\\ALPHA")},
                             LPCWSTR{TEXT("\\\\ALPHA\\")}, longest.c_str()}) {
    share[0] = TEXT('d');
    EXPECT_FALSE(key.GetRemotePrinterShareName(name, share, MAX_PATH));
    EXPECT_EQ(share[0], 0);
    share[0] = TEXT('d');
    EXPECT_FALSE(CPrintServersKey::MakePrinterPath(name, share));
    EXPECT_EQ(share[0], 0);
  }
  EXPECT_FALSE(key.GetRemotePrinterShareName(kRemote, share, 3)) << "does not fit";
}

uint64_t small_buffers;

DWORD WINAPI WantsMore(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size) {
  if (small_buffers++ > 0) return WNetEnumResourceW(enumeration, count, buffer, size);
  *size = 20'000;
  return ERROR_MORE_DATA;
}

TEST_F(PrinterInfoTest, SharedPrintersAreFoundThroughSpoolerAndNetwork) {
  platform::SetFact("server.ALPHA.printers", "HP Laser:hplaser,Ink:ink");
  platform::SetFact("server.ALPHA.resources",
                    "container:scan:Box,disk:scan:Files,print:scan:\\\\ALPHA\\Scanner");
  WCHAR printer[MAX_PATH];
  EXPECT_TRUE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("INK"), printer, MAX_PATH));
  EXPECT_EQ(WideView(printer), TEXT("\\\\ALPHA\\Ink"));
  EXPECT_EQ(platform::CallCount("WNetOpenEnumW"), 0u);
  EXPECT_TRUE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("Scan"), printer, MAX_PATH));
  EXPECT_EQ(WideView(printer), TEXT("\\\\ALPHA\\Scanner"));
  platform::Replace("WNetEnumResourceW", &WantsMore);
  small_buffers = 0;
  EXPECT_TRUE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("scan"), printer, MAX_PATH));
  EXPECT_FALSE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("other"), printer, MAX_PATH));
  EXPECT_EQ(printer[0], 0);
  LetGrow<&EnumPrintersW>("EnumPrintersW", 2);
  CopyStringW(printer, TEXT("ALPHA"));
  EXPECT_TRUE(FindSharedPrinterName(printer, TEXT("ink"), printer, MAX_PATH));
  EXPECT_EQ(WideView(printer), TEXT("\\\\ALPHA\\Ink"));
  platform::ResetFaults();
  EXPECT_FALSE(FindSharedPrinterName(TEXT("BETA"), TEXT("scan"), printer, MAX_PATH));
  EXPECT_EQ(platform::CallCount("WNetOpenEnumW"), 0u) << "its spooler said nothing";
  platform::ResetFaults();
  const WideString too_long(258, TEXT('s'));
  for (const auto& [server, share] : {std::pair<LPCWSTR, LPCWSTR>(TEXT(""), TEXT("ink")),
                                      {TEXT("ALPHA"), TEXT("")},
                                      {nullptr, nullptr},
                                      {too_long.c_str(), TEXT("ink")}}) {
    EXPECT_FALSE(FindSharedPrinterName(server, share, printer, MAX_PATH));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  }
  EXPECT_EQ(platform::CallCount("EnumPrintersW"), 0u);
}

LPARAM told;
uint64_t times_told;

LRESULT CALLBACK Listen(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_SETTINGCHANGE) {
    told = lparam;
    ++times_told;
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

TEST_F(PrinterInfoTest, TheDefaultPrinterIsSetAndAnnounced) {
  Use32BitSystem();
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = Listen;
  window_class.hInstance = GetModuleHandleW(nullptr);
  window_class.lpszClassName = TEXT("Listener");
  ASSERT_NE(RegisterClassW(&window_class), 0);
  const HWND window = CreateWindowExW(0, TEXT("Listener"), TEXT(""), WS_POPUP, 0, 0, 10, 10,
                                      nullptr, nullptr, window_class.hInstance, nullptr);
  WCHAR name[MAX_PATH];
  EXPECT_EQ(GetDefaultPrinterName(name, CutAtComma::kYes), 0);
  times_told = 0;
  told = 1;
  EXPECT_NE(SetDefaultPrinterName(TEXT("Laser")), 0);
  EXPECT_EQ(Device(), TEXT("Laser,WINSPOOL,LPT1:"));
  EXPECT_EQ(told, 0);
  EXPECT_EQ(GetDefaultPrinterName(name, CutAtComma::kYes), TEXT('L'));
  EXPECT_EQ(WideView(name), TEXT("Laser"));
  EXPECT_NE(SetDefaultPrinterName(TEXT("Any,thing,you:")), 0);
  EXPECT_EQ(Device(), TEXT("Any,thing,you:"));
  const WideString too_long = TEXT(",") + WideString(779, TEXT('x'));
  for (const LPCWSTR none : {LPCWSTR{TEXT("None")}, LPCWSTR{TEXT("")}, too_long.c_str()}) {
    EXPECT_EQ(SetDefaultPrinterName(none), 0);
    EXPECT_EQ(GetLastError(), none[0] == TEXT(',') ? DWORD{ERROR_INVALID_PARAMETER}
                                                   : DWORD{ERROR_INVALID_PRINTER_NAME});
    EXPECT_EQ(Device(), TEXT("Any,thing,you:")) << "not lost";
  }
  startupContext.platform.win9xKind = 2;
  SetDefaultPrinterName(TEXT("Laser"));
  EXPECT_EQ(Device(), TEXT("Laser,unidrv,LPT1:"));
  EXPECT_EQ(WideView(reinterpret_cast<LPCWSTR>(told)), TEXT("Windows"));
  EXPECT_EQ(times_told, 3u);
  startupContext.platform.win9xKind = 0;
  {
    const CDefaultPrinterGuard guard;
    SetDevice(TEXT("LASER,UNIDRV,lpt1:"));
  }
  EXPECT_EQ(times_told, 3u) << "letter case is no change";
  const WideString ports = TEXT("Laser,winspool,") + WideString(300, TEXT('p'));
  SetDevice(ports.c_str());
  {
    const CDefaultPrinterGuard guard;
    SetDevice(TEXT("Meddled,winspool,X:"));
  }
  EXPECT_EQ(Device(), TEXT("Laser,WINSPOOL,LPT1:")) << "no half list of ports";
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_TRUE(UnregisterClassW(TEXT("Listener"), window_class.hInstance));
}

TEST_F(PrinterInfoTest, TheDefaultPrinterOfAllUsers) {
  platform::SetFact(platform::facts::kAccounts, "Bob:1002,Eve:1003");
  const WideString bob = platform::MakeProfile(TEXT("Bob"), true);
  const WideString eve = platform::MakeProfile(TEXT("Eve"), false);
  const auto section = [](const WideString& user, LPCWSTR name) {
    return Key::Create(HKEY_USERS,
                       user + TEXT("\\Software\\Microsoft\\Windows NT\\CurrentVersion\\") + name);
  };
  {
    UserHives hives(UserHives::kLoadAndUnload);
    SetText(section(bob, TEXT("Devices")), TEXT("Laser"), TEXT("winspool,Ne01:"));
    SetText(section(bob, TEXT("Devices")), TEXT(""), TEXT("no device"));
    section(bob, TEXT("Windows"));
    section(eve, TEXT("Devices"));
    SetText(section(eve, TEXT("Windows")), TEXT("Device"), TEXT("Old,winspool,COM1:"));
  }
  const auto set_for_bob = [&](const WideString& name) {
    UserHives hives(UserHives::kLoadAndUnload);
    hives.FirstSubKey();
    const Key root = Key::Open(HKEY_USERS, bob, KEY_ALL_ACCESS);
    SetText(section(bob, TEXT("Windows")), TEXT("Device"), TEXT("Old,winspool,COM1:"));
    SetDefaultPrinterForUser(root, name.empty() ? nullptr : name.c_str());
    return Text(section(bob, TEXT("Windows")), TEXT("Device"));
  };
  EXPECT_EQ(set_for_bob(TEXT("Laser,and more")), TEXT("Laser,winspool,Ne01:"));
  for (const WideString& none :
       {WideString(), WideString(TEXT(",x")), TEXT("Laser,") + WideString(800, TEXT('x'))}) {
    EXPECT_EQ(set_for_bob(none), TEXT("Old,winspool,COM1:"));
  }
  SetDefaultPrinterForAllUsers(TEXT("Laser"));
  EXPECT_EQ(Device(), TEXT("Laser,WINSPOOL,LPT1:"));
  UserHives hives(UserHives::kLoadAndUnload);
  EXPECT_EQ(Text(section(bob, TEXT("Windows")), TEXT("Device")), TEXT("Laser,winspool,Ne01:"));
  EXPECT_EQ(Text(section(eve, TEXT("Windows")), TEXT("Device")), TEXT("Old,winspool,COM1:"))
      << "who does not have the printer keeps the old one";
}

}  // namespace
}  // namespace kv::test
