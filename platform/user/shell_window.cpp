#include "platform/user/shell_window.h"

#include "platform/kernel/api_call.h"
#include "platform/services/sessions.h"

namespace platform {
namespace {

// Below all handles of windows of this process.
const HWND kDesktop = reinterpret_cast<HWND>(UINT_PTR{0x00010000});
const HWND kShell = reinterpret_cast<HWND>(UINT_PTR{0x00010002});

}  // namespace

std::optional<DWORD> ProcessOfShellWindow(HWND window) {
  if (window != kShell) return std::nullopt;
  const std::optional<SessionProcess> shell = ShellProcess();
  return shell ? std::optional(shell->id) : std::nullopt;
}

}  // namespace platform

using namespace platform;

HWND WINAPI GetShellWindow() {
  KV_API_NOFAIL(GetShellWindow, nullptr);
  return ShellProcess() ? kShell : nullptr;
}

HWND WINAPI GetDesktopWindow() {
  KV_API_NOFAIL(GetDesktopWindow, nullptr);
  return kDesktop;
}
