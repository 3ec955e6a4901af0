// Fonts and their metrics, which wingdi.h states at CreateFontIndirectW.
#pragma once

#include "platform/gdi/gdi_object.h"

namespace platform {

class Font : public GdiObject {
 public:
  explicit Font(const LOGFONTW& description) : description_(description) {}
  int Describe(void* buffer, int size) const override;
  TEXTMETRICW Metrics() const;

 protected:
  virtual LOGFONTW Description() const { return description_; }

 private:
  LOGFONTW description_;
};

// The font of dialogs, as the machine's facts describe it at the time of asking.
class GuiFont : public Font {
 public:
  GuiFont() : Font({}) {}

 protected:
  LOGFONTW Description() const override;
};

}  // namespace platform
