#include "platform/user/message_queue.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/control/leaks.h"
#include "platform/user/window.h"

namespace platform {
namespace {

// A message on its way between two threads.
struct SentMessage {
  HWND window;
  UINT message;
  WPARAM wparam;
  LPARAM lparam;
  LRESULT result = 0;
  bool done = false;
};
using SentPointer = std::shared_ptr<SentMessage>;

struct Timer {
  HWND window;
  UINT_PTR id;
  UINT period;
  uint64_t due;
  bool seen = false;  // by a look that did not take it
  std::unique_ptr<CountedResource> counted = std::make_unique<CountedResource>(Resource::kTimer);
};

struct Queue {
  std::deque<MSG> posted;
  std::deque<SentPointer> sent;
  std::vector<Timer> timers;
  std::optional<int> quit;
  DWORD changed = 0;  // QS_ bits
};

struct Queues {
  std::mutex mutex;
  std::map<DWORD, Queue> by_thread;
};

Queues& queues() {
  static Queues* instance = new Queues;
  return *instance;
}

using QueueLock = std::lock_guard<std::mutex>;

// All with the lock held.
Queue& MyQueue() {
  return queues().by_thread[GetCurrentThreadId()];
}
Queue* QueueOf(DWORD thread) {
  const auto found = queues().by_thread.find(thread);
  return found == queues().by_thread.end() ? nullptr : &found->second;
}
void Abandon(Queue& queue) {
  for (const SentPointer& message : queue.sent) message->done = true;
  queue.sent.clear();
}

// A thread's queue ends with it.
struct QueueOwner {
  DWORD thread = GetCurrentThreadId();
  ~QueueOwner() {
    {
      QueueLock lock(queues().mutex);
      const auto found = queues().by_thread.find(thread);
      if (found == queues().by_thread.end()) return;
      Abandon(found->second);
      queues().by_thread.erase(found);
    }
    WakeWaiters();
  }
};

void Serve(SentMessage& message) {
  const WindowPointer window = WindowOf(message.window);
  const LRESULT result =
      window == nullptr ? 0
                        : CallProcedure(window, message.message, message.wparam, message.lparam);
  {
    QueueLock lock(queues().mutex);
    message.result = result;
    message.done = true;
  }
  WakeWaiters();
}

bool IsFor(const MessageFilter& filter, HWND window) {
  return filter.window == nullptr || IsSameOrBelow(window, filter.window);
}

}  // namespace

bool NewInputWaits(DWORD wake_mask) {
  QueueLock lock(queues().mutex);
  const Queue* const queue = QueueOf(GetCurrentThreadId());
  return queue != nullptr && (queue->changed & wake_mask) != 0;
}

uint64_t NextTimerDue() {
  QueueLock lock(queues().mutex);
  uint64_t due = kNever;
  if (const Queue* const queue = QueueOf(GetCurrentThreadId())) {
    for (const Timer& timer : queue->timers) {
      if (!timer.seen) due = std::min(due, timer.due);
    }
  }
  return due;
}

void OpenQueue() {
  static thread_local QueueOwner owner;
  (void)owner;
  QueueLock lock(queues().mutex);
  MyQueue();
}

bool PostToThread(DWORD thread, const MSG& message) {
  {
    QueueLock lock(queues().mutex);
    Queue* const queue = QueueOf(thread);
    if (queue == nullptr) return false;
    queue->posted.push_back(message);
    const bool is_key = message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST;
    queue->changed |= is_key ? QS_KEY : QS_POSTMESSAGE | QS_ALLPOSTMESSAGE;
  }
  WakeWaiters();
  return true;
}

void PostQuit(int exit_code) {
  OpenQueue();
  {
    QueueLock lock(queues().mutex);
    MyQueue().quit = exit_code;
    MyQueue().changed |= QS_POSTMESSAGE | QS_ALLPOSTMESSAGE;
  }
  WakeWaiters();
}

void NotePaint(DWORD thread) {
  {
    QueueLock lock(queues().mutex);
    if (Queue* const queue = QueueOf(thread)) queue->changed |= QS_PAINT;
  }
  WakeWaiters();
}

LRESULT SendToThread(DWORD thread, HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  return SendToThreadUntil(kNever, thread, window, message, wparam, lparam);
}

LRESULT SendToThreadUntil(uint64_t deadline, DWORD thread, HWND window, UINT message, WPARAM wparam,
                          LPARAM lparam) {
  OpenQueue();
  const auto sent =
      std::make_shared<SentMessage>(SentMessage{window, message, wparam, lparam, 0, false});
  {
    QueueLock lock(queues().mutex);
    Queue* const queue = QueueOf(thread);
    if (queue == nullptr) return 0;
    queue->sent.push_back(sent);
    queue->changed |= QS_SENDMESSAGE;
  }
  WakeWaiters();
  for (;;) {
    const bool in_time = WaitOnClock(deadline, [&] {
      QueueLock lock(queues().mutex);
      return sent->done || !MyQueue().sent.empty();
    });
    ServeSentMessages();
    QueueLock lock(queues().mutex);
    if (sent->done) return sent->result;
    if (in_time) continue;
    if (Queue* const queue = QueueOf(thread)) std::erase(queue->sent, sent);
    return 0;
  }
}

void ServeSentMessages() {
  for (;;) {
    SentPointer next;
    {
      QueueLock lock(queues().mutex);
      Queue& queue = MyQueue();
      if (queue.sent.empty()) {
        queue.changed &= ~DWORD{QS_SENDMESSAGE};
        return;
      }
      next = queue.sent.front();
      queue.sent.pop_front();
    }
    Serve(*next);
  }
}

std::optional<MSG> TakePosted(const MessageFilter& filter, bool remove) {
  WindowLock tree;
  QueueLock lock(queues().mutex);
  Queue& queue = MyQueue();
  queue.changed = queue.sent.empty() ? 0 : QS_SENDMESSAGE;
  const auto found = std::find_if(queue.posted.begin(), queue.posted.end(), [&](const MSG& m) {
    return filter.Takes(m.message) && IsFor(filter, m.hwnd);
  });
  if (found != queue.posted.end()) {
    const MSG message = *found;
    if (remove) queue.posted.erase(found);
    return message;
  }
  // No filter keeps it back, only messages that were posted before.
  if (!queue.quit || !queue.posted.empty()) return std::nullopt;
  MSG quit = {};
  quit.message = WM_QUIT;
  quit.wParam = static_cast<WPARAM>(*queue.quit);
  if (remove) queue.quit.reset();
  return quit;
}

std::optional<MSG> TakeTimer(const MessageFilter& filter, bool remove, uint64_t now) {
  WindowLock tree;
  QueueLock lock(queues().mutex);
  std::optional<MSG> result;
  for (Timer& timer : MyQueue().timers) {
    if (timer.due > now) continue;
    timer.seen = true;
    if (result || !filter.Takes(WM_TIMER) || !IsFor(filter, timer.window)) continue;
    result = MSG{};
    result->hwnd = timer.window;
    result->message = WM_TIMER;
    result->wParam = timer.id;
    if (!remove) continue;
    timer.due = now + timer.period;
    timer.seen = false;
  }
  return result;
}

void SetTimerOf(HWND window, UINT_PTR id, UINT period, uint64_t now) {
  OpenQueue();
  {
    QueueLock lock(queues().mutex);
    auto& timers = MyQueue().timers;
    std::erase_if(timers, [=](const Timer& t) { return t.window == window && t.id == id; });
    timers.push_back({window, id, period, now + period});
  }
  WakeWaiters();
}

bool KillTimerOf(DWORD thread, HWND window, UINT_PTR id) {
  QueueLock lock(queues().mutex);
  Queue* const queue = QueueOf(thread);
  return queue != nullptr && std::erase_if(queue->timers, [=](const Timer& t) {
                               return t.window == window && t.id == id;
                             }) > 0;
}

void ForgetWindow(DWORD thread, HWND window) {
  {
    QueueLock lock(queues().mutex);
    Queue* const queue = QueueOf(thread);
    if (queue == nullptr) return;
    std::erase_if(queue->posted, [=](const MSG& m) { return m.hwnd == window; });
    std::erase_if(queue->timers, [=](const Timer& t) { return t.window == window; });
    for (const SentPointer& message : queue->sent) message->done |= message->window == window;
    std::erase_if(queue->sent, [](const SentPointer& m) { return m->done; });
  }
  WakeWaiters();
}

}  // namespace platform
