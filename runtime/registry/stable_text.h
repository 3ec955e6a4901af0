// Arguments that may lie in a buffer of the object that they are given to.
#pragma once

#include <memory>

#include "runtime/core/win.h"
#include "runtime/text/wide_text.h"

namespace kv {

// Whether `place` is one of `size` bytes from `buffer` on; never for a null buffer.
bool LiesIn(const void* place, const void* buffer, size_t size);

// A text that stays the same while an operation changes the buffer in which it may lie.
class StableText {
 public:
  // Refers to `text`, null included, or keeps a copy of it where `mayChange` says so. Without
  // memory for the copy there is none, and the last error is ERROR_NOT_ENOUGH_MEMORY.
  StableText(LPCWSTR text, bool mayChange);
  StableText(const StableText&) = delete;
  StableText& operator=(const StableText&) = delete;

  explicit operator bool() const { return held_; }
  LPCWSTR Get() const { return text_; }
  WideView View() const { return kv::View(text_); }
  // Puts the text back to where it was when something else has come there; returns that place.
  LPCWSTR Restore() const;

 private:
  LPCWSTR place_;
  LPCWSTR text_;
  bool held_ = true;
  WCHAR short_[MAX_PATH];  // most texts need no allocation
  std::unique_ptr<WCHAR[]> long_;
};

}  // namespace kv
