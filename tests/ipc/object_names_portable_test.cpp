#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "runtime/ipc/object_names.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

using WideString = std::basic_string<WCHAR>;

// Digits become '0', so that tags and sessions can be compared.
WideString Shape(LPCWSTR text) {
  WideString shape(text);
  for (WCHAR& c : shape) {
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')) c = '0';
  }
  return shape;
}

TEST(ObjectNamesTest, NamesAreWholeOrEmptyAndStayInTheirBuffer) {
  const struct {
    std::function<void(LPWSTR output, int capacity)> make;
    int least;  // the capacity
    LPCWSTR name;
  } kRows[] = {
      {GetObjectPrefix, 4, TEXT("KV8")},
      {[](auto... output) { MakeObjectName(0, TEXT("Mutex"), TEXT("x"), output...); }, 128,
       TEXT("Global\\KV8_GlobalMutex_x")},
      {[](auto... output) { MakeObjectName(1, TEXT("Event"), nullptr, output...); }, 128,
       TEXT("Local\\KV8_LocalEvent_")},
      {[](auto... output) { MakeWndClassName(TEXT("Setup"), output...); }, 18,
       TEXT("KV8_SetupWndClass")},
      {[](auto... output) { MakePipeName(TEXT(""), TEXT("b"), 3, output...); }, 260,
       TEXT("\\\\.\\pipe\\KV8_b_00000003")},
      {[](auto... output) { MakeSessionName(TEXT("x"), 16, output...); }, 11, TEXT("x_00000010")},
      {[](auto... output) { MakeProductName(TEXT("Text"), output...); }, 8, TEXT("KV8Text")},
      {[](auto... output) { MakeProductName(TEXT("a%sb"), output...); }, 6, TEXT("aKV8b")},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    row.make(nullptr, 260);
    WCHAR name[MAX_PATH + 1];
    for (const int capacity : {-1, 0, 1, 3, row.least - 1, row.least}) {
      std::fill_n(name, MAX_PATH + 1, WCHAR{'#'});
      row.make(name, capacity);
      if (capacity <= 0) {
        EXPECT_EQ(name[0], '#');
      } else {
        EXPECT_EQ(View(name), capacity < row.least ? TEXT("") : row.name) << capacity;
      }
      EXPECT_EQ(name[std::max(capacity, 0)], '#') << capacity;
    }
  }
}

TEST(ObjectNamesTest, ObjectsOfEachKindAndScope) {
  EXPECT_EQ(View(CMutexName(ObjectScopeLocal, TEXT("x"))), TEXT("Local\\KV8_LocalMutex_x"));
  EXPECT_EQ(View(CEventName(ObjectScopeGlobal, TEXT("x"))), TEXT("Global\\KV8_GlobalEvent_x"));
  EXPECT_EQ(View(CSharedMemoryName(ObjectScopeLocal, TEXT("x"))),
            TEXT("Local\\KV8_LocalSharedMemory_x"));
  for (const int scope : {-1, 2}) EXPECT_EQ(View(CMutexName(scope, TEXT("x"))), TEXT(""));
  // "Global\KV8_GlobalMutex_" has 23 characters.
  EXPECT_EQ(View(CMutexName(0, WideString(236, 'b').c_str())).size(), 259u);
  EXPECT_EQ(View(CMutexName(0, WideString(237, 'b').c_str())), TEXT(""));
}

TEST(ObjectNamesTest, WindowClassesAndPipesTakeATagForAMissingBase) {
  for (const LPCWSTR base : {static_cast<LPCWSTR>(nullptr), TEXT("")}) {
    const DWORD before = GetTickCount();
    const WideString name(CWndClassName{base});
    EXPECT_EQ(Shape(name.c_str()), Shape(TEXT("KV8_00000000:00000000WndClass")));
    EXPECT_EQ(ParseHex(name.substr(4, 8).c_str()), GetCurrentThreadId());
    EXPECT_LE(ParseHex(name.substr(13, 8).c_str()) - before, GetTickCount() - before);
    EXPECT_EQ(Shape(CPipeName(nullptr, base, SessionNone)),
              Shape(TEXT("\\\\.\\pipe\\KV8_00000000:00000000")));
  }
}

TEST(ObjectNamesTest, PipesCarryServerAndSession) {
  const struct {
    LPCWSTR server;
    int session;
    LPCWSTR name;
  } kCases[] = {
      {nullptr, SessionNone, TEXT("\\\\.\\pipe\\KV8_b")},
      {TEXT("host"), 10, TEXT("\\\\host\\pipe\\KV8_b_0000000A")},
      {TEXT("host"), -3, TEXT("\\\\host\\pipe\\KV8_b_FFFFFFFD")},
  };
  for (const auto& c : kCases) EXPECT_EQ(View(CPipeName(c.server, TEXT("b"), c.session)), c.name);
  // "\\.\pipe\KV8_" has 13 characters, the session 9.
  for (const auto& [base, session] : {std::pair{246, int{SessionNone}}, {237, 0}}) {
    EXPECT_EQ(View(CPipeName(nullptr, WideString(base, 'b').c_str(), session)).size(), 259u);
    EXPECT_EQ(View(CPipeName(nullptr, WideString(base + 1, 'b').c_str(), session)), TEXT(""));
  }
}

TEST(ObjectNamesTest, SessionsAreAddedInPlaceAndElsewhere) {
  WCHAR name[32] = TEXT("x_00000010");
  EXPECT_EQ(MakeSessionName(name, 0, name, 20), 'x');
  EXPECT_EQ(View(name), TEXT("x_00000010_00000000"));
  EXPECT_EQ(MakeSessionName(name, 0, name, 28), 0) << "one too few";
  EXPECT_EQ(View(name), TEXT(""));
  EXPECT_EQ(MakeSessionName(TEXT("x"), SessionCurrent, name, 32), 'x');
  EXPECT_EQ(Shape(name), TEXT("x_00000000"));
  EXPECT_EQ(MakeSessionName(nullptr, 0, name, 32), 0);
  EXPECT_EQ(View(name), TEXT(""));
}

TEST(ObjectNamesTest, ProductNamesTakeTheFirstPlaceForThePrefix) {
  const struct {
    LPCWSTR text, name;
  } kCases[] = {
      {nullptr, TEXT("KV8")},
      {TEXT("100%% %s %d%s%"), TEXT("100% KV8 %d%s%")},
      {TEXT("a%%sb"), TEXT("a%sb")},
      {TEXT("%%d"), TEXT("KV8%%d")},
  };
  for (const auto& c : kCases) {
    WCHAR name[32] = {'#'};
    MakeProductName(c.text, name, 32);
    EXPECT_EQ(View(name), c.name);
  }
}

}  // namespace
}  // namespace kv
