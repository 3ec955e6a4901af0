// Settings of printers in the registry, stored copies of device modes, and the order in which
// everything is laid over each other.
#include "runtime/printing/printer_settings.h"

#include <cstring>

#include "runtime/papers/paper_table.h"
#include "runtime/printing/devmode_store.h"
#include "runtime/printing/effective_devmode.h"
#include "runtime/printing/printer_devmodes.h"
#include "runtime/text/text.h"
#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

class PrinterSettingsTest : public PrinterTest {};

constexpr LPCWSTR kDriverData =
    TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners\\Laser\\PrinterDriverData");
constexpr LPCWSTR kOwnKey = TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners\\Laser");

void SetNumber(HKEY key, LPCWSTR name, DWORD number) {
  RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

TEST_F(PrinterSettingsTest, SettingsGoToTheRegistryAndComeBack) {
  ProductDevMode written;
  DefaultDevMode(TEXT("Laser"), written);
  written.dev.dmFields |= DM_PAPERWIDTH | DM_PAPERLENGTH;
  written.dev.dmPaperSize = 300;
  written.dev.dmPaperWidth = 1000;
  written.dev.dmPaperLength = 2000;
  CopyStringW(written.dev.dmFormName, TEXT("Mine"));
  written.dev.dmOrientation = 2;
  written.settings.leftMargin = -5;
  written.settings.units = 2;
  std::memset(written.settings.defaultFont, 'f', 32);  // not terminated
  CopyStringA(written.settings.printerEm, 260, "em");
  WriteUserPrinterSettings(TEXT("Laser"), written);
  EXPECT_EQ(Text(Key::Open(HKEY_CURRENT_USER, kDriverData), TEXT("PrinterEm")), TEXT("em"));

  ProductDevMode read;
  ReadPrinterSettings(HKEY_CURRENT_USER, TEXT("Laser"), kStoredOnly, read);
  EXPECT_EQ(read.settings.flags, 0x33EFFu & ~0x40u) << "the units are not read back";
  EXPECT_EQ(read.settings.units, kPaperInches);
  EXPECT_EQ(read.settings.printerEm[0], 0);
  EXPECT_EQ(read.settings.leftMargin, -5);
  EXPECT_EQ(read.settings.defaultFont, std::string(31, 'f'));
  EXPECT_EQ(read.dev.dmFields,
            DWORD{DM_PAPERSIZE | DM_FORMNAME | DM_PAPERWIDTH | DM_PAPERLENGTH | DM_ORIENTATION |
                  DM_BITSPERPEL | DM_YRESOLUTION | DM_PRINTQUALITY});
  EXPECT_EQ(read.dev.dmPaperLength, 2000);
  EXPECT_EQ(WideView(read.dev.dmFormName), TEXT("Mine"));
  EXPECT_EQ(read.dev.dmPrintQuality, 600);

  written.dev.dmFields = DM_PAPERSIZE;
  written.settings.flags = 0;
  WriteUserPrinterSettings(TEXT("Laser"), written);
  ReadPrinterSettings(HKEY_CURRENT_USER, TEXT("Laser"), kStoredOnly, read);
  EXPECT_EQ(read.dev.dmFields & (DM_FORMNAME | DM_PAPERWIDTH | DM_PAPERLENGTH), 0u) << "deleted";
  EXPECT_NE(read.dev.dmFields & DM_ORIENTATION, 0u) << "left alone";
  WriteUserPrinterSettings(TEXT(""), written);
  ReadPrinterSettings(HKEY_CURRENT_USER, TEXT(""), kStoredOnly, read);
  EXPECT_EQ(read.dev.dmFields | read.settings.flags, 0u);
}

TEST_F(PrinterSettingsTest, StoredValuesOfOtherTypesAndSizesAreLeftOut) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kDriverData);
  const BYTE eight[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  RegSetValueExW(key, TEXT("Orientation"), 0, REG_QWORD, eight, 8);
  RegSetValueExW(key, TEXT("JpegQuality"), 0, REG_BINARY, eight, 2);
  SetText(key, TEXT("MarginTop"), TEXT("250"));
  const WideString endless(32, TEXT('n'));
  RegSetValueExW(key, TEXT("PaperName"), 0, REG_SZ, reinterpret_cast<const BYTE*>(endless.data()),
                 32 * sizeof(WCHAR));
  SetText(key, TEXT("DefaultFont"), WideString(260, TEXT('f')));
  SetNumber(key, TEXT("MarginLeft"), 0x12345);
  ProductDevMode read;
  ReadPrinterSettings(HKEY_CURRENT_USER, TEXT("Laser"), 0, read);
  EXPECT_EQ(read.dev.dmOrientation, 1);
  EXPECT_EQ(read.settings.jpegQuality, 0x0201);
  EXPECT_EQ(read.settings.topMargin, 250);
  EXPECT_EQ(WideView(read.dev.dmFormName), TEXT("Letter")) << "33 characters with a terminator";
  EXPECT_STREQ(read.settings.defaultFont, "Courier New");
  EXPECT_EQ(read.settings.leftMargin, 0x2345);
}

TEST_F(PrinterSettingsTest, SettingsOfUsers) {
  SetNumber(Key::Create(HKEY_CURRENT_USER, kDriverData), TEXT("MarginLeft"), 1);
  SetNumber(Key::Create(HKEY_CURRENT_USER, kDriverData), TEXT("MarginTop"), 2);
  SetNumber(Key::Create(HKEY_CURRENT_USER, kOwnKey), TEXT("MarginTop"), 3);
  SetNumber(Key::Create(HKEY_USERS, WideString(TEXT(".DEFAULT\\")) + kOwnKey), TEXT("MarginTop"),
            4);
  ProductDevMode read;
  ReadUserPrinterSettings(nullptr, TEXT("Laser"), 0, read);
  EXPECT_EQ(read.settings.leftMargin, 1);
  EXPECT_EQ(read.settings.topMargin, 3) << "the printer's own key wins";
  EXPECT_EQ(read.settings.flags, 0x33EFFu);
  ReadUserPrinterSettings(TEXT(""), TEXT("Laser"), kOwnPrinterKey, read);
  EXPECT_EQ(read.settings.flags, 0x4u) << "only what is stored";
  ReadUserPrinterSettings(TEXT(".DEFAULT"), TEXT("Laser"), kStoredOnly, read);
  EXPECT_EQ(read.settings.topMargin, 4);
  EXPECT_EQ(read.settings.flags, 0x4u);
  platform::AnswerNextBox(IDOK);
  ReadUserPrinterSettings(TEXT("S-1-none"), TEXT("Laser"), kOwnPrinterKey, read);
  EXPECT_EQ(read.settings.topMargin, 3);
  EXPECT_NE(LastBox().find(TEXT("HKCU is not valid, but cannot find a subkey in HKEY_USERS.")),
            WideString::npos);
}

TEST_F(PrinterSettingsTest, LaterLayersWin) {
  const UniquePrinter printer = Open();
  // Each layer has a resolution of its own, and one setting that no later one touches.
  const auto spooler_mode = [&](short resolution, DWORD more) {
    RawMode mode(0);
    mode.dev().dmFields = DM_YRESOLUTION | more;
    mode.dev().dmYResolution = resolution;
    mode.dev().dmCopies = mode.dev().dmDefaultSource = resolution;
    return DuplicateDevmodePtr(mode.get(), Quiet::kNo);
  };
  ASSERT_EQ(SetPrinterGlobalDevMode(printer.Get(), spooler_mode(101, DM_COPIES).get(), Quiet::kNo),
            kWritten);
  ASSERT_EQ(
      SetPrinterUserDevMode(printer.Get(), spooler_mode(102, DM_DEFAULTSOURCE).get(), Quiet::kNo),
      kWritten);
  SetNumber(Key::Create(HKEY_CURRENT_USER, kDriverData), TEXT("Resolution"), 103);
  SetNumber(Key::Create(HKEY_CURRENT_USER, kDriverData), TEXT("MarginLeft"), 103);
  const UniqueDevMode caller = spooler_mode(104, 0);

  struct Watch : SettingsObserver {
    std::vector<std::pair<SettingsLayer, short>> seen;
    void AfterLayer(SettingsLayer layer, const DEVMODEW*, const ProductDevMode& result) override {
      seen.emplace_back(layer, result.dev.dmYResolution);
    }
  } watch;
  ProductDevMode result;
  GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), caller.get(), result, &watch);
  const std::vector<std::pair<SettingsLayer, short>> expected = {
      {SettingsLayer::kDefaults, 600},    {SettingsLayer::kSpoolerGlobal, 101},
      {SettingsLayer::kSpoolerUser, 102}, {SettingsLayer::kStored, 103},
      {SettingsLayer::kCaller, 104},      {SettingsLayer::kStoredOwn, 104}};
  EXPECT_EQ(watch.seen, expected);
  EXPECT_EQ(result.dev.dmCopies, 101);
  EXPECT_EQ(result.dev.dmDefaultSource, 102);
  EXPECT_EQ(result.settings.leftMargin, 103);
  SetNumber(Key::Create(HKEY_CURRENT_USER, kOwnKey), TEXT("Resolution"), 105);
  GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), caller.get(), result);
  EXPECT_EQ(result.dev.dmYResolution, 105) << "the own key beats the caller";
  // Arguments that lie in the result.
  ProductDevMode own = result;
  own.dev.dmCopies = 42;
  own.dev.dmFields = DM_COPIES;
  GetEffectiveDevMode(printer.Get(), nullptr, own.dev.dmDeviceName, &own.dev, own);
  EXPECT_EQ(own.dev.dmCopies, 42);
  EXPECT_EQ(own.dev.dmYResolution, 105);
  own = result;
  ReadUserPrinterSettings(nullptr, own.dev.dmDeviceName, 0, own);
  EXPECT_EQ(WideView(own.dev.dmDeviceName), TEXT("Laser"));
  EXPECT_EQ(own.dev.dmYResolution, 105);
  EXPECT_EQ(own.settings.leftMargin, 103);

  startupContext.platform.ntKind = kNt4;
  watch.seen.clear();
  GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), nullptr, result, &watch);
  ASSERT_EQ(watch.seen.size(), 4u);
  watch.seen.clear();
  RawMode invalid(0);
  invalid.dev().dmSize = 188;
  GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), invalid.get(), result, &watch);
  ASSERT_EQ(watch.seen.size(), 4u) << "what is not valid is no layer";
  EXPECT_EQ(watch.seen[1].first, SettingsLayer::kPrinter);
  startupContext.platform.ntKind = 0;
  startupContext.platform.win9xKind = 1;
  watch.seen.clear();
  GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), nullptr, result, &watch);
  EXPECT_EQ(watch.seen.size(), 3u) << "nothing of the spooler";
}

bool HasValue(HKEY root, const WideString& path, LPCWSTR name) {
  const Key key = Key::Open(root, path);
  return key.status == ERROR_SUCCESS &&
         RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

TEST_F(PrinterSettingsTest, CopiesAreStoredWhereTheirKeysAre) {
  RawMode mode(5);
  const auto store = [&](LPCWSTR printer) {
    return StoreDevMode(printer, mode.get(), ForPrinter::kYes, ForUser::kYes);
  };
  const WideString system = TEXT("System\\CurrentControlSet\\Control\\Print\\Printers\\Laser");
  EXPECT_EQ(store(TEXT("Laser")), kWritten);
  platform::ResetFaults();
  EXPECT_EQ(store(TEXT("Laser")), kUnchanged);
  EXPECT_EQ(platform::CallCount("RegSetValueExW"), 0u);
  EXPECT_TRUE(HasValue(HKEY_CURRENT_USER, TEXT("Printers\\DevModePerUser"), TEXT("Laser")));
  EXPECT_TRUE(HasValue(HKEY_CURRENT_USER, TEXT("Printers\\DevModes2"), TEXT("Laser")));
  EXPECT_TRUE(HasValue(HKEY_LOCAL_MACHINE, system, TEXT("Default DevMode")));
  mode.dev().dmCopies = 2;
  EXPECT_EQ(StoreDevMode(TEXT("Laser"), mode.get(), ForPrinter::kNo, ForUser::kNo), kUnchanged);

  const LPCWSTR remote = TEXT("\\\\ALPHA\\HP Laser");
  const WideString provider =
      TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\Providers\\")
          TEXT("Client Side Rendering Print Provider\\Servers\\ALPHA\\Printers\\HP Laser");
  EXPECT_EQ(StoreDevMode(remote, mode.get(), ForPrinter::kYes, ForUser::kNo), kUnchanged);
  EXPECT_EQ(Key::Open(HKEY_LOCAL_MACHINE, provider).status, ERROR_FILE_NOT_FOUND) << "never made";
  Key::Create(HKEY_LOCAL_MACHINE, provider);
  EXPECT_EQ(store(remote), kWritten);
  EXPECT_TRUE(HasValue(HKEY_LOCAL_MACHINE, provider, TEXT("Default DevMode")));
  EXPECT_TRUE(HasValue(HKEY_CURRENT_USER, TEXT("Printers\\Connections\\,,ALPHA,HP Laser"),
                       TEXT("DevMode")));

  platform::SetFactNumber(platform::facts::kUserIsElevated, 0);
  mode.dev().dmCopies = 3;
  EXPECT_EQ(store(TEXT("Laser")), kWritten) << "the user's own";
  EXPECT_EQ(StoreDevMode(TEXT("Laser"), mode.get(), ForPrinter::kYes, ForUser::kNo), kUnchanged)
      << "the machine's keys refuse";
  DEVMODEA narrow = {};
  EXPECT_EQ(StoreDevModeA(TEXT("Laser"), &narrow, ForPrinter::kNo, ForUser::kYes), kWriteFailed);
  narrow.dmSize = sizeof narrow;
  EXPECT_EQ(StoreDevModeA(TEXT("Laser"), &narrow, ForPrinter::kNo, ForUser::kYes), kWritten);
  EXPECT_EQ(StoreDevModeA(TEXT("Laser"), &narrow, ForPrinter::kNo, ForUser::kYes), kUnchanged);
  mode.dev().dmCopies = 4;
  const OddCopy<DEVMODEW> odd(mode.dev());
  EXPECT_EQ(StoreDevMode(TEXT("Laser"), odd.get(), ForPrinter::kNo, ForUser::kYes), kWritten);
  EXPECT_EQ(StoreDevMode(TEXT("Laser"), mode.get(), ForPrinter::kNo, ForUser::kYes), kUnchanged);
}

// Names that would lead to keys and values of no printer, and device modes that are none.
TEST_F(PrinterSettingsTest, CopiesThatCannotBeStored) {
  RawMode mode(5);
  platform::ResetFaults();
  const auto expect_refusal = [&](LPCWSTR printer, DWORD error) {
    SetLastError(0);
    EXPECT_EQ(StoreDevMode(printer, mode.get(), ForPrinter::kYes, ForUser::kYes), kWriteFailed);
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 0u);
    EXPECT_EQ(platform::CallCount("RegSetValueExW"), 0u);
  };
  const WideString long_name(260, TEXT('n'));
  for (const LPCWSTR name : {LPCWSTR{nullptr}, LPCWSTR{TEXT("")}, LPCWSTR{TEXT("\\\\")},
                             LPCWSTR{TEXT("\\\\ALPHA")}, LPCWSTR{TEXT("\\\\ALPHA\\")},
                             LPCWSTR{TEXT("\\\\\\Ink")}, LPCWSTR{TEXT("\\\\ALPHA\\Ink\\DsSpooler")},
                             LPCWSTR{TEXT("Laser\\DsSpooler")}, long_name.c_str()}) {
    expect_refusal(name, ERROR_INVALID_PRINTER_NAME);
  }
  mode.dev().dmSize = 188;
  expect_refusal(TEXT("Laser"), ERROR_INVALID_PARAMETER);
  mode.dev().dmSize = 220;
  startupContext.platform.win9xKind = 1;
  expect_refusal(TEXT("Laser"), ERROR_CALL_NOT_IMPLEMENTED);
}

}  // namespace
}  // namespace kv::test
