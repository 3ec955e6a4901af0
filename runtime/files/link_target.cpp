#include "runtime/files/link_target.h"

#include "runtime/text/wide_text.h"

namespace kv {

BOOL IsLinkTarget(LPCWSTR text) {
  return View(text).starts_with(TEXT("mailto:")) || View(text).find(TEXT("://")) != WideView::npos;
}

}  // namespace kv
