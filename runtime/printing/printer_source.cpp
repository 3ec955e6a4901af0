#include "runtime/printing/printer_source.h"

#include "runtime/printing/connection_name.h"

namespace kv {

WideView ServerPartOf(LPCWSTR name) {
  if (!IsConnectionName(name)) return {};
  const WideView rest = View(name).substr(2);
  return rest.substr(0, rest.find(TEXT('\\')));
}

}  // namespace kv
