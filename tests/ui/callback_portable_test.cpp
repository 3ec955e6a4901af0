// Hooks of threads and the code that leads callbacks to objects.
#include <gtest/gtest.h>

#include <memory>

#include "runtime/text/wide_text.h"
#include "runtime/ui/thread_hook.h"

namespace kv {
namespace {

constexpr WCHAR kTitle[] = TEXT("KvCallback");

HWND Make() {
  return CreateWindowExW(0, TEXT("static"), kTitle, WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr,
                         nullptr);
}

class Recorder : public CThreadHook {
 public:
  explicit Recorder(const CodeTemplate& code = HookTemplate()) : CThreadHook(WH_CBT, code) {}
  LRESULT CALLBACK HookProc(int code, WPARAM wparam, LPARAM lparam) override {
    // The system makes windows of its own beside a thread's first one.
    if (code == HCBT_CREATEWND &&
        View(reinterpret_cast<CBT_CREATEWNDW*>(lparam)->lpcs->lpszName) == kTitle) {
      ++created;
      window = reinterpret_cast<HWND>(wparam);
      if (refuses) return 1;
    }
    return CThreadHook::HookProc(code, wparam, lparam);
  }
  int created = 0;
  HWND window = nullptr;
  bool refuses = false;
};

TEST(CallbackPortableTest, HooksOfThreadsReachTheirObjects) {
  auto outer = std::make_unique<Recorder>();
  Recorder inner;
  ASSERT_TRUE(inner.IsHooked());
  const HWND window = Make();
  EXPECT_NE(window, nullptr);
  EXPECT_EQ(inner.window, window);
  EXPECT_EQ(outer->created, 1) << "passed on";
  outer->refuses = true;
  EXPECT_EQ(Make(), nullptr) << "its answer comes back";
  outer.reset();
  DestroyWindow(window);
  EXPECT_EQ(inner.created, 2);
}

class Callback {
 public:
  virtual int CALLBACK First(LPCWSTR text) {
    got = text;
    return 42;
  }
  LPCWSTR got = nullptr;
};

TEST(CallbackPortableTest, ThunksCarryTheirObject) {
  Callback one, two;
  CCodeThunk first, second;
  using Function = int(CALLBACK*)(LPCWSTR);
  const auto call_one = first.BuildAs<Function>(EnumerationTemplate(), &one);
  const auto call_two = second.BuildAs<Function>(EnumerationTemplate(), &two);
  ASSERT_TRUE(call_one != nullptr && call_two != nullptr);
  const LPCWSTR text = TEXT("0409");
  EXPECT_EQ(call_two(text), 42);
  EXPECT_TRUE(one.got == nullptr && two.got == text);
  EXPECT_EQ(call_one(text), 42);
  EXPECT_EQ(one.got, text);

  const BYTE without[] = {0x17, 0x17, 0x17, 0x90, 0x17, 0x17, 0x17};
  const CodeTemplate unmarked = {std::begin(without), std::end(without)};
  EXPECT_EQ(first.Build(unmarked, &one), nullptr);
  EXPECT_EQ(first.Build({without, without}, &one), nullptr);
  EXPECT_FALSE(Recorder(unmarked).IsHooked());
}

}  // namespace
}  // namespace kv
