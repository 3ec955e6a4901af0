// What the spooler tells and takes: structures, device modes, shares, other servers' printers.
#include "runtime/printing/printer_info.h"

#include <algorithm>
#include <cstring>

#include "platform/control/profiles.h"
#include "platform/control/users.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/print_servers_key.h"
#include "runtime/printing/printer_details.h"
#include "runtime/printing/printer_devmodes.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/registry/user_hives.h"
#include "runtime/text/text.h"
#include "tests/printing/growing_calls.h"
#include "tests/printing/printer_test.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

constexpr LPCWSTR kRemote = TEXT("\\\\ALPHA\\HP Laser");
constexpr LPCWSTR kDevice = TEXT("Laser,winspool,LPT1:");

class PrinterInfoTest : public PrinterTest {
 protected:
  // A system whose native print environment is the one that 32-bit programs ask for.
  void Use32BitSystem() {
    platform::SetFact(platform::facts::kArchitecture, "x86");
    platform::UseMachine(directory());
    Restart();
    platform::ResetFaults();
  }
  static void SetDevice(const WideString& entry) {
    WriteProfileStringW(TEXT("Windows"), TEXT("Device"), entry.c_str());
  }
  static WideString Device() {
    WCHAR entry[1000];
    GetProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT(""), entry, 1000);
    return entry;
  }
};

TEST_F(PrinterInfoTest, NamesAndTheirParts) {
  const WideString most(259, TEXT('n')), more(260, TEXT('n'));
  const struct {
    WideString name, server, printer;
    bool isPrinter;
  } kNames[] = {
      {TEXT("\\\\S\\P"), TEXT("S"), TEXT("P"), true},
      {TEXT("\\\\S\\P\\Q"), TEXT("S"), TEXT("P\\Q"), false},
      {TEXT("\\\\\\P"), {}, TEXT("P"), false},
      {TEXT("\\\\S\\"), {}, {}, false},
      {TEXT("\\S\\P"), {}, {}, false},
      {TEXT("P\\Q"), {}, {}, false},
      {TEXT("P"), {}, {}, true},
      {{}, {}, {}, false},
      {TEXT("\\\\") + most + TEXT("\\") + most, most, most, true},
      {TEXT("\\\\") + more + TEXT("\\P"), {}, {}, false},
      {TEXT("\\\\S\\") + more, {}, {}, false},
      {most, {}, {}, true},
  };
  for (const auto& row : kNames) {
    SCOPED_TRACE(std::string(row.name.begin(), row.name.end()));
    ConnectionName parts;
    std::memset(&parts, 0x55, sizeof parts);
    EXPECT_EQ(SplitConnectionName(row.name.c_str(), parts) != FALSE, !row.printer.empty());
    EXPECT_EQ(WideView(parts.server), row.server);
    EXPECT_EQ(WideView(parts.printer), row.printer);
    EXPECT_EQ(IsPrinterName(row.name.c_str()) != FALSE, row.isPrinter);
    const bool fits = row.name.size() <= 259;
    WideString expected = fits ? row.name : WideString();
    std::replace(expected.begin(), expected.end(), TEXT('\\'), TEXT(','));
    WCHAR key[MAX_PATH] = TEXT("dirty");
    EXPECT_EQ(MakeKeyName(row.name.c_str(), key) != FALSE, fits);
    EXPECT_EQ(WideView(key), expected);
  }
}

TEST_F(PrinterInfoTest, FailuresAreReportedByTheFunctionOrTheLevel) {
  const UniquePrinter printer = Open();
  HANDLE none = printer.Get();
  BOOL flag = TRUE;
  ExpectRefusal(ERROR_INVALID_PRINTER_NAME,
                OpenPrinterHandle(TEXT("None"), &none, nullptr, FALSE, &flag));
  EXPECT_TRUE(none == nullptr && !flag);
  UniqueBlock<BYTE> driver;
  // 3 and 79 are levels of the driver, 78 is a narrow one.
  const auto fetch = [&](DWORD level, Quiet quiet) -> bool {
    if (level == 78) return GetPrinterInfoA(printer.Get(), "n", level, quiet) != nullptr;
    if (level == 2 || level == 77) return GetPrinterInfo(printer.Get(), level, quiet) != nullptr;
    return GetPrinterDriverInfo(printer.Get(), nullptr, level, &driver, quiet);
  };
  constexpr WCHAR kNoLevel[] = TEXT("\n\nThe system call level is not correct.");
  const WideString no_room = TEXT("An internal error occurred: could not allocate ");
  for (const auto& [failing, nth, level, error, report] :
       {std::tuple("none", 1, 77, ERROR_INVALID_LEVEL,
                   TEXT("GetPrinter level 77 failed.") + WideString(kNoLevel)),
        {"none", 1, 78, ERROR_INVALID_LEVEL,
         TEXT("GetPrinter level 78 failed.") + WideString(kNoLevel)},
        {"none", 1, 79, ERROR_INVALID_LEVEL,
         TEXT("GetPrinterDriver level 79 failed.") + WideString(kNoLevel)},
        {"GetPrinterW", 1, 2, ERROR_ACCESS_DENIED, TEXT("GetPrinter failed.\n\nAccess is denied.")},
        {"GetPrinterW", 2, 2, ERROR_ACCESS_DENIED, TEXT("GetPrinter failed.\n\nAccess is denied.")},
        {"GetPrinterDriverW", 1, 3, ERROR_ACCESS_DENIED,
         TEXT("GetPrinterDriver failed.\n\nAccess is denied.")},
        {"memory", 1, 2, ERROR_NOT_ENOUGH_MEMORY, no_room + TEXT("PRINTER_INFO_x.")},
        {"memory", 1, 3, ERROR_NOT_ENOUGH_MEMORY, no_room + TEXT("DRIVER_INFO_x.")}}) {
    ExpectReport(static_cast<DWORD>(error), report,
                 [&, function = failing, call = nth, l = level](Quiet quiet) {
                   platform::ResetFaults();
                   platform::FailCall(function, call, ERROR_ACCESS_DENIED);
                   FailAllocation(function[0] == 'm' ? 1 : 0);
                   const bool done = fetch(static_cast<DWORD>(l), quiet);
                   FailAllocation(0);
                   return done;
                 });
  }
  platform::ResetFaults();
  ExpectRefusal(ERROR_INVALID_HANDLE, GetPrinterInfo2(nullptr, Quiet::kNo) != nullptr);
  ExpectRefusal(ERROR_INVALID_HANDLE, GetPrinterInfoA(nullptr, "n", 1, Quiet::kNo) != nullptr);
  ExpectRefusal(ERROR_INVALID_HANDLE,
                GetPrinterDriverInfo(nullptr, nullptr, 3, &driver, Quiet::kNo));
  EXPECT_EQ(platform::TotalCallCount(), 0u);
  // The environment's name may lie in the block that is replaced.
  ASSERT_TRUE(GetPrinterDriverInfo(printer.Get(), nullptr, 3, &driver, Quiet::kNo));
  const LPCWSTR own = reinterpret_cast<DRIVER_INFO_3W*>(driver.get())->pEnvironment;
  EXPECT_TRUE(GetPrinterDriverInfo(printer.Get(), own, 3, &driver, Quiet::kNo));
  ExpectRefusal(ERROR_INVALID_ENVIRONMENT,
                GetPrinterDriverInfo(printer.Get(), TEXT("Nowhere"), 3, &driver, Quiet::kYes));
  EXPECT_EQ(driver, nullptr);
}

TEST_F(PrinterInfoTest, NarrowStructuresTakeAnotherName) {
  const UniquePrinter printer = Open();
  const std::string name(50, 'n'), cut(31, 'n');
  const auto fetch = [&](DWORD level) {
    platform::ResetFaults();
    return GetPrinterInfoA(printer.Get(), name.c_str(), level, Quiet::kNo);
  };
  const auto name_of = [](const DEVMODEA* m) {
    return std::string(reinterpret_cast<LPCSTR>(m->dmDeviceName));
  };
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_9A*>(fetch(9).get())->pDevMode, nullptr)
      << "none to name";
  fetch(2);
  EXPECT_EQ(platform::CallCount("GetPrinterW"), 0u) << "no share to convert";
  ASSERT_TRUE(SetPrinterShareName(TEXT("Laser"), WideString(300, TEXT('s')).c_str()));
  UniqueDevMode mode;
  ASSERT_TRUE(GetPrinterDevMode(printer.Get(), &mode, Quiet::kYes));
  ASSERT_EQ(SetPrinterUserDevMode(printer.Get(), mode.get(), Quiet::kNo), kWritten);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_1A*>(fetch(1).get())->pName, name);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_4A*>(fetch(4).get())->pPrinterName, name);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_5A*>(fetch(5).get())->pPrinterName, name);
  EXPECT_EQ(name_of(reinterpret_cast<PRINTER_INFO_8A*>(fetch(8).get())->pDevMode), cut);
  EXPECT_EQ(name_of(reinterpret_cast<PRINTER_INFO_9A*>(fetch(9).get())->pDevMode), cut);
  const auto block = fetch(2);
  const auto& all = *reinterpret_cast<PRINTER_INFO_2A*>(block.get());
  EXPECT_EQ(all.pPrinterName, name);
  EXPECT_EQ(all.pShareName, std::string(255, 's'));
  EXPECT_EQ(all.pShareName, all.pPrinterName + 51) << "behind the name";
  EXPECT_STREQ(all.pPortName, "LPT1:");
  EXPECT_EQ(name_of(all.pDevMode), cut);
  platform::FailCall("GetPrinterW", 1);
  const auto unconverted = GetPrinterInfoA(printer.Get(), "n", 2, Quiet::kYes);
  EXPECT_EQ(reinterpret_cast<PRINTER_INFO_2A*>(unconverted.get())->pShareName,
            std::string(300, 's'));
  EXPECT_NE(fetch(6), nullptr) << "a level without names";
  for (const LPCSTR none : {LPCSTR{""}, LPCSTR{nullptr}}) {
    const auto unnamed = GetPrinterInfoA(printer.Get(), none, 1, Quiet::kNo);
    EXPECT_STREQ(reinterpret_cast<PRINTER_INFO_1A*>(unnamed.get())->pName, "Laser");
  }
}

// The spooler takes the chance to change the default printer.
BOOL WINAPI MeddlingSetPrinter(HANDLE printer, DWORD level, LPBYTE info, DWORD command) {
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Meddled,winspool,X:"));
  return SetPrinterW(printer, level, info, command);
}

TEST_F(PrinterInfoTest, DeviceModesAreWrittenOnceAndTheDefaultPrinterStays) {
  const UniquePrinter printer = Open();
  UniqueDevMode mode;
  ASSERT_TRUE(GetPrinterDevMode(printer.Get(), &mode, Quiet::kYes));
  const struct {
    WriteResult (*set)(HANDLE, const DEVMODEW*, Quiet);
    BOOL (*get)(HANDLE, UniqueDevMode*, Quiet);
    WideString deviceAfter;
  } kLevels[] = {{SetPrinterDevMode, GetPrinterDevMode, kDevice},
                 {SetPrinterGlobalDevMode, GetPrinterGlobalDevMode, kDevice},
                 {SetPrinterUserDevMode, GetPrinterUserDevMode, TEXT("Meddled,winspool,X:")}};
  for (const auto& row : kLevels) {
    const auto set = [&](const DEVMODEW* m, Quiet quiet) {
      return row.set(printer.Get(), m, quiet);
    };
    platform::ResetFaults();
    platform::Replace("SetPrinterW", &MeddlingSetPrinter);
    SetDevice(kDevice);
    mode->dmCopies++;
    EXPECT_EQ(set(mode.get(), Quiet::kNo), kWritten);
    EXPECT_EQ(Device(), row.deviceAfter);
    EXPECT_EQ(set(mode.get(), Quiet::kNo), kUnchanged);
    EXPECT_EQ(platform::CallCount("SetPrinterW"), 1u);
    UniqueDevMode read;
    EXPECT_TRUE(row.get(printer.Get(), &read, Quiet::kNo));
    EXPECT_TRUE(DevModesEqual(read.get(), mode.get()));

    const DEVMODEW* const unreadable = reinterpret_cast<DEVMODEW*>(16);
    ExpectRefusal(ERROR_INVALID_PARAMETER, set(unreadable, Quiet::kNo) != kWriteFailed);
    mode->dmCopies++;
    for (const auto& [call, report] :
         {std::pair("SetPrinterW", TEXT("SetPrinter failed.\n\nAccess is denied.")),
          {"GetPrinterW", TEXT("GetPrinter failed.\n\nAccess is denied.")}}) {
      ExpectReport(ERROR_ACCESS_DENIED, report, [&, function = call](Quiet quiet) {
        platform::ResetFaults();
        platform::FailCall(function, 1, ERROR_ACCESS_DENIED);
        return set(mode.get(), quiet) != kWriteFailed;
      });
    }
    platform::FailCall("GetPrinterW", 1, ERROR_ACCESS_DENIED);
    ExpectRefusal(ERROR_ACCESS_DENIED, row.get(printer.Get(), &read, Quiet::kYes));
    EXPECT_EQ(read, nullptr);
  }
  EXPECT_EQ(SetPrinterUserDevMode(printer.Get(), nullptr, Quiet::kNo), kWritten);
  EXPECT_TRUE(GetPrinterUserDevMode(printer.Get(), &mode, Quiet::kNo));
  EXPECT_EQ(mode, nullptr);
  startupContext.platform.ntKind = kWindows2000;
  EXPECT_TRUE(GetPrinterGlobalDevMode(printer.Get(), &mode, Quiet::kNo));
  startupContext.platform.ntKind = kNt4;
  platform::ResetFaults();
  for (const auto get : {&GetPrinterGlobalDevMode, &GetPrinterUserDevMode}) {
    EXPECT_TRUE(GetPrinterDevMode(printer.Get(), &mode, Quiet::kNo));
    ExpectRefusal(ERROR_INVALID_LEVEL, get(printer.Get(), &mode, Quiet::kNo));
    EXPECT_EQ(mode, nullptr);
  }
}

TEST_F(PrinterInfoTest, DetailsOfAPrinter) {
  Use32BitSystem();
  ASSERT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  WCHAR texts[4][MAX_PATH];
  const auto [driver, port, share, title] = std::tuple(texts[0], texts[1], texts[2], texts[3]);
  const auto expect = [&](LPCWSTR d, LPCWSTR p, LPCWSTR s, LPCWSTR t, const char* why) {
    const LPCWSTR expected[] = {d, p, s, t};
    for (size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(WideView(texts[i]), expected[i]) << why << i;
      CopyStringW(texts[i], TEXT("dirty"));
    }
  };
  CopyStringW(driver, MAX_PATH, TEXT("Laser"));
  EXPECT_TRUE(GetPrinterDetails(driver, driver, port, share, title))
      << "the name lies in an output";
  expect(TEXT("Generic / Text Only"), TEXT("LPT1:"), TEXT("laser"), TEXT("unidrv"), "all");
  for (const LPCWSTR none : {LPCWSTR{TEXT("None")}, LPCWSTR{TEXT("")}, LPCWSTR{nullptr}}) {
    ExpectRefusal(ERROR_INVALID_PRINTER_NAME, GetPrinterDetails(none, driver, port, share, title));
    expect(TEXT(""), TEXT(""), TEXT(""), TEXT(""), "none");
  }
  platform::ResetFaults();
  EXPECT_TRUE(GetPrinterDriverFileTitle(TEXT("Laser"), title));
  EXPECT_EQ(platform::CallCount("GetPrinterW"), 0u) << "only what is wanted is asked for";
  platform::ResetFaults();
  EXPECT_TRUE(GetPrinterDriverName(TEXT("Laser"), driver));
  EXPECT_TRUE(GetPrinterPortName(TEXT("Laser"), port));
  EXPECT_TRUE(GetPrinterDetails(TEXT("Laser"), nullptr, nullptr, share, nullptr));
  EXPECT_EQ(platform::CallCount("GetPrinterDriverW"), 0u);
  expect(TEXT("Generic / Text Only"), TEXT("LPT1:"), TEXT("laser"), TEXT("unidrv"), "one by one");
  const auto ask = [&](const char* failing) {
    platform::ResetFaults();
    platform::FailCall(failing, 1, ERROR_ACCESS_DENIED);
    ExpectRefusal(ERROR_ACCESS_DENIED,
                  GetPrinterDetails(TEXT("Laser"), driver, port, share, title));
  };
  EXPECT_EQ(BoxOf([&] { ask("GetPrinterW"); }), TEXT("GetPrinter failed.\n\nAccess is denied."));
  expect(TEXT(""), TEXT(""), TEXT(""), TEXT("unidrv"), "without the structure");
  ask("GetPrinterDriverW");
  expect(TEXT("Generic / Text Only"), TEXT("LPT1:"), TEXT("laser"), TEXT(""), "without a box");

  EXPECT_FALSE(DeviceSupportsDuplex(TEXT("Laser")));
  SetDriverFact("duplex", "1");
  EXPECT_TRUE(DeviceSupportsDuplex(TEXT("Laser")));
  EXPECT_EQ(GetDevicePort(nullptr), nullptr);
  const struct {
    WideString entry;
    LPCWSTR port;
  } kEntries[] = {{TEXT("winspool,Ne01:,15,45"), TEXT("Ne01:,15,45")},
                  {WideString(298, TEXT('d')) + TEXT(",p"), TEXT("")},
                  {WideString(299, TEXT('d')) + TEXT(",p"), nullptr},
                  {TEXT("winspool"), nullptr}};
  for (const auto& row : kEntries) {
    WriteProfileStringW(TEXT("Devices"), TEXT("Laser"), row.entry.c_str());
    const auto found = GetDevicePort(TEXT("Laser"));
    EXPECT_EQ(found == nullptr, row.port == nullptr);
    EXPECT_EQ(View(found.get()), View(row.port));
  }
  const LPCWSTR own = sizeof(void*) == 8 ? TEXT("Windows x64") : TEXT("Windows NT x86");
  for (const auto& [arch, environment] :
       {std::pair(DWORD{0}, own), {9, TEXT("Windows x64")}, {12, nullptr}}) {
    startupContext.platform.wow64Arch = arch;
    EXPECT_EQ(View(GetNativePrintEnvironment()), View(environment));
  }
}

TEST_F(PrinterInfoTest, SharesAreSetAndTakenAway) {
  const auto expect_share = [&](LPCWSTR share, uint64_t written) {
    WCHAR name[MAX_PATH] = TEXT("dirty");
    EXPECT_TRUE(GetPrinterShareName(TEXT("Laser"), name, MAX_PATH));
    EXPECT_EQ(WideView(name), share);
    EXPECT_EQ(IsPrinterShared(TEXT("Laser")), share[0]);
    const auto info = GetPrinterInfo2(Open().Get(), Quiet::kNo);
    EXPECT_EQ((info->Attributes & PRINTER_ATTRIBUTE_SHARED) != 0, share[0] != 0);
    EXPECT_EQ(platform::CallCount("SetPrinterW"), written);
  };
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("")));
  expect_share(TEXT(""), 0);
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  expect_share(TEXT("laser"), 2);
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), nullptr));
  expect_share(TEXT(""), 3);
  // Half shared: what is left goes, too.
  SetText(PrinterKey(TEXT("Laser")), TEXT("Share Name"), TEXT("left"));
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), nullptr));
  expect_share(TEXT(""), 4);
  for (const auto& [function, call] : {std::pair("GetPrinterW", 2), {"SetPrinterW", 1}}) {
    platform::FailCall(function, call, ERROR_BUSY);
    ExpectRefusal(ERROR_BUSY, SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  }
  WCHAR name[3] = {1, 1, 1};
  EXPECT_TRUE(SetPrinterShareName(TEXT("Laser"), TEXT("laser")));
  EXPECT_TRUE(GetPrinterShareName(TEXT("Laser"), name, 3));
  EXPECT_EQ(WideView(name), TEXT("la")) << "cut";
  EXPECT_FALSE(GetPrinterShareName(TEXT("None"), name, 3));
  EXPECT_EQ(name[0] + IsPrinterShared(TEXT("None")), 0);
  platform::SetFactNumber(platform::facts::kUserIsElevated, 0);
  ExpectRefusal(ERROR_ACCESS_DENIED, SetPrinterShareName(TEXT("Laser"), TEXT("other")));
  ExpectRefusal(ERROR_INVALID_PRINTER_NAME, SetPrinterShareName(TEXT("None"), nullptr));
}

TEST_F(PrinterInfoTest, WhereTheMachineRemembersOtherServers) {
  const WideString print =
      TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\");
  const WideString rendering = print + TEXT("Client Side Rendering Print Provider\\Servers");
  const WideString manager = print + TEXT("LanMan Print Services\\Servers");
  const WideString nt4 = TEXT("System\\CurrentControlSet\\Control\\Print\\Providers\\")
      TEXT("LanMan Print Services\\Servers");
  for (const WideString& path : {rendering, manager, nt4}) Key::Create(HKEY_LOCAL_MACHINE, path);
  const std::pair<DWORD, WideString> paths[] = {{kNt4, nt4},
                                                {kWindows2000, manager},
                                                {kWindowsXp, manager},
                                                {kServer2003, manager},
                                                {kWindowsVista, rendering},
                                                {kWindows10, rendering}};
  for (const auto& [kind, path] : paths) {
    startupContext.platform.ntKind = kind;
    CPrintServersKey reading(KeyMode::kRead), writing(KeyMode::kWrite), neither(KeyMode{2});
    EXPECT_EQ(View(reading.path()), path);
    EXPECT_EQ(View(writing.path()), path);
    EXPECT_TRUE(writing.SetDword(TEXT("Mark"), 1));
    EXPECT_FALSE(reading.SetDword(TEXT("Mark"), 1) || neither.IsOpen());
  }
  startupContext.platform.ntKind = 0;
  EXPECT_FALSE(CPrintServersKey(KeyMode::kRead).IsOpen());
}

TEST_F(PrinterInfoTest, WhatTheMachineRemembersOfOtherServersComesFirst) {
  platform::SetFact("server.ALPHA.printers", "HP Laser:hplaser,Ink:ink");
  const WideString printers =
      TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\")
          TEXT("Client Side Rendering Print Provider\\Servers\\ALPHA\\Printers\\");
  WCHAR share[MAX_PATH];
  const auto expect_share = [&](LPCWSTR expected) {
    CopyStringW(share, kRemote);
    EXPECT_TRUE(GetPrinterShareName(share, share, MAX_PATH)) << "the name lies in the output";
    EXPECT_EQ(WideView(share), expected);
  };
  expect_share(TEXT("hplaser"));
  SetText(Key::Create(HKEY_LOCAL_MACHINE, printers + TEXT("HP Laser")), TEXT("Share Name"),
          TEXT("by name"));
  expect_share(TEXT("by name"));
  startupContext.platform.win9xKind = 1;
  expect_share(TEXT("hplaser"));
  startupContext.platform.win9xKind = 0;
  BOOL is_guid = TRUE;
  CopyStringW(share, kRemote);
  EXPECT_TRUE(CPrintServersKey::MakePrinterPath(share, share, &is_guid));
  EXPECT_EQ(WideView(share), TEXT("ALPHA\\Printers\\HP Laser"));
  EXPECT_FALSE(is_guid);
  RegSetValueExW(Key::Create(HKEY_CURRENT_USER, TEXT("Printers\\Connections\\,,ALPHA,HP Laser")),
                 TEXT("GuidPrinter"), 0, REG_EXPAND_SZ,
                 reinterpret_cast<const BYTE*>(TEXT("{%OS%}")), 14);
  CopyStringW(share, kRemote);
  EXPECT_TRUE(GetPrinterConnectionGuid(HKEY_CURRENT_USER, share, share, MAX_PATH));
  EXPECT_EQ(WideView(share), TEXT("{%OS%}"));
  EXPECT_FALSE(GetPrinterConnectionGuid(HKEY_CURRENT_USER, kRemote, share, 6)) << "7 with its end";
  EXPECT_EQ(share[0], 0);
  CPrintServersKey key(KeyMode::kRead);
  EXPECT_FALSE(key.GetRemotePrinterShareName(kRemote, share, MAX_PATH)) << "by its GUID only";
  const Key printer = Key::Create(HKEY_LOCAL_MACHINE, printers + TEXT("{%OS%}\\DsSpooler"));
  EXPECT_FALSE(key.GetRemotePrinterShareName(kRemote, share, MAX_PATH));
  SetText(printer, TEXT("printShareName"), TEXT("by guid"));
  expect_share(TEXT("by guid"));
  CopyStringW(share, kRemote);
  EXPECT_TRUE(CPrintServersKey::MakePrinterPath(share, share, &is_guid));
  EXPECT_EQ(WideView(share), TEXT("ALPHA\\Printers\\{%OS%}"));
  EXPECT_TRUE(is_guid);
  EXPECT_FALSE(key.GetRemotePrinterShareName(kRemote, share, 7)) << "does not fit";
  startupContext.platform.ntKind = kServer2003;
  EXPECT_FALSE(GetPrinterConnectionGuid(HKEY_CURRENT_USER, kRemote, share, MAX_PATH));
  EXPECT_EQ(share[0], 0);
  startupContext.platform.ntKind = kWindowsVista;
  EXPECT_TRUE(GetPrinterConnectionGuid(HKEY_CURRENT_USER, kRemote, share, MAX_PATH));
  // With "\\Printers\\" 130 + 10 + 119 characters are all that fit.
  const WideString server = TEXT("\\\\") + WideString(130, TEXT('s')) + TEXT("\\");
  const WideString longest = server + WideString(119, TEXT('p')), longer = longest + TEXT('p');
  EXPECT_TRUE(CPrintServersKey::MakePrinterPath(longest.c_str(), share));
  for (const LPCWSTR name :
       {TEXT("Laser"), TEXT("\\\\ALPHA"), TEXT("\\\\ALPHA\\A\\B"), longer.c_str()}) {
    is_guid = TRUE;
    CopyStringW(share, TEXT("dirty"));
    EXPECT_FALSE(CPrintServersKey::MakePrinterPath(name, share, &is_guid));
    EXPECT_EQ(share[0] + is_guid, 0);
    CopyStringW(share, TEXT("dirty"));
    EXPECT_FALSE(key.GetRemotePrinterShareName(name, share, MAX_PATH));
    EXPECT_EQ(share[0], 0);
  }
}

// How the network is asked, and a provider that wants that much more room the first time.
std::vector<DWORD> asked_with;
DWORD more_room;

DWORD WINAPI RecordingOpenEnum(DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEW root,
                               LPHANDLE enumeration) {
  EXPECT_EQ(WideView(root->lpRemoteName), TEXT("\\\\ALPHA"));
  EXPECT_EQ(root->lpLocalName[0] + root->lpComment[0] + root->lpProvider[0], 0);
  asked_with = {root->dwScope, root->dwType, root->dwDisplayType, root->dwUsage};
  return WNetOpenEnumW(scope, type, usage, root, enumeration);
}

DWORD WINAPI WantsMore(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size) {
  asked_with.push_back(*size);
  if (asked_with.size() > 5) {
    const DWORD status = WNetEnumResourceW(enumeration, count, buffer, size);
    // The second one is a printer that has others.
    if (status == NO_ERROR) static_cast<NETRESOURCEW*>(buffer)[1].dwType |= RESOURCETYPE_PRINT;
    return status;
  }
  *size += more_room;
  return ERROR_MORE_DATA;
}

TEST_F(PrinterInfoTest, SharedPrintersAreFoundThroughSpoolerAndNetwork) {
  platform::SetFact("server.ALPHA.printers", "HP Laser:hplaser,Ink:ink,Other:ink");
  platform::SetFact("server.ALPHA.resources",
                    "print:first:First,container:scan:Box,disk:scan:Files,print:fax:Fax,print:scan:"
                    "Scanner,print:scan:No");
  WCHAR printer[MAX_PATH];
  const auto find = [&](LPCWSTR server, LPCWSTR share) -> WideString {
    platform::ResetFaults();
    platform::Replace("WNetOpenEnumW", &RecordingOpenEnum);
    platform::Replace("WNetEnumResourceW", &WantsMore);
    CopyStringW(printer, server);
    const bool found = FindSharedPrinterName(printer, share, printer, MAX_PATH);
    EXPECT_EQ(found, printer[0] != 0);
    EXPECT_EQ(platform::CallCount("WNetCloseEnum"), platform::CallCount("WNetOpenEnumW"));
    return printer;
  };
  EXPECT_EQ(find(TEXT("ALPHA"), TEXT("INK")), TEXT("\\\\ALPHA\\Ink"));
  EXPECT_EQ(platform::CallCount("WNetOpenEnumW"), 0u);
  more_room = 20'000;
  EXPECT_EQ(find(TEXT("ALPHA"), TEXT("Scan")), TEXT("Scanner"));
  EXPECT_EQ(asked_with,
            (std::vector<DWORD>{RESOURCE_GLOBALNET, 0, 0, RESOURCEUSAGE_CONTAINER, 16384, 36384}));
  EXPECT_EQ(find(TEXT("ALPHA"), TEXT("first")), TEXT("First"));
  EXPECT_EQ(find(TEXT("ALPHA"), TEXT("last")), TEXT(""));
  more_room = 0;
  EXPECT_EQ(find(TEXT("ALPHA"), TEXT("scan")), TEXT("")) << "it would ask for ever";
  platform::ResetFaults();
  EXPECT_TRUE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("ink"), printer, 8));
  EXPECT_EQ(WideView(printer), TEXT("\\\\ALPHA")) << "cut";
  EXPECT_FALSE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("ink"), printer, 0));
  LetGrow<&EnumPrintersW>("EnumPrintersW", 2);
  EXPECT_TRUE(FindSharedPrinterName(TEXT("ALPHA"), TEXT("ink"), printer, MAX_PATH));
  platform::ResetFaults();
  EXPECT_FALSE(FindSharedPrinterName(TEXT("BETA"), TEXT("scan"), printer, MAX_PATH));
  EXPECT_EQ(platform::CallCount("WNetOpenEnumW"), 0u) << "its spooler said nothing";
  const WideString longest(257, TEXT('s')), longer(258, TEXT('s'));
  EXPECT_FALSE(FindSharedPrinterName(longest.c_str(), TEXT("ink"), printer, MAX_PATH));
  EXPECT_EQ(platform::CallCount("EnumPrintersW"), 2u);
  for (const auto& [server, share] : {std::pair<LPCWSTR, LPCWSTR>(TEXT(""), TEXT("ink")),
                                      {TEXT("ALPHA"), TEXT("")},
                                      {nullptr, nullptr},
                                      {longer.c_str(), TEXT("ink")}}) {
    CopyStringW(printer, TEXT("dirty"));
    ExpectRefusal(ERROR_INVALID_PARAMETER, FindSharedPrinterName(server, share, printer, MAX_PATH));
    EXPECT_EQ(printer[0], 0);
  }
  EXPECT_EQ(platform::CallCount("EnumPrintersW"), 2u);
}

// What windows are told, and how.
std::vector<WideString> told;

LRESULT WINAPI Tell(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT flags,
                    UINT timeout, PDWORD_PTR) {
  EXPECT_EQ(window, HWND_BROADCAST);
  EXPECT_EQ(message, UINT{WM_SETTINGCHANGE});
  EXPECT_EQ(wparam, 0u);
  EXPECT_EQ(flags, UINT{SMTO_ABORTIFHUNG});
  EXPECT_EQ(timeout, 100u);
  told.push_back(lparam == 0 ? TEXT("null") : reinterpret_cast<LPCWSTR>(lparam));
  return 77;
}

TEST_F(PrinterInfoTest, TheDefaultPrinterIsSetAndAnnounced) {
  Use32BitSystem();
  platform::Replace("SendMessageTimeoutW", &Tell);
  told.clear();
  WCHAR name[MAX_PATH];
  EXPECT_EQ(GetDefaultPrinterName(name, CutAtComma::kYes), 0);
  EXPECT_EQ(SetDefaultPrinterName(TEXT("Laser")), 77);
  EXPECT_EQ(Device(), TEXT("Laser,WINSPOOL,LPT1:"));
  EXPECT_EQ(GetDefaultPrinterName(name, CutAtComma::kYes), TEXT('L'));
  EXPECT_EQ(WideView(name), TEXT("Laser"));
  EXPECT_EQ(GetDefaultPrinterName(name, CutAtComma::kNo), TEXT('L'));
  EXPECT_EQ(WideView(name), TEXT("Laser,WINSPOOL,LPT1:"));
  const WideString longest = TEXT(",") + WideString(778, TEXT('x')), longer = longest + TEXT('x');
  EXPECT_EQ(SetDefaultPrinterName(longest.c_str()), 77);
  EXPECT_EQ(Device(), longest);
  ExpectRefusal(ERROR_INVALID_PRINTER_NAME, SetDefaultPrinterName(TEXT("None")));
  ExpectRefusal(ERROR_INVALID_PARAMETER, SetDefaultPrinterName(longer.c_str()));
  ExpectRefusal(ERROR_INVALID_PRINTER_NAME, SetDefaultPrinterName(TEXT("")));
  EXPECT_EQ(Device(), longest) << "not lost";
  startupContext.platform.win9xKind = 2;
  EXPECT_EQ(SetDefaultPrinterName(TEXT("Laser")), 77);
  EXPECT_EQ(Device(), TEXT("Laser,unidrv,LPT1:"));
  EXPECT_EQ(told, (std::vector<WideString>{TEXT("null"), TEXT("null"), TEXT("Windows")}));
  startupContext.platform.win9xKind = 0;
  // Before, meanwhile and behind a guard, and whether windows were told.
  const WideString whole = TEXT("Laser,w,") + WideString(250, TEXT('p'));
  const struct {
    WideString before, meanwhile, after;
    bool told;
  } kGuarded[] = {
      {kDevice, TEXT("Meddled,w,X:"), kDevice, true},
      {kDevice, TEXT("LASER,WINSPOOL,lpt1:"), TEXT("LASER,WINSPOOL,lpt1:"), false},
      {{}, TEXT("Meddled,w,X:"), TEXT("Meddled,w,X:"), false},
      {whole, TEXT("Meddled,w,X:"), whole, true},
      {whole + TEXT('p'), TEXT("Meddled,w,X:"), TEXT("Laser,WINSPOOL,LPT1:"), true},
  };
  for (const auto& row : kGuarded) {
    told.clear();
    SetDevice(row.before);
    {
      const CDefaultPrinterGuard guard;
      SetDevice(row.meanwhile);
    }
    EXPECT_EQ(Device(), row.after);
    EXPECT_EQ(!told.empty(), row.told);
  }
}

TEST_F(PrinterInfoTest, TheDefaultPrinterOfAllUsers) {
  platform::SetFact(platform::facts::kAccounts, "Bob:1002,Eve:1003");
  const WideString bob = platform::MakeProfile(TEXT("Bob"), true);
  const WideString eve = platform::MakeProfile(TEXT("Eve"), false);
  const WideString everybody = TEXT(".DEFAULT");
  const auto section = [](const WideString& user, LPCWSTR name) {
    return Key::Create(HKEY_USERS,
                       user + TEXT("\\Software\\Microsoft\\Windows NT\\CurrentVersion\\") + name);
  };
  const auto device_of = [&](const WideString& user) {
    return Text(section(user, TEXT("Windows")), TEXT("Device"));
  };
  {
    UserHives hives(UserHives::kLoadAndUnload);
    for (const WideString& user : {bob, eve, everybody}) {
      SetText(section(user, TEXT("Windows")), TEXT("Device"), TEXT("Old,winspool,COM1:"));
      const Key devices = section(user, TEXT("Devices"));
      if (user != eve) SetText(devices, TEXT("Laser"), TEXT("winspool,Ne01:"));
      SetText(devices, TEXT(""), TEXT("no device"));
    }
    const Key root = Key::Open(HKEY_USERS, bob, KEY_ALL_ACCESS);
    const WideString longest = TEXT("Laser,") + WideString(773, TEXT('x'));
    for (const auto& [name, device] : {std::pair(longest, TEXT("Laser,winspool,Ne01:")),
                                       {longest + TEXT('x'), TEXT("Old,winspool,COM1:")},
                                       {TEXT(",x"), TEXT("Old,winspool,COM1:")},
                                       {TEXT("None"), TEXT("Old,winspool,COM1:")}}) {
      SetText(section(bob, TEXT("Windows")), TEXT("Device"), TEXT("Old,winspool,COM1:"));
      SetDefaultPrinterForUser(root, name.c_str());
      EXPECT_EQ(device_of(bob), device);
    }
    SetDefaultPrinterForUser(root, nullptr);
    EXPECT_EQ(device_of(bob), TEXT("Old,winspool,COM1:"));
  }
  SetDefaultPrinterForAllUsers(TEXT("Laser"));
  EXPECT_EQ(Device(), TEXT("Laser,WINSPOOL,LPT1:"));
  EXPECT_EQ(Key::Open(HKEY_USERS, bob).status, ERROR_FILE_NOT_FOUND) << "unloaded";
  UserHives hives(UserHives::kLoadAndUnload);
  EXPECT_EQ(device_of(bob), TEXT("Laser,winspool,Ne01:"));
  EXPECT_EQ(device_of(eve), TEXT("Old,winspool,COM1:")) << "who does not have the printer";
  EXPECT_EQ(device_of(everybody), TEXT("Old,winspool,COM1:")) << "nobody's";
}

}  // namespace
}  // namespace kv::test
