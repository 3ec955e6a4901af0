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

namespace kv::test {
namespace {

constexpr WCHAR kOwnKey[] = TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners\\Laser");
constexpr WCHAR kDriverData[] =
    TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners\\Laser\\PrinterDriverData");

void SetNumber(HKEY key, LPCWSTR name, DWORD number) {
  RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

// The type and the bytes of a value; "" for a missing one.
std::string Stored(HKEY root, const WideString& path, LPCWSTR name) {
  std::string value(1000, 0);
  DWORD type = 0, size = 1000;
  const Key key = Key::Open(root, path);
  if (key.status != ERROR_SUCCESS ||
      RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(value.data()), &size) !=
          ERROR_SUCCESS) {
    return {};
  }
  return std::to_string(type) + ":" + value.substr(0, size);
}
template <class Value>
std::string AsStored(DWORD type, const Value* value, size_t size) {
  return std::to_string(type) + ":" + std::string(reinterpret_cast<const char*>(value), size);
}
std::string AsStored(const WideString& text) {
  return AsStored(REG_SZ, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
}

class PrinterSettingsTest : public PrinterTest {
 protected:
  static ProductDevMode Read(DWORD kind) {
    ProductDevMode mode;
    std::memset(&mode, 0x55, sizeof mode);
    ReadPrinterSettings(HKEY_CURRENT_USER, TEXT("Laser"), kind, mode);
    return mode;
  }
  static bool Same(const ProductDevMode& a, const ProductDevMode& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
  }
};

enum NumberType { kShort, kWord, kDword };
// A number in the registry and in the device mode.
struct Number {
  LPCWSTR name;
  size_t offset;
  DWORD flag;
  NumberType type;
};
constexpr Number kPublic[] = {{TEXT("PaperSize"), 78, DM_PAPERSIZE, kShort},
                              {TEXT("PaperWidth"), 82, DM_PAPERWIDTH, kShort},
                              {TEXT("PaperHeight"), 80, DM_PAPERLENGTH, kShort},
                              {TEXT("Orientation"), 76, DM_ORIENTATION, kShort},
                              {TEXT("BitDepth"), 168, DM_BITSPERPEL, kDword}};
constexpr Number kPrivate[] = {{TEXT("Resolution"), 260, 0x1, kWord},
                               {TEXT("MarginLeft"), 262, 0x2, kShort},
                               {TEXT("MarginTop"), 264, 0x4, kShort},
                               {TEXT("MarginRight"), 266, 0x8, kShort},
                               {TEXT("MarginBottom"), 268, 0x10, kShort},
                               {TEXT("ShowDlg"), 270, 0x20, kWord},
                               {TEXT("Units"), 312, 0x40, kWord},
                               {TEXT("AutoEm"), 310, 0x80, kWord},
                               {TEXT("Compression"), 274, 0x200, kWord},
                               {TEXT("ResDownSamp"), 574, 0x400, kWord},
                               {TEXT("PathEscapes"), 308, 0x1000, kWord},
                               {TEXT("JpegQuality"), 576, 0x2000, kWord},
                               {TEXT("ResDownSampMono"), 578, 0x10000, kWord},
                               {TEXT("KvAction"), 580, 0x20000, kWord}};

TEST_F(PrinterSettingsTest, NumbersGoToTheRegistryAndComeBackOneByOne) {
  const ProductDevMode nothing = Read(kStoredOnly);
  EXPECT_EQ(nothing.dev.dmFields | nothing.settings.flags, 0u);
  const auto expect = [&](const Number& number, bool isPublic) {
    RegDeleteKeyW(HKEY_CURRENT_USER, kDriverData);
    ProductDevMode written = nothing, expected = nothing;
    (isPublic ? written.dev.dmFields : written.settings.flags) = number.flag;
    if (number.offset == 80 || number.offset == 82) written.dev.dmFields |= DM_PAPERSIZE;
    const DWORD stored = number.type == kShort ? 0xFFFF8765 : 0x8765;
    const size_t size = number.type == kDword ? 4 : 2;
    std::memcpy(reinterpret_cast<BYTE*>(&written) + number.offset, &stored, size);
    WriteUserPrinterSettings(TEXT("Laser"), written);
    EXPECT_EQ(Stored(HKEY_CURRENT_USER, kDriverData, number.name), AsStored(REG_DWORD, &stored, 4));
    if (number.offset == 312) return;  // the units are not read back
    expected.dev.dmFields = written.dev.dmFields;
    expected.settings.flags = written.settings.flags;
    std::memcpy(reinterpret_cast<BYTE*>(&expected) + number.offset, &stored, size);
    if (number.offset == 260) {
      expected.dev.dmPrintQuality = expected.dev.dmYResolution = static_cast<short>(stored);
      expected.dev.dmFields = DM_YRESOLUTION | DM_PRINTQUALITY;
    }
    EXPECT_TRUE(Same(Read(kStoredOnly), expected)) << number.offset;
  };
  for (const Number& number : kPublic) expect(number, true);
  for (const Number& number : kPrivate) expect(number, false);
}

TEST_F(PrinterSettingsTest, TextsAndPapersGoToTheRegistryAndComeBack) {
  ProductDevMode written = Read(kStoredOnly), expected = written;
  written.dev.dmFields = DM_PAPERSIZE | DM_FORMNAME | DM_PAPERWIDTH | DM_PAPERLENGTH;
  std::fill_n(written.dev.dmFormName, 32, TEXT('p'));  // not terminated
  std::memset(written.settings.defaultFont, 'f', 32);  // neither
  CopyStringA(written.settings.printerEm, 260, "m");
  const auto write = [&] { WriteUserPrinterSettings(TEXT("Laser"), written); };
  const auto stored = [](LPCWSTR name) { return Stored(HKEY_CURRENT_USER, kDriverData, name); };
  write();
  EXPECT_EQ(stored(TEXT("PaperName")), AsStored(WideString(32, TEXT('p'))));
  EXPECT_EQ(stored(TEXT("PrinterEm")), AsStored(TEXT("m")));
  EXPECT_EQ(stored(TEXT("DefaultFont")), "");
  written.settings.flags = 0x800;
  written.dev.dmFormName[31] = 0;
  write();
  EXPECT_EQ(stored(TEXT("DefaultFont")), AsStored(WideString(32, TEXT('f'))));
  expected.dev.dmFields = written.dev.dmFields;
  CopyStringW(expected.dev.dmFormName, written.dev.dmFormName);
  expected.settings.flags = 0x800;
  std::memset(expected.settings.defaultFont, 0, 32);
  std::memset(expected.settings.defaultFont, 'f', 31);
  EXPECT_TRUE(Same(Read(kStoredOnly), expected));
  // A paper without parts that the old one had, and settings that are no paper.
  written.dev.dmFields = DM_ORIENTATION;
  written.settings = {};
  write();
  EXPECT_EQ(stored(TEXT("PaperName")), AsStored(WideString(31, TEXT('p')))) << "left alone";
  EXPECT_EQ(stored(TEXT("PrinterEm")), AsStored(TEXT("m")));
  written.dev.dmFields = DM_PAPERSIZE;
  write();
  EXPECT_EQ(stored(TEXT("PaperName")) + stored(TEXT("PaperWidth")) + stored(TEXT("PaperHeight")),
            "");
  EXPECT_NE(stored(TEXT("Orientation")), "");
}

TEST_F(PrinterSettingsTest, StoredValuesOfOtherTypesAndSizesAreLeftOut) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kDriverData);
  const BYTE eight[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  RegSetValueExW(key, TEXT("Orientation"), 0, REG_QWORD, eight, 8);
  RegSetValueExW(key, TEXT("MarginBottom"), 0, REG_BINARY, eight, 5);
  RegSetValueExW(key, TEXT("JpegQuality"), 0, REG_BINARY, eight, 2);
  SetNumber(key, TEXT("MarginLeft"), 0x12345);
  SetText(key, TEXT("MarginTop"), TEXT("250"));
  ProductDevMode expected = Read(0);
  EXPECT_EQ(expected.dev.dmOrientation, 1);
  EXPECT_EQ(expected.settings.jpegQuality, 0x0201);
  EXPECT_EQ(expected.settings.leftMargin, 0x2345);
  EXPECT_EQ(expected.settings.topMargin, 250);
  EXPECT_EQ(expected.settings.bottomMargin, 250);
  const WideString text(260, TEXT('t'));
  for (const auto& [type, size, name, font] : {std::tuple(DWORD{REG_SZ}, size_t{31}, 31u, 31u),
                                               {REG_EXPAND_SZ, 32, 0, 31},
                                               {REG_SZ, 259, 0, 31},
                                               {REG_SZ, 260, 0, 0},
                                               {REG_MULTI_SZ, 31, 0, 0}}) {
    for (const LPCWSTR value : {TEXT("PaperName"), TEXT("DefaultFont")}) {
      // As long, without a terminator.
      RegSetValueExW(key, value, 0, type, reinterpret_cast<const BYTE*>(text.data()),
                     static_cast<DWORD>(size * sizeof(WCHAR)));
    }
    const ProductDevMode read = Read(0);
    EXPECT_EQ(WideView(read.dev.dmFormName), name == 0 ? TEXT("Letter") : text.substr(0, name));
    EXPECT_EQ(read.settings.defaultFont, font == 0 ? "Courier New" : std::string(font, 't'));
  }
}

TEST_F(PrinterSettingsTest, PathsOfPrinters) {
  const WideString root = TEXT("Software\\Veltmoor Software\\Folvane8\\Folvaners\\");
  const WideString own(213, TEXT('n')), data(195, TEXT('n'));
  for (const auto& [printer, which, path, error] :
       {std::tuple(WideString(TEXT("\\\\S\\P")), PrinterKey::kOwn, root + TEXT(",,S,P"), 0),
        {TEXT("P"), PrinterKey::kDriverData, root + TEXT("P\\PrinterDriverData"), 0},
        {own, PrinterKey::kOwn, root + own, 0},
        {own + TEXT("n"), PrinterKey::kOwn, {}, ERROR_FILENAME_EXCED_RANGE},
        {data, PrinterKey::kDriverData, root + data + TEXT("\\PrinterDriverData"), 0},
        {data + TEXT("n"), PrinterKey::kDriverData, {}, ERROR_FILENAME_EXCED_RANGE},
        {{}, PrinterKey::kOwn, {}, ERROR_INVALID_PRINTER_NAME}}) {
    WCHAR text[MAX_PATH];
    CopyStringW(text, printer.c_str());
    SetLastError(0);
    EXPECT_EQ(MakePrinterKeyPath(text, which, text) != FALSE, error == 0);
    EXPECT_EQ(WideView(text), path);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(error));
  }
  platform::ResetFaults();
  WriteUserPrinterSettings(TEXT(""), Read(0));
  EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 0u);
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
  EXPECT_EQ(
      BoxOf(
          [&] { ReadUserPrinterSettings(TEXT("S-1-none"), TEXT("Laser"), kOwnPrinterKey, read); }),
      TEXT("An internal step failed: HKCU is not valid, but cannot find a subkey in HKEY_USERS.."));
  EXPECT_EQ(read.settings.topMargin, 3);
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

  // The layers, each with the resolution behind it.
  struct Watch : SettingsObserver {
    std::string seen;
    void AfterLayer(SettingsLayer layer, const DEVMODEW*, const ProductDevMode& result) override {
      seen += std::to_string(static_cast<int>(layer)) + ":" +
              std::to_string(result.dev.dmYResolution) + " ";
    }
  };
  ProductDevMode result;
  const auto layers = [&](const DEVMODEW* with) {
    Watch watch;
    GetEffectiveDevMode(printer.Get(), nullptr, TEXT("Laser"), with, result, &watch);
    return watch.seen;
  };
  EXPECT_EQ(layers(caller.get()), "0:600 2:101 3:102 4:103 5:104 6:104 ");
  EXPECT_EQ(result.dev.dmCopies, 101);
  EXPECT_EQ(result.dev.dmDefaultSource, 102);
  EXPECT_EQ(result.settings.leftMargin, 103);
  SetNumber(Key::Create(HKEY_CURRENT_USER, kOwnKey), TEXT("Resolution"), 105);
  EXPECT_EQ(layers(caller.get()), "0:600 2:101 3:102 4:105 5:104 6:105 ");
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
  EXPECT_EQ(own.settings.leftMargin, 103);

  startupContext.platform.ntKind = kNt4;
  EXPECT_EQ(layers(nullptr), "0:600 1:101 4:105 6:105 ");
  platform::FailCall("GetPrinterW", 1, ERROR_ACCESS_DENIED);
  RawMode invalid(0);
  invalid.dev().dmSize = 188;
  EXPECT_EQ(layers(invalid.get()), "0:600 4:105 6:105 ") << "what is not valid is no layer";
  startupContext.platform.ntKind = 0;
  startupContext.platform.win9xKind = 1;
  EXPECT_EQ(layers(nullptr), "0:600 4:105 6:105 ") << "nothing of the spooler";
}

// Where a printer's copies are kept.
struct Place {
  LPCWSTR printer;
  HKEY root;
  WideString path;
  LPCWSTR value;
};

TEST_F(PrinterSettingsTest, CopiesAreStoredWhereTheirKeysAre) {
  constexpr WCHAR kLaser[] = TEXT("Laser"), kRemote[] = TEXT("\\\\ALPHA\\HP Laser");
  constexpr WCHAR kDefault[] = TEXT("Default DevMode");
  const WideString print = TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Print\\");
  const Place places[] = {
      {kLaser, HKEY_LOCAL_MACHINE, print + TEXT("Printers\\Laser"), kDefault},
      {kLaser, HKEY_LOCAL_MACHINE,
       TEXT("System\\CurrentControlSet\\Control\\Print\\Printers\\Laser"), kDefault},
      {kLaser, HKEY_CURRENT_USER, TEXT("Printers\\DevModePerUser"), kLaser},
      {kLaser, HKEY_CURRENT_USER, TEXT("Printers\\DevModes2"), kLaser},
      {kRemote, HKEY_LOCAL_MACHINE,
       print + TEXT("Providers\\Client Side Rendering Print Provider\\Servers\\ALPHA\\Printers\\HP "
                    "Laser"),
       kDefault},
      {kRemote, HKEY_CURRENT_USER, TEXT("Printers\\DevModePerUser"), kRemote},
      {kRemote, HKEY_CURRENT_USER, TEXT("Printers\\DevModes2"), kRemote},
      {kRemote, HKEY_CURRENT_USER, TEXT("Printers\\Connections\\,,ALPHA,HP Laser"),
       TEXT("DevMode")}};
  RawMode mode(5);
  // Stores a changed copy, and once more; where it has gone.
  const auto store = [&](LPCWSTR printer, ForPrinter for_printer, ForUser for_user) {
    mode.dev().dmCopies++;
    std::string gone = std::to_string(StoreDevMode(printer, mode.get(), for_printer, for_user));
    platform::ResetFaults();
    EXPECT_EQ(StoreDevMode(printer, mode.get(), for_printer, for_user), kUnchanged);
    EXPECT_EQ(platform::CallCount("RegSetValueExW"), 0u);
    const std::string copy = AsStored(REG_BINARY, mode.get(), 225);
    for (const Place& place : places)
      gone += Stored(place.root, place.path, place.value) == copy ? "+" : "-";
    return gone;
  };
  EXPECT_EQ(store(kLaser, ForPrinter::kNo, ForUser::kNo), "2--------");
  EXPECT_EQ(store(kLaser, ForPrinter::kNo, ForUser::kYes), "1--++----");
  EXPECT_EQ(store(kLaser, ForPrinter::kYes, ForUser::kNo), "1-+------") << "keys are not made";
  EXPECT_EQ(store(kRemote, ForPrinter::kYes, ForUser::kNo), "2--------");
  EXPECT_EQ(store(kRemote, ForPrinter::kYes, ForUser::kYes), "1-----+++");
  Key::Create(HKEY_LOCAL_MACHINE, places[0].path);
  Key::Create(HKEY_LOCAL_MACHINE, places[4].path);
  EXPECT_EQ(store(kLaser, ForPrinter::kYes, ForUser::kNo), "1++------");
  EXPECT_EQ(store(kRemote, ForPrinter::kYes, ForUser::kNo), "1----+---");
  platform::SetFactNumber(platform::facts::kUserIsElevated, 0);
  EXPECT_EQ(store(kLaser, ForPrinter::kYes, ForUser::kYes), "1--++----") << "the user's own";
  EXPECT_EQ(store(kLaser, ForPrinter::kYes, ForUser::kNo), "2--------") << "refused";
  const OddCopy<DEVMODEW> odd(mode.dev());
  EXPECT_EQ(StoreDevMode(kLaser, odd.get(), ForPrinter::kNo, ForUser::kYes), kWritten);
  EXPECT_EQ(StoreDevMode(kLaser, mode.get(), ForPrinter::kNo, ForUser::kYes), kUnchanged);
  DEVMODEA narrow = {};
  const auto store_narrow = [&] {
    return StoreDevModeA(kLaser, &narrow, ForPrinter::kNo, ForUser::kYes);
  };
  ExpectRefusal(ERROR_INVALID_PARAMETER, store_narrow() != kWriteFailed);
  narrow.dmSize = sizeof narrow;
  EXPECT_EQ(store_narrow(), kWritten);
  EXPECT_EQ(store_narrow(), kUnchanged);
  startupContext.platform.win9xKind = 1;
  ExpectRefusal(ERROR_CALL_NOT_IMPLEMENTED, store_narrow() != kWriteFailed);
}

// Names that would lead to keys and values of no printer, and device modes that are none.
TEST_F(PrinterSettingsTest, CopiesThatCannotBeStored) {
  RawMode mode(5);
  platform::ResetFaults();
  const auto refused = [&](LPCWSTR printer, DWORD error) {
    ExpectRefusal(
        error, StoreDevMode(printer, mode.get(), ForPrinter::kYes, ForUser::kYes) != kWriteFailed);
  };
  for (const LPCWSTR name : {LPCWSTR{nullptr}, LPCWSTR{TEXT("\\\\ALPHA\\Ink\\DsSpooler")}}) {
    refused(name, ERROR_INVALID_PRINTER_NAME);
  }
  mode.dev().dmSize = 188;
  refused(TEXT("Laser"), ERROR_INVALID_PARAMETER);
  mode.dev().dmSize = 220;
  startupContext.platform.win9xKind = 1;
  refused(TEXT("Laser"), ERROR_CALL_NOT_IMPLEMENTED);
  EXPECT_EQ(platform::CallCount("RegCreateKeyExW"), 0u);
}

}  // namespace
}  // namespace kv::test
