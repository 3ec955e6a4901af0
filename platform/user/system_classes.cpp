#include "platform/user/system_classes.h"

#include <commctrl.h>

#include "platform/user/combo_box.h"
#include "platform/user/control_state.h"
#include "platform/user/controls.h"
#include "platform/user/message_box.h"

namespace platform {
namespace {

std::shared_ptr<WindowClass> SystemClass(LPCWSTR name, ATOM atom, WNDPROC procedure, int extra) {
  auto result = std::make_shared<WindowClass>();
  result->name = name;
  result->atom = atom;
  result->data.lpfnWndProc = procedure;
  result->data.cbWndExtra = extra;
  return result;
}

}  // namespace

std::vector<std::shared_ptr<WindowClass>> SystemClasses() {
  return {SystemClass(TEXT("#32770"), kDialogAtom, MessageBoxProcedure, DLGWINDOWEXTRA),
          SystemClass(TEXT("Static"), 0, StaticProcedure, ControlExtra(kStaticValues)),
          SystemClass(TEXT("Button"), 0, ButtonProcedure, ControlExtra(kButtonValues)),
          SystemClass(TEXT("ComboBox"), 0, ComboBoxProcedure, ControlExtra(kComboBoxValues)),
          SystemClass(PROGRESS_CLASSW, 0, ProgressProcedure, ControlExtra(kProgressValues))};
}

}  // namespace platform
