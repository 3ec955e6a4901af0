#include "platform/control/clipboard.h"

#include <map>
#include <mutex>

#include "platform/kernel/api_call.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

class Clipboard {
 public:
  explicit Clipboard(Machine&) {}

  DWORD Open() {
    std::lock_guard lock(mutex_);
    const DWORD thread = GetCurrentThreadId();
    if (opened_by_ != 0 && opened_by_ != thread) return ERROR_ACCESS_DENIED;
    opened_by_ = thread;
    return ERROR_SUCCESS;
  }

  DWORD Close() {
    std::lock_guard lock(mutex_);
    if (!IsMine()) return ERROR_CLIPBOARD_NOT_OPEN;
    opened_by_ = 0;
    return ERROR_SUCCESS;
  }

  DWORD Empty() {
    std::lock_guard lock(mutex_);
    if (!IsMine()) return ERROR_CLIPBOARD_NOT_OPEN;
    contents_.clear();
    return ERROR_SUCCESS;
  }

  // Takes the block's content and then the block itself, so that nobody goes on using it.
  DWORD Set(UINT format, HGLOBAL data) {
    std::lock_guard lock(mutex_);
    if (!IsMine()) return ERROR_CLIPBOARD_NOT_OPEN;
    if (data == nullptr) return ERROR_CALL_NOT_IMPLEMENTED;
    const BYTE* const bytes = static_cast<const BYTE*>(GlobalLock(data));
    if (bytes == nullptr) return GetLastError();
    contents_[format].assign(bytes, bytes + GlobalSize(data));
    GlobalUnlock(data);
    GlobalFree(data);
    return ERROR_SUCCESS;
  }

  std::optional<std::vector<BYTE>> Content(UINT format) const {
    std::lock_guard lock(mutex_);
    const auto found = contents_.find(format);
    if (found == contents_.end()) return std::nullopt;
    return found->second;
  }

 private:
  bool IsMine() const { return opened_by_ == GetCurrentThreadId(); }

  mutable std::mutex mutex_;
  DWORD opened_by_ = 0;  // a thread; 0: nobody has it open
  std::map<UINT, std::vector<BYTE>> contents_;
};

Clipboard& clipboard() {
  return Machine::Current().Part<Clipboard>();
}

}  // namespace

std::optional<std::vector<BYTE>> ClipboardContent(UINT format) {
  return clipboard().Content(format);
}

}  // namespace platform

using namespace platform;

BOOL WINAPI OpenClipboard(HWND owner) {
  KV_API(OpenClipboard, ERROR_ACCESS_DENIED, FALSE, owner);
  return Finish(clipboard().Open());
}

BOOL WINAPI EmptyClipboard() {
  KV_API(EmptyClipboard, ERROR_ACCESS_DENIED, FALSE);
  return Finish(clipboard().Empty());
}

HANDLE WINAPI SetClipboardData(UINT format, HANDLE data) {
  KV_API(SetClipboardData, ERROR_NOT_ENOUGH_MEMORY, nullptr, format, data);
  return Finish(clipboard().Set(format, data)) ? data : nullptr;
}

BOOL WINAPI CloseClipboard() {
  KV_API(CloseClipboard, ERROR_CLIPBOARD_NOT_OPEN, FALSE);
  return Finish(clipboard().Close());
}
