// Window classes of this process.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>

#include "platform/control/leaks.h"
#include "platform/kernel/text.h"

namespace platform {

// The atom of the class of dialogs, "#32770".
inline constexpr WORD kDialogAtom = 0x8002;

struct WindowClass {
  WideString name;
  ATOM atom = 0;  // 0 for the system's classes but dialogs
  WNDCLASSW data = {};
  // Only of classes that the product registered.
  std::optional<CountedResource> counted;
};

// The class of a name or atom: the module's own, or else the system's. Null when there is none.
std::shared_ptr<WindowClass> FindClass(LPCWSTR name_or_atom, HINSTANCE instance);

}  // namespace platform
