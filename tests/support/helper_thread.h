// Another thread of the test, which the virtual clock waits for.
#pragma once

#include <windows.h>

#include <functional>

#include "platform/control/faults.h"

namespace kv::test {

// Runs `body` beside the test until the object goes.
class HelperThread {
 public:
  explicit HelperThread(std::function<void()> body) : body_(std::move(body)) {
    const platform::OutsideTest preparing;
    thread_ = CreateThread(nullptr, 0, &HelperThread::Run, this, 0, nullptr);
  }
  ~HelperThread() {
    const platform::OutsideTest ending;
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
  }
  HelperThread(const HelperThread&) = delete;
  HelperThread& operator=(const HelperThread&) = delete;

 private:
  static DWORD WINAPI Run(LPVOID self) {
    const platform::OutsideTest helping;
    static_cast<HelperThread*>(self)->body_();
    return 0;
  }

  std::function<void()> body_;
  HANDLE thread_;
};

}  // namespace kv::test
