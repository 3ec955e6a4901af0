// A message box with the product's link button, for Wine. Exit status 0 when the button stood
// behind the box's own one; with an argument the box stays open.
#include <stdio.h>

#include "runtime/core/startup_context.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/link_button.h"
#include "runtime/ui/message_box_link.h"
#include "runtime/ui/thread_hook.h"

namespace {

// Windows makes message boxes with their title; Wine gives them one later, when the product no
// longer looks for it.
class TitledBoxes : public kv::CThreadHook {
 public:
  TitledBoxes() : CThreadHook(WH_CBT) {}
  LRESULT CALLBACK HookProc(int code, WPARAM wparam, LPARAM lparam) override {
    if (code == HCBT_CREATEWND) {
      CREATESTRUCTW& record = *reinterpret_cast<CBT_CREATEWNDW*>(lparam)->lpcs;
      if (kv::View(record.lpszName).empty()) record.lpszName = TEXT("Folvane");
    }
    return CThreadHook::HookProc(code, wparam, lparam);
  }
};

bool linkIsBehind = false;

void CALLBACK LookAndClose(HWND, UINT, UINT_PTR, DWORD) {
  const HWND box = FindWindowW(TEXT("#32770"), TEXT("Folvane"));
  RECT own = {}, link = {};
  linkIsBehind = GetWindowRect(GetDlgItem(box, IDOK), &own) &&
                 GetWindowRect(GetDlgItem(box, kv::kLinkButton), &link) && link.left > own.right &&
                 link.top == own.top && link.bottom == own.bottom;
  PostMessageW(box, WM_COMMAND, IDOK, 0);
}

}  // namespace

int main(int count, char**) {
  kv::CopyStringW(kv::startupContext.productName, TEXT("Folvane"));
  kv::CMessageBoxLink link;
  link.SetCaption(TEXT("More information"));
  link.SetTarget(TEXT("http://www.example.com/"));
  const TitledBoxes boxes;
  constexpr UINT kDelay = 200;  // ms
  if (count == 1) SetTimer(nullptr, 0, kDelay, LookAndClose);
  MessageBoxW(nullptr, TEXT("This message has an additional button."), TEXT("Folvane"),
              MB_OK | MB_ICONINFORMATION);
  printf(linkIsBehind ? "the link button is there\n" : "there is no link button\n");
  return linkIsBehind ? 0 : 1;
}
