// The lists of printers and drivers, before and after Windows Vista.
#include "platform/control/pe_writer.h"
#include "platform/control/profiles.h"
#include "platform/control/spooler.h"
#include "runtime/printing/printer_driver_list.h"
#include "runtime/printing/printer_installation.h"
#include "runtime/printing/printer_keys.h"
#include "runtime/printing/product_printer_lists.h"
#include "tests/printing/growing_calls.h"
#include "tests/printing/printer_test.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class PrinterListTest : public PrinterTest {
 protected:
  static WideString PrintPath(const WideString& path) {
    return TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\") + path;
  }
  static WideString DriverPath(const WideString& driver, LPCWSTR version = TEXT("3")) {
    return PrintPath(TEXT("Environments\\")) + startupContext.printEnvironment +
           TEXT("\\Drivers\\Version-") + version + TEXT("\\") + driver;
  }
  // A driver with nothing but its file, and a printer with it.
  static void AddPrinterWithDriver(const WideString& name, const WideString& driver,
                                   const WideString& file, const WideString& port = TEXT("LPT1:")) {
    SetText(Key::Create(HKEY_LOCAL_MACHINE, DriverPath(driver)), TEXT("Driver"), file);
    AddPrinter(name.c_str());
    const Key key = PrinterKey(name);
    SetText(key, TEXT("Printer Driver"), driver);
    SetText(key, TEXT("Port"), port);
  }
  void AddProductPrinters() {
    AddPrinterWithDriver(TEXT("Aa"), TEXT("Folvane 8"), TEXT("kvgraph8.dll"));
    AddPrinterWithDriver(TEXT("Bb"), TEXT("Other"), TEXT("KVGRAPH8.dll"), TEXT("\\\\S\\shared"));
    AddPrinterWithDriver(TEXT("folvane"), TEXT("FOLVANE 8"), TEXT("kvgraph8.dll"));
    AddPrinterWithDriver(TEXT("Old"), TEXT("Sibling"), TEXT("kvpgraf5.dll"));
  }
  // "name driver file port server share state", an entry a line.
  static WideString Describe(CPrinterList& list) {
    WideString text;
    for (const PrinterEntry* e = list.First(); e != nullptr; e = list.Next()) {
      for (const LPCWSTR part : {e->name, e->driver, e->driverFile, e->port, e->server, e->share}) {
        text += part == nullptr ? TEXT("-") : part;
        text += TEXT("|");
      }
      text += static_cast<WCHAR>(TEXT('0') + e->state);
      text += TEXT("\n");
    }
    return text;
  }
  static WideString Names(CPrinterList& list) {
    WideString text;
    for (int i = 0; list.GetAt(i) != nullptr; ++i)
      text += list.GetAt(i)->name + WideString(TEXT(" "));
    return text;
  }
  // Windows XP with a connection, as its spooler keeps it.
  void UseXp() {
    ASSERT_TRUE(platform::UseProfile("windows-xp", sizeof(void*) == 8 ? "x64" : "x86"));
    Restart();
    platform::SetFact(facts::kServerPrefix + std::string("ALPHA.printers"), "Ink:ink");
    ASSERT_TRUE(CreateProductPrinter(TEXT("\\\\ALPHA\\Ink"), nullptr, 0));
    const Key key = Key::Create(
        HKEY_LOCAL_MACHINE,
        TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\LanMan Print ")
            TEXT("Services\\Servers\\ALPHA\\Printers\\Ink"));
    SetText(key, TEXT("Printer Driver"), TEXT("Generic / Text Only"));
    SetText(key, TEXT("Port"), TEXT("LPT1:"));
    SetText(key, TEXT("Share Name"), TEXT("ink"));
    platform::ResetFaults();
  }
  static bool AskedForTitles() { return platform::CallCount("GetPrinterDriverW") != 0; }
  // A list of what the machine has now.
  static WideString Listed() {
    platform::ResetFaults();
    CPrinterList list;
    return Describe(list);
  }
};

TEST_F(PrinterListTest, WhatTheSpoolerSays) {
  platform::SetFact(facts::kServerPrefix + std::string("ALPHA.printers"), "Ink:ink");
  CreateProductPrinter(TEXT("\\\\ALPHA\\Ink"), nullptr, 0);
  AddPrinterWithDriver(TEXT("Net"), TEXT("Generic / Text Only"), TEXT("unidrv.dll"),
                       TEXT("\\\\BETA\\shared"));
  SetText(PrinterKey(TEXT("Laser")), TEXT("Share Name"), TEXT("laser"));
  EXPECT_EQ(Listed(),
            TEXT("Laser|Generic / Text Only|unidrv|LPT1:|-|laser|1\n")
                TEXT("Net|Generic / Text Only|unidrv|\\\\BETA\\shared|BETA|-|1\n")
                    TEXT("\\\\ALPHA\\Ink|Generic / Text Only|unidrv|LPT1:|ALPHA|ink|1\n"));
  EXPECT_EQ(platform::CallCount("GetPrinterDriverW"), 4u)
      << "printers of one driver share its title";
  platform::ResetFaults();
  platform::FailCall("GetPrinterDriverW", 1);
  CPrinterList list;
  EXPECT_EQ(WideView(list.First()->driverFile), TEXT(""));
  EXPECT_EQ(WideView(list.Next()->driverFile), TEXT("unidrv")) << "not what is not known";
  EXPECT_TRUE(HasPrinterConnections());
  CPrinterList remote(PRINTER_ENUM_NAME, TEXT("\\\\ALPHA"));
  EXPECT_EQ(Describe(remote), TEXT("\\\\ALPHA\\Ink|Generic / Text Only||LPT1:|ALPHA|ink|1\n"))
      << "nobody looks for the files of another computer's drivers";
  CPrinterList connected(PRINTER_ENUM_CONNECTIONS);
  EXPECT_EQ(Names(connected), TEXT("\\\\ALPHA\\Ink "));
}

// The last printer goes between the question for the size and the one for the printers.
BOOL WINAPI EnumVanishingPrinters(DWORD, LPWSTR, DWORD, LPBYTE buffer, DWORD, LPDWORD needed,
                                  LPDWORD count) {
  *needed = 1000;
  *count = 0;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return buffer != nullptr;
}

TEST_F(PrinterListTest, ListsThatCannotBeLoadedAreEmpty) {
  FailAllocation(1);
  CPrinterList nameless(PRINTER_ENUM_NAME, TEXT("\\\\ALPHA"));
  FailAllocation(0);
  ExpectRefusal(ERROR_NOT_ENOUGH_MEMORY, nameless.Count() != 0);
  for (const uint64_t allocation : {1, 2}) {
    CPrinterList list;
    FailAllocation(allocation);
    const bool loaded = list.LoadPrinters();
    FailAllocation(0);
    ExpectRefusal(ERROR_NOT_ENOUGH_MEMORY, loaded);
  }
  const DWORD present = startupContext.platform.ntKind;
  for (const DWORD kind : {present, DWORD{kWindowsXp}}) {
    startupContext.platform.ntKind = kind;
    platform::Replace("EnumPrintersW", &EnumVanishingPrinters);
    CPrinterList list;
    ExpectRefusal(ERROR_NO_MORE_ITEMS, list.LoadPrinters());
    EXPECT_FALSE(list.ForEach() || HasPrinterConnections());
    EXPECT_EQ(list.IndexOf(TEXT("Laser")), -1);
    EXPECT_FALSE(CProductPrinterList().LoadPrinters() || CSiblingPrinterList().LoadPrinters());
    platform::ResetFaults();
    platform::FailCall("EnumPrintersW", 2, ERROR_ACCESS_DENIED, 10);
    ExpectRefusal(ERROR_ACCESS_DENIED, list.LoadPrinters());
  }
}

TEST_F(PrinterListTest, WhatIsAddedMeanwhileIsAskedForAgain) {
  // One question for the room and five attempts, of which the first true one tells the room.
  for (const auto& [times, loads] : {std::pair(1, true), {4, true}, {5, false}}) {
    LetGrow<&EnumPrintersW>("EnumPrintersW", times);
    CPrinterList list;
    EXPECT_EQ(list.LoadPrinters() != FALSE, loads) << times;
    EXPECT_TRUE(loads || GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(platform::CallCount("EnumPrintersW"), static_cast<uint64_t>(std::min(times + 2, 6)));
    growing_times = 0;
    EXPECT_EQ(list.Count(), 1) << "and can be loaded later";
    LetGrow<&EnumPrinterDriversW>("EnumPrinterDriversW", times);
    EXPECT_EQ(CPrinterDriverList(startupContext.printEnvironment).Count() != 0, loads) << times;
    growing_times = 0;
  }
}

// While a list is made, a value becomes another one when it is read for the n-th time.
int reads_left;
WideString late_key, late_name, late_text;

LSTATUS WINAPI ReadLateText(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                            LPDWORD size) {
  if (data != nullptr && name == late_name && --reads_left == 0) {
    SetText(Key::Open(HKEY_LOCAL_MACHINE, late_key, KEY_ALL_ACCESS), late_name, late_text);
  }
  return RegQueryValueExW(key, name, reserved, type, data, size);
}

BOOL WINAPI EnumNobodysPrinters(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size,
                                LPDWORD needed, LPDWORD count) {
  const BOOL done = EnumPrintersW(flags, name, level, buffer, size, needed, count);
  if (done && level == 4) reinterpret_cast<PRINTER_INFO_4W*>(buffer)->Attributes = 0;
  return done;
}

TEST_F(PrinterListTest, BeforeVistaTheRegistryIsFaster) {
  UseXp();
  const auto listed = [&] {
    const WideString list = Listed();
    return (AskedForTitles() ? TEXT("spooler") : TEXT("registry\n") + list);
  };
  const WideString ink = TEXT("\\\\ALPHA\\Ink|Generic / Text Only|unidrv|LPT1:|ALPHA|ink|1\n");
  const WideString port = TEXT("\\\\BETA\\%OS%");
  RegSetValueExW(PrinterKey(TEXT("Laser")), TEXT("Port"), 0, REG_EXPAND_SZ,
                 reinterpret_cast<const BYTE*>(port.c_str()), 2 * 12);
  const WideString expected =
      TEXT("registry\nLaser|Generic / Text Only|unidrv|") + port + TEXT("|BETA|-|1\n") + ink;
  EXPECT_EQ(listed(), expected);
  EXPECT_EQ(platform::CallCount("EnumPrintersW"), 2u);
  LetGrow<&EnumPrintersW>("EnumPrintersW", 1);
  EXPECT_EQ(CPrinterList().Count(), 2);
  EXPECT_FALSE(AskedForTitles()) << "the registry's list, not the spooler's in its place";
  EXPECT_EQ(CPrinterList(PRINTER_ENUM_LOCAL).Count(), 1);
  EXPECT_TRUE(AskedForTitles());
  platform::ResetFaults();
  CPrinterList(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS, TEXT("\\\\ALPHA")).Count();
  EXPECT_TRUE(AskedForTitles());
  // Drivers of version 3 count from Windows 2000 on, and hide those of version 2.
  const WideString driver = DriverPath(TEXT("Generic / Text Only"));
  SetText(Key::Create(HKEY_LOCAL_MACHINE, DriverPath(TEXT("Generic / Text Only"), TEXT("2"))),
          TEXT("Driver"), TEXT("C:\\old\\rasdd.dll"));
  startupContext.platform.ntKind = kWindows2000;
  EXPECT_EQ(listed(), expected);
  startupContext.platform.ntKind = kWindowsVista;
  EXPECT_EQ(listed(), TEXT("spooler"));
  startupContext.platform.ntKind = kWindowsXp;
  RegDeleteValueW(Key::Open(HKEY_LOCAL_MACHINE, driver, KEY_ALL_ACCESS), TEXT("Driver"));
  EXPECT_EQ(listed(), TEXT("spooler")) << "no file in version 3";
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, driver.c_str());
  EXPECT_NE(listed().find(TEXT("registry\nLaser|Generic / Text Only|rasdd|")), WideString::npos);
  // What has grown since it was measured does not fit; what has shrunk does.
  for (const auto& [port, source] : {std::pair(WideString(30, TEXT('p')), TEXT("spooler")),
                                     {{}, TEXT("spooler")},
                                     {TEXT("p"), TEXT("registry")}}) {
    platform::ResetFaults();
    SetText(PrinterKey(TEXT("Laser")), TEXT("Port"), TEXT("LPT1:"));
    reads_left = 3;
    late_key = TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Laser");
    late_name = TEXT("Port");
    late_text = port;
    platform::Replace("RegQueryValueExW", &ReadLateText);
    CPrinterList list;
    EXPECT_EQ(list.Count(), 2);
    EXPECT_EQ(AskedForTitles() ? TEXT("spooler") : TEXT("registry"), WideView(source));
  }
  platform::Replace("EnumPrintersW", &EnumNobodysPrinters);
  CPrinterList().Count();
  EXPECT_TRUE(AskedForTitles()) << "neither local nor remote";
  RegDeleteValueW(PrinterKey(TEXT("Laser")), TEXT("Port"));
  EXPECT_EQ(listed(), TEXT("spooler")) << "no port";
}

TEST_F(PrinterListTest, FiltersAndIndexes) {
  AddProductPrinters();
  CPrinterList list;
  list.HideDriver(TEXT("folvane 8"));
  EXPECT_EQ(Names(list), TEXT("Bb Laser Old "));
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.IndexOf(TEXT("LASER")), 1);
  EXPECT_EQ(list.IndexOf(TEXT("Aa")), -1);
  EXPECT_EQ(list.IndexOf(TEXT("")), -1);
  list.HideDriverFile(TEXT("KV*"));
  EXPECT_EQ(Names(list), TEXT("Laser "));
  list.ShowDriverFile(TEXT("kvgraph?"));
  EXPECT_EQ(Names(list), TEXT("Aa Bb folvane Laser "));
  EXPECT_EQ(list.GetAt(-1), nullptr);
  LPCWSTR texts[4];
  EXPECT_TRUE(list.GetInfo(1, &texts[0], &texts[1], &texts[2], &texts[3]));
  EXPECT_EQ(WideView(texts[0]), TEXT("Bb"));
  EXPECT_EQ(WideView(texts[1]), TEXT("\\\\S\\shared"));
  EXPECT_EQ(WideView(texts[2]), TEXT("S"));
  EXPECT_EQ(texts[3], nullptr);
  EXPECT_FALSE(list.GetInfo(4, &texts[0], nullptr, &texts[2], nullptr));
  EXPECT_TRUE(texts[0] == nullptr && texts[2] == nullptr);
  list.HideDriver(TEXT("Other"));
  list.SortByName();
  EXPECT_EQ(Names(list), TEXT("Aa folvane Laser "));
  list.ShowAll();
  EXPECT_EQ(Names(list), TEXT("Aa Bb folvane Laser Old ")) << "hidden ones stay where they are";
  EXPECT_EQ(list.FindFirstWithDriver(TEXT("Folvane 8"), &texts[0], &texts[1]), 2);
  EXPECT_EQ(WideView(texts[0]), TEXT("Aa"));
  EXPECT_EQ(WideView(texts[1]), TEXT("LPT1:"));
  EXPECT_EQ(list.FindFirstWithDriver(TEXT("None"), &texts[0], nullptr), 0);
  EXPECT_EQ(texts[0], nullptr);
}

// Writes down what it is shown, and ends or clears the list at the last.
class Walker : public CPrinterList {
 public:
  BOOL OnPrinter(int index, LPCWSTR name, LPCWSTR driver, LPCWSTR port) override {
    seen += static_cast<WCHAR>(TEXT('0') + index) + WideString(name) + driver + port + TEXT(" ");
    if (clears) Clear();
    return index < last;
  }
  int last = 9;
  bool clears = false;
  WideString seen;
};

TEST_F(PrinterListTest, WalksEndWhenTheyAreToldTo) {
  AddProductPrinters();
  const WideString two = TEXT("0AaFolvane 8LPT1: 1folvaneFOLVANE 8LPT1: ");
  Walker walker;
  walker.HideDriver(TEXT("Other"));
  EXPECT_TRUE(walker.ForEach());
  EXPECT_EQ(walker.seen, two + TEXT("2LaserGeneric / Text OnlyLPT1: 3OldSiblingLPT1: "));
  walker.last = 1;
  walker.seen.clear();
  EXPECT_FALSE(walker.ForEach());
  EXPECT_EQ(walker.seen, two);
  walker.clears = true;
  walker.seen.clear();
  EXPECT_TRUE(walker.ForEach());
  EXPECT_EQ(walker.seen, TEXT("0AaFolvane 8LPT1: "));
}

TEST_F(PrinterListTest, TheProductsPrinters) {
  AddProductPrinters();
  AddPrinterWithDriver(TEXT("Stand"), TEXT("Folvane 8"), TEXT("kvgraph8.dll"));
  CPrinterSettingsKey stand(TEXT("Stand"), KeyMode::kWrite, HKEY_LOCAL_MACHINE);
  stand.SetSz(TEXT("ServerPrinter"), TEXT("\\\\GAMMA\\Ink"));
  // A hidden printer, and one that has a server, stand for none.
  for (const LPCWSTR other : {TEXT("Laser"), TEXT("Bb")}) {
    CPrinterSettingsKey(other, KeyMode::kWrite, HKEY_LOCAL_MACHINE)
        .SetSz(TEXT("ServerPrinter"), TEXT("\\\\DELTA\\Ink"));
  }
  const WideString bb = TEXT("Bb|Other|KVGRAPH8|\\\\S\\shared|S|-|1\n");
  const auto standing = [](const WideString& server) {
    return server.empty() ? server
                          : TEXT("Stand|Folvane 8|kvgraph8|LPT1:|") + server + TEXT("|-|2\n");
  };
  CProductPrinterList list;
  EXPECT_TRUE(list.LoadPrinters());
  EXPECT_EQ(Describe(list), TEXT("folvane|FOLVANE 8|kvgraph8|LPT1:|-|-|1\n") + bb +
                                TEXT("Aa|Folvane 8|kvgraph8|LPT1:|-|-|1\n") +
                                standing(TEXT("GAMMA")));
  list.SortByName();
  EXPECT_EQ(Names(list), TEXT("Aa Bb folvane Stand "));
  for (const auto& [printer, server] : {std::pair(TEXT("\\\\GAMMA\\Ink"), TEXT("GAMMA")),
                                        {TEXT("GAMMA"), TEXT("GAMMA")},
                                        {TEXT("GAMMA\\Ink"), TEXT("GAMMA")},
                                        {TEXT("\\"), TEXT("")}}) {
    stand.SetSz(TEXT("ServerPrinter"), printer);
    CProductPrinterList servers(CProductPrinterList::Selection::kOfServers);
    EXPECT_EQ(Describe(servers), bb + standing(server));
  }
  late_key = stand.path();
  late_name = TEXT("ServerPrinter");
  stand.SetSz(TEXT("ServerPrinter"), TEXT("S"));
  for (const LPCWSTR late : {TEXT("ST"), TEXT("")}) {
    reads_left = 2;
    late_text = late;
    platform::Replace("RegQueryValueExW", &ReadLateText);
    CProductPrinterList changing;
    ExpectRefusal(ERROR_INVALID_DATA, changing.LoadPrinters());
    platform::ResetFaults();
    stand.SetSz(TEXT("ServerPrinter"), TEXT("S"));
  }
  CSiblingPrinterList siblings;
  EXPECT_TRUE(siblings.LoadPrinters());
  EXPECT_EQ(Names(siblings), TEXT("Old "));
  siblings.Clear();
  EXPECT_EQ(Names(siblings), TEXT("Old ")) << "loaded and filtered anew";
}

TEST_F(PrinterListTest, TheNewestDriver) {
  AddProductPrinters();
  AddPrinterWithDriver(TEXT("Zz"), TEXT("Z"), TEXT("zz.dll"));
  CPrinterDriverList drivers(startupContext.printEnvironment);
  EXPECT_TRUE(drivers.Find(3, TEXT("z")) && drivers.Find(0, TEXT("z")));
  EXPECT_FALSE(drivers.Find(2, TEXT("z")) || drivers.Find(0, TEXT("y")));
  EXPECT_EQ(drivers.Find(TEXT("y")), -1);
  for (int round = 0; round < 2; ++round) {
    const DRIVER_INFO_3W* driver = drivers.First();
    for (int i = 0; i < 5; ++i, driver = drivers.Next()) EXPECT_EQ(driver, drivers.GetAt(i));
    EXPECT_TRUE(driver == nullptr && drivers.Next() == nullptr);
  }
  EXPECT_EQ(drivers.Count(), 5);
  EXPECT_TRUE(drivers.GetAt(-1) == nullptr && drivers.GetAt(5) == nullptr);
  ExpectRefusal(ERROR_INVALID_PARAMETER, CPrinterDriverList(nullptr).Count() != 0);
  const auto write_version = [&](LPCWSTR driver, WORD major, WORD minor) {
    platform::VersionResource version;
    version.product_version = {major, minor, 0, 0};
    version.translations = {{0x0409, 1200}};
    platform::PeWriter file;
    file.AddVersion(version).WriteTo(
        platform::HostPath(drivers.GetAt(drivers.Find(driver))->pDriverPath));
  };
  CPrinterList list;
  int index = 7, driver = 7;
  WORD major = 7, minor = 7;
  list.HideDriver(TEXT("Generic / Text Only"));
  EXPECT_FALSE(list.FindNewestProductDriver(&index, &driver, &major, &minor));
  EXPECT_TRUE(index == -1 && driver == -1 && major == 0 && minor == 0);
  write_version(TEXT("Folvane 8"), 8, 27);
  write_version(TEXT("Z"), 8, 27);
  write_version(TEXT("Sibling"), 8, 26);
  write_version(TEXT("Generic / Text Only"), 9, 0);
  list.HideDriverFile(TEXT("kvgraph8"));
  EXPECT_TRUE(list.FindNewestProductDriver(&index, &driver, &major, &minor));
  EXPECT_EQ(WideView(list.GetAt(index)->name), TEXT("Zz"));
  list.ShowDriver(TEXT("Folvane 8"));
  EXPECT_TRUE(list.FindNewestProductDriver(&index, &driver, &major, &minor));
  EXPECT_EQ(WideView(list.GetAt(index)->name), TEXT("Aa"));
  EXPECT_EQ(driver, drivers.Find(TEXT("Folvane 8")));
  EXPECT_TRUE(major == 8 && minor == 27);
}

TEST_F(PrinterListTest, ComboBoxesHoldTheEntries) {
  AddProductPrinters();
  for (const DWORD style : {0, CBS_SORT}) {
    const HWND box = CreateWindowExW(0, TEXT("ComboBox"), nullptr, CBS_DROPDOWNLIST | style, 0, 0,
                                     9, 9, nullptr, nullptr, nullptr, nullptr);
    SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(TEXT("left over")));
    CPrinterList list;
    list.FillComboBox(box);
    EXPECT_EQ(SendMessageW(box, CB_GETCOUNT, 0, 0), 5);
    list.HideDriver(TEXT("Other"));
    list.FillComboBox(box);
    ASSERT_EQ(SendMessageW(box, CB_GETCOUNT, 0, 0), 4);
    for (int i = 0; i < 4; ++i) {
      WCHAR text[64] = {};
      SendMessageW(box, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text));
      const auto* entry =
          reinterpret_cast<const PrinterEntry*>(SendMessageW(box, CB_GETITEMDATA, i, 0));
      EXPECT_EQ(WideView(entry->name), text);
    }
    platform::StopSpooler();
    CPrinterList().FillComboBox(box);
    platform::StartSpooler();
    EXPECT_EQ(SendMessageW(box, CB_GETCOUNT, 0, 0), 0);
    DestroyWindow(box);
  }
}

}  // namespace
}  // namespace kv::test
