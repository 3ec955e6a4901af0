// Reports to the user. Every report of the library goes through ShowMessage; the Silent setting
// turns all boxes off.
//
// Each family of boxes has a form that takes the number of a string of the language resource
// library and its inserts, and a form (…F) that takes a wvsprintfW format and its arguments; both
// texts are cut to 1023 characters. All return the button that the user chose; without a box, as
// the Silent setting or an empty text wants it, the likely answer: IDYES for questions with Yes and
// No, else IDOK; and 0, which is no button, when the system cannot show the box. All leave the last
// error as it was before.
#pragma once

#include "runtime/core/last_error.h"
#include "runtime/core/resource_text.h"
#include "runtime/core/win.h"

namespace kv {

// Shows `text` with the MessageBoxW style `style`, titled with the product's name (its first 127
// characters) and owned by the window that FindOwnerWindow finds for the calling thread. Nothing is
// shown for an empty text or when the Silent setting is on.
int ShowMessage(LPCWSTR text, UINT style);

// Where reports go instead of a message box, for a program without windows, which says so before it
// starts threads; it returns the chosen button. Null: to message boxes again.
using MessageSink = int (*)(LPCWSTR text, LPCWSTR title, UINT style);
void SetMessageSink(MessageSink sink);

// The window that should own a box of the thread (0: the calling thread): the last active popup of
// its first visible, enabled popup window, else that of its last visible one, else null.
HWND FindOwnerWindow(DWORD threadId);

// Styles of the box families; each brings its box to the foreground.
enum BoxStyle : UINT {
  kErrorBox = MB_SETFOREGROUND | MB_ICONERROR | MB_OK,
  kInfoBox = MB_SETFOREGROUND | MB_ICONINFORMATION | MB_OK,
  kOkCancelBox = MB_SETFOREGROUND | MB_ICONINFORMATION | MB_OKCANCEL,
  kRetryCancelBox = MB_SETFOREGROUND | MB_ICONERROR | MB_RETRYCANCEL,
  kAbortRetryIgnoreBox = MB_SETFOREGROUND | MB_ICONERROR | MB_ABORTRETRYIGNORE,
  kWarningBox = MB_SETFOREGROUND | MB_ICONWARNING | MB_OK,
  kYesNoBox = MB_SETFOREGROUND | MB_ICONQUESTION | MB_YESNO,
  kYesNoCancelBox = MB_SETFOREGROUND | MB_ICONQUESTION | MB_YESNOCANCEL,
};

// What the resource forms rest on: the string `number` with `inserts` in a box of that style.
int ShowResourceBox(BoxStyle style, UINT number, Inserts inserts);

template <class... Texts>
int ShowError(UINT number, Texts... inserts) {
  return ShowResourceBox(kErrorBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int ShowInfo(UINT number, Texts... inserts) {
  return ShowResourceBox(kInfoBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int AskOkCancel(UINT number, Texts... inserts) {
  return ShowResourceBox(kOkCancelBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int AskRetryCancel(UINT number, Texts... inserts) {
  return ShowResourceBox(kRetryCancelBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int AskAbortRetryIgnore(UINT number, Texts... inserts) {
  return ShowResourceBox(kAbortRetryIgnoreBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int ShowWarning(UINT number, Texts... inserts) {
  return ShowResourceBox(kWarningBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int AskYesNo(UINT number, Texts... inserts) {
  return ShowResourceBox(kYesNoBox, number, InsertList<Texts...>(inserts...));
}
template <class... Texts>
int AskYesNoCancel(UINT number, Texts... inserts) {
  return ShowResourceBox(kYesNoCancelBox, number, InsertList<Texts...>(inserts...));
}

int ShowErrorF(LPCWSTR format, ...);
int ShowInfoF(LPCWSTR format, ...);
int AskOkCancelF(LPCWSTR format, ...);
int AskRetryCancelF(LPCWSTR format, ...);
int AskAbortRetryIgnoreF(LPCWSTR format, ...);
int ShowWarningF(LPCWSTR format, ...);
int AskYesNoF(LPCWSTR format, ...);
int AskYesNoCancelF(LPCWSTR format, ...);

// An allocation or another internal step failed; `what` names it in the developer's words ("new
// PortInfo failed").
int ShowInternalError(LPCWSTR what);
// A resource could not be read.
int ShowResourceError();
// The system call `call` failed with the thread's last error, or with `code`.
int ShowLastError(LPCWSTR call);
int ShowErrorCode(LPCWSTR call, DWORD code);
// The same, and FALSE for the caller to return.
BOOL ReportFailedCall(LPCWSTR call);
// The internal-error box with `what` for memory that has run out: FALSE with
// ERROR_NOT_ENOUGH_MEMORY.
BOOL ReportNoMemory(LPCWSTR what);

}  // namespace kv
