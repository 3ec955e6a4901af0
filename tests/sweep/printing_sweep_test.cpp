// Printers and what the spooler keeps of them when calls and allocations fail.
#include "platform/control/users.h"
#include "runtime/ipc/process_token.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/driver_directories.h"
#include "runtime/printing/driver_recognition.h"
#include "runtime/printing/gdi_plus.h"
#include "runtime/printing/print_servers_key.h"
#include "runtime/printing/printer_details.h"
#include "runtime/printing/printer_device.h"
#include "runtime/printing/printer_devmodes.h"
#include "runtime/printing/printer_driver_list.h"
#include "runtime/printing/printer_info.h"
#include "runtime/printing/product_printer_lists.h"
#include "runtime/printing/registry_printers.h"
#include "runtime/printing/spooler_printers.h"
#include "runtime/registry/user_hives.h"
#include "tests/printing/printer_test.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kRemote[] = TEXT("\\\\ALPHA\\Ink");

class PrintingMachine : public PrinterTest {
 protected:
  void SetUp() override {
    PrinterTest::SetUp();
    platform::SetFact("server.ALPHA.printers", "Ink:ink");
    platform::SetFact("server.ALPHA.resources", "print:scan:Scanner");
    SetDriverFact("bins", "15:Automatic,1:Upper");
    SetDriverFact("fields", "0x0013");
    AddPrinterConnectionW(const_cast<LPWSTR>(kRemote));
    WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
    const WideString driver = WideString(TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\")) +
                              TEXT("Environments\\") + startupContext.printEnvironment +
                              TEXT("\\Drivers\\Version-3\\Folvane 8");
    SetText(Key::Create(HKEY_LOCAL_MACHINE, driver), TEXT("Driver"), TEXT("kvgraph8.dll"));
    AddPrinter(TEXT("Product"));
    SetText(Key::Open(HKEY_LOCAL_MACHINE,
                      TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Product"),
                      KEY_ALL_ACCESS),
            TEXT("Printer Driver"), TEXT("Folvane 8"));
    platform::SetFact(platform::facts::kAccounts, "Bob:1002");
    bob = platform::MakeProfile(TEXT("Bob"), false);
  }

 public:
  static inline WideString bob;
  static UniquePrinter OpenLaser() { return Open(); }
  static void SetDriver(const std::string& name, const std::string& value) {
    platform::SetFact(platform::facts::kDriverPrefix + std::string("Folvane 8.") + name, value);
  }
};

// The entry "Device" of a user's profile section.
WideString Device() {
  WCHAR entry[MAX_PATH];
  GetDefaultPrinterName(entry, CutAtComma::kNo);
  return entry;
}

short CopiesOf(HANDLE printer, decltype(&GetPrinterDevMode) read) {
  UniqueDevMode mode;
  EXPECT_TRUE(read(printer, &mode, Quiet::kYes));
  return mode == nullptr ? short{-1} : mode->dmCopies;
}

// Writes a device mode of the spooler with one copy more than before.
void WriteDevMode(Attempt& attempt, decltype(&GetPrinterDevMode) read,
                  decltype(&SetPrinterDevMode) write) {
  const UniquePrinter printer = PrintingMachine::OpenLaser();
  UniqueDevMode mode;
  EXPECT_TRUE(GetPrinterDevMode(printer.Get(), &mode, Quiet::kYes));
  mode->dmCopies = 1;
  EXPECT_NE(write(printer.Get(), mode.get(), Quiet::kYes), kWriteFailed);
  mode->dmCopies = 2;
  const WriteResult result =
      attempt.Call([&] { return write(printer.Get(), mode.get(), Quiet::kNo); });
  const short now = CopiesOf(printer.Get(), read);
  attempt.Expect(result == kWritten, now == 2, result == kWriteFailed && (now == 1 || now == 2));
}

SWEEP_AREA(PrinterInfo, PrintingMachine);

SCENARIO(PrinterInfo, Structures) {
  const UniquePrinter printer = PrintingMachine::OpenLaser();
  UniqueBlock<PRINTER_INFO_2W> two;
  UniqueBlock<DRIVER_INFO_3W> driver;
  bool rest = false;
  attempt.Call([&] {
    two = GetPrinterInfo2(printer.Get(), Quiet::kNo);
    driver = GetPrinterDriverInfo3(printer.Get(), nullptr, Quiet::kNo);
    rest = GetPrinterInfo8(printer.Get(), Quiet::kYes) != nullptr &&
           GetPrinterInfo9(printer.Get(), Quiet::kYes) != nullptr &&
           GetPrinterInfo(printer.Get(), 4, Quiet::kYes) != nullptr;
  });
  attempt.Expect(two != nullptr, two != nullptr && WideView(two->pPrinterName) == TEXT("Laser"),
                 attempt.reports() == 1);
  attempt.Expect(driver != nullptr, driver != nullptr && driver->pDriverPath != nullptr);
  attempt.Expect(rest, true);
}

SCENARIO(PrinterInfo, NarrowStructure) {
  const UniquePrinter printer = PrintingMachine::OpenLaser();
  const UniqueBlock<BYTE> block =
      attempt.Call([&] { return GetPrinterInfoA(printer.Get(), "name", 2, Quiet::kNo); });
  attempt.Expect(
      block != nullptr,
      block != nullptr &&
          std::string(reinterpret_cast<PRINTER_INFO_2A*>(block.get())->pPrinterName) == "name",
      attempt.reports() == 1);
}

SCENARIO(PrinterInfo, DevMode) {
  WriteDevMode(attempt, &GetPrinterDevMode, &SetPrinterDevMode);
}

SCENARIO(PrinterInfo, GlobalDevMode) {
  WriteDevMode(attempt, &GetPrinterGlobalDevMode, &SetPrinterGlobalDevMode);
}

SCENARIO(PrinterInfo, UserDevMode) {
  WriteDevMode(attempt, &GetPrinterUserDevMode, &SetPrinterUserDevMode);
}

SCENARIO(PrinterInfo, ReadDevModes) {
  const UniquePrinter printer = PrintingMachine::OpenLaser();
  UniqueDevMode mode, global, user;
  BOOL read_global = FALSE, read_user = FALSE;
  const BOOL read = attempt.Call([&] {
    read_global = GetPrinterGlobalDevMode(printer.Get(), &global, Quiet::kNo);
    read_user = GetPrinterUserDevMode(printer.Get(), &user, Quiet::kNo);
    return GetPrinterDevMode(printer.Get(), &mode, Quiet::kNo);
  });
  attempt.Expect(read, IsValidDevMode(mode.get()), mode == nullptr);
  attempt.Expect(read_global && read_user, true);
}

SCENARIO(PrinterInfo, Details) {
  WCHAR driver[MAX_PATH], port[MAX_PATH], title[MAX_PATH], single[3][MAX_PATH];
  const BOOL told = attempt.Call([&] {
    GetPrinterDriverName(TEXT("Laser"), single[0]);
    GetPrinterPortName(TEXT("Laser"), single[1]);
    GetPrinterDriverFileTitle(TEXT("Laser"), single[2]);
    return GetPrinterDetails(TEXT("Laser"), driver, port, nullptr, title);
  });
  attempt.Expect(told, WideView(port) == TEXT("LPT1:") &&
                           WideView(driver) == TEXT("Generic / Text Only") && title[0] != 0);
  attempt.Expect(single[1][0] != 0, WideView(single[1]) == TEXT("LPT1:"));
}

SCENARIO(PrinterInfo, Shares) {
  SetPrinterShareName(TEXT("Laser"), nullptr);
  WCHAR name[MAX_PATH], found[MAX_PATH], share[MAX_PATH];
  BOOL server = FALSE;
  const BOOL shared = attempt.Call([&] {
    server = FindSharedPrinterName(TEXT("ALPHA"), TEXT("scan"), found, MAX_PATH);
    GetPrinterShareName(kRemote, share, MAX_PATH);
    return SetPrinterShareName(TEXT("Laser"), TEXT("laser"));
  });
  GetPrinterShareName(TEXT("Laser"), name, MAX_PATH);
  attempt.Expect(shared, WideView(name) == TEXT("laser"));
  attempt.Expect(server, WideView(found) == TEXT("Scanner"), found[0] == 0);
  attempt.Expect(share[0] != 0, WideView(share) == TEXT("ink"));
  EXPECT_EQ(IsPrinterShared(TEXT("Laser")), name[0]);
}

SCENARIO(PrinterInfo, DevicePort) {
  BOOL duplex = TRUE;
  const auto port = attempt.Call([&] {
    duplex = DeviceSupportsDuplex(TEXT("Laser"));
    return GetDevicePort(TEXT("Laser"));
  });
  attempt.Expect(port != nullptr, View(port.get()) == TEXT("LPT1:"));
  EXPECT_FALSE(duplex);
}

SCENARIO(PrinterInfo, ServersKey) {
  SetText(Key::Create(HKEY_LOCAL_MACHINE,
                      TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\"
                           "Providers\\Client Side Rendering Print Provider\\Servers\\"
                           "ALPHA\\Printers\\Ink")),
          TEXT("Share Name"), TEXT("ink"));
  WCHAR share[MAX_PATH] = {}, path[MAX_PATH], guid[64];
  const BOOL made = attempt.Call([&] {
    CPrintServersKey key(KeyMode::kRead);
    if (key.IsOpen()) key.GetRemotePrinterShareName(kRemote, share, MAX_PATH);
    GetPrinterConnectionGuid(HKEY_CURRENT_USER, kRemote, guid, 64);
    return CPrintServersKey::MakePrinterPath(kRemote, path);
  });
  attempt.Expect(made, path[0] != 0);
  attempt.Expect(share[0] != 0, WideView(share) == TEXT("ink"));
}

SCENARIO(PrinterInfo, DriverDirectories) {
  WCHAR product[MAX_PATH], native[MAX_PATH], share[MAX_PATH];
  attempt.Call([&] {
    GetProductDriverDirectory(TEXT("x.dll"), product);
    GetNativeDriverDirectory(TEXT("x.dll"), native);
    GetServerDriverShare(TEXT("ALPHA"), TEXT("x.dll"), share);
  });
  for (const LPCWSTR path : {product, native, share}) {
    attempt.Expect(path[0] != 0, WideView(path).ends_with(TEXT("\\x.dll")));
  }
}

SCENARIO(PrinterInfo, Recognition) {
  PrintingMachine::SetDriver("version", "0x300");
  DWORD sibling = 1;
  const DWORD version = attempt.Call([&] {
    sibling = GetSiblingGraphDriverVersion(TEXT("Product"), nullptr);
    return GetProductGraphDriverVersion(TEXT("Product"), nullptr);
  });
  attempt.Expect(version != 0, version == 0x300);
  EXPECT_EQ(sibling, 0u);
}

SCENARIO(PrinterInfo, GdiPlus) {
  const BOOL there = attempt.Call([] { return EnsureGdiPlus(); });
  attempt.Expect(there, true, attempt.reports() == 1);
}

SWEEP_AREA(DefaultPrinter, PrintingMachine);

SCENARIO(DefaultPrinter, Set) {
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
  attempt.Call([] { SetDefaultPrinterName(TEXT("Product")); });
  attempt.Expect(Device() == TEXT("Product,WINSPOOL,LPT1:"), true,
                 Device() == TEXT("Laser,winspool,LPT1:"));
}

SCENARIO(DefaultPrinter, Guard) {
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
  attempt.Call([] {
    const CDefaultPrinterGuard guard;
    const platform::OutsideTest meanwhile;
    WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Product,winspool,LPT1:"));
  });
  attempt.Expect(Device().starts_with(TEXT("Laser,")), true,
                 Device() == TEXT("Product,winspool,LPT1:"));
}

SCENARIO(DefaultPrinter, ForAllUsers) {
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
  attempt.Call([] { SetDefaultPrinterForAllUsers(TEXT("Product")); });
  attempt.Expect(Device().starts_with(TEXT("Product,")), true,
                 Device() == TEXT("Laser,winspool,LPT1:"));
  // What a failure left loaded would be somebody else's from now on.
  UserHives(UserHives::kLoadNone);
  EnablePrivilege(TEXT("SeRestorePrivilege"), TRUE);
  RegUnLoadKeyW(HKEY_USERS, PrintingMachine::bob.c_str());
  EnablePrivilege(TEXT("SeRestorePrivilege"), FALSE);
}

SCENARIO(DefaultPrinter, ForAUser) {
  WriteProfileStringW(TEXT("Windows"), TEXT("Device"), TEXT("Laser,winspool,LPT1:"));
  attempt.Call([] { SetDefaultPrinterForUser(HKEY_CURRENT_USER, TEXT("Product")); });
  attempt.Expect(Device().starts_with(TEXT("Product,")), true,
                 Device() == TEXT("Laser,winspool,LPT1:"));
}

class Names : public CPrinterList {
 public:
  BOOL OnPrinter(int, LPCWSTR name, LPCWSTR, LPCWSTR) override { return name[0] != 0; }
};

// All queries of a list; whatever fails is silent and can be tried again.
void UseLists(Attempt& attempt) {
  bool found = false, whole = true;
  attempt.Call([&] {
    CProductPrinterList products;
    const PrinterEntry* first = products.First();
    if (first == nullptr) first = products.First();
    found =
        first != nullptr && WideView(first->name) == TEXT("Product") && products.Next() == nullptr;
    CSiblingPrinterList siblings;
    whole = siblings.Count() == 0;
    Names list;
    if (list.LoadPrinters()) {
      list.SortByName();
      list.HideDriver(TEXT("Folvane 8"));
      whole = whole && list.IndexOf(TEXT("Product")) == -1 && list.ForEach();
      list.ShowAll();
      list.HideDriverFile(TEXT("kvgraph?"));
      list.ShowDriverFile(TEXT("kvgraph?"));
      list.HideAll();
      list.ShowDriver(TEXT("Folvane 8"));
      LPCWSTR name = nullptr, port = nullptr;
      whole = whole && list.GetInfo(0, &name, &port, nullptr, nullptr) &&
              list.FindFirstWithDriver(TEXT("Folvane 8"), &name, nullptr) == 1 &&
              WideView(name) == TEXT("Product");
      int index, driver;
      WORD major, minor;
      list.FindNewestProductDriver(&index, &driver, &major, &minor);
      list.Clear();
    }
  });
  attempt.Expect(found && whole, true);
  EXPECT_EQ(attempt.reports(), 0);
}

SWEEP_AREA(PrinterLists, PrintingMachine);

SCENARIO(PrinterLists, Windows10) {
  UseLists(attempt);
}

SCENARIO(PrinterLists, WindowsXp) {
  // The printers then come from the registry.
  startupContext.platform.ntKind = kWindowsXp;
  UseLists(attempt);
}

SCENARIO(PrinterLists, Sources) {
  PrinterTexts texts;
  const bool read = attempt.Call([&]() -> bool {
    SpoolerPrinters spooler;
    RegistryPrinters registry;
    HasPrinterConnections();
    return !registry.Load() && spooler.Load(PRINTER_ENUM_LOCAL, nullptr) && spooler.Count() == 2 &&
           spooler.Read(0, texts);
  });
  attempt.Expect(read, true);
}

SCENARIO(PrinterLists, ComboBox) {
  const HWND box = CreateWindowExW(0, TEXT("ComboBox"), nullptr, CBS_DROPDOWNLIST, 0, 0, 9, 9,
                                   nullptr, nullptr, nullptr, nullptr);
  CPrinterList list;
  attempt.Call([&] { list.FillComboBox(box); });
  const LRESULT count = SendMessageW(box, CB_GETCOUNT, 0, 0);
  attempt.Expect(count == 3, list.Count() == 3, count == 0);
  DestroyWindow(box);
}

SCENARIO(PrinterLists, Drivers) {
  int count = 0;
  const BOOL found = attempt.Call([&] {
    CPrinterDriverList drivers(startupContext.printEnvironment);
    for (auto* driver = drivers.First(); driver != nullptr; driver = drivers.Next()) {
      ++count;
    }
    return drivers.Find(0, TEXT("folvane 8"));
  });
  attempt.Expect(found, count == 2, count == 0);
}

SWEEP_AREA(PrinterDevice, PrintingMachine);

SCENARIO(PrinterDevice, SettingsAndPage) {
  WORD paper = 0;
  RECT page = {};
  BOOL set = FALSE;
  DWORD bins = 0;
  attempt.Call([&] {
    CPrinterDevice laser(TEXT("Laser"), CPrinterDevice::kOpenForChange, nullptr, nullptr);
    set = laser.SetPaperSize(DMPAPER_A4, Apply::kYes) &&
          laser.SetOrientation(DMORIENT_LANDSCAPE, Apply::kYes) &&
          laser.SetPortrait(TRUE, Apply::kNo) && laser.SetCopies(1);
    laser.GetPaper(&paper, nullptr, nullptr);
    page = laser.GetPaperRect();
    laser.GetPrintableRect();
    laser.GetCenteredPrintableRect();
    laser.GetLineHeight();
    laser.IsPostScript();
    laser.SupportsClipToPath();
    laser.GetMaxCopies();
    laser.SetDuplex(1, Apply::kNo);
    laser.SetDefaultSource(1);
    laser.SetCollate(1);
    laser.SetColor(1);
    laser.SetTTOption(1);
    laser.ApplyPaperFrom(laser.devMode());
    bins = laser.GetBinCount();
    WORD id;
    WCHAR name[kBinNameLength + 1];
    laser.GetBin(0, &id, name);
  });
  attempt.Expect(set, paper == DMPAPER_A4 && (page.right > 0 || attempt.hit()));
  attempt.Expect(bins == 2, true, bins == 0);
}

SCENARIO(PrinterDevice, IsPrinterUsable) {
  attempt.Expect(attempt.Call([] { return IsPrinterUsable(TEXT("Laser")); }), true);
}

SCENARIO(PrinterDevice, ForeignContext) {
  const HDC context = CreateCompatibleDC(nullptr);
  CPrinterDevice laser(TEXT("Laser"), 0, nullptr, nullptr);
  attempt.Call([&] {
    laser.AttachDC(context);
    laser.ApplyDevMode(CPrinterDevice::Refresh::kYes);
  });
  attempt.Expect(laser.dc() == context, true);
  EXPECT_TRUE(DeleteDC(context)) << "the caller's";
}

SCENARIO(PrinterDevice, ShowProperties) {
  SetMessageSink(nullptr);
  platform::ScriptBoxes(true);
  platform::AnswerNextBox(IDOK);
  CPrinterDevice laser(TEXT("Laser"), 0, nullptr, nullptr);
  const short copies = laser.GetCopies();
  const DEVMODEW* const edited =
      attempt.Call([&] { return laser.ShowProperties(nullptr, nullptr); });
  attempt.Expect(edited != nullptr, edited == laser.devMode(), laser.GetCopies() == copies);
  platform::ScriptBoxes(true);
}

}  // namespace
}  // namespace kv::test
