// Shortcuts that depend on the system, and shortcuts in menus.
#include <shlobj.h>

#include <fstream>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "platform/control/shell_items.h"
#include "runtime/files/item_lists.h"
#include "runtime/files/open_command.h"
#include "runtime/files/program_group.h"
#include "runtime/files/shell_link.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kLink[] = TEXT("C:\\test.lnk");
constexpr WCHAR kShellFolders[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");

class ShortcutsMachineTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  }
  void TearDown() override {
    CoUninitialize();
    RuntimeTest::TearDown();
  }
  static void Associate(const WideString& extension, const WideString& command) {
    const WideString name = TEXT("Class") + extension;
    SetText(Key::Create(HKEY_CLASSES_ROOT, extension), TEXT(""), name);
    SetText(Key::Create(HKEY_CLASSES_ROOT, name + TEXT("\\shell\\open\\command")), TEXT(""),
            command);
  }
  static ShortcutContents To(LPCWSTR target) {
    ShortcutContents contents;
    contents.target = target;
    return contents;
  }
  static WideString PathIn(LPCWSTR file) {
    WCHAR path[MAX_PATH];
    CShellLink(file).GetPath(path, MAX_PATH);
    return path;
  }
  static WideString NameIn(int folder) {
    WCHAR name[300] = TEXT("?");
    return GetShortcutFolderName(kLink, folder, name, 300) ? WideString(TEXT("in:")) + name
                                                           : WideString(name);
  }
  static void WriteBytes(LPCWSTR file, const std::string& bytes) {
    std::ofstream(platform::HostPath(file), std::ios::binary) << bytes;
  }
};

TEST_F(ShortcutsMachineTest, OnlyVistaStartsTheProgramOfADocument) {
  Associate(TEXT(".abc"), TEXT("\"C:\\Program Files\\abc.exe\" /open \"%1\""));
  Associate(TEXT(".exe"), TEXT("\"C:\\start.exe\" \"%1\""));
  const struct {
    const char* profile;
    LPCWSTR target;
    bool as_administrator;
    LPCWSTR path;
    LPCWSTR arguments;
    DWORD flags;
  } kCases[] = {
      {"windows-vista", TEXT("C:\\a.abc"), true, TEXT("C:\\Program Files\\abc.exe"),
       TEXT("C:\\a.abc"), SLDF_RUNAS_USER},
      {"windows-vista", TEXT("C:\\a.EXE"), true, TEXT("C:\\a.EXE"), TEXT("own"), SLDF_RUNAS_USER},
      {"windows-vista", TEXT("C:\\a.none"), true, TEXT("C:\\a.none"), TEXT("own"), SLDF_RUNAS_USER},
      {"windows-vista", TEXT("C:\\a.abc"), false, TEXT("C:\\a.abc"), TEXT("own"), 0},
      {"windows-7", TEXT("C:\\a.abc"), true, TEXT("C:\\a.abc"), TEXT("own"), 0},
      {"windows-xp", TEXT("C:\\a.abc"), true, TEXT("C:\\a.abc"), TEXT("own"), 0},
  };
  for (const auto& c : kCases) {
    ASSERT_TRUE(platform::UseProfile(c.profile)) << c.profile;
    Restart();
    ShortcutContents contents = To(c.target);
    contents.arguments = TEXT("own");
    contents.runAsAdministrator =
        c.as_administrator ? RunAsAdministrator::kYes : RunAsAdministrator::kNo;
    ASSERT_TRUE(CShellLink().Save(kLink, contents));
    const CShellLink link(kLink);
    WCHAR arguments[256];
    ASSERT_TRUE(link.GetArguments(arguments));
    EXPECT_EQ(PathIn(kLink), c.path) << c.profile;
    EXPECT_EQ(WideString(arguments), c.arguments) << c.profile;
    DWORD flags = 0;
    std::ifstream file(platform::HostPath(kLink), std::ios::binary);
    file.seekg(20).read(reinterpret_cast<char*>(&flags), sizeof(flags));
    EXPECT_EQ(flags & SLDF_RUNAS_USER, c.flags) << c.profile;
  }
}

TEST_F(ShortcutsMachineTest, OpenCommandsNameTheirPrograms) {
  Associate(TEXT(".txt"), TEXT("C:\\edit.exe %1"));
  Associate(TEXT(".q"), TEXT("\"C:\\a b.exe\" \"%1\""));
  SetText(Key::Create(HKEY_CLASSES_ROOT, TEXT(".lost")), TEXT(""), TEXT("NoSuchClass"));
  for (const auto& [extension, program] : {std::pair{TEXT("txt"), TEXT("C:\\edit.exe")},
                                           {TEXT(".txt"), TEXT("C:\\edit.exe")},
                                           {TEXT("q"), TEXT("C:\\a b.exe")},
                                           {TEXT("lost"), TEXT("")},
                                           {TEXT("none"), TEXT("")}}) {
    EXPECT_EQ(View(GetOpenCommandProgram(extension).get()), program);
  }
}

TEST_F(ShortcutsMachineTest, OpenCommandsAreTakenWhole) {
  // A command has room for 1023 characters.
  platform::SetFact("environment.DEEP", std::string(980, 'd'));
  const struct {
    WideString extension, command;
    bool taken;
  } kCases[] = {
      {TEXT(".") + WideString(235, 'e'), TEXT("C:\\a.exe"), true},
      {TEXT(".") + WideString(250, 'e'), TEXT("C:\\a.exe"), true},
      {TEXT(".fit"), TEXT("%DEEP% ") + WideString(42, 'x'), true},
      {TEXT(".cut"), TEXT("%DEEP% ") + WideString(43, 'x'), false},
  };
  for (const auto& c : kCases) {
    SetText(Key::Create(HKEY_CLASSES_ROOT, c.extension), TEXT(""), c.extension + TEXT("C"));
    const Key key = Key::Create(HKEY_CLASSES_ROOT, c.extension + TEXT("C\\shell\\open\\command"));
    RegSetValueExW(key, nullptr, 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE*>(c.command.c_str()),
                   static_cast<DWORD>((c.command.size() + 1) * sizeof(WCHAR)));
    EXPECT_EQ(GetOpenCommandProgram(c.extension.c_str()) != nullptr, c.taken) << &c - kCases;
  }
  SetText(Key::Create(HKEY_CLASSES_ROOT, WideString(255, 'e')), TEXT(""), TEXT(".fitC"));
  EXPECT_EQ(GetOpenCommandProgram((TEXT(".") + WideString(254, 'e') + TEXT("xx")).c_str()),
            nullptr);
  EXPECT_EQ(GetOpenCommandProgram(TEXT("")), nullptr);
  Associate(TEXT(".q"), TEXT("run \"C:\\a b.exe\" \"%1\""));
  WCHAR text[MAX_PATH] = TEXT(".q");
  EXPECT_TRUE(GetQuotedOpenProgram(text, text));
  EXPECT_EQ(WideString(text), TEXT("C:\\a b.exe"));
  for (const LPCWSTR command : {TEXT("C:\\bare.exe %1"), TEXT("\"C:\\open"), TEXT("\"\" x")}) {
    Associate(TEXT(".q"), command);
    text[0] = '?';
    EXPECT_FALSE(GetQuotedOpenProgram(TEXT(".q"), text));
    EXPECT_EQ(text[0], 0);
  }
}

TEST_F(ShortcutsMachineTest, AShortcutWithoutItsTargetIsNotWritten) {
  ASSERT_TRUE(CShellLink().Save(kLink, To(TEXT("C:\\a.exe"))));
  const WideString tooLong = TEXT("C:\\") + WideString(300, 'x');
  EXPECT_FALSE(CShellLink().Save(kLink, To(tooLong.c_str())));
  EXPECT_EQ(PathIn(kLink), TEXT("C:\\a.exe"));
  // What is not given stays.
  CShellLink link(kLink, Access::kWrite);
  ShortcutContents contents;
  contents.description = TEXT("new");
  EXPECT_TRUE(link.Save(kLink, contents));
  EXPECT_EQ(PathIn(kLink), TEXT("C:\\a.exe"));
  WCHAR none[1] = {'?'};
  EXPECT_FALSE(link.GetPath(none, 0) || link.GetWorkingDirectory(none, 0));
  EXPECT_EQ(none[0], '?');
  EXPECT_TRUE(link.GetPath(none, 1) && link.GetWorkingDirectory(none, 1));
}

TEST_F(ShortcutsMachineTest, ShortcutsToAddressesShowTheBrowser) {
  Associate(TEXT(".htm"), TEXT("\"C:\\browser.exe\" -url %1"));
  ASSERT_TRUE(CShellLink().Save(kLink, To(TEXT("https://example.org/\u0416"))));
  WCHAR icon[MAX_PATH];
  int index = -1;
  const CShellLink link(kLink);
  EXPECT_TRUE(link.GetIconLocation(icon, index));
  EXPECT_EQ(WideString(icon), TEXT("C:\\browser.exe"));
  EXPECT_EQ(index, 0);
  WCHAR name[100] = TEXT("x");
  EXPECT_FALSE(link.GetPath(name, 100)) << "the target is no file";
  EXPECT_TRUE(GetShortcutInternetName(kLink, name, 100));
  EXPECT_EQ(WideString(name), TEXT("https://example.org/\u0416"));
  EXPECT_FALSE(GetShortcutPrinterName(kLink, name, 100));
  EXPECT_EQ(name[0], 0);
}

TEST_F(ShortcutsMachineTest, TargetsAreFoundInTheirSpecialFolders) {
  SetText(Key::Create(HKEY_CURRENT_USER, kShellFolders), TEXT("Personal"), TEXT("C:\\My Files"));
  ASSERT_TRUE(CreateDirectoryW(TEXT("C:\\My Files"), nullptr));
  ASSERT_TRUE(CShellLink().Save(kLink, To(TEXT("C:\\My Files\\sub\\letter.txt"))));
  EXPECT_EQ(NameIn(CSIDL_PERSONAL), TEXT("in:sub\\letter.txt"));
  EXPECT_EQ(NameIn(CSIDL_DRIVES), TEXT("in:C:\\My Files\\sub\\letter.txt"));
  EXPECT_EQ(NameIn(CSIDL_PRINTERS), TEXT(""));
  EXPECT_EQ(NameIn(CSIDL_STARTUP), TEXT("")) << "the user has no such folder";
  EXPECT_EQ(NameIn(999), TEXT(""));

  // What dragging a printer makes.
  UniqueItemList printer(platform::PrinterItemList(TEXT("Folvane \u0416")));
  {
    ComReference<IShellLinkW> link;
    ASSERT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               reinterpret_cast<void**>(link.Receive())),
              S_OK);
    ASSERT_EQ(link.Get()->SetIDList(printer.Get()), S_OK);
    ASSERT_EQ(QueryFor<IPersistFile>(link, IID_IPersistFile).Get()->Save(kLink, TRUE), S_OK);
  }
  EXPECT_EQ(NameIn(CSIDL_PRINTERS), TEXT("in:Folvane \u0416"));
  EXPECT_EQ(NameIn(CSIDL_INTERNET), TEXT(""));
  EXPECT_EQ(PathIn(kLink), TEXT(""));
}

TEST_F(ShortcutsMachineTest, GroupsAreFoundByTheirPrograms) {
  constexpr WCHAR kMenu[] = TEXT("C:\\Menu");
  SetText(Key::Create(HKEY_CURRENT_USER, kShellFolders), TEXT("Programs"), kMenu);
  WCHAR group[MAX_PATH] = TEXT("x");
  EXPECT_FALSE(FindProgramGroup(HKEY_CURRENT_USER, TEXT("a.exe"), group, 0));
  EXPECT_EQ(group[0], 'x');
  EXPECT_FALSE(FindProgramGroup(HKEY_CURRENT_USER, TEXT("a.exe"), group, MAX_PATH));
  EXPECT_EQ(group[0], 0) << "no menu";
  for (const WCHAR* directory :
       {kMenu, TEXT("C:\\Menu\\Games"), TEXT("C:\\Menu\\Tools"), TEXT("C:\\Menu\\Tools\\Deep")}) {
    ASSERT_TRUE(CreateDirectoryW(directory, nullptr));
  }
  CShellLink().Save(TEXT("C:\\Menu\\direct.lnk"), To(TEXT("C:\\direct.exe")));
  CShellLink().Save(TEXT("C:\\Menu\\Tools\\a.lnk"), To(TEXT("C:\\bin\\A.exe")));
  CShellLink().Save(TEXT("C:\\Menu\\Tools\\x.lnk"), To(TEXT("C:\\bin\\x")));
  CShellLink().Save(TEXT("C:\\Menu\\Tools\\Deep\\b.lnk"), To(TEXT("C:\\deep.exe")));
  WriteBytes(TEXT("C:\\Menu\\Games\\a.lnk"), "no link");
  EXPECT_TRUE(FindProgramGroup(HKEY_CURRENT_USER, TEXT("a.EXE"), group, MAX_PATH));
  EXPECT_EQ(WideString(group), TEXT("C:\\Menu\\Tools"));
  CopyStringW(group, TEXT("x"));
  EXPECT_TRUE(FindProgramGroup(HKEY_CURRENT_USER, group, group, 8));
  EXPECT_EQ(WideString(group), TEXT("C:\\Menu")) << "cut to the capacity";
  for (const WCHAR* program : {TEXT("direct.exe"), TEXT("deep.exe"), TEXT("none.exe"), TEXT("")}) {
    EXPECT_FALSE(FindProgramGroup(HKEY_CURRENT_USER, program, group, MAX_PATH));
    EXPECT_EQ(group[0], 0);
  }
  CoUninitialize();
  EXPECT_FALSE(FindProgramGroup(HKEY_CURRENT_USER, TEXT("a.exe"), group, MAX_PATH));
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

}  // namespace
}  // namespace kv::test
