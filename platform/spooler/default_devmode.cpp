#include "platform/spooler/default_devmode.h"

#include <algorithm>

namespace platform {
namespace {

bool UsesLetter() {
  WCHAR paper[8] = {};
  GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IPAPERSIZE, paper, std::size(paper));
  return View(paper) == TEXT("1");
}

}  // namespace

Bytes DefaultDevMode(WideView printer) {
  const bool letter = UsesLetter();
  DEVMODEW mode = {};
  printer.substr(0, CCHDEVICENAME - 1).copy(mode.dmDeviceName, CCHDEVICENAME - 1);
  mode.dmSpecVersion = DM_SPECVERSION;
  mode.dmDriverVersion = 0x0600;
  mode.dmSize = sizeof mode;
  mode.dmFields = DM_ORIENTATION | DM_PAPERSIZE | DM_COPIES | DM_DEFAULTSOURCE | DM_PRINTQUALITY |
                  DM_YRESOLUTION | DM_FORMNAME;
  mode.dmOrientation = DMORIENT_PORTRAIT;
  mode.dmPaperSize = letter ? DMPAPER_LETTER : DMPAPER_A4;
  mode.dmCopies = 1;
  mode.dmDefaultSource = 15;  // chosen by the form
  mode.dmPrintQuality = 300;
  mode.dmYResolution = 300;
  (letter ? WideView(TEXT("Letter")) : WideView(TEXT("A4"))).copy(mode.dmFormName, CCHFORMNAME - 1);
  const auto* bytes = reinterpret_cast<const uint8_t*>(&mode);
  return Bytes(bytes, bytes + sizeof mode);
}

}  // namespace platform
