#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/printing/effective_devmode.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/text/text.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/margins_action.h"
#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

constexpr Column kColumns[] = {{TEXT("setting"), IDS_CTL_HEADING_SETTING, 18},
                               {TEXT("value"), IDS_CTL_HEADING_VALUE, 26},
                               {nullptr, IDS_CTL_HEADING_ORIGIN, 24},
                               {TEXT("from"), 0, 0}};

enum class Kind { kSigned16, kUnsigned16, kUnsigned32, kWide, kNarrow };

// A setting by the name that the registry has for it, where it has one.
struct Setting {
  LPCWSTR name;
  Kind kind;
  size_t offset;  // in ProductDevMode
  size_t size;    // bytes
};

#define KV_PUBLIC(name, kind, field) \
  { name, kind, offsetof(DEVMODEW, field), sizeof(DEVMODEW::field) }
#define KV_PRIVATE(name, kind, field)                                                          \
  {                                                                                            \
    name, kind, offsetof(kv::ProductDevMode, settings) + offsetof(kv::ProductSettings, field), \
        sizeof(kv::ProductSettings::field)                                                     \
  }
constexpr Setting kSettings[] = {
    KV_PUBLIC(TEXT("PaperSize"), Kind::kUnsigned16, dmPaperSize),
    KV_PUBLIC(TEXT("PaperName"), Kind::kWide, dmFormName),
    KV_PUBLIC(TEXT("PaperWidth"), Kind::kSigned16, dmPaperWidth),
    KV_PUBLIC(TEXT("PaperHeight"), Kind::kSigned16, dmPaperLength),
    KV_PUBLIC(TEXT("Orientation"), Kind::kSigned16, dmOrientation),
    KV_PUBLIC(TEXT("Source"), Kind::kSigned16, dmDefaultSource),
    KV_PUBLIC(TEXT("Copies"), Kind::kSigned16, dmCopies),
    KV_PUBLIC(TEXT("Scale"), Kind::kSigned16, dmScale),
    KV_PUBLIC(TEXT("Color"), Kind::kSigned16, dmColor),
    KV_PUBLIC(TEXT("BitDepth"), Kind::kUnsigned32, dmBitsPerPel),
    KV_PUBLIC(TEXT("PrintQuality"), Kind::kSigned16, dmPrintQuality),
    KV_PUBLIC(TEXT("YResolution"), Kind::kSigned16, dmYResolution),
    KV_PRIVATE(TEXT("Resolution"), Kind::kUnsigned16, resolution),
    KV_PRIVATE(TEXT("MarginLeft"), Kind::kSigned16, leftMargin),
    KV_PRIVATE(TEXT("MarginTop"), Kind::kSigned16, topMargin),
    KV_PRIVATE(TEXT("MarginRight"), Kind::kSigned16, rightMargin),
    KV_PRIVATE(TEXT("MarginBottom"), Kind::kSigned16, bottomMargin),
    KV_PRIVATE(TEXT("ShowDlg"), Kind::kUnsigned16, showDialog),
    KV_PRIVATE(TEXT("Compression"), Kind::kUnsigned16, compression),
    KV_PRIVATE(TEXT("DefaultFont"), Kind::kNarrow, defaultFont),
    KV_PRIVATE(TEXT("PathEscapes"), Kind::kUnsigned16, pathEscapes),
    KV_PRIVATE(TEXT("AutoEm"), Kind::kUnsigned16, automaticEm),
    KV_PRIVATE(TEXT("Units"), Kind::kUnsigned16, units),
    KV_PRIVATE(TEXT("PrinterEm"), Kind::kNarrow, printerEm),
    KV_PRIVATE(TEXT("ResDownSampMono"), Kind::kUnsigned16, monoResampling),
    KV_PRIVATE(TEXT("ResDownSamp"), Kind::kUnsigned16, resampling),
    KV_PRIVATE(TEXT("JpegQuality"), Kind::kUnsigned16, jpegQuality),
    KV_PRIVATE(TEXT("KvAction"), Kind::kUnsigned16, action),
};
#undef KV_PUBLIC
#undef KV_PRIVATE
constexpr size_t kSettingCount = std::size(kSettings);

struct Layer {
  kv::SettingsLayer layer;
  LPCWSTR name;  // for scripts
  UINT text;
};
constexpr Layer kLayers[] = {
    {kv::SettingsLayer::kDefaults, TEXT("defaults"), IDS_CTL_LAYER_DEFAULTS},
    {kv::SettingsLayer::kPrinter, TEXT("printer"), IDS_CTL_LAYER_PRINTER},
    {kv::SettingsLayer::kSpoolerGlobal, TEXT("all-users"), IDS_CTL_LAYER_GLOBAL},
    {kv::SettingsLayer::kSpoolerUser, TEXT("user"), IDS_CTL_LAYER_USER},
    {kv::SettingsLayer::kStored, TEXT("stored"), IDS_CTL_LAYER_STORED},
    {kv::SettingsLayer::kCaller, TEXT("caller"), IDS_CTL_LAYER_CALLER},
    {kv::SettingsLayer::kStoredOwn, TEXT("stored-own"), IDS_CTL_LAYER_STORED_OWN},
};

const Layer& LayerOf(kv::SettingsLayer layer) {
  return *std::find_if(std::begin(kLayers), std::end(kLayers),
                       [=](const Layer& known) { return known.layer == layer; });
}

const BYTE* Place(const kv::ProductDevMode& mode, const Setting& setting) {
  return reinterpret_cast<const BYTE*>(&mode) + setting.offset;
}

// Notes for each setting the last layer that carried it: one that overwrites what is certainly not
// its value.
class Origins : public kv::SettingsObserver {
 public:
  void AfterLayer(kv::SettingsLayer layer, const DEVMODEW* carried,
                  const kv::ProductDevMode& result) override {
    kv::ProductDevMode probe = result;
    for (const Setting& setting : kSettings) {
      BYTE* const place = reinterpret_cast<BYTE*>(&probe) + setting.offset;
      for (size_t i = 0; i < setting.size; ++i) place[i] = static_cast<BYTE>(~place[i]);
    }
    kv::MergeDevMode(carried, probe);
    for (size_t i = 0; i < kSettingCount; ++i) {
      const Setting& setting = kSettings[i];
      const bool isCarried =
          std::memcmp(Place(probe, setting), Place(result, setting), setting.size) == 0;
      if (isCarried || layer == kv::SettingsLayer::kDefaults) layers_[i] = layer;
    }
  }
  const Layer& Of(size_t setting) const { return LayerOf(layers_[setting]); }

 private:
  kv::SettingsLayer layers_[kSettingCount] = {};
};

template <class Number>
Number NumberAt(const BYTE* place) {
  Number number;
  std::memcpy(&number, place, sizeof number);
  return number;
}

bool IsText(Kind kind) {
  return kind == Kind::kWide || kind == Kind::kNarrow;
}

LONGLONG NumberOf(const kv::ProductDevMode& mode, const Setting& setting) {
  const BYTE* const place = Place(mode, setting);
  return setting.kind == Kind::kSigned16     ? NumberAt<short>(place)
         : setting.kind == Kind::kUnsigned16 ? NumberAt<WORD>(place)
                                             : LONGLONG{NumberAt<DWORD>(place)};
}

WideString TextOf(const kv::ProductDevMode& mode, const Setting& setting) {
  const BYTE* const place = Place(mode, setting);
  WCHAR text[MAX_PATH + 1] = {};
  if (setting.kind == Kind::kWide) {
    std::memcpy(text, place, setting.size);
  } else {
    const std::string narrow(reinterpret_cast<const char*>(place), setting.size);
    kv::AnsiToWide(text, MAX_PATH, narrow.c_str(), CP_ACP);
  }
  return text;
}

Cell ValueOf(const kv::ProductDevMode& mode, const Setting& setting) {
  return IsText(setting.kind) ? Cell(TextOf(mode, setting)) : Cell(NumberOf(mode, setting));
}

ExitStatus Show(const Arguments& arguments) {
  const LPCWSTR name = arguments.operands()[0].c_str();
  kv::UniquePrinter printer;
  if (!kv::OpenPrinterHandle(name, printer.Receive(), nullptr, FALSE)) {
    PrintLastError(IDS_CTL_CANNOT_OPEN_PRINTER, name);
    return kFailed;
  }
  kv::ProductDevMode mode;
  Origins origins;
  kv::GetEffectiveDevMode(printer.Get(), nullptr, name, nullptr, mode, &origins);
  Table table(kColumns, arguments);
  for (size_t i = 0; i < kSettingCount; ++i) {
    const Layer& origin = origins.Of(i);
    table.Add({WideString(kSettings[i].name), ValueOf(mode, kSettings[i]), Text(origin.text),
               WideString(origin.name)});
  }
  table.Finish();
  return kDone;
}

constexpr Option kShowOptions[] = {kJsonOption};
constexpr Option kMarginsOptions[] = {kForOption};
constexpr Action kActions[] = {{TEXT("show"), kShowOptions, 1, 1, Show},
                               {TEXT("margins"), kMarginsOptions, 1, 1, StoreMargins}};

}  // namespace

const Command kPrinterCommand = {TEXT("printer"), IDS_CTL_PRINTER_SUMMARY, IDS_CTL_PRINTER_USAGE,
                                 kActions};

}  // namespace kvctl
