#include "platform/gdi/font.h"

#include <cstdlib>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/gdi/charsets.h"
#include "platform/gdi/device_context.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/code_page.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

constexpr LONG kDefaultHeight = 16;

LONG CellHeight(LONG height) {
  if (height > 0) return height;
  return height == 0 ? kDefaultHeight : -height + -height * 3 / 16;
}

}  // namespace

int Font::Describe(void* buffer, int size) const {
  const LOGFONTW description = Description();
  return CopyDescription(&description, sizeof description, buffer, size);
}

TEXTMETRICW Font::Metrics() const {
  const LOGFONTW font = Description();
  TEXTMETRICW metrics = {};
  const LONG cell = CellHeight(font.lfHeight);
  metrics.tmHeight = cell;
  metrics.tmDescent = cell / 6;
  metrics.tmAscent = cell - metrics.tmDescent;
  // The cell is the character height and 3/16 of it: 16/19 of the cell.
  metrics.tmInternalLeading = font.lfHeight < 0 ? cell + font.lfHeight : cell * 3 / 19;
  metrics.tmExternalLeading = (cell + 8) / 16;
  metrics.tmAveCharWidth = font.lfWidth != 0 ? std::abs(font.lfWidth) : (cell * 2 + 2) / 5;
  metrics.tmMaxCharWidth = metrics.tmAveCharWidth;
  metrics.tmWeight = font.lfWeight == 0 ? FW_NORMAL : font.lfWeight;
  const LONG dpi = static_cast<LONG>(FactNumber(facts::kScreenDpi, kDefaultDpi));
  metrics.tmDigitizedAspectX = dpi;
  metrics.tmDigitizedAspectY = dpi;
  metrics.tmFirstChar = ' ';
  metrics.tmLastChar = 0xFFFC;
  metrics.tmDefaultChar = 0x1F;
  metrics.tmBreakChar = ' ';
  metrics.tmItalic = font.lfItalic;
  metrics.tmUnderlined = font.lfUnderline;
  metrics.tmStruckOut = font.lfStrikeOut;
  metrics.tmPitchAndFamily = TMPF_VECTOR | TMPF_TRUETYPE;
  metrics.tmCharSet = font.lfCharSet;
  return metrics;
}

LOGFONTW GuiFont::Description() const {
  LOGFONTW font = {};
  font.lfHeight = static_cast<LONG>(FactNumber(facts::kGuiFontHeight, -11));
  font.lfWeight = FW_NORMAL;
  font.lfCharSet = static_cast<BYTE>(FactNumber(facts::kGuiFontCharset, CharsetOf(AnsiCodePage())));
  ToWide(Fact(facts::kGuiFontFace, "MS Shell Dlg")).copy(font.lfFaceName, LF_FACESIZE - 1);
  return font;
}

}  // namespace platform

using namespace platform;

HFONT WINAPI CreateFontIndirectW(const LOGFONTW* font) {
  KV_API(CreateFontIndirectW, ERROR_INVALID_PARAMETER, nullptr, font);
  if (font == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return static_cast<HFONT>(AddGdiObject(std::make_shared<Font>(*font)));
}

BOOL WINAPI GetTextMetricsW(HDC handle, LPTEXTMETRICW metrics) {
  KV_API(GetTextMetricsW, ERROR_INVALID_HANDLE, FALSE, handle, metrics);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  *metrics = context->font().Metrics();
  return TRUE;
}

BOOL WINAPI GetTextExtentPoint32W(HDC handle, LPCWSTR text, int length, LPSIZE size) {
  KV_API(GetTextExtentPoint32W, ERROR_INVALID_HANDLE, FALSE, handle, text, length, size);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  if (length < 0 || (text == nullptr && length > 0)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const TEXTMETRICW metrics = context->font().Metrics();
  size->cx = length * (metrics.tmAveCharWidth + context->state().character_extra);
  size->cy = metrics.tmHeight;
  return TRUE;
}
