#include "runtime/ipc/waits.h"

#include <algorithm>
#include <memory>
#include <new>

#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/deadline.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/text/wide_text.h"
#include "runtime/ui/progress_window.h"
#include "runtime/ui/pump_messages.h"

namespace kv {
namespace {

constexpr UINT kWindowIcon = 11;
// Beside the window's own timer 1.
constexpr UINT_PTR kWakeTimer = 2;
constexpr UINT kWakePeriod = 1000;
constexpr DWORD kJobPause = 250;

// The objects that a wait still needs.
class PendingObjects {
 public:
  PendingObjects(const HANDLE* handles, DWORD count) : handles_(handles), count_(count) {}
  // Waits for all: the handles are copied, so that those signalled can be taken out. FALSE, after a
  // report, when memory runs out.
  BOOL NeedAll() {
    copy_.reset(new (std::nothrow) HANDLE[count_]);
    if (copy_ == nullptr) {
      ShowInternalError(TEXT("WaitForMultipleObjectsWithProgress could not allocate handle array"));
      return FALSE;
    }
    std::copy_n(handles_, count_, copy_.get());
    handles_ = copy_.get();
    return TRUE;
  }
  const HANDLE* handles() const { return handles_; }
  DWORD count() const { return count_; }
  // Takes note that one is signalled; TRUE when that satisfies the wait.
  BOOL Signalled(DWORD index) {
    if (copy_ == nullptr || count_ <= 1) return TRUE;
    std::copy(copy_.get() + index + 1, copy_.get() + count_, copy_.get() + index);
    --count_;
    return FALSE;
  }

 private:
  const HANDLE* handles_;
  DWORD count_;
  std::unique_ptr<HANDLE[]> copy_;
};

BOOL OpenWindow(CProgressWnd& window, const Deadline& deadline, LPCWSTR className, LPCWSTR title,
                LPCWSTR text, LPCWSTR cancelText) {
  if (!window.Create(startupContext.hInstance, startupContext.hResources, className, title,
                     kWindowIcon, kWindowIcon, TRUE, cancelText, 0, 0, 0, 0, nullptr, nullptr)) {
    return FALSE;
  }
  window.SetText(TEXT("%s"), text == nullptr ? TEXT("") : text);
  if (deadline.IsFinite()) {
    window.SetRange(deadline.start(), deadline.end());
    SetTimer(window.window(), kWakeTimer, kWakePeriod, nullptr);
  }
  window.Show(TRUE);
  return TRUE;
}

BOOL WaitBehind(CProgressWnd& window, PendingObjects& objects, Deadline& deadline) {
  while (window.Pump()) {
    if (deadline.IsFinite()) window.SetPos(static_cast<int>(GetTickCount()));
    const DWORD count = objects.count();
    const DWORD result =
        MsgWaitForMultipleObjects(count, objects.handles(), FALSE, deadline.left(), QS_ALLINPUT);
    if (result < WAIT_OBJECT_0 + count) {
      if (objects.Signalled(result - WAIT_OBJECT_0)) return TRUE;
    } else if (result != WAIT_OBJECT_0 + count) {
      // An abandoned mutex is ours now, although the wait counts as failed.
      const DWORD abandoned = result - WAIT_ABANDONED_0;
      if (abandoned < count) ReleaseMutex(objects.handles()[abandoned]);
      return FALSE;
    }
    if (!deadline.Update()) return FALSE;
  }
  return FALSE;
}

// Asks the spooler until the job is done or a call fails for good.
template <class Query, class IsDone>
void AskUntil(Query query, IsDone isDone) {
  std::unique_ptr<BYTE[]> buffer;
  DWORD size = 0;
  for (;;) {
    DWORD needed = 0;
    if (query(buffer.get(), size, &needed)) {
      if (isDone(buffer.get())) return;
    } else {
      if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return;
      buffer.reset(new (std::nothrow) BYTE[needed]);
      if (buffer == nullptr) return;
      size = needed;
    }
    PumpMessages(nullptr);
    Sleep(kJobPause);
  }
}

}  // namespace

BOOL WaitForMultipleObjectsWithProgress(const HANDLE* handles, int count, BOOL waitAll,
                                        DWORD timeout, LPCWSTR className, LPCWSTR title,
                                        LPCWSTR text, LPCWSTR cancelText) {
  if (count < 1) return TRUE;
  PendingObjects objects(handles, static_cast<DWORD>(count));
  const DWORD polled = WaitForMultipleObjects(objects.count(), handles, waitAll, 0);
  if (polled < WAIT_OBJECT_0 + objects.count()) return TRUE;
  if (polled - WAIT_ABANDONED_0 < objects.count()) {
    for (DWORD i = 0; i < objects.count(); ++i) {
      if (waitAll || i == polled - WAIT_ABANDONED_0) ReleaseMutex(handles[i]);
    }
    return FALSE;
  }
  if (waitAll && !objects.NeedAll()) return FALSE;
  Deadline deadline(timeout);
  CProgressWnd window;
  return OpenWindow(window, deadline, className, title, text, cancelText) &&
         WaitBehind(window, objects, deadline);
}

void WaitForPrintJob(LPCWSTR printerName, DWORD jobId) {
  UniquePrinter printer;
  if (View(printerName).empty() || jobId == 0 ||
      !OpenPrinterHandle(printerName, printer.Receive(), nullptr, FALSE)) {
    return;
  }
  if (startupContext.platform.win9xKind != 0) {
    AskUntil([&](BYTE* buffer, DWORD size,
                 DWORD* needed) { return GetPrinterW(printer.Get(), 2, buffer, size, needed); },
             [](const BYTE* info) {
               return reinterpret_cast<const PRINTER_INFO_2W*>(info)->cJobs == 0;
             });
    return;
  }
  AskUntil([&](BYTE* buffer, DWORD size,
               DWORD* needed) { return GetJobW(printer.Get(), jobId, 2, buffer, size, needed); },
           [](const BYTE* info) {
             return (reinterpret_cast<const JOB_INFO_2W*>(info)->Status & JOB_STATUS_PRINTED) != 0;
           });
}

DWORD WaitForThreadExit(HANDLE thread) {
  WaitForSingleObject(thread, INFINITE);
  DWORD exitCode = 0;
  return GetExitCodeThread(thread, &exitCode) ? exitCode : 0;
}

}  // namespace kv
