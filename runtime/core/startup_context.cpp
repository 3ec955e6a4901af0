#include "runtime/core/startup_context.h"

#include <stdlib.h>
#include <time.h>

#include "resources/string_ids.h"
#include "runtime/core/resource_library.h"
#include "runtime/core/resource_text.h"
#include "runtime/papers/paper_table.h"
#include "runtime/registry/settings.h"
#include "runtime/text/format.h"
#include "runtime/text/locale_list.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {

// Its members allocate nothing.  NOLINTNEXTLINE(cert-err58-cpp)
StartupContext startupContext;

namespace {

constexpr WCHAR kLegalNotice[] =
    TEXT("Copyright \u00A9 Veltmoor Software, LLC. All rights reserved.");
constexpr WCHAR kWebSite[] = TEXT("http://www.veltmoor.example");
constexpr int kSchemeLength = 7;
constexpr int kDefaultNumber12004 = 8;
constexpr DWORD kUnitsInches = 1, kUnitsMillimetres = 2;
constexpr int kLetterPaper = 1;
constexpr int kLocaleTextCapacity = 32;

void RegisterMessages() {
  RegisteredMessages& messages = startupContext.messages;
  const struct {
    UINT& number;
    LPCWSTR name;
  } kMessages[] = {
      {messages.addSpoolFile, TEXT("WM_AddSpoolFile")},
      {messages.annotDeleted, TEXT("WM_AnnotDeleted")},
      {messages.ctlColorEditThis, TEXT("WM_CtlColorEditThis")},
      {messages.editNotifyThis, TEXT("WM_EditNotifyThis")},
      {messages.endEdit, TEXT("WM_EndEdit")},
      {messages.getNoteInvalidateExtra, TEXT("WM_GetNoteInvalidateExtra")},
      {messages.idiotProof, TEXT("WM_IdiotProof")},
      {messages.killRedraw, TEXT("WM_KillRedraw")},
      {messages.noteCommand, TEXT("WM_NoteCommand")},
      {messages.postChangeKvFile, TEXT("WM_PostChangeKvFile")},
      {messages.preChangeKvFile, TEXT("WM_PreChangeKvFile")},
      {messages.saveNote, TEXT("WM_SaveNote")},
      {messages.selectNote, TEXT("WM_SelectNote")},
      {messages.waitRedraw, TEXT("WM_WaitRedraw")},
  };
  for (const auto& message : kMessages)
    message.number = startupContext.instanceName.RegisterMessage(message.name);
}

void RegisterClipboardFormats() {
  RegisteredClipboardFormats& formats = startupContext.clipboardFormats;
  formats.kvFile = LOWORD(RegisterClipboardFormatW(TEXT("VeltmoorSoftware_CF_KvFile")));
  formats.kvNote = LOWORD(RegisterClipboardFormatW(TEXT("VeltmoorSoftware_CF_KvNote")));
  formats.metadata = LOWORD(RegisterClipboardFormatW(TEXT("VeltmoorSoftware_CF_Metadata")));
}

BOOL IsDoubleByteCharset(BYTE charset) {
  switch (charset) {
    case SHIFTJIS_CHARSET:
    case HANGUL_CHARSET:
    case JOHAB_CHARSET:
    case GB2312_CHARSET:
    case CHINESEBIG5_CHARSET:
      return TRUE;
    default:
      return FALSE;
  }
}

UINT CodePageOfCharset(BYTE charset) {
  static constexpr struct {
    BYTE charset;
    UINT codePage;
  } kCodePages[] = {
      {ANSI_CHARSET, 1252},    {DEFAULT_CHARSET, 0},       {SYMBOL_CHARSET, 0},
      {SHIFTJIS_CHARSET, 932}, {HANGUL_CHARSET, 949},      {JOHAB_CHARSET, 949},
      {GB2312_CHARSET, 936},   {CHINESEBIG5_CHARSET, 950}, {GREEK_CHARSET, 1253},
      {TURKISH_CHARSET, 1254}, {VIETNAMESE_CHARSET, 1258}, {HEBREW_CHARSET, 1255},
      {ARABIC_CHARSET, 1256},  {BALTIC_CHARSET, 1257},     {RUSSIAN_CHARSET, 1251},
      {THAI_CHARSET, 874},     {EASTEUROPE_CHARSET, 1250},
  };
  for (const auto& row : kCodePages) {
    if (row.charset == charset) return row.codePage;
  }
  CHARSETINFO info = {};
  // With this source flag the charset travels in the place of the pointer.
  DWORD* const source = reinterpret_cast<DWORD*>(static_cast<ULONG_PTR>(charset));
  return TranslateCharsetInfo(source, &info, TCI_SRCCHARSET) ? info.ciACP : 0;
}

void ReadGuiFont() {
  LOGFONTW font = {};
  if (GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof(font), &font) == 0) return;
  startupContext.guiFontDbcs = IsDoubleByteCharset(font.lfCharSet);
  startupContext.guiFontCodePage = CodePageOfCharset(font.lfCharSet);
}

void SetProductNames() {
  if (startupContext.productName[0] == 0) CopyStringW(startupContext.productName, kProductName);
  FormatText(startupContext.productNameVersion, TEXT("%s %d"), kProductName, kMajorVersion);
  CopyStringW(startupContext.displayName, kProductName);
  FormatText(startupContext.portName, TEXT("KVR%d:"), kMajorVersion);
  CopyStringW(startupContext.companyName, kCompanyName);
  CopyStringW(startupContext.legalNotice, kLegalNotice);
}

void SetComponentNames() {
  startupContext.printEnvironment = GetPrintEnvironment();
  startupContext.graphicsDriverFile = kGraphicsDriverFile;
  startupContext.interfaceFile = kInterfaceFile;
  startupContext.displayFile = kDisplayFile;
  startupContext.moduleFile = kMonitorFile;
  startupContext.monitorFile = kMonitorFile;
  startupContext.userInterfaceFile = kUserInterfaceFile;
  startupContext.dispatcherFile = kDispatcherFile;
}

// A fact of the system default locale; empty when it cannot be read.
template <size_t kCapacity>
BOOL ReadSystemLocale(LCTYPE type, WCHAR (&text)[kCapacity]) {
  if (GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, type, text, kCapacity) > 0) return TRUE;
  text[0] = 0;
  return FALSE;
}

void ReadLocaleFacts() {
  WCHAR text[kLocaleTextCapacity];
  ReadSystemLocale(LOCALE_SENGLANGUAGE, startupContext.systemLanguageName);
  ReadSystemLocale(LOCALE_IDEFAULTLANGUAGE, text);
  startupContext.systemLangId = static_cast<LANGID>(ParseHex(text));
  startupContext.systemAnsiCodePage =
      static_cast<WORD>(GetLocaleAnsiCodePage(LOCALE_SYSTEM_DEFAULT));
  startupContext.defaultUnits = kUnitsInches;
  if (ReadSystemLocale(LOCALE_IPAPERSIZE, text) && ParseDecimal(text) != kLetterPaper) {
    startupContext.defaultUnits = kUnitsMillimetres;
  }
}

// The language resource library from its own file, else this module when it carries the strings
// itself.
BOOL FindResources() {
  if (LoadResourceLibrary(startupContext.hInstance)) return TRUE;
  WCHAR probe[MAX_PATH];
  if (LoadStringW(startupContext.hInstance, IDS_RESOURCE_ERROR, probe, MAX_PATH) <= 0) return FALSE;
  startupContext.hResources = startupContext.hInstance;
  startupContext.resourceLangId = GetResourceLanguage(startupContext.hInstance);
  return TRUE;
}

// 0 for a text that is no number.
int ReadResourceNumber(UINT id) {
  WCHAR text[MAX_PATH];
  int number;
  ParseWholeDecimal(LoadResourceString(text, MAX_PATH, id), number);
  return number;
}

void ReadProductKind() {
  startupContext.productKindCode = static_cast<DWORD>(ReadResourceNumber(IDS_PRODUCT_KIND));
  if (const ProductKind* kind = FindProductKind(startupContext.productKindCode)) {
    GetProductDisplayName(*kind, startupContext.productName, kNameCapacity, FALSE);
    CopyStringW(startupContext.displayName, startupContext.productName);
  }
  FormatText(startupContext.dispatcherTitle, TEXT("%s Dispatcher"), startupContext.productName);
}

void SetAddresses() {
  CopyStringW(startupContext.webSite, kWebSite);
  CopyStringW(startupContext.webHost, kWebSite + kSchemeLength);
  FormatText(startupContext.helpUrl, TEXT("%s/help/folvane%d"), kWebSite, kMajorVersion);
}

// TRUE when the settings have a text for the help address.
BOOL TakeHelpAddress(RegKey&& settings) {
  const LPCWSTR address = settings.GetString(TEXT("Help"));
  if (View(address).empty()) return FALSE;
  CopyStringW(startupContext.helpUrl, address);
  return TRUE;
}

void OverrideHelpAddress() {
  if (!TakeHelpAddress(UserSettingsKey(KeyMode::kRead)))
    TakeHelpAddress(MachineSettingsKey(KeyMode::kRead));
}

DWORD ReadDefaultPaper() {
  WCHAR text[MAX_PATH];
  LoadResourceString(text, MAX_PATH, IDS_DEFAULT_PAPER);
  int number;
  if (ParseWholeDecimal(text, number) && number > 0) return static_cast<DWORD>(number);
  const PaperEntry* paper = CStandardPapers().FindPaperByName(text);
  return paper != nullptr ? paper->id : kLetterPaper;
}

void ReadResourceTexts() {
  LoadResourceString(startupContext.resourceText12003, 32, IDS_DECIMAL_SEPARATOR);
  startupContext.resourceNumber12004 = ReadResourceNumber(IDS_SMALL_TEXT_SIZE);
  if (startupContext.resourceNumber12004 < 1)
    startupContext.resourceNumber12004 = kDefaultNumber12004;
  startupContext.defaultPaperSize = ReadDefaultPaper();
  LoadResourceString(startupContext.resourceText10084, 80, IDS_PRINTER_TITLE,
                     startupContext.productName);
  if (startupContext.resourceText10084[0] == 0)
    CopyStringW(startupContext.resourceText10084, kProductName);
}

}  // namespace

BOOL ProcessAttach(HINSTANCE instance) {
  startupContext.hInstance = instance;
  // Nothing that must be secret is drawn from it.
  srand(static_cast<unsigned>(time(nullptr)));  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  RegisterMessages();
  RegisterClipboardFormats();
  startupContext.dbcsEnabled = GetSystemMetrics(SM_DBCSENABLED);
  ReadGuiFont();
  startupContext.midEastEnabled = GetSystemMetrics(SM_MIDEASTENABLED);
  ReadPlatformFacts(startupContext.platform);
  SetProductNames();
  SetComponentNames();
  ReadLocaleFacts();
  if (!FindResources()) return FALSE;
  ReadProductKind();
  SetAddresses();
  OverrideHelpAddress();
  ReadResourceTexts();
  ReadStartupSettings();
  return TRUE;
}

void ProcessDetach() {
  if (startupContext.hResources != nullptr) {
    if (!View(startupContext.resourceDllName).empty()) FreeLibrary(startupContext.hResources);
    startupContext.hResources = nullptr;
  }
  startupContext.resourceLangId = 0;
}

}  // namespace kv
