#include "platform/gdi/device_context.h"

#include <utility>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/gdi/brush_pen.h"
#include "platform/gdi/stock_objects.h"
#include "platform/kernel/api_call.h"
#include "platform/user/window.h"

namespace platform {
namespace {

Selection StockSelection(HGDIOBJ handle) {
  return Selection(handle, GdiObjectOf(handle));
}

// Whether the bitmap belongs to no context but this one, if to any. The stock bitmap is every new
// memory context's.
bool IsFreeFor(const Bitmap& bitmap, const DeviceContext& context) {
  return bitmap.selections == 0 || bitmap.owner == &context ||
         &bitmap == GdiObjectOf(StockBitmap()).get();
}

const Selection* SelectedOfType(const ContextState& state, UINT type) {
  switch (type) {
    case OBJ_PEN:
      return &state.pen;
    case OBJ_BRUSH:
      return &state.brush;
    case OBJ_FONT:
      return &state.font;
    case OBJ_BITMAP:
      return &state.bitmap;
    default:
      return nullptr;
  }
}

}  // namespace

Selection::Selection(HGDIOBJ handle, std::shared_ptr<GdiObject> object)
    : handle_(handle), object_(std::move(object)) {
  if (object_ != nullptr) ++object_->selections;
}

Selection::~Selection() {
  if (object_ != nullptr) --object_->selections;
}

Selection& Selection::operator=(Selection other) {
  std::swap(handle_, other.handle_);
  std::swap(object_, other.object_);
  return *this;
}

DeviceContext::DeviceContext() {
  state_.pen = StockSelection(StockObject(BLACK_PEN));
  state_.brush = StockSelection(StockObject(WHITE_BRUSH));
  state_.font = StockSelection(StockObject(SYSTEM_FONT));
}

MemoryContext::MemoryContext() {
  state().bitmap = StockSelection(StockBitmap());
}

int DeviceContext::Capability(int index) const {
  switch (index) {
    case TECHNOLOGY:
      return DT_RASDISPLAY;
    case HORZRES:
      return GetSystemMetrics(SM_CXSCREEN);
    case VERTRES:
      return GetSystemMetrics(SM_CYSCREEN);
    case BITSPIXEL:
      return 32;
    case PLANES:
      return 1;
    case LOGPIXELSX:
    case LOGPIXELSY:
      return static_cast<int>(FactNumber(facts::kScreenDpi, kDefaultDpi));
    default:
      return 0;
  }
}

Selection* DeviceContext::PlaceFor(const GdiObject& object) {
  if (dynamic_cast<const Pen*>(&object) != nullptr) return &state_.pen;
  if (dynamic_cast<const Brush*>(&object) != nullptr) return &state_.brush;
  if (dynamic_cast<const Font*>(&object) != nullptr) return &state_.font;
  const auto* bitmap = dynamic_cast<const Bitmap*>(&object);
  const bool can_take = bitmap != nullptr && surface() != nullptr && IsFreeFor(*bitmap, *this);
  return can_take ? &state_.bitmap : nullptr;
}

HGDIOBJ DeviceContext::Select(HGDIOBJ handle) {
  auto object = GdiObjectOf(handle);
  Selection* place = object == nullptr ? nullptr : PlaceFor(*object);
  if (place == nullptr) return nullptr;
  // The stock bitmap is every new memory context's.
  if (place == &state_.bitmap && handle != StockBitmap())
    static_cast<Bitmap&>(*object).owner = this;
  const HGDIOBJ previous = place->handle();
  *place = Selection(handle, std::move(object));
  return previous;
}

int DeviceContext::Save() {
  saved_.push_back(state_);
  return static_cast<int>(saved_.size());
}

bool DeviceContext::Restore(int number) {
  const int count = static_cast<int>(saved_.size());
  const int index = number > 0 ? number - 1 : count + number;
  if (number == 0 || index < 0 || index >= count) return false;
  state_ = std::move(saved_[index]);
  saved_.resize(index);
  return true;
}

HDC NewWindowContext(HWND window) {
  return static_cast<HDC>(
      AddGdiObject(std::make_shared<WindowContext>(window), Resource::kDeviceContext));
}

bool ReleaseWindowContext(HWND window, HDC handle) {
  const auto context = GdiObjectOf<WindowContext>(handle);
  return context != nullptr && context->window() == window && DeleteGdiObject(handle);
}

}  // namespace platform

using namespace platform;

HDC WINAPI GetDC(HWND window) {
  KV_API(GetDC, ERROR_NOT_ENOUGH_MEMORY, nullptr, window);
  if (window != nullptr && RequireWindow(window) == nullptr) return nullptr;
  return NewWindowContext(window);
}

int WINAPI ReleaseDC(HWND window, HDC context) {
  KV_API_NOFAIL(ReleaseDC, 0, window, context);
  if (ReleaseWindowContext(window, context)) return 1;
  SetLastError(ERROR_INVALID_HANDLE);
  return 0;
}

HDC WINAPI CreateCompatibleDC(HDC like) {
  KV_API(CreateCompatibleDC, ERROR_NOT_ENOUGH_MEMORY, nullptr, like);
  if (like != nullptr && RequireGdiObject<DeviceContext>(like) == nullptr) return nullptr;
  return static_cast<HDC>(
      AddGdiObject(std::make_shared<MemoryContext>(), Resource::kDeviceContext));
}

BOOL WINAPI DeleteDC(HDC handle) {
  KV_API_NOFAIL(DeleteDC, FALSE, handle);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  if (std::dynamic_pointer_cast<WindowContext>(context) != nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return DeleteGdiObject(handle);
}

int WINAPI GetDeviceCaps(HDC handle, int index) {
  KV_API_NOFAIL(GetDeviceCaps, 0, handle, index);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  return context == nullptr ? 0 : context->Capability(index);
}

int WINAPI SaveDC(HDC handle) {
  KV_API(SaveDC, ERROR_NOT_ENOUGH_MEMORY, 0, handle);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  return context == nullptr ? 0 : context->Save();
}

BOOL WINAPI RestoreDC(HDC handle, int number) {
  KV_API(RestoreDC, ERROR_INVALID_PARAMETER, FALSE, handle, number);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return FALSE;
  if (context->Restore(number)) return TRUE;
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

HGDIOBJ WINAPI SelectObject(HDC handle, HGDIOBJ object) {
  KV_API(SelectObject, ERROR_INVALID_HANDLE, nullptr, handle, object);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return nullptr;
  const HGDIOBJ previous = context->Select(object);
  if (previous == nullptr) SetLastError(ERROR_INVALID_HANDLE);
  return previous;
}

HGDIOBJ WINAPI GetCurrentObject(HDC handle, UINT type) {
  KV_API(GetCurrentObject, ERROR_INVALID_HANDLE, nullptr, handle, type);
  const auto context = RequireGdiObject<DeviceContext>(handle);
  if (context == nullptr) return nullptr;
  const Selection* selected = SelectedOfType(context->state(), type);
  if (selected != nullptr) return selected->handle();
  SetLastError(ERROR_INVALID_PARAMETER);
  return nullptr;
}
