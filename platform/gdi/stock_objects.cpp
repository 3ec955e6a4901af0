#include "platform/gdi/stock_objects.h"

#include "platform/gdi/bitmap.h"
#include "platform/gdi/brush_pen.h"
#include "platform/gdi/font.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

constexpr LONG kSystemFontHeight = 16;

struct Stock {
  HGDIOBJ brush = AddStockObject(std::make_shared<Brush>());
  HGDIOBJ pen = AddStockObject(std::make_shared<Pen>());
  HGDIOBJ system_font = AddStockObject(std::make_shared<Font>(SystemFont()));
  HGDIOBJ gui_font = AddStockObject(std::make_shared<GuiFont>());
  HGDIOBJ bitmap = AddStockObject(std::make_shared<Bitmap>(1, 1, 1));

  static LOGFONTW SystemFont() {
    LOGFONTW font = {};
    font.lfHeight = kSystemFontHeight;
    font.lfWeight = FW_NORMAL;
    WideView(TEXT("System")).copy(font.lfFaceName, LF_FACESIZE - 1);
    return font;
  }
};

const Stock& stock() {
  static const Stock* instance = new Stock;
  return *instance;
}

}  // namespace

HGDIOBJ StockObject(int index) {
  switch (index) {
    case WHITE_BRUSH:
      return stock().brush;
    case BLACK_PEN:
      return stock().pen;
    case SYSTEM_FONT:
      return stock().system_font;
    case DEFAULT_GUI_FONT:
      return stock().gui_font;
    default:
      return nullptr;
  }
}

HBITMAP StockBitmap() {
  return static_cast<HBITMAP>(stock().bitmap);
}

}  // namespace platform

using namespace platform;

HGDIOBJ WINAPI GetStockObject(int index) {
  KV_API(GetStockObject, ERROR_INVALID_PARAMETER, nullptr, index);
  const HGDIOBJ object = StockObject(index);
  if (object == nullptr) SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return object;
}

HBRUSH WINAPI CreateSolidBrush(COLORREF color) {
  KV_API(CreateSolidBrush, ERROR_NOT_ENOUGH_MEMORY, nullptr, color);
  return static_cast<HBRUSH>(AddGdiObject(std::make_shared<Brush>()));
}

HPEN WINAPI CreatePen(int style, int width, COLORREF color) {
  KV_API(CreatePen, ERROR_NOT_ENOUGH_MEMORY, nullptr, style, width, color);
  if (style != PS_SOLID) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
  }
  return static_cast<HPEN>(AddGdiObject(std::make_shared<Pen>()));
}
