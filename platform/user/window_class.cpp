#include "platform/user/window_class.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "platform/kernel/api_call.h"
#include "platform/kernel/atoms.h"
#include "platform/kernel/machine.h"
#include "platform/user/system_classes.h"
#include "platform/user/window.h"

namespace platform {
namespace {

using ClassPointer = std::shared_ptr<WindowClass>;

struct Classes {
  std::mutex mutex;
  std::vector<ClassPointer> system = SystemClasses();
  std::vector<ClassPointer> registered;
};

Classes& classes() {
  static Classes* instance = new Classes;
  return *instance;
}

bool IsNamed(const WindowClass& candidate, LPCWSTR name_or_atom) {
  if (IS_INTRESOURCE(name_or_atom)) {
    const auto atom = static_cast<ATOM>(reinterpret_cast<ULONG_PTR>(name_or_atom));
    return atom != 0 && candidate.atom == atom;
  }
  return EqualNoCase(candidate.name, name_or_atom);
}

// Both with the lock held.
auto FindRegistered(LPCWSTR name_or_atom, HINSTANCE instance) {
  auto& all = classes().registered;
  return std::find_if(all.begin(), all.end(), [&](const ClassPointer& candidate) {
    return candidate->data.hInstance == instance && IsNamed(*candidate, name_or_atom);
  });
}

ClassPointer FindSystem(LPCWSTR name_or_atom) {
  for (const ClassPointer& candidate : classes().system) {
    if (IsNamed(*candidate, name_or_atom)) return candidate;
  }
  return nullptr;
}

}  // namespace

std::shared_ptr<WindowClass> FindClass(LPCWSTR name_or_atom, HINSTANCE instance) {
  std::lock_guard lock(classes().mutex);
  const auto found = FindRegistered(name_or_atom, instance);
  return found != classes().registered.end() ? *found : FindSystem(name_or_atom);
}

}  // namespace platform

using namespace platform;

ATOM WINAPI RegisterClassW(const WNDCLASSW* data) {
  KV_API(RegisterClassW, ERROR_NOT_ENOUGH_MEMORY, 0, data);
  if (data->lpfnWndProc == nullptr || data->lpszClassName == nullptr || data->cbClsExtra < 0 ||
      data->cbWndExtra < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (IS_INTRESOURCE(data->lpszClassName) || data->cbClsExtra != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  const ATOM atom = Machine::Current().Part<Atoms>().Add(data->lpszClassName);
  if (atom == 0) return 0;
  std::lock_guard lock(classes().mutex);
  if (FindRegistered(data->lpszClassName, data->hInstance) != classes().registered.end()) {
    SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return 0;
  }
  auto added = std::make_shared<WindowClass>();
  added->name = data->lpszClassName;
  added->atom = atom;
  added->data = *data;
  added->counted.emplace(Resource::kWindowClass);
  classes().registered.push_back(std::move(added));
  return atom;
}

BOOL WINAPI UnregisterClassW(LPCWSTR name, HINSTANCE instance) {
  KV_API_NOFAIL(UnregisterClassW, FALSE, name, instance);
  std::lock_guard lock(classes().mutex);
  const auto found = FindRegistered(name, instance);
  if (found == classes().registered.end()) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return FALSE;
  }
  if (ClassHasWindows(**found)) {
    SetLastError(ERROR_CLASS_HAS_WINDOWS);
    return FALSE;
  }
  classes().registered.erase(found);
  return TRUE;
}

BOOL WINAPI GetClassInfoW(HINSTANCE instance, LPCWSTR name, LPWNDCLASSW data) {
  KV_API(GetClassInfoW, ERROR_CLASS_DOES_NOT_EXIST, FALSE, instance, name, data);
  const auto found = FindClass(name, instance);
  if (found == nullptr) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return FALSE;
  }
  *data = found->data;
  data->lpszClassName = name;
  return TRUE;
}
