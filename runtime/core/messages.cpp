#include "runtime/core/messages.h"

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/startup_context.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

constexpr int kTextCapacity = 1024;  // what wvsprintfW writes at most
constexpr int kTitleCapacity = 128;
constexpr UINT kButtonMask = 0xF;

int SilentAnswer(UINT style) {
  const UINT buttons = style & kButtonMask;
  return buttons == MB_YESNOCANCEL || buttons == MB_YESNO ? IDYES : IDOK;
}

int ShowFormatted(BoxStyle style, LPCWSTR format, va_list arguments) {
  const LastErrorScope scope;
  WCHAR text[kTextCapacity + 1] = {};
  wvsprintfW(text, format, arguments);
  return ShowMessage(text, style);
}

BOOL CALLBACK ConsiderOwner(HWND window, LPARAM result) {
  constexpr DWORD kVisiblePopup = WS_POPUP | WS_VISIBLE;
  const DWORD style = static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
  if ((style & kVisiblePopup) != kVisiblePopup) return TRUE;
  *reinterpret_cast<HWND*>(result) = GetLastActivePopup(window);
  return (style & WS_DISABLED) != 0;
}

}  // namespace

int ShowMessage(LPCWSTR text, UINT style) {
  const LastErrorScope scope;
  if (startupContext.silent != 0 || text == nullptr || text[0] == 0) return SilentAnswer(style);
  WCHAR title[kTitleCapacity];
  CopyStringW(title, startupContext.productName);
  if (startupContext.messageSink != nullptr) return startupContext.messageSink(text, title, style);
  SetCursor(LoadCursorW(nullptr, IDC_ARROW));
  return MessageBoxW(FindOwnerWindow(0), text, title, style);
}

void SetMessageSink(MessageSink sink) {
  startupContext.messageSink = sink;
}

HWND FindOwnerWindow(DWORD threadId) {
  HWND owner = nullptr;
  EnumThreadWindows(threadId == 0 ? GetCurrentThreadId() : threadId, ConsiderOwner,
                    reinterpret_cast<LPARAM>(&owner));
  return owner;
}

int ShowResourceBox(BoxStyle style, UINT number, Inserts inserts) {
  const LastErrorScope scope;
  WCHAR text[kTextCapacity];
  LoadResourceStringV(text, kTextCapacity, number, inserts);
  return ShowMessage(text, style);
}

int ShowErrorF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kErrorBox, format, arguments);
  va_end(arguments);
  return answer;
}

int ShowInfoF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kInfoBox, format, arguments);
  va_end(arguments);
  return answer;
}

int AskOkCancelF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kOkCancelBox, format, arguments);
  va_end(arguments);
  return answer;
}

int AskRetryCancelF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kRetryCancelBox, format, arguments);
  va_end(arguments);
  return answer;
}

int AskAbortRetryIgnoreF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kAbortRetryIgnoreBox, format, arguments);
  va_end(arguments);
  return answer;
}

int ShowWarningF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kWarningBox, format, arguments);
  va_end(arguments);
  return answer;
}

int AskYesNoF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kYesNoBox, format, arguments);
  va_end(arguments);
  return answer;
}

int AskYesNoCancelF(LPCWSTR format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int answer = ShowFormatted(kYesNoCancelBox, format, arguments);
  va_end(arguments);
  return answer;
}

int ShowInternalError(LPCWSTR what) {
  return ShowError(IDS_INTERNAL_ERROR, what);
}

int ShowResourceError() {
  return ShowError(IDS_RESOURCE_ERROR);
}

int ShowLastError(LPCWSTR call) {
  return ShowErrorCode(call, GetLastError());
}

int ShowErrorCode(LPCWSTR call, DWORD code) {
  const LastErrorScope scope;
  WCHAR reason[kErrorTextCapacity];
  GetErrorSuffix(code, reason, kErrorTextCapacity);
  return ShowError(IDS_CALL_FAILED, call, reason);
}

BOOL ReportFailedCall(LPCWSTR call) {
  ShowLastError(call);
  return FALSE;
}

BOOL ReportNoMemory(LPCWSTR what) {
  ShowInternalError(what);
  return FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

}  // namespace kv
