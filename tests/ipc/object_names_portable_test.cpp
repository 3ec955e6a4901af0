#include <gtest/gtest.h>

#include "runtime/ipc/object_names.h"
#include "runtime/text/wide_text.h"

#include <string>

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

TEST(ObjectNamesTest, ScopedNamesAreWholeOrEmpty) {
  EXPECT_EQ(View(CMutexName(ObjectScopeLocal, TEXT("CCustomPapersAccessManager"))),
            TEXT("Local\\KV8_LocalMutex_CCustomPapersAccessManager"));
  EXPECT_EQ(View(CMutexName(ObjectScopeGlobal, TEXT("CCustomPapersAccessManager"))),
            TEXT("Global\\KV8_GlobalMutex_CCustomPapersAccessManager"));
  EXPECT_EQ(View(CEventName(ObjectScopeLocal, TEXT("x"))), TEXT("Local\\KV8_LocalEvent_x"));
  EXPECT_EQ(View(CSharedMemoryName(ObjectScopeLocal, TEXT("x"))),
            TEXT("Local\\KV8_LocalSharedMemory_x"));
  const size_t around = View(CMutexName(ObjectScopeGlobal, TEXT(""))).size();
  const struct {
    int scope;
    int capacity;
    size_t baseLength;
    bool made;
  } kCases[] = {
      {0, 128, 5, true},   {0, 127, 5, false},           {2, 260, 5, false},
      {-1, 260, 5, false}, {0, 128, 127 - around, true}, {0, 128, 128 - around, false},
  };
  for (const auto& c : kCases) {
    WCHAR name[MAX_PATH + 1] = {'#'};
    name[c.capacity] = '#';
    MakeObjectName(c.scope, TEXT("Mutex"), WideString(c.baseLength, 'b').c_str(), name, c.capacity);
    EXPECT_EQ(View(name).size(), c.made ? around + c.baseLength : 0u) << &c - kCases;
    EXPECT_EQ(name[c.capacity], '#');
  }
  MakeObjectName(0, TEXT("Mutex"), TEXT("b"), nullptr, 260);
}

TEST(ObjectNamesTest, WindowClassesAndPipesTakeATagForAMissingBase) {
  EXPECT_EQ(View(CWndClassName(TEXT("Setup"))), TEXT("KV8_SetupWndClass"));
  for (const LPCWSTR base : {static_cast<LPCWSTR>(nullptr), TEXT("")}) {
    EXPECT_EQ(Shape(CWndClassName(base)), Shape(TEXT("KV8_00000000:00000000WndClass")));
    EXPECT_EQ(Shape(CPipeName(nullptr, base, SessionNone)),
              Shape(TEXT("\\\\.\\pipe\\KV8_00000000:00000000")));
  }
  WCHAR tagged[64];
  const DWORD thread = GetCurrentThreadId();
  MakeWndClassName(nullptr, tagged, 64);
  EXPECT_EQ(ParseHex(WideString(tagged).substr(4, 8).c_str()), thread);
  EXPECT_EQ(View(CWndClassName(WideString(260, 'b').c_str())), TEXT(""));
}

TEST(ObjectNamesTest, PipesCarryServerAndSession) {
  const struct {
    LPCWSTR server;
    int session;
    LPCWSTR name;
  } kCases[] = {
      {nullptr, SessionNone, TEXT("\\\\.\\pipe\\KV8_b")},
      {TEXT(""), 3, TEXT("\\\\.\\pipe\\KV8_b_00000003")},
      {TEXT("host"), 10, TEXT("\\\\host\\pipe\\KV8_b_0000000A")},
      {TEXT("host"), -3, TEXT("\\\\host\\pipe\\KV8_b_FFFFFFFD")},
  };
  for (const auto& c : kCases) EXPECT_EQ(View(CPipeName(c.server, TEXT("b"), c.session)), c.name);
  // "\\.\pipe\KV8_" has 13 characters, the session 9.
  EXPECT_EQ(View(CPipeName(nullptr, WideString(246, 'b').c_str(), SessionNone)).size(), 259u);
  EXPECT_EQ(View(CPipeName(nullptr, WideString(247, 'b').c_str(), SessionNone)).size(), 0u);
  EXPECT_EQ(View(CPipeName(nullptr, WideString(237, 'b').c_str(), 0)).size(), 259u);
  EXPECT_EQ(View(CPipeName(nullptr, WideString(238, 'b').c_str(), 0)).size(), 0u);
  WCHAR name[MAX_PATH] = {'#'};
  MakePipeName(nullptr, TEXT("b"), 0, name, MAX_PATH - 1);
  EXPECT_EQ(View(name), TEXT(""));
}

TEST(ObjectNamesTest, SessionAndProductNames) {
  WCHAR name[32];
  const WCHAR input[] = TEXT("x");
  EXPECT_EQ(MakeSessionName(input, 16, name, 32), 'x');
  EXPECT_EQ(View(name), TEXT("x_00000010"));
  EXPECT_EQ(View(input), TEXT("x"));
  EXPECT_EQ(MakeSessionName(name, 0, name, 20), 'x');
  EXPECT_EQ(View(name), TEXT("x_00000010_00000000"));
  EXPECT_EQ(MakeSessionName(name, 0, name, 28), 0) << "one too few";
  EXPECT_EQ(MakeSessionName(input, 0, name, 10), 0);
  EXPECT_EQ(MakeSessionName(input, SessionCurrent, name, 32), 'x');
  EXPECT_EQ(View(name).size(), 10u);

  MakeProductName(TEXT("Text"), name, 32);
  EXPECT_EQ(View(name), TEXT("KV8Text"));
  MakeProductName(TEXT("a%sb"), name, 32);
  EXPECT_EQ(View(name), TEXT("aKV8b"));
  MakeProductName(TEXT("a%sb"), name, 5);
  EXPECT_EQ(View(name), TEXT(""));
  MakeProductName(TEXT("100%% %s %d%s%"), name, 32);
  EXPECT_EQ(View(name), TEXT("100% KV8 %d%s%")) << "one argument is all there is";
  MakeProductName(TEXT("a%%sb"), name, 32);
  EXPECT_EQ(View(name), TEXT("a%sb"));
  EXPECT_EQ(MakeSessionName(nullptr, 0, name, 32), 0);
  EXPECT_EQ(View(name), TEXT(""));
  GetObjectPrefix(name, 3);
  EXPECT_EQ(View(name), TEXT(""));
}

}  // namespace
}  // namespace kv
