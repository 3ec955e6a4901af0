#include <commctrl.h>

#include <algorithm>

#include "platform/control/faults.h"
#include "platform/kernel/api_call.h"
#include "platform/user/control_state.h"
#include "platform/user/controls.h"

namespace platform {
namespace {

// Behind the font.
constexpr int kLow = 1;
constexpr int kHigh = 2;
constexpr int kPosition = 3;
constexpr int kStep = 4;
static_assert(kStep + 1 == kProgressValues);

int Value(HWND bar, int number) {
  return static_cast<int>(ControlValue(bar, number));
}

// Returns the previous position.
int MoveTo(HWND bar, LONGLONG position) {
  const LONGLONG low = Value(bar, kLow), high = std::max<LONGLONG>(low, Value(bar, kHigh));
  return static_cast<int>(
      SetControlValue(bar, kPosition, static_cast<int>(std::clamp(position, low, high))));
}

// Behind its end the bar begins anew.
int Step(HWND bar) {
  const LONGLONG low = Value(bar, kLow), span = LONGLONG{Value(bar, kHigh)} - low;
  LONGLONG next = LONGLONG{Value(bar, kPosition)} + Value(bar, kStep);
  if (span > 0 && next > low + span) next = low + (next - low) % span;
  return MoveTo(bar, next);
}

LRESULT SetRange(HWND bar, int low, int high) {
  const LONG old_low = static_cast<LONG>(SetControlValue(bar, kLow, low));
  const LONG old_high = static_cast<LONG>(SetControlValue(bar, kHigh, high));
  MoveTo(bar, Value(bar, kPosition));
  return MAKELONG(old_low, old_high);
}

LRESULT GetRange(HWND bar, bool low_end, PBRANGE* range) {
  const PBRANGE ends = {Value(bar, kLow), Value(bar, kHigh)};
  if (range != nullptr) *range = ends;
  return low_end ? ends.iLow : ends.iHigh;
}

}  // namespace

LRESULT CALLBACK ProgressProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  OutsideTest own_code;
  switch (message) {
    case WM_CREATE:
      SetControlValue(window, kHigh, 100);
      SetControlValue(window, kStep, 10);
      return 0;
    case PBM_SETRANGE32:
      return SetRange(window, static_cast<int>(wparam), static_cast<int>(lparam));
    case PBM_GETRANGE:
      return GetRange(window, wparam != 0, reinterpret_cast<PBRANGE*>(lparam));
    case PBM_SETPOS:
      return MoveTo(window, static_cast<int>(wparam));
    case PBM_GETPOS:
      return Value(window, kPosition);
    case PBM_SETSTEP:
      return SetControlValue(window, kStep, static_cast<int>(wparam));
    case PBM_STEPIT:
      return Step(window);
    default:
      return ControlMessage(window, message, wparam, lparam);
  }
}

}  // namespace platform

void WINAPI InitCommonControls() {
  KV_API_VOID(InitCommonControls);
}
