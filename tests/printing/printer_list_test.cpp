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
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class PrinterListTest : public PrinterTest {
 protected:
  static WideString PrintPath(const WideString& path) {
    return TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\") + path;
  }
  static Key PrinterKey(const WideString& name) {
    return Key::Open(HKEY_LOCAL_MACHINE, PrintPath(TEXT("Printers\\") + name), KEY_ALL_ACCESS);
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
};

TEST_F(PrinterListTest, WhatTheSpoolerSays) {
  platform::SetFact(facts::kServerPrefix + std::string("ALPHA.printers"), "Ink:ink");
  CreateProductPrinter(TEXT("\\\\ALPHA\\Ink"), nullptr, 0);
  AddPrinterWithDriver(TEXT("Net"), TEXT("Generic / Text Only"), TEXT("unidrv.dll"),
                       TEXT("\\\\BETA\\shared"));
  SetText(PrinterKey(TEXT("Laser")), TEXT("Share Name"), TEXT("laser"));
  CPrinterList list;
  EXPECT_EQ(Describe(list),
            TEXT("Laser|Generic / Text Only|unidrv|LPT1:|-|laser|1\n")
                TEXT("Net|Generic / Text Only|unidrv|\\\\BETA\\shared|BETA|-|1\n")
                    TEXT("\\\\ALPHA\\Ink|Generic / Text Only|unidrv|LPT1:|ALPHA|ink|1\n"));
  EXPECT_TRUE(HasPrinterConnections());
  CPrinterList remote(PRINTER_ENUM_NAME, TEXT("\\\\ALPHA"));
  EXPECT_EQ(Describe(remote), TEXT("\\\\ALPHA\\Ink|Generic / Text Only||LPT1:|ALPHA|ink|1\n"))
      << "nobody looks for the files of another computer's drivers";
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
  EXPECT_EQ(nameless.Count(), 0) << "not the printers of this machine";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  platform::Replace("EnumPrintersW", &EnumVanishingPrinters);
  EXPECT_FALSE(CPrinterList().LoadPrinters());
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_ITEMS});
  EXPECT_EQ(CProductPrinterList().Count() + CSiblingPrinterList().Count(), 0);
  platform::ResetFaults();
  platform::FailCall("EnumPrintersW", 2, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(CPrinterList().LoadPrinters());
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

// One question for the room and five attempts, of which the first true one tells the room.
constexpr std::pair<int, bool> kGrowing[] = {{1, true}, {4, true}, {5, false}};

TEST_F(PrinterListTest, WhatIsAddedMeanwhileIsAskedForAgain) {
  for (const auto& [times, loads] : kGrowing) {
    LetGrow<&EnumPrintersW>("EnumPrintersW", times);
    CPrinterList list;
    EXPECT_EQ(list.LoadPrinters() != FALSE, loads) << times;
    EXPECT_TRUE(loads || GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(platform::CallCount("EnumPrintersW"), static_cast<uint64_t>(std::min(times + 2, 6)));
    growing_times = 0;
    EXPECT_EQ(list.Count(), 1) << "and can be loaded later";
    LetGrow<&EnumPrinterDriversW>("EnumPrinterDriversW", times);
    const CPrinterDriverList drivers(startupContext.printEnvironment);
    EXPECT_EQ(drivers.Count() != 0, loads) << times;
    growing_times = 0;
  }
  UseXp();
  LetGrow<&EnumPrintersW>("EnumPrintersW", 1);
  CPrinterList list;
  EXPECT_EQ(list.Count(), 2);
  EXPECT_FALSE(AskedForTitles()) << "the registry's list, not the spooler's in its place";
}

TEST_F(PrinterListTest, BeforeVistaTheRegistryIsFaster) {
  UseXp();
  SetText(PrinterKey(TEXT("Laser")), TEXT("Port"), TEXT("\\\\BETA\\shared"));
  constexpr WCHAR kExpected[] = TEXT("Laser|Generic / Text Only|unidrv|\\\\BETA\\shared|BETA|-|1\n")
      TEXT("\\\\ALPHA\\Ink|Generic / Text Only|unidrv|LPT1:|ALPHA|ink|1\n");
  CPrinterList list;
  EXPECT_EQ(Describe(list), kExpected);
  EXPECT_FALSE(AskedForTitles());
  EXPECT_EQ(platform::CallCount("EnumPrintersW"), 2u);
  const auto expect_spooler = [&](LPCWSTR why) {
    platform::ResetFaults();
    CPrinterList other;
    EXPECT_NE(other.Count(), 0);
    EXPECT_TRUE(AskedForTitles()) << std::string(why, why + WideView(why).size());
  };
  // A driver of version 3 without a file hides one of version 2 with it.
  const Key driver3 =
      Key::Open(HKEY_LOCAL_MACHINE, DriverPath(TEXT("Generic / Text Only")), KEY_ALL_ACCESS);
  SetText(Key::Create(HKEY_LOCAL_MACHINE, DriverPath(TEXT("Generic / Text Only"), TEXT("2"))),
          TEXT("Driver"), TEXT("C:\\old\\rasdd.dll"));
  RegDeleteValueW(driver3, TEXT("Driver"));
  expect_spooler(TEXT("no file in version 3"));
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, DriverPath(TEXT("Generic / Text Only")).c_str());
  platform::ResetFaults();
  CPrinterList old;
  EXPECT_EQ(WideView(old.GetAt(0)->driverFile), TEXT("rasdd"));
  EXPECT_FALSE(AskedForTitles());
  RegDeleteValueW(PrinterKey(TEXT("Laser")), TEXT("Port"));
  expect_spooler(TEXT("no port"));
}

TEST_F(PrinterListTest, FiltersAndIndexes) {
  AddProductPrinters();
  CPrinterList list;
  EXPECT_EQ(Names(list), TEXT("Aa Bb folvane Laser Old "));
  list.HideDriver(TEXT("folvane 8"));
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.IndexOf(TEXT("LASER")), 1);
  EXPECT_EQ(list.IndexOf(TEXT("Aa")), -1);
  EXPECT_EQ(list.IndexOf(TEXT("")), -1);
  list.HideDriverFile(TEXT("KV*"));
  EXPECT_EQ(Names(list), TEXT("Laser "));
  list.ShowDriverFile(TEXT("kvgraph?"));
  EXPECT_EQ(Names(list), TEXT("Aa Bb folvane Laser "));
  LPCWSTR name, port, server, share;
  EXPECT_TRUE(list.GetInfo(1, &name, &port, &server, &share));
  EXPECT_EQ(WideView(server), TEXT("S"));
  EXPECT_FALSE(list.GetInfo(4, &name, nullptr, &server, nullptr));
  EXPECT_TRUE(name == nullptr && server == nullptr);
  EXPECT_FALSE(list.GetInfo(-1, nullptr, nullptr, nullptr, nullptr));
  list.ShowAll();
  EXPECT_EQ(list.FindFirstWithDriver(TEXT("Folvane 8"), &name, &port), 2);
  EXPECT_EQ(WideView(name), TEXT("Aa"));
  EXPECT_EQ(list.FindFirstWithDriver(TEXT("None"), &name, &port), 0);
  EXPECT_EQ(name, nullptr);
}

TEST_F(PrinterListTest, WalksEndWhenTheyAreToldTo) {
  AddProductPrinters();
  class Walker : public CPrinterList {
   public:
    BOOL OnPrinter(int index, LPCWSTR name, LPCWSTR, LPCWSTR) override {
      seen += name;
      return index < last;
    }
    int last = 9;
    WideString seen;
  } walker;
  walker.HideDriver(TEXT("Other"));
  EXPECT_TRUE(walker.ForEach());
  EXPECT_EQ(walker.seen, TEXT("AafolvaneLaserOld"));
  walker.last = 1;
  walker.seen.clear();
  EXPECT_FALSE(walker.ForEach());
  EXPECT_EQ(walker.seen, TEXT("Aafolvane"));
  class Clearer : public CPrinterList {
   public:
    BOOL OnPrinter(int, LPCWSTR, LPCWSTR, LPCWSTR) override {
      ++calls;
      Clear();
      return TRUE;
    }
    int calls = 0;
  } clearer;
  EXPECT_TRUE(clearer.ForEach());
  EXPECT_EQ(clearer.calls, 1);
}

TEST_F(PrinterListTest, TheProductsPrinters) {
  AddProductPrinters();
  AddPrinterWithDriver(TEXT("Stand"), TEXT("Folvane 8"), TEXT("kvgraph8.dll"));
  CPrinterSettingsKey stand(TEXT("Stand"), KeyMode::kWrite, HKEY_LOCAL_MACHINE);
  stand.SetSz(TEXT("ServerPrinter"), TEXT("\\\\GAMMA\\Ink"));
  CProductPrinterList list;
  EXPECT_EQ(Describe(list), TEXT("folvane|FOLVANE 8|kvgraph8|LPT1:|-|-|1\n")
                                TEXT("Bb|Other|KVGRAPH8|\\\\S\\shared|S|-|1\n")
                                    TEXT("Aa|Folvane 8|kvgraph8|LPT1:|-|-|1\n")
                                        TEXT("Stand|Folvane 8|kvgraph8|LPT1:|GAMMA|-|2\n"));
  list.SortByName();
  EXPECT_EQ(Names(list), TEXT("Aa Bb folvane Stand "));
  list.HideDriverFile(TEXT("kvgraph8"));
  list.ShowDriverFile(TEXT("kvgraph8"));
  EXPECT_EQ(list.GetAt(3)->state, DWORD{kPrinterShown});
  struct Case {
    LPCWSTR printer, described;
  };
  constexpr WCHAR kBb[] = TEXT("Bb|Other|KVGRAPH8|\\\\S\\shared|S|-|1\n");
  for (const Case& c :
       {Case{TEXT("\\\\GAMMA\\Ink"), TEXT("GAMMA")}, Case{TEXT("GAMMA"), TEXT("GAMMA")},
        Case{TEXT("GAMMA\\Ink"), TEXT("GAMMA")}, Case{TEXT("\\"), nullptr}}) {
    stand.SetSz(TEXT("ServerPrinter"), c.printer);
    CProductPrinterList servers(CProductPrinterList::Selection::kOfServers);
    WideString expected = kBb;
    if (c.described != nullptr) {
      expected +=
          TEXT("Stand|Folvane 8|kvgraph8|LPT1:|") + WideString(c.described) + TEXT("|-|2\n");
    }
    EXPECT_EQ(Describe(servers), expected);
  }
  CSiblingPrinterList siblings;
  EXPECT_EQ(Names(siblings), TEXT("Old "));
  siblings.Clear();
  EXPECT_EQ(Names(siblings), TEXT("Old ")) << "loaded and filtered anew";
}

TEST_F(PrinterListTest, TheNewestDriver) {
  AddProductPrinters();
  AddPrinterWithDriver(TEXT("Zz"), TEXT("Z"), TEXT("zz.dll"));
  const CPrinterDriverList drivers(startupContext.printEnvironment);
  EXPECT_TRUE(drivers.Find(3, TEXT("z")));
  EXPECT_TRUE(drivers.Find(0, TEXT("z")));
  EXPECT_FALSE(drivers.Find(2, TEXT("z")));
  EXPECT_EQ(CPrinterDriverList(nullptr).Count(), 0);
  const auto write_version = [&](LPCWSTR driver, WORD major, WORD minor) {
    platform::VersionResource version;
    version.product_version = {major, minor, 0, 0};
    version.translations = {{0x0409, 1200}};
    platform::PeWriter file;
    file.AddVersion(version).WriteTo(
        platform::HostPath(drivers.GetAt(drivers.Find(driver))->pDriverPath));
  };
  CPrinterList list;
  int index, driver;
  WORD major, minor;
  list.HideDriver(TEXT("Generic / Text Only"));
  EXPECT_FALSE(list.FindNewestProductDriver(&index, &driver, &major, &minor));
  EXPECT_TRUE(index == -1 && driver == -1 && major == 0 && minor == 0);
  write_version(TEXT("Folvane 8"), 8, 27);
  write_version(TEXT("Z"), 8, 27);
  write_version(TEXT("Sibling"), 7, 99);
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
    EXPECT_EQ(SendMessageW(box, CB_GETITEMDATA, 0, 0), CB_ERR);
    DestroyWindow(box);
  }
}

}  // namespace
}  // namespace kv::test
