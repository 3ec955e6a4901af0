#include "runtime/registry/stable_text.h"

#include "runtime/text/text.h"

namespace kv {

bool LiesIn(const void* place, const void* buffer, size_t size) {
  const auto at = reinterpret_cast<ULONG_PTR>(place), start = reinterpret_cast<ULONG_PTR>(buffer);
  return buffer != nullptr && at >= start && at - start < size;
}

StableText::StableText(LPCWSTR text, bool mayChange) : place_(text), text_(text) {
  if (!mayChange) return;
  if (kv::View(text).size() < MAX_PATH) {
    CopyStringW(short_, text);
    text_ = short_;
    return;
  }
  long_ = CopyOf(text);
  text_ = long_.get();
  held_ = long_ != nullptr;
  if (!held_) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
}

LPCWSTR StableText::Restore() const {
  if (held_ && text_ != place_)
    CopyStringW(const_cast<LPWSTR>(place_), static_cast<int>(View().size()) + 1, text_);
  return place_;
}

}  // namespace kv
