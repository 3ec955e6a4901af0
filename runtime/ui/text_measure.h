// Measuring text for windows.
#pragma once

#include "runtime/core/win.h"
#include "runtime/text/wide_text.h"

namespace kv {

// Measures with a font (null: the context's own) in a device context, which gets its own font back
// at the end.
class TextMeasure {
 public:
  TextMeasure(HDC context, HFONT font)
      : context_(context), oldFont_(font == nullptr ? nullptr : SelectObject(context, font)) {}
  ~TextMeasure() {
    if (oldFont_ != nullptr) SelectObject(context_, oldFont_);
  }
  TextMeasure(const TextMeasure&) = delete;
  TextMeasure& operator=(const TextMeasure&) = delete;

  // Pixels from one line to the next.
  int LineHeight() const {
    TEXTMETRICW metrics = {};
    GetTextMetricsW(context_, &metrics);
    return metrics.tmHeight + metrics.tmExternalLeading;
  }
  // Pixels of a text of one line.
  SIZE SizeOf(WideView text) const {
    SIZE size = {};
    GetTextExtentPoint32W(context_, text.data(), static_cast<int>(text.size()), &size);
    return size;
  }

 private:
  HDC context_;
  HGDIOBJ oldFont_;
};

}  // namespace kv
