#include "runtime/ui/window_property.h"

#include <iterator>

#include "runtime/core/startup_context.h"

namespace kv {

WindowProperty::WindowProperty(LPCWSTR suffix) {
  startupContext.instanceName.MakeUniqueName(name_, static_cast<int>(std::size(name_)), suffix);
}

}  // namespace kv
