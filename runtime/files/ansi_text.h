// Text on its way into ANSI files and to functions that know no other.
#pragma once

#include <memory>

#include "runtime/core/win.h"
#include "runtime/text/wide_text.h"

namespace kv {

// A new copy of the whole `text` in the ANSI code page, of `size` bytes and a terminator;
// characters that the code page does not have become others. Null after the report
// "UnicodeToAnsiNew new char" when memory runs out, and after that of the call that cannot convert
// it.
std::unique_ptr<CHAR[]> ToAnsi(WideView text, int* size);

// Holds one text in the ANSI code page.
class CAnsiText {
 public:
  // Takes a text, null for an empty one. FALSE, with an empty text, after the reports of ToAnsi.
  BOOL Set(LPCWSTR text);
  // Terminated, never null; good until the next Set.
  LPCSTR Get() const { return text_ == nullptr ? "" : text_.get(); }

 private:
  std::unique_ptr<CHAR[]> text_;
};

// Sets `text` to the short (8.3) form of the path, or to the path itself when it has none of at
// most 259 characters. FALSE as CAnsiText::Set.
BOOL ShortPathForAnsi(LPCWSTR path, CAnsiText& text);

}  // namespace kv
