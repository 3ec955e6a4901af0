#include "runtime/ui/ellipsis.h"

#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {

void AppendEllipsis(LPWSTR text, size_t capacity) {
  if (!View(text).ends_with(TEXT("..."))) AppendText(text, capacity, TEXT("..."));
}

}  // namespace kv
