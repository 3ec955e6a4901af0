#include "platform/shell/address.h"

#include <algorithm>

namespace platform {
namespace {

bool IsOfProtocol(WCHAR c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return letter || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

}  // namespace

bool IsAddress(WideView text) {
  const size_t colon = text.find(':');
  return colon != WideView::npos && colon > 1 &&
         std::all_of(text.begin(), text.begin() + colon, IsOfProtocol);
}

}  // namespace platform
