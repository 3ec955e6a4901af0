#include "runtime/printing/printer_settings.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "runtime/core/product.h"
#include "runtime/printing/connection_name.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kPaperName[] = TEXT("PaperName");
constexpr WCHAR kDefaultFont[] = TEXT("DefaultFont");
constexpr WCHAR kResolution[] = TEXT("Resolution");
constexpr int kFontCapacity = 260;  // characters

// The settings in the registry, read one by one.
class StoredSettings {
 public:
  explicit StoredSettings(RegKey& key) : key_(key) {}

  // Reads a number into `field` and marks it in `flags`.
  template <class Number>
  void Read(LPCWSTR name, Number& field, DWORD flag, DWORD& flags) {
    const BYTE* data = nullptr;
    DWORD size = 0, number = 0;
    if (!key_.QueryValue(name, &data, nullptr, &size) || size > sizeof number) return;
    std::memcpy(&number, data, size);
    field = static_cast<Number>(number);
    flags |= flag;
  }

  // Reads a text of at most `capacity` characters with its terminator; FALSE when there is none.
  BOOL ReadText(LPCWSTR name, LPWSTR text, int capacity) {
    const BYTE* data = nullptr;
    DWORD type = 0, size = 0;
    if (!key_.QueryValue(name, &data, &type, &size)) return FALSE;
    if (type != REG_SZ && type != REG_EXPAND_SZ) return FALSE;
    const LPCWSTR stored = reinterpret_cast<LPCWSTR>(data);
    if (size > static_cast<size_t>(capacity) * sizeof(WCHAR)) return FALSE;
    // What was stored without a terminator has one behind it here.
    if (View(stored).size() >= static_cast<size_t>(capacity)) return FALSE;
    CopyStringW(text, capacity, stored);
    return TRUE;
  }

 private:
  RegKey& key_;
};

void ReadPaper(StoredSettings& stored, DEVMODEW& dev) {
  WCHAR name[CCHFORMNAME];
  if (stored.ReadText(kPaperName, name, CCHFORMNAME)) {
    std::memset(dev.dmFormName, 0, sizeof(dev.dmFormName));
    CopyStringW(dev.dmFormName, name);
    dev.dmFields |= DM_FORMNAME;
  }
  stored.Read(TEXT("PaperWidth"), dev.dmPaperWidth, DM_PAPERWIDTH, dev.dmFields);
  stored.Read(TEXT("PaperHeight"), dev.dmPaperLength, DM_PAPERLENGTH, dev.dmFields);
}

void ReadFont(StoredSettings& stored, ProductSettings& settings) {
  WCHAR font[kFontCapacity];
  if (!stored.ReadText(kDefaultFont, font, kFontCapacity)) return;
  std::memset(settings.defaultFont, 0, sizeof(settings.defaultFont));
  WideToAnsi(settings.defaultFont, sizeof(settings.defaultFont), font, CP_ACP);
  settings.flags |= kPrivateDefaultFont;
}

void ReadPublicPart(StoredSettings& stored, DEVMODEW& dev) {
  stored.Read(TEXT("PaperSize"), dev.dmPaperSize, DM_PAPERSIZE, dev.dmFields);
  stored.Read(TEXT("Orientation"), dev.dmOrientation, DM_ORIENTATION, dev.dmFields);
  stored.Read(kResolution, dev.dmYResolution, DM_YRESOLUTION, dev.dmFields);
  stored.Read(kResolution, dev.dmPrintQuality, DM_PRINTQUALITY, dev.dmFields);
  ReadPaper(stored, dev);
  stored.Read(TEXT("BitDepth"), dev.dmBitsPerPel, DM_BITSPERPEL, dev.dmFields);
}

void ReadPrivatePart(StoredSettings& stored, ProductSettings& settings) {
  const auto read = [&](LPCWSTR name, auto& field, DWORD flag) {
    stored.Read(name, field, flag, settings.flags);
  };
  read(kResolution, settings.resolution, kPrivateResolution);
  read(TEXT("MarginLeft"), settings.leftMargin, kPrivateLeftMargin);
  read(TEXT("MarginTop"), settings.topMargin, kPrivateTopMargin);
  read(TEXT("MarginRight"), settings.rightMargin, kPrivateRightMargin);
  read(TEXT("MarginBottom"), settings.bottomMargin, kPrivateBottomMargin);
  read(TEXT("ShowDlg"), settings.showDialog, kPrivateShowDialog);
  read(TEXT("Compression"), settings.compression, kPrivateCompression);
  ReadFont(stored, settings);
  read(TEXT("PathEscapes"), settings.pathEscapes, kPrivatePathEscapes);
  read(TEXT("AutoEm"), settings.automaticEm, kPrivateAutomaticEm);
  read(TEXT("ResDownSampMono"), settings.monoResampling, kPrivateMonoResampling);
  read(TEXT("ResDownSamp"), settings.resampling, kPrivateResampling);
  read(TEXT("JpegQuality"), settings.jpegQuality, kPrivateJpegQuality);
  read(TEXT("KvAction"), settings.action, kPrivateAction);
}

// A key that settings are written to.
class SettingsWriter {
 public:
  explicit SettingsWriter(HKEY key) : key_(key) {}

  void Write(LPCWSTR name, DWORD number, bool isPresent) {
    if (isPresent) Set(name, REG_DWORD, &number, sizeof number);
  }
  void Write(LPCWSTR name, LPCWSTR text) {
    Set(name, REG_SZ, text, (View(text).size() + 1) * sizeof(WCHAR));
  }
  // A narrow text that may lack its terminator.
  template <size_t kCapacity>
  void WriteNarrow(LPCWSTR name, const char (&text)[kCapacity]) {
    char terminated[kCapacity + 1] = {};
    std::memcpy(terminated, text, kCapacity);
    WCHAR wide[kFontCapacity];
    AnsiToWide(wide, kFontCapacity, terminated, CP_ACP);
    Write(name, wide);
  }
  void WriteOrDelete(LPCWSTR name, DWORD number, bool isPresent) {
    Write(name, number, isPresent);
    if (!isPresent) Delete(name);
  }
  void Delete(LPCWSTR name) { RegDeleteValueW(key_, name); }

 private:
  void Set(LPCWSTR name, DWORD type, const void* data, size_t size) {
    RegSetValueExW(key_, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
  }

  HKEY key_;
};

void WritePaper(SettingsWriter& writer, const DEVMODEW& dev) {
  const auto has = [&](DWORD flag) { return (dev.dmFields & flag) != 0; };
  if (!has(DM_PAPERSIZE)) return;
  writer.Write(TEXT("PaperSize"), static_cast<DWORD>(dev.dmPaperSize), true);
  if (has(DM_FORMNAME)) {
    WCHAR name[CCHFORMNAME + 1] = {};
    std::copy(std::begin(dev.dmFormName), std::end(dev.dmFormName), name);
    writer.Write(kPaperName, name);
  } else {
    writer.Delete(kPaperName);
  }
  writer.WriteOrDelete(TEXT("PaperWidth"), static_cast<DWORD>(dev.dmPaperWidth),
                       has(DM_PAPERWIDTH));
  writer.WriteOrDelete(TEXT("PaperHeight"), static_cast<DWORD>(dev.dmPaperLength),
                       has(DM_PAPERLENGTH));
}

void WritePublicPart(SettingsWriter& writer, const DEVMODEW& dev) {
  WritePaper(writer, dev);
  writer.Write(TEXT("Orientation"), static_cast<DWORD>(dev.dmOrientation),
               (dev.dmFields & DM_ORIENTATION) != 0);
  writer.Write(TEXT("BitDepth"), dev.dmBitsPerPel, (dev.dmFields & DM_BITSPERPEL) != 0);
}

void WritePrivatePart(SettingsWriter& writer, const ProductSettings& settings) {
  const auto write = [&](LPCWSTR name, auto number, DWORD flag) {
    writer.Write(name, static_cast<DWORD>(number), (settings.flags & flag) != 0);
  };
  write(kResolution, settings.resolution, kPrivateResolution);
  write(TEXT("MarginLeft"), settings.leftMargin, kPrivateLeftMargin);
  write(TEXT("MarginTop"), settings.topMargin, kPrivateTopMargin);
  write(TEXT("MarginRight"), settings.rightMargin, kPrivateRightMargin);
  write(TEXT("MarginBottom"), settings.bottomMargin, kPrivateBottomMargin);
  write(TEXT("ShowDlg"), settings.showDialog, kPrivateShowDialog);
  write(TEXT("Compression"), settings.compression, kPrivateCompression);
  if ((settings.flags & kPrivateDefaultFont) != 0) {
    writer.WriteNarrow(kDefaultFont, settings.defaultFont);
  }
  write(TEXT("PathEscapes"), settings.pathEscapes, kPrivatePathEscapes);
  write(TEXT("AutoEm"), settings.automaticEm, kPrivateAutomaticEm);
  write(TEXT("Units"), settings.units, kPrivateUnits);
  if (settings.printerEm[0] != 0) writer.WriteNarrow(TEXT("PrinterEm"), settings.printerEm);
  write(TEXT("ResDownSampMono"), settings.monoResampling, kPrivateMonoResampling);
  write(TEXT("ResDownSamp"), settings.resampling, kPrivateResampling);
  write(TEXT("JpegQuality"), settings.jpegQuality, kPrivateJpegQuality);
  write(TEXT("KvAction"), settings.action, kPrivateAction);
}

}  // namespace

BOOL MakePrinterKeyPath(LPCWSTR printer, PrinterKey which, WCHAR (&path)[MAX_PATH]) {
  const bool isNamed = !View(printer).empty();
  const bool isOwn = which == PrinterKey::kOwn;
  WCHAR name[MAX_PATH];
  if (isNamed && MakeKeyName(printer, name) &&
      FormatText(path, TEXT("%s\\%s\\%s%s%s"), kSettingsRoot, kPrintersKey,
                 static_cast<LPCWSTR>(name), isOwn ? TEXT("") : TEXT("\\"),
                 isOwn ? TEXT("") : kDriverDataKey)) {
    return TRUE;
  }
  path[0] = 0;
  SetLastError(isNamed ? ERROR_FILENAME_EXCED_RANGE : ERROR_INVALID_PRINTER_NAME);
  return FALSE;
}

void ReadPrinterSettings(HKEY root, LPCWSTR printer, DWORD kind, ProductDevMode& devMode) {
  ProductDevMode read;
  DefaultDevMode(printer, read);
  if ((kind & kStoredOnly) != 0) read.dev.dmFields = read.settings.flags = 0;
  const PrinterKey which =
      (kind & kOwnPrinterKey) != 0 ? PrinterKey::kOwn : PrinterKey::kDriverData;
  WCHAR path[MAX_PATH];
  RegKey key;
  if (MakePrinterKeyPath(printer, which, path) && key.OpenKey(KEY_READ | KEY_WRITE, root, path)) {
    StoredSettings stored(key);
    ReadPublicPart(stored, read.dev);
    ReadPrivatePart(stored, read.settings);
  }
  devMode = read;
}

void ReadUserPrinterSettings(LPCWSTR user, LPCWSTR printer, DWORD kind, ProductDevMode& devMode) {
  HKEY root = HKEY_CURRENT_USER;
  RegKey userKey;
  if (!View(user).empty()) {
    if (userKey.OpenKey(KEY_READ, HKEY_USERS, user)) {
      root = userKey.handle();
    } else {
      ShowInfo(IDS_ROUTINE_FAILED,
               TEXT("HKCU is not valid, but cannot find a subkey in HKEY_USERS."));
    }
  }
  if ((kind & kOwnPrinterKey) != 0) {
    ReadPrinterSettings(root, printer, kind | kStoredOnly, devMode);
    return;
  }
  ProductDevMode read, own;
  ReadPrinterSettings(root, printer, kind, read);
  ReadPrinterSettings(root, printer, kStoredOnly | kOwnPrinterKey, own);
  MergeDevMode(&own.dev, read);
  devMode = read;
}

void WritePrinterSettings(HKEY root, LPCWSTR printer, const ProductDevMode& devMode) {
  WCHAR path[MAX_PATH];
  UniqueKey key;
  if (!MakePrinterKeyPath(printer, PrinterKey::kDriverData, path) ||
      RegCreateKeyExW(root, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr,
                      key.Receive(), nullptr) != ERROR_SUCCESS) {
    return;
  }
  SettingsWriter writer(key.Get());
  WritePublicPart(writer, devMode.dev);
  WritePrivatePart(writer, devMode.settings);
}

void WriteUserPrinterSettings(LPCWSTR printer, const ProductDevMode& devMode) {
  WritePrinterSettings(HKEY_CURRENT_USER, printer, devMode);
}

}  // namespace kv
