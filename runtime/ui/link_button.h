// The button that leads from a message box to a link.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

constexpr int kLinkButton = 3239;

// A copy of the caption that ends in "..."; empty for an empty one, null when memory runs out.
std::unique_ptr<WCHAR[]> LinkCaption(LPCWSTR caption);
// Adds the button to a message box behind its own buttons and centres the row. A null or empty
// `caption` gives the product's own. Nothing happens in a box without buttons.
void AddLinkButton(HWND box, LPCWSTR caption);
// Opens what a link leads to; FALSE when the text is no link or the shell refuses.
BOOL OpenLink(HWND owner, LPCWSTR target);

}  // namespace kv
