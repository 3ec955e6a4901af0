// Device contexts: a state that can be saved, and a bitmap to draw into. Contexts of printers and
// other devices derive from it.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/gdi/bitmap.h"
#include "platform/gdi/font.h"
#include "platform/gdi/gdi_object.h"
#include "platform/gdi/path.h"
#include "platform/gdi/region.h"
#include "platform/gdi/transform.h"

namespace platform {

inline constexpr long kDefaultDpi = 96;

// A selected object, which cannot be deleted meanwhile.
class Selection {
 public:
  Selection() = default;
  Selection(HGDIOBJ handle, std::shared_ptr<GdiObject> object);
  ~Selection();
  Selection(const Selection& other) : Selection(other.handle_, other.object_) {}
  Selection& operator=(Selection other);

  HGDIOBJ handle() const { return handle_; }
  GdiObject* object() const { return object_.get(); }

 private:
  HGDIOBJ handle_ = nullptr;
  std::shared_ptr<GdiObject> object_;
};

// What SaveDC keeps.
struct ContextState {
  Selection pen, brush, font;
  Selection bitmap;  // of a memory context
  int rop2 = R2_COPYPEN;
  COLORREF text_color = RGB(0, 0, 0);
  COLORREF background_color = RGB(255, 255, 255);
  int background_mode = OPAQUE;
  int fill_mode = ALTERNATE;
  int stretch_mode = BLACKONWHITE;
  UINT text_alignment = TA_LEFT | TA_TOP;
  int character_extra = 0;
  int graphics_mode = GM_COMPATIBLE;
  Transform transform;
  POINT position = {};
  std::shared_ptr<const Region> clip;  // null: everything
};

class DeviceContext : public GdiObject {
 public:
  // With the stock objects selected.
  DeviceContext();

  // What GetDeviceCaps answers; here for the screen.
  virtual int Capability(int index) const;

  ContextState& state() { return state_; }
  const Font& font() const { return static_cast<const Font&>(*state_.font.object()); }
  // The bitmap that is drawn into; null when what is drawn goes nowhere.
  Bitmap* surface() const { return static_cast<Bitmap*>(state_.bitmap.object()); }

  // Whether what is drawn at this pixel can be seen.
  bool Shows(int x, int y) const {
    return surface() != nullptr && surface()->Contains(x, y) &&
           (state_.clip == nullptr || state_.clip->Contains(x, y));
  }

  // The previous object of its kind; null when this one cannot be selected here.
  HGDIOBJ Select(HGDIOBJ handle);
  int Save();
  bool Restore(int number);

  // The path being taken up, and the finished one.
  std::optional<Path> open_path, path;

 private:
  // Where an object of this kind goes; null when it cannot.
  Selection* PlaceFor(const GdiObject& object);

  ContextState state_;
  std::vector<ContextState> saved_;
};

// Of CreateCompatibleDC.
class MemoryContext : public DeviceContext {
 public:
  MemoryContext();
};

// Of GetDC.
class WindowContext : public DeviceContext {
 public:
  explicit WindowContext(HWND window) : window_(window) {}
  HWND window() const { return window_; }

 private:
  HWND window_;
};

// A context for a window, or the screen (null), ended with ReleaseWindowContext; the window is not
// looked at.
HDC NewWindowContext(HWND window);
// False when `context` is not one for `window`.
bool ReleaseWindowContext(HWND window, HDC context);

}  // namespace platform
