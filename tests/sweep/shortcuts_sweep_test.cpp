// Shortcuts, item lists and open commands when calls and allocations fail.
#include <shlobj.h>

#include "runtime/files/internet_shortcut.h"
#include "runtime/files/item_lists.h"
#include "runtime/files/link_target.h"
#include "runtime/files/open_command.h"
#include "runtime/files/program_group.h"
#include "runtime/files/shell_link.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_files.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kLink[] = TEXT("C:\\Menu\\Group\\test.lnk");
constexpr WCHAR kAddress[] = TEXT("C:\\Menu\\test.url");

class ShortcutMachine : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    PutFile(TEXT("C:\\p.exe"), "x");
    std::filesystem::create_directories(platform::HostPath(TEXT("C:\\Menu\\Group")));
    const Key folders =
        Key::Create(HKEY_CURRENT_USER,
                    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"));
    SetText(folders, TEXT("Programs"), TEXT("C:\\Menu"));
    SetText(Key::Create(HKEY_CLASSES_ROOT, TEXT(".htm")), TEXT(""), TEXT("Page"));
    SetText(Key::Create(HKEY_CLASSES_ROOT, TEXT("Page\\shell\\open\\command")), TEXT(""),
            TEXT("\"C:\\p.exe\" %1"));
  }
  void TearDown() override {
    CoUninitialize();
    RuntimeTest::TearDown();
  }
};

ShortcutContents Program() {
  ShortcutContents contents;
  contents.target = TEXT("C:\\p.exe");
  contents.arguments = TEXT("a");
  contents.description = TEXT("d");
  contents.workingDirectory = TEXT("C:\\");
  contents.iconFile = TEXT("C:\\p.exe");
  contents.showCommand = SW_SHOWMINNOACTIVE;
  return contents;
}

SWEEP_AREA(Shortcuts, ShortcutMachine);

SCENARIO(Shortcuts, Save) {
  DeleteFileW(kLink);
  const BOOL done = attempt.Call([] { return CShellLink().Save(kLink, Program()); });
  WCHAR path[MAX_PATH];
  attempt.Expect(done, CShellLink(kLink).GetPath(path, MAX_PATH) || attempt.hit(), !IsThere(kLink));
}

SCENARIO(Shortcuts, SaveOver) {
  DeleteFileW(kLink);
  EXPECT_TRUE(CShellLink().Save(kLink, Program()));
  const std::string before = FileBytes(kLink);
  ShortcutContents other;
  other.target = TEXT("mailto:x@example.org");
  const BOOL done = attempt.Call([&] { return CShellLink().Save(kLink, other); });
  attempt.Expect(done, FileBytes(kLink) != before, FileBytes(kLink) == before);
}

SCENARIO(Shortcuts, Read) {
  DeleteFileW(kLink);
  EXPECT_TRUE(CShellLink().Save(kLink, Program()));
  WCHAR arguments[256] = {}, description[256] = {}, directory[MAX_PATH] = {}, icon[MAX_PATH] = {},
        path[MAX_PATH] = {}, name[MAX_PATH] = {};
  int index = -1, show = 0;
  BOOL inside = TRUE;
  const bool done = attempt.Call([&]() -> bool {
    CShellLink link;
    const bool all =
        link.Load(kLink, Access::kRead) && link.GetArguments(arguments) &&
        link.GetDescription(description) && link.GetWorkingDirectory(directory, MAX_PATH) &&
        link.GetIconLocation(icon, index) && link.GetShowCmd(show) && link.GetPath(path, MAX_PATH);
    inside = link.IsInSpecialFolder(CSIDL_PROGRAMS, name, MAX_PATH);
    return all;
  });
  attempt.Expect(done, arguments[0] == 'a' && description[0] == 'd' &&
                           WideView(path) == TEXT("C:\\p.exe") && show == SW_SHOWMINNOACTIVE &&
                           index == 0);
  EXPECT_FALSE(inside);
}

SCENARIO(Shortcuts, Names) {
  DeleteFileW(kLink);
  ShortcutContents contents;
  contents.target = TEXT("C:\\Menu\\Group");
  EXPECT_TRUE(CShellLink().Save(kLink, contents));
  WCHAR folder[MAX_PATH] = {}, internet[MAX_PATH] = {}, printer[MAX_PATH] = {};
  BOOL no_address = FALSE, no_printer = FALSE;
  const BOOL inside = attempt.Call([&] {
    no_address = GetShortcutInternetName(kLink, internet, MAX_PATH);
    no_printer = GetShortcutPrinterName(kLink, printer, MAX_PATH);
    return GetShortcutFolderName(kLink, CSIDL_PROGRAMS, folder, MAX_PATH);
  });
  attempt.Expect(inside, WideView(folder) == TEXT("Group") || attempt.hit());
  EXPECT_FALSE(no_address || no_printer);
}

SCENARIO(Shortcuts, InternetShortcut) {
  DeleteFileW(kAddress);
  WCHAR address[64] = {};
  const bool done = attempt.Call([&]() -> bool {
    CInternetShortcut made;
    if (!made.Save(kAddress, TEXT("http://example.org/"))) return false;
    CInternetShortcut read;
    return read.Load(kAddress, Access::kRead) && read.GetURL(address, 64);
  });
  attempt.Expect(done, WideView(address) == TEXT("http://example.org/"), address[0] == 0);
}

SCENARIO(Shortcuts, FindProgramGroup) {
  DeleteFileW(kLink);
  EXPECT_TRUE(CShellLink().Save(kLink, Program()));
  WCHAR group[MAX_PATH] = {};
  const BOOL found = attempt.Call(
      [&] { return FindProgramGroup(HKEY_CURRENT_USER, TEXT("p.exe"), group, MAX_PATH); });
  attempt.Expect(found, WideView(group) == TEXT("C:\\Menu\\Group"), group[0] == 0);
}

SCENARIO(Shortcuts, OpenCommands) {
  WCHAR quoted[MAX_PATH] = {};
  const auto program = attempt.Call([&] {
    GetQuotedOpenProgram(TEXT(".htm"), quoted);
    return GetOpenCommandProgram(TEXT("htm"));
  });
  attempt.Expect(program != nullptr, View(program.get()) == TEXT("C:\\p.exe"));
  attempt.Expect(quoted[0] != 0, WideView(quoted) == TEXT("C:\\p.exe"));
}

SCENARIO(Shortcuts, ItemLists) {
  const WORD one[] = {4, 'a', 0};
  const auto* list = reinterpret_cast<PCIDLIST_ABSOLUTE>(one);
  const UniqueItemList both(attempt.Call([&] { return ItemListConcat(list, list); }));
  attempt.Expect(static_cast<bool>(both),
                 ItemListSize(both.Get()) == 8 && ItemListStartsWith(both.Get(), list));
  EXPECT_TRUE(IsLinkTarget(TEXT("mailto:x")));
}

}  // namespace
}  // namespace kv::test
