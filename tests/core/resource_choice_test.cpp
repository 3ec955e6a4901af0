// Which language resource library the module loads.
#include "platform/control/message_boxes.h"
#include "runtime/core/resource_library.h"
#include "runtime/registry/deferred_file_ops.h"
#include "runtime/text/wide_text.h"
#include "tests/support/module_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

// The loads of one attach: the module itself, the common controls for their version, the library
// that the language chooses, and when that fails the default library.
constexpr int kLoadByLanguage = 3;

// Each library is known by the product that it names: 97 Docklane Pro, 96 Docklane, 109 Folvane.
class ResourceChoiceTest : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    std::filesystem::remove(platform::HostPath(kFolder) / "kvres832.dll");
  }
  static void Put(const char* name, WORD language, LPCWSTR code, WORD minor = 27,
                  WORD secondLanguage = 0) {
    platform::PeWriter library;
    platform::VersionResource version;
    version.product_version = {8, minor, 0, 0};
    version.translations = {{0x0409, 1200}};
    library.AddVersion(version)
        .AddString(language, 10060, code)
        .AddString(language, 12117, TEXT("Failed: ^1."));
    if (secondLanguage != 0) library.AddString(secondLanguage, 10060, code);
    library.WriteTo(platform::HostPath(kFolder) / name);
  }
  static void Want(HKEY root, DWORD language) {
    RegSetValueExW(Key::Create(root, TEXT("Software\\Veltmoor Software\\Folvane8")),
                   TEXT("Language"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&language),
                   sizeof(language));
  }
  // The name of the product whose library a load takes.
  static std::basic_string<WCHAR> Loaded() {
    const LoadedModule module(kModule);
    return module ? module.ProductName() : std::basic_string<WCHAR>(TEXT("not loaded"));
  }

  static DWORD WINAPI TempPath(DWORD, LPWSTR buffer) {
    buffer[WideView(TEXT("C:\\copies\\")).copy(buffer, 10)] = 0;
    return 10;
  }
  static HMODULE WINAPI LoadDefaultFileOnly(LPCWSTR path) {
    ++loads_;
    if (loads_ < kLoadByLanguage || loads_ == kLoadByLanguage + 1) return LoadLibraryW(path);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  static inline int loads_;
};

TEST_F(ResourceChoiceTest, UserThenMachineThenSystemThenNoLanguage) {
  Put("kvres832-0407.dll", 0x0407, TEXT("97"));
  Put("kvres832-040c.dll", 0x040C, TEXT("96"));
  Put("kvres832.dll", 0x0409, TEXT("109"));
  EXPECT_EQ(WideView(Loaded()), TEXT("Folvane")) << "the system's language, by the generic name";
  Want(HKEY_LOCAL_MACHINE, 0x040C);
  EXPECT_EQ(WideView(Loaded()), TEXT("Docklane"));
  const HANDLE writer = CreateFileW(TEXT("C:\\Windows\\System32\\kvres832-040c.dll"), GENERIC_WRITE,
                                    FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(WideView(Loaded()), TEXT("Folvane")) << "not one that somebody writes";
  EXPECT_TRUE(CloseHandle(writer));
  Want(HKEY_CURRENT_USER, 0xFFFF0407);
  EXPECT_EQ(WideView(Loaded()), TEXT("Docklane Pro")) << "only the low 16 bits count";
  std::filesystem::remove(platform::HostPath(kFolder) / "kvres832-0407.dll");
  EXPECT_EQ(WideView(Loaded()), TEXT("Docklane"))
      << "the machine's, when there is none for the user";
  Put("kvres832.dll", 0x0407, TEXT("97"));
  EXPECT_EQ(WideView(Loaded()), TEXT("Docklane Pro")) << "a generic library in the wanted language";
}

TEST_F(ResourceChoiceTest, ALibraryInTwoLanguagesHasNone) {
  Put("kvres832.dll", 0x0411, TEXT("96"));
  // Wherever the other language stands.
  for (const WORD other : {0x0407, 0x0411}) {
    Put("kvres832-0409.dll", 0x0409, TEXT("97"), 27, other);
    EXPECT_EQ(WideView(Loaded()), TEXT("Docklane")) << "the last resort needs no language";
  }
  Put("kvres832-0409.dll", 0x0409, TEXT("97"));
  EXPECT_EQ(WideView(Loaded()), TEXT("Docklane Pro"));
  Put("kvres832.dll", 0x0411, TEXT("96"), 26);
  std::filesystem::remove(platform::HostPath(kFolder) / "kvres832-0409.dll");
  EXPECT_EQ(WideView(Loaded()), TEXT("Docklane")) << "found by its name, whatever its version";
}

TEST_F(ResourceChoiceTest, ADefaultLibraryOfAnotherVersionIsLoadedFromACopy) {
  // Without a copy the file itself serves.
  for (const char* const failing : {"CopyFileW", "none"}) {
    Put("kvres832.dll", 0x0409, TEXT("97"), 26);
    // The load by language fails, so the default library is looked at.
    platform::FailCall("LoadLibraryW", kLoadByLanguage, ERROR_NOT_ENOUGH_MEMORY);
    platform::FailCall(failing, 1, ERROR_DISK_FULL);
    const bool is_copy = failing[0] == 'n';
    const LoadedModule module(kModule);
    ASSERT_TRUE(module);
    EXPECT_EQ(WideView(module.ProductName()), TEXT("Docklane Pro"));
    EXPECT_EQ(DeleteFileW(TEXT("C:\\Windows\\System32\\kvres832.dll")) != FALSE, is_copy)
        << "setup can replace it";
    CDeferredFileOps pending;
    LPCWSTR source = nullptr, target = nullptr;
    EXPECT_EQ(pending.FirstPendingRename(source, target) != FALSE, is_copy);
    EXPECT_EQ(View(source).find(TEXT("\\~KV")) != WideView::npos, is_copy);
    EXPECT_EQ(target, nullptr) << "the copy goes at the next restart";
  }
}

TEST_F(ResourceChoiceTest, WhatCannotBeFoundOrLoadedIsReportedOnce) {
  for (const bool exists : {false, true}) {
    if (exists) Put("kvres832.dll", 0x0409, TEXT("97"), 26);
    platform::ResetFaults();
    platform::FailCall("LoadLibraryW", kLoadByLanguage, ERROR_NOT_ENOUGH_MEMORY, 2);
    platform::AnswerNextBox(IDOK);
    EXPECT_EQ(WideView(Loaded()), TEXT("not loaded"));
    EXPECT_EQ(platform::ShownBoxes().back().text,
              exists ? TEXT("Could not load resource DLL C:\\Windows\\System32\\kvres832.dll.")
                     : TEXT("Could not find resource DLL kvres832.dll."));
    EXPECT_EQ(platform::CallCount("LoadLibraryW"), exists ? 4u : 2u);
  }
}

TEST_F(ResourceChoiceTest, TheLanguageOfResourcesIsTheFirstOneOfTheFirstBlock) {
  platform::PeWriter()
      .AddString(0x040C, 100, TEXT("x"))
      .AddString(0x0409, 100, TEXT("x"))
      .AddString(0x0407, 5000, TEXT("x"))
      .WriteTo(platform::HostPath(TEXT("C:\\x.dll")));
  const HMODULE module = LoadLibraryW(TEXT("C:\\x.dll"));
  EXPECT_EQ(GetResourceLanguage(module), 0x0409);
  EXPECT_TRUE(FreeLibrary(module));
}

TEST_F(ResourceChoiceTest, ACopyThatCannotBeLoadedIsDeleted) {
  Put("kvres832.dll", 0x0409, TEXT("97"), 26);
  const std::filesystem::path copies = platform::HostPath(TEXT("C:\\copies"));
  std::filesystem::create_directory(copies);
  platform::Replace("GetTempPathW", &TempPath);
  // By language and from the copy the load fails, the default file in between does not.
  platform::Replace("LoadLibraryW", &LoadDefaultFileOnly);
  platform::AnswerNextBox(IDOK);
  loads_ = 0;
  const LoadedModule module(kModule);
  ASSERT_FALSE(module);
  EXPECT_EQ(loads_, kLoadByLanguage + 2);
  EXPECT_TRUE(WideView(platform::ShownBoxes().back().text)
                  .starts_with(TEXT("Could not load resource DLL C:\\copies\\~KV")));
  EXPECT_TRUE(std::filesystem::is_empty(copies));
}

TEST_F(ResourceChoiceTest, WhileSetupRunsTheInterfaceModuleTakesAnyVersion) {
  Put("kvres832.dll", 0x0409, TEXT("97"), 26);
  InstallModule(kFolder, TEXT("kvinter8.dll"));
  Put("kvres832.dll", 0x0409, TEXT("97"), 26);
  WNDCLASSW setup = {};
  setup.lpfnWndProc = DefWindowProcW;
  setup.lpszClassName = TEXT("KV8_SetupWndClass");
  ASSERT_NE(RegisterClassW(&setup), 0);
  const HWND window = CreateWindowExW(0, setup.lpszClassName, TEXT(""), WS_POPUP, 0, 0, 1, 1,
                                      nullptr, nullptr, nullptr, nullptr);
  for (const LPCWSTR file : {TEXT("C:\\Windows\\System32\\kvinter8.dll"), kModule}) {
    platform::ResetFaults();
    platform::FailCall("LoadLibraryW", kLoadByLanguage, ERROR_NOT_ENOUGH_MEMORY);
    const LoadedModule module(file);
    ASSERT_TRUE(module);
    // One attempt by language, one of the default library; any other module goes on with a copy.
    EXPECT_EQ(platform::CallCount("CopyFileW"), WideView(file) == kModule ? 1u : 0u);
  }
  DestroyWindow(window);
  UnregisterClassW(setup.lpszClassName, nullptr);
}

}  // namespace
}  // namespace kv::test
