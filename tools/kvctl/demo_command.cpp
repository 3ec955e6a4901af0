#include <algorithm>

#include "resources/string_ids.h"
#include "runtime/core/startup_context.h"
#include "runtime/ui/message_box_link.h"
#include "runtime/ui/progress_window.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr Option kSecondsOption = {TEXT("--seconds"), true};
constexpr Option kDelayOption = {TEXT("--delay"), true};
constexpr Option kTargetOption = {TEXT("--target"), true};
constexpr Option kCaptionOption = {TEXT("--caption"), true};
constexpr DWORD kStep = 50;  // ms

// The option as a number of at most four digits; FALSE after a message.
BOOL ReadNumber(const Arguments& arguments, const Option& option, WideView otherwise,
                DWORD& number) {
  const WideString text = arguments.Value(option, otherwise);
  const bool isNumber =
      !text.empty() && text.size() <= 4 &&
      std::all_of(text.begin(), text.end(), [](WCHAR c) { return c >= '0' && c <= '9'; });
  if (isNumber) {
    number = static_cast<DWORD>(kv::ParseDecimal(text.c_str()));
    return TRUE;
  }
  PrintError(Text(IDS_CTL_DEMO_NOT_A_NUMBER, option.name, text.c_str()));
  return FALSE;
}

// Moves the bar for that long (milliseconds); FALSE when the user cancels.
BOOL MoveBar(kv::CProgressWnd& window, DWORD duration) {
  constexpr DWORD kSecond = 1000;
  window.SetRange(0, static_cast<int>(duration));
  const DWORD start = GetTickCount();
  DWORD shownSecond = ~DWORD{0};
  for (DWORD passed = 0; passed < duration; passed = GetTickCount() - start) {
    if (passed / kSecond != shownSecond) {
      shownSecond = passed / kSecond;
      window.SetText(TEXT("%s"), Text(IDS_CTL_DEMO_STEP, Number(shownSecond).c_str(),
                                      Number(duration / kSecond).c_str())
                                     .c_str());
    }
    window.SetPos(static_cast<int>(passed));
    if (!window.Pump()) return FALSE;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, kStep, QS_ALLINPUT);
  }
  return TRUE;
}

ExitStatus ShowProgress(const Arguments& arguments) {
  DWORD seconds, delay;
  if (!ReadNumber(arguments, kSecondsOption, TEXT("5"), seconds) ||
      !ReadNumber(arguments, kDelayOption, TEXT("0"), delay)) {
    return kUsage;
  }
  const kv::StartupContext& context = kv::startupContext;
  kv::CProgressWnd window;
  if (!window.Create(context.hInstance, context.hResources, TEXT("KvctlDemo"), context.productName,
                     IDI_PRODUCT, IDI_PRODUCT, TRUE, nullptr, 0, 0, 0, 0, nullptr, nullptr)) {
    return kFailed;
  }
  window.SetShowDelay(delay);
  const BOOL finished = MoveBar(window, seconds * 1000);
  PrintLine(Text(finished ? IDS_CTL_DEMO_FINISHED : IDS_CTL_DEMO_CANCELLED));
  return finished ? kDone : kFailed;
}

// While one lives, reports are message boxes, as in a program with windows.
class MessageBoxScope {
 public:
  MessageBoxScope() : sink_(kv::startupContext.messageSink) { kv::SetMessageSink(nullptr); }
  ~MessageBoxScope() { kv::SetMessageSink(sink_); }
  MessageBoxScope(const MessageBoxScope&) = delete;
  MessageBoxScope& operator=(const MessageBoxScope&) = delete;

 private:
  kv::MessageSink sink_;
};

ExitStatus ShowLinkBox(const Arguments& arguments) {
  const MessageBoxScope boxes;
  kv::CMessageBoxLink link;
  link.SetCaption(TEXT("%s"), arguments.Value(kCaptionOption).c_str());
  link.SetTarget(TEXT("%s"), arguments.Value(kTargetOption, kv::startupContext.webSite).c_str());
  kv::ShowInfo(IDS_CTL_DEMO_BOX);
  return kDone;
}

constexpr Option kProgressOptions[] = {kSecondsOption, kDelayOption};
constexpr Option kLinkBoxOptions[] = {kTargetOption, kCaptionOption};
constexpr Action kActions[] = {{TEXT("progress"), kProgressOptions, 0, 0, ShowProgress},
                               {TEXT("linkbox"), kLinkBoxOptions, 0, 0, ShowLinkBox}};

}  // namespace

const Command kDemoCommand = {TEXT("demo"), IDS_CTL_DEMO_SUMMARY, IDS_CTL_DEMO_USAGE, kActions};

}  // namespace kvctl
