// Reports to the user.
#include "runtime/core/messages.h"

#include "platform/control/message_boxes.h"
#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

class MessagesTest : public RuntimeTest {};

struct Family {
  int (*show)(LPCWSTR text);
  UINT style;
  int chosen;  // a button of that box
  int silent;
};

constexpr WCHAR kAny[] = TEXT("%s");
const Family kFamilies[] = {
    {[](LPCWSTR text) { return ShowErrorF(kAny, text); }, 0x10010, IDOK, IDOK},
    {[](LPCWSTR text) { return ShowInfoF(kAny, text); }, 0x10040, IDOK, IDOK},
    {[](LPCWSTR text) { return AskOkCancelF(kAny, text); }, 0x10041, IDCANCEL, IDOK},
    {[](LPCWSTR text) { return AskRetryCancelF(kAny, text); }, 0x10015, IDRETRY, IDOK},
    {[](LPCWSTR text) { return AskAbortRetryIgnoreF(kAny, text); }, 0x10012, IDIGNORE, IDOK},
    {[](LPCWSTR text) { return ShowWarningF(kAny, text); }, 0x10030, IDOK, IDOK},
    {[](LPCWSTR text) { return AskYesNoF(kAny, text); }, 0x10024, IDNO, IDYES},
    {[](LPCWSTR text) { return AskYesNoCancelF(kAny, text); }, 0x10023, IDCANCEL, IDYES},
    {[](LPCWSTR text) { return ShowError(IDS_CALL_FAILED, text, TEXT("")); }, 0x10010, IDOK, IDOK},
    {[](LPCWSTR text) { return ShowInfo(IDS_CALL_FAILED, text, TEXT("")); }, 0x10040, IDOK, IDOK},
    {[](LPCWSTR text) { return AskOkCancel(IDS_CALL_FAILED, text, TEXT("")); }, 0x10041, IDCANCEL,
     IDOK},
    {[](LPCWSTR text) { return AskRetryCancel(IDS_CALL_FAILED, text, TEXT("")); }, 0x10015, IDRETRY,
     IDOK},
    {[](LPCWSTR text) { return AskAbortRetryIgnore(IDS_CALL_FAILED, text, TEXT("")); }, 0x10012,
     IDABORT, IDOK},
    {[](LPCWSTR text) { return ShowWarning(IDS_CALL_FAILED, text, TEXT("")); }, 0x10030, IDOK,
     IDOK},
    {[](LPCWSTR text) { return AskYesNo(IDS_CALL_FAILED, text, TEXT("")); }, 0x10024, IDNO, IDYES},
    {[](LPCWSTR text) { return AskYesNoCancel(IDS_CALL_FAILED, text, TEXT("")); }, 0x10023, IDNO,
     IDYES},
};

TEST_F(MessagesTest, EveryFamilyHasItsStyleAndItsSilentAnswer) {
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(&family - kFamilies);
    platform::AnswerNextBox(family.chosen);
    EXPECT_EQ(family.show(TEXT("text")), family.chosen);
    EXPECT_EQ(platform::ShownBoxes().back().style, family.style);
    EXPECT_EQ(WideView(platform::ShownBoxes().back().title), TEXT("Folvane"));
    const size_t shown = platform::ShownBoxes().size();
    startupContext.silent = 1;
    EXPECT_EQ(family.show(TEXT("text")), family.silent);
    startupContext.silent = 0;
    EXPECT_EQ(platform::ShownBoxes().size(), shown);
  }
  EXPECT_EQ(AskYesNoF(TEXT("")), IDYES) << "an empty text shows nothing";
  EXPECT_EQ(ShowError(29999), IDOK) << "a number without a text shows nothing";
}

TEST_F(MessagesTest, LongTextsAreCut) {
  platform::AnswerNextBox(IDOK);
  const std::basic_string<WCHAR> text(3000, 'x');
  ShowErrorF(TEXT("%s"), text.c_str());
  EXPECT_EQ(platform::ShownBoxes().back().text.size(), 1023u);
  platform::AnswerNextBox(IDOK);
  ShowInternalError(text.c_str());
  EXPECT_EQ(platform::ShownBoxes().back().text.size(), 1023u);
}

TEST_F(MessagesTest, ReportsCarryTheSystemsWordsAndLeaveTheLastError) {
  const LPCWSTR failed = TEXT("WriteFile failed.\n\nThe system cannot find the file specified.");
  const struct {
    int (*report)();
    LPCWSTR text;
    int answer;
    DWORD error;
  } kReports[] = {
      {[] { return ShowLastError(TEXT("WriteFile")); }, failed, IDOK, ERROR_FILE_NOT_FOUND},
      {[] { return ShowErrorCode(TEXT("WriteFile"), ERROR_ACCESS_DENIED); },
       TEXT("WriteFile failed.\n\nAccess is denied."), IDOK, ERROR_FILE_NOT_FOUND},
      {[] { return ReportFailedCall(TEXT("WriteFile")); }, failed, FALSE, ERROR_FILE_NOT_FOUND},
      {[] { return ReportNoMemory(TEXT("Here")); }, TEXT("An internal error occurred: Here."),
       FALSE, ERROR_NOT_ENOUGH_MEMORY},
      {[] { return ShowInternalError(TEXT("Here")); }, TEXT("An internal error occurred: Here."),
       IDOK, ERROR_FILE_NOT_FOUND},
      {ShowResourceError,
       TEXT("A text or picture of the program could not be loaded. Please install the program "
            "again."),
       IDOK, ERROR_FILE_NOT_FOUND},
      {[] { return ShowErrorF(TEXT("%s-%d"), TEXT("a"), 7); }, TEXT("a-7"), IDOK,
       ERROR_FILE_NOT_FOUND},
  };
  for (const auto& report : kReports) {
    platform::AnswerNextBox([](HWND) {
      SetLastError(4711);
      return IDOK;
    });
    SetLastError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(report.report(), report.answer);
    EXPECT_EQ(GetLastError(), report.error) << (&report - kReports);
    EXPECT_EQ(WideView(platform::ShownBoxes().back().text), report.text);
  }
}

TEST_F(MessagesTest, ErrorTextsNeedRoomAndACode) {
  WCHAR text[kErrorTextCapacity];
  const auto suffix = [&](DWORD code, int capacity) {
    text[0] = '#';
    GetErrorSuffix(code, text, capacity);
    return WideView(text);
  };
  EXPECT_EQ(suffix(ERROR_FILE_NOT_FOUND, 256),
            TEXT(".\n\nThe system cannot find the file specified"));
  EXPECT_EQ(suffix(ERROR_FILE_NOT_FOUND, 81),
            TEXT(".\n\nThe system cannot find the file specified"));
  EXPECT_EQ(suffix(ERROR_FILE_NOT_FOUND, 80), TEXT(""));
  EXPECT_EQ(suffix(ERROR_SUCCESS, 256), TEXT(""));
  EXPECT_EQ(suffix(0x2FFFFFFF, 256), TEXT("")) << "a code without a text";
  platform::FailCall("FormatMessageW", 2, 0, 2);
  EXPECT_EQ(suffix(ERROR_FILE_NOT_FOUND, 256), TEXT("")) << "no room behind the separator";
  GetSystemErrorText(ERROR_FILE_NOT_FOUND, nullptr, 256);
  GetSystemErrorText(ERROR_FILE_NOT_FOUND, text, 256);
  EXPECT_EQ(WideView(text), TEXT("The system cannot find the file specified.\r\n"));
  SetLastError(ERROR_ACCESS_DENIED);
  GetLastErrorText(text, 256);
  EXPECT_EQ(WideView(text), TEXT("Access is denied.\r\n"));
  SetLastError(ERROR_FILE_NOT_FOUND);
  GetLastErrorSuffix(text, 256);
  EXPECT_EQ(WideView(text), TEXT(".\n\nThe system cannot find the file specified"));
  text[0] = '#';
  GetLastErrorSuffix(text, 0);
  EXPECT_EQ(text[0], '#') << "there is no room at all";
}

TEST_F(MessagesTest, AnErrorTextThatIsTooLongIsCut) {
  const std::basic_string<WCHAR> whole = TEXT(
      "The service cannot be started, either because it is disabled or because it has no "
      "enabled devices associated with it.\r\n");
  for (int capacity = 81; capacity <= 130; ++capacity) {
    WCHAR text[140], suffix[140];
    for (WCHAR& c : text) c = '#';
    GetSystemErrorText(ERROR_SERVICE_DISABLED, text, capacity);
    EXPECT_EQ(WideView(text), WideView(whole).substr(0, capacity - 1)) << capacity;
    EXPECT_EQ(text[capacity], '#');
    GetErrorSuffix(ERROR_SERVICE_DISABLED, suffix, capacity);
    std::basic_string<WCHAR> expected = TEXT(".\n\n") + whole.substr(0, capacity - 4);
    while (expected.ends_with(' ') || expected.ends_with('\n') || expected.ends_with('\r'))
      expected.pop_back();
    if (expected.ends_with('.')) expected.pop_back();
    EXPECT_EQ(WideView(suffix), expected) << capacity;
  }
}

// The text of a foreign system that ends with its own full stop.
DWORD WINAPI JapaneseText(DWORD, LPCVOID, DWORD, DWORD, LPWSTR buffer, DWORD, va_list*) {
  const WideView text = TEXT("\u3042\u3044\u3002 \r\n");
  text.copy(buffer, text.size());
  buffer[text.size()] = 0;
  return static_cast<DWORD>(text.size());
}

TEST_F(MessagesTest, OneFullStopOfAnyKindIsRemoved) {
  platform::Replace("FormatMessageW", &JapaneseText);
  WCHAR text[kErrorTextCapacity];
  GetErrorSuffix(5, text, kErrorTextCapacity);
  EXPECT_EQ(WideView(text), TEXT(".\n\n\u3042\u3044"));
}

HWND CreatePopup(DWORD style) {
  return CreateWindowExW(0, TEXT("STATIC"), TEXT(""), style, 0, 0, 10, 10, nullptr, nullptr,
                         nullptr, nullptr);
}

TEST_F(MessagesTest, OwnerIsTheFirstEnabledVisiblePopup) {
  EXPECT_EQ(FindOwnerWindow(0), nullptr);
  const HWND overlapped = CreatePopup(WS_VISIBLE);
  const HWND hidden = CreatePopup(WS_POPUP);
  EXPECT_EQ(FindOwnerWindow(0), nullptr);
  const HWND disabled = CreatePopup(WS_POPUP | WS_VISIBLE | WS_DISABLED);
  EXPECT_EQ(FindOwnerWindow(0), disabled) << "the last candidate";
  const HWND enabled = CreatePopup(WS_POPUP | WS_VISIBLE);
  EXPECT_EQ(FindOwnerWindow(GetCurrentThreadId()), enabled);
  platform::AnswerNextBox(IDOK);
  ShowErrorF(TEXT("x"));
  EXPECT_EQ(platform::ShownBoxes().back().owner, enabled);
  for (const HWND window : {overlapped, hidden, disabled, enabled}) DestroyWindow(window);
}

int Sink(LPCWSTR text, LPCWSTR, UINT style) {
  return WideView(text) == TEXT("to the sink") && style == kErrorBox ? 4711 : 0;
}

TEST_F(MessagesTest, AProgramWithoutWindowsTakesTheReportsItself) {
  SetMessageSink(Sink);
  EXPECT_EQ(ShowErrorF(TEXT("to the %s"), TEXT("sink")), 4711);
  EXPECT_EQ(platform::CallCount("MessageBoxW"), 0u);
}

}  // namespace
}  // namespace kv::test
