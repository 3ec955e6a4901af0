// Shell and Internet shortcuts come back as they were written.
#include <gtest/gtest.h>

#include <functional>

#include "runtime/files/internet_shortcut.h"
#include "runtime/files/item_lists.h"
#include "runtime/files/shell_link.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

bool IsWine() {
  return GetProcAddress(GetModuleHandleW(TEXT("ntdll.dll")), "wine_get_version") != nullptr;
}

constexpr int kMaximized = 3;  // one of the three that shortcuts keep

class ShortcutsTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), 0);
    WCHAR directory[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    GetTempFileNameW(directory, TEXT("~KV"), 0, file_);
  }
  void TearDown() override {
    DeleteFileW(file_);
    CoUninitialize();
  }
  WCHAR file_[MAX_PATH];
};

TEST_F(ShortcutsTest, AShortcutKeepsWhatItWasGiven) {
  ShortcutContents contents;
  contents.target = file_;
  contents.workingDirectory = TEXT("C:\\");
  contents.showCommand = kMaximized;
  contents.arguments = TEXT("/x \"\u0416 \U0001F5A8\"");
  contents.iconFile = TEXT("C:\\icons.dll");
  contents.iconIndex = -7;
  contents.description = TEXT("d\u00E9scription");
  {
    CShellLink link;
    ASSERT_TRUE(link.ready());
    ASSERT_TRUE(link.Save(file_, contents));
  }
  const CShellLink link(file_);
  ASSERT_TRUE(link.ready());
  WCHAR text[256], path[MAX_PATH];
  EXPECT_TRUE(link.GetArguments(text));
  EXPECT_EQ(WideView(text), contents.arguments);
  EXPECT_TRUE(link.GetDescription(text));
  EXPECT_EQ(WideView(text), contents.description);
  EXPECT_TRUE(link.GetWorkingDirectory(path, MAX_PATH));
  EXPECT_EQ(WideView(path), contents.workingDirectory);
  int index = 0, show = 0;
  EXPECT_TRUE(link.GetIconLocation(path, index));
  EXPECT_EQ(WideView(path), contents.iconFile);
  EXPECT_EQ(index, -7);
  EXPECT_TRUE(link.GetShowCmd(show));
  // Wine 8 forgets the show command, which is a documented part of the file's header.
  if (!IsWine()) {
    EXPECT_EQ(show, kMaximized);
  }
  EXPECT_TRUE(link.GetPath(path, MAX_PATH));
  EXPECT_TRUE(EqualNoCase(path, file_));
  EXPECT_TRUE(link.GetWorkingDirectory(path, 3));
  EXPECT_EQ(WideView(path), TEXT("C:")) << "cut to the capacity";
}

TEST_F(ShortcutsTest, WhatIsNoShortcutIsNotReady) {
  const CShellLink empty(file_);
  EXPECT_FALSE(empty.ready());
  using Text = WCHAR(&)[256];
  int index = 0, show = 0;
  const std::function<BOOL(Text)> kQuestions[] = {
      [&](Text text) { return empty.GetArguments(text); },
      [&](Text text) { return empty.GetDescription(text); },
      [&](Text text) { return empty.GetWorkingDirectory(text, 256); },
      [&](Text text) { return empty.GetPath(text, 256); },
      [&](Text text) {
        WCHAR file[MAX_PATH] = TEXT("x");
        const BOOL found = empty.GetIconLocation(file, index);
        CopyStringW(text, file);
        return found;
      },
  };
  for (const auto& ask : kQuestions) {
    WCHAR text[256] = TEXT("x");
    EXPECT_FALSE(ask(text));
    EXPECT_EQ(text[0], 0) << &ask - kQuestions;
  }
  EXPECT_EQ(index, -1);
  EXPECT_FALSE(empty.GetShowCmd(show));
  EXPECT_EQ(show, SW_SHOWNORMAL);
  EXPECT_FALSE(CShellLink(TEXT("C:\\no such\\file.lnk")).ready());
  ShortcutContents contents;
  contents.target = file_;
  EXPECT_FALSE(CShellLink().Save(TEXT("C:\\no such\\file.lnk"), contents));
}

TEST_F(ShortcutsTest, AnInternetShortcutKeepsItsAddress) {
  constexpr WCHAR kAddress[] = TEXT("https://example.org/a?b=c&d=%20e");
  EXPECT_TRUE(CInternetShortcut().Save(file_, kAddress));
  CInternetShortcut shortcut(file_);
  ASSERT_TRUE(shortcut.ready());
  WCHAR address[100];
  EXPECT_TRUE(shortcut.GetURL(address, 100));
  EXPECT_EQ(WideView(address), kAddress);
  EXPECT_TRUE(shortcut.GetURL(address, 6));
  EXPECT_EQ(WideView(address), TEXT("https"));
  EXPECT_FALSE(CInternetShortcut(TEXT("C:\\no such\\file.url")).ready());
  EXPECT_FALSE(CInternetShortcut().GetURL(address, 0)) << "none given yet";
  EXPECT_EQ(address[0], 'h');
  EXPECT_FALSE(CInternetShortcut().GetURL(address, 100));
  EXPECT_EQ(address[0], 0);
}

TEST_F(ShortcutsTest, ItemListsAreMeasuredComparedAndJoined) {
  alignas(ITEMIDLIST) static constexpr BYTE kA[305] = {3, 0, 'a', 44, 1, 'b', 'c'};
  alignas(ITEMIDLIST) static constexpr BYTE kB[] = {3, 0, 'a', 0, 0};
  alignas(ITEMIDLIST) static constexpr BYTE kEmpty[] = {0, 0};
  const auto list = [](const BYTE* bytes) { return reinterpret_cast<PCIDLIST_ABSOLUTE>(bytes); };
  EXPECT_EQ(ItemListSize(list(kA)), 303u);
  EXPECT_EQ(ItemListSize(list(kEmpty)) + ItemListSize(nullptr), 0u);
  EXPECT_TRUE(ItemListStartsWith(list(kA), list(kB)));
  EXPECT_FALSE(ItemListStartsWith(list(kB), list(kA)));
  EXPECT_TRUE(ItemListStartsWith(list(kB), list(kEmpty)));
  BYTE expected[308];
  memcpy(expected, kA, 303);
  memcpy(expected + 303, kB, 5);
  void* const dirty = CoTaskMemAlloc(308);
  memset(dirty, 255, 308);
  CoTaskMemFree(dirty);
  const UniqueItemList joined(ItemListConcat(list(kA), list(kB)));
  ASSERT_TRUE(joined);
  EXPECT_EQ(memcmp(joined.Get(), expected, sizeof(expected)), 0);
}

}  // namespace
}  // namespace kv
