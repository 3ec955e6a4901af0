// Chains of objects on windows.
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "runtime/ui/subclass_window.h"
#include "runtime/ui/thread_hook.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

std::string seen;
WNDPROC original;

LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_APP) {
    seen += "proc ";
    return static_cast<LRESULT>(wparam);
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

class Watcher : public CSubclassWindow {
 public:
  explicit Watcher(char name) : name_(name) {}
  ~Watcher() override { seen += std::string("~") + name_ + " "; }
  void AfterMessage(HWND window, UINT message, WPARAM, LPARAM, LRESULT* result) override {
    if (message != WM_APP) return;
    seen += std::string("-") + name_ + " ";
    *result *= 2;
    const auto act = after;
    if (act) act(window);
  }
  BOOL BeforeMessage(HWND window, UINT message, WPARAM, LPARAM, LRESULT* result) override {
    if (message != WM_APP) return TRUE;
    seen += std::string("+") + name_ + " ";
    if (stops) *result = 5;
    const bool goes_on = !stops;
    // The object may be gone afterwards.
    const auto act = before;
    if (act) act(window);
    return goes_on;
  }

  std::function<void(HWND)> before, after;
  bool stops = false;

 private:
  char name_;
};

class SubclassTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    WNDCLASSW window_class = {};
    window_class.lpfnWndProc = Note;
    window_class.lpszClassName = TEXT("KvWatched");
    ASSERT_NE(RegisterClassW(&window_class), 0);
    original = Note;
    window_ = Make();
    seen.clear();
  }
  void TearDown() override {
    if (IsWindow(window_)) DestroyWindow(window_);
    UnregisterClassW(TEXT("KvWatched"), nullptr);
    RuntimeTest::TearDown();
  }
  static HWND Make() {
    return CreateWindowExW(0, TEXT("KvWatched"), TEXT(""), WS_POPUP, 0, 0, 9, 9, nullptr, nullptr,
                           nullptr, nullptr);
  }
  static std::string Seen() { return std::exchange(seen, {}); }
  static WNDPROC ProcedureOf(HWND window) {
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
  }
  static HANDLE HeadOf(HWND window) {
    WCHAR name[80];
    startupContext.instanceName.MakeUniqueName(name, 80, TEXT("CSubclassWindow"));
    return GetPropW(window, name);
  }
  LRESULT Send(WPARAM value) { return SendMessageW(window_, WM_APP, value, 0); }

  HWND window_ = nullptr;
};

TEST_F(SubclassTest, TheLastOneAttachedComesFirst) {
  Watcher a('a'), b('b');
  EXPECT_TRUE(a.Attach(window_, FALSE, 7));
  EXPECT_TRUE(b.Attach(window_, FALSE, 0));
  EXPECT_TRUE(a.Attach(window_, TRUE, 9)) << "changes nothing";
  EXPECT_EQ(a.userData(), 7u);
  EXPECT_EQ(Send(3), 12);
  EXPECT_EQ(Seen(), "+b +a proc -b -a ");
  b.stops = true;
  EXPECT_EQ(Send(3), 20) << "the result that was stored, changed by all";
  EXPECT_EQ(Seen(), "+b -b -a ");
  a.Detach();
  b.stops = false;
  EXPECT_EQ(Send(3), 6);
  EXPECT_EQ(Seen(), "+b proc -b ");
  EXPECT_NE(ProcedureOf(window_), original);
  EXPECT_EQ(HeadOf(window_), &b);
  b.Detach();
  b.Detach();
  EXPECT_EQ(ProcedureOf(window_), original);
  EXPECT_EQ(HeadOf(window_), nullptr);
  EXPECT_TRUE(a.Attach(window_, FALSE, 0)) << "again";
  DestroyWindow(window_);
  EXPECT_EQ(a.window(), nullptr);
  EXPECT_FALSE(a.Attach(window_, FALSE, 0)) << "no window any more";
}

// The objects c, b, a stand in that order on the window; what one of them does is named by who does
// it, when, and to whom.
struct Attack {
  const char* what;
  char who;
  bool before;
  void (*act)(HWND window, Watcher* a, Watcher* b, Watcher* c);
  const char* seen;
};

void SendTo(HWND window) {
  SendMessageW(window, WM_APP, 0, 0);
}

const Attack kAttacks[] = {
    {"deletes itself", 'c', true, [](HWND, Watcher*, Watcher*, Watcher* c) { delete c; },
     "+c ~c +b +a proc -b -a "},
    {"deletes itself", 'b', false, [](HWND, Watcher*, Watcher* b, Watcher*) { delete b; },
     "+c +b +a proc -c -b ~b -a "},
    {"deletes the next", 'c', true, [](HWND, Watcher*, Watcher* b, Watcher*) { delete b; },
     "+c ~b +a proc -c -a "},
    {"deletes itself and the next", 'c', true,
     [](HWND, Watcher*, Watcher* b, Watcher* c) {
       delete b;
       delete c;
     },
     "+c ~b ~c +a proc -a "},
    {"deletes all", 'b', true,
     [](HWND, Watcher* a, Watcher* b, Watcher* c) {
       delete c;
       delete a;
       delete b;
     },
     "+c +b ~c ~a ~b "},
    {"deletes all", 'b', false,
     [](HWND, Watcher* a, Watcher* b, Watcher* c) {
       delete c;
       delete a;
       delete b;
     },
     "+c +b +a proc -c -b ~c ~a ~b "},
    {"detaches the next", 'b', true, [](HWND, Watcher* a, Watcher*, Watcher*) { a->Detach(); },
     "+c +b proc -c -b "},
    {"moves itself to the head", 'b', true,
     [](HWND window, Watcher*, Watcher* b, Watcher*) {
       b->Detach();
       b->Attach(window, TRUE, 0);
     },
     "+c +b +a proc -b -c -a "},
    {"attaches another", 'b', true,
     [](HWND window, Watcher*, Watcher*, Watcher*) { (new Watcher('d'))->Attach(window, TRUE, 0); },
     "+c +b +a proc -d -c -b -a "},
    {"destroys the window", 'b', true,
     [](HWND window, Watcher*, Watcher*, Watcher*) { DestroyWindow(window); }, "+c +b ~c ~b ~a "},
    {"destroys the window", 'b', false,
     [](HWND window, Watcher*, Watcher*, Watcher*) { DestroyWindow(window); },
     "+c +b +a proc -c -b ~c ~b ~a "},
    {"sends another message", 'b', true,
     [](HWND window, Watcher*, Watcher*, Watcher*) { SendTo(window); },
     "+c +b +c +b +a proc -c -b -a +a proc -c -b -a "},
    {"sends a message under which it goes", 'b', true,
     [](HWND window, Watcher*, Watcher* b, Watcher* c) {
       c->before = [b](HWND) { delete b; };
       SendTo(window);
       c->before = nullptr;
     },
     "+c +b +c ~b +a proc -c -a +a proc -c -a "},
};

TEST_F(SubclassTest, ChainsStandWhatTheirObjectsDo) {
  for (const Attack& attack : kAttacks) {
    SCOPED_TRACE(std::string(1, attack.who) + (attack.before ? " before: " : " after: ") +
                 attack.what);
    const HWND window = Make();
    auto *a = new Watcher('a'), *b = new Watcher('b'), *c = new Watcher('c');
    for (Watcher* watcher : {a, b, c}) EXPECT_TRUE(watcher->Attach(window, TRUE, 0));
    Watcher* const attacker = attack.who == 'b' ? b : c;
    bool armed = true;
    (attack.before ? attacker->before : attacker->after) = [=, &armed](HWND w) {
      if (std::exchange(armed, false)) attack.act(w, a, b, c);
    };
    Seen();
    SendTo(window);
    EXPECT_EQ(Seen(), attack.seen);
    const bool lives = IsWindow(window);
    const bool a_is_gone = std::string(attack.seen).find("~a") != std::string::npos;
    const bool was_detached = !a_is_gone && a->window() == nullptr;
    if (lives) {
      SendTo(window);
      if (a_is_gone) {
        EXPECT_EQ(Seen(), "proc ");
        EXPECT_EQ(ProcedureOf(window), original);
      }
      DestroyWindow(window);
    }
    if (was_detached) delete a;
  }
}

TEST_F(SubclassTest, TwoCopiesOfTheLibraryWatchOneWindow) {
  const HMODULE module = LoadLibraryW(TEXT("second_copy.dll"));
  ASSERT_NE(module, nullptr);
  const auto watch = reinterpret_cast<BOOL(WINAPI*)(HWND)>(
      reinterpret_cast<void (*)()>(GetProcAddress(module, "Watch")));
  auto* const mine = new Watcher('a');
  EXPECT_TRUE(mine->Attach(window_, TRUE, 0));
  EXPECT_TRUE(watch(window_));
  Watcher later('b');
  EXPECT_TRUE(later.Attach(window_, FALSE, 0)) << "into the first copy's chain";
  EXPECT_EQ(Send(3), 112);
  EXPECT_EQ(Seen(), "+b +a proc -b -a ");
  DestroyWindow(window_);
  EXPECT_EQ(Seen(), "~a ");
  EXPECT_EQ(later.window(), nullptr);
  FreeLibrary(module);
}

}  // namespace
}  // namespace kv::test
