#include "runtime/printing/product_devmode.h"

#include <cstddef>
#include <cstring>
#include <iterator>

#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/papers/paper_table.h"
#include "runtime/printing/connection_name.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

static_assert(offsetof(ProductSettings, flags) == 36 &&
              offsetof(ProductSettings, leftMargin) == 42);
static_assert(offsetof(ProductSettings, compression) == 54 &&
              offsetof(ProductSettings, defaultFont) == 56);
static_assert(offsetof(ProductSettings, printerEm) == 94 &&
              offsetof(ProductSettings, resampling) == 354);
static_assert(offsetof(ProductSettings, action) == 360 &&
              offsetof(ProductDevMode, settings) == 220);

constexpr LPCWSTR kSystemProcesses[] = {
    TEXT("csrss"),   TEXT("explorer"), TEXT("rundll32"), TEXT("spoolss"), TEXT("spoolsv"),
    TEXT("kvdisp4"), TEXT("kvdisp4a"), TEXT("kvdisp5a"), TEXT("kvdisp6"), TEXT("kvdisp7")};

constexpr WORD kDriverVersion = 2075;
constexpr DWORD kStartFields = DM_ORIENTATION | DM_PAPERSIZE | DM_DEFAULTSOURCE | DM_PRINTQUALITY |
                               DM_COLOR | DM_YRESOLUTION | DM_TTOPTION | DM_LOGPIXELS |
                               DM_BITSPERPEL;
static_assert(kStartFields == 0x66E03);
constexpr int kStartDpi = 600;
constexpr short kStartMargin = 250;  // a quarter of an inch

// A connection's printer without its server, any other name as it is.
void NameDevice(LPCWSTR printer, DEVMODEW& dev) {
  ConnectionName parts;
  const BOOL isConnection = SplitConnectionName(printer, parts);
  CopyStringW(dev.dmDeviceName, isConnection ? parts.printer : printer);
}

void FillPublicPart(LPCWSTR printer, DEVMODEW& dev) {
  NameDevice(printer, dev);
  dev.dmSpecVersion = DM_SPECVERSION;
  dev.dmDriverVersion = kDriverVersion;
  dev.dmSize = sizeof(DEVMODEW);
  dev.dmDriverExtra = sizeof(ProductSettings);
  dev.dmFields = kStartFields;
  dev.dmOrientation = DMORIENT_PORTRAIT;
  dev.dmPaperSize = static_cast<short>(startupContext.defaultPaperSize);
  dev.dmDefaultSource = 1;
  dev.dmCopies = 1;
  dev.dmPrintQuality = kStartDpi;
  dev.dmColor = DMCOLOR_COLOR;
  dev.dmYResolution = kStartDpi;
  dev.dmTTOption = DMTT_SUBDEV;
  dev.dmLogPixels = kStartDpi;
  dev.dmBitsPerPel = 24;
  dev.dmScale = 100;
  dev.dmDuplex = DMDUP_SIMPLEX;
}

void NameApplication(ProductSettings& settings) {
  WCHAR path[MAX_PATH], title[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  // A path that was cut would give another program's name.
  if (length == 0 || length >= MAX_PATH) return;
  GetBaseName(path, title);
  if (IsSystemProcessName(title)) return;
  WideToAnsi(settings.applicationName, sizeof(settings.applicationName), title, CP_ACP);
}

// Inches where the system's locale uses American paper or none that is known.
WORD StartUnits() {
  if (startupContext.platform.ntKind < kWindows2000) return kPaperInches;
  WCHAR paper[8] = {};
  GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IPAPERSIZE, paper,
                 static_cast<int>(std::size(paper)));
  const int id = ParseDecimal(paper);
  return id == 8 || id == 9 ? kPaperMillimetres : kPaperInches;
}

void FillSettings(ProductSettings& settings) {
  std::memcpy(settings.signature, "KV", sizeof(settings.signature));
  settings.layout = kCurrentLayout;
  NameApplication(settings);
  settings.flags = kAllPrivateFlags;
  settings.resolution = kStartDpi;
  settings.leftMargin = settings.topMargin = kStartMargin;
  settings.rightMargin = settings.bottomMargin = kStartMargin;
  settings.showDialog = 1;
  settings.compression = 49;
  CopyStringA(settings.defaultFont, sizeof(settings.defaultFont), "Courier New");
  settings.pathEscapes = 1;
  settings.automaticEm = 1;
  settings.units = StartUnits();
  settings.resampling = 96;
  settings.jpegQuality = 75;
  settings.monoResampling = 300;
  settings.action = 0x8000;
}

}  // namespace

BOOL IsSystemProcessName(LPCWSTR name) {
  for (const LPCWSTR known : kSystemProcesses) {
    if (EqualNoCase(View(name), known)) return TRUE;
  }
  return FALSE;
}

BOOL IsSystemProcessName(LPCSTR name) {
  WCHAR wide[MAX_PATH];
  AnsiToWide(wide, MAX_PATH, name, CP_ACP);
  return IsSystemProcessName(wide);
}

void DefaultDevMode(LPCWSTR printer, ProductDevMode& devMode) {
  ProductDevMode made = {};
  FillPublicPart(printer, made.dev);
  SetFormNameFromPaper(made);
  FillSettings(made.settings);
  devMode = made;
}

void SetFormNameFromPaper(ProductDevMode& devMode) {
  DEVMODEW& dev = devMode.dev;
  const CStandardPapers papers;
  const PaperEntry* const paper = (dev.dmFields & DM_PAPERSIZE) == 0
                                      ? nullptr
                                      : papers.FindPaperById(static_cast<WORD>(dev.dmPaperSize));
  std::memset(dev.dmFormName, 0, sizeof(dev.dmFormName));
  dev.dmFields &= ~DWORD{DM_FORMNAME};
  if (paper == nullptr) return;
  CopyStringW(dev.dmFormName, paper->name);
  dev.dmFields |= DM_FORMNAME;
}

void ResetUserPaperSize(ProductDevMode& devMode) {
  DEVMODEW& dev = devMode.dev;
  dev.dmFields &= ~DWORD{DM_PAPERLENGTH | DM_PAPERWIDTH};
  dev.dmPaperLength = dev.dmPaperWidth = 0;
  if ((dev.dmFields & DM_PAPERSIZE) != 0 && dev.dmPaperSize >= DMPAPER_USER) {
    dev.dmPaperSize = static_cast<short>(startupContext.defaultPaperSize);
  }
  SetFormNameFromPaper(devMode);
}

}  // namespace kv
