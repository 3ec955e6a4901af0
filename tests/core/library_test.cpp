// Libraries loaded at run time, and version resources.
#include "platform/control/message_boxes.h"
#include "platform/control/pe_writer.h"
#include "platform/control/profiles.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/version_details.h"
#include "runtime/text/text.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

class LibraryTest : public RuntimeTest {
 protected:
  static constexpr WCHAR kPath[] = TEXT("C:\\libs\\some.dll");
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::PeWriter().AddString(0x0409, 1, TEXT("x")).WriteTo(platform::HostPath(kPath));
  }
};

TEST_F(LibraryTest, HoldsWhatItLoaded) {
  HMODULE kept;
  {
    LoadedLibrary library(kPath, Quiet::kNo);
    ASSERT_TRUE(library.IsLoaded());
    EXPECT_EQ(WideView(library.fileTitle()), TEXT("some.dll"));
    EXPECT_EQ(WideView(library.modulePath()), kPath);
    DLLVERSIONINFO version;
    EXPECT_FALSE(library.GetDllVersion(version)) << "no such export";
    EXPECT_EQ(version.cbSize, 20u);
    EXPECT_TRUE(library.Load(TEXT("comctl32.dll"), Quiet::kNo)) << "the first library is freed";
    EXPECT_TRUE(library.GetDllVersion(version));
    EXPECT_GE(version.dwMajorVersion, 4u);
    kept = library.Detach();
    EXPECT_FALSE(library.IsLoaded());
  }
  EXPECT_TRUE(FreeLibrary(kept));
}

TEST_F(LibraryTest, ANameWithADirectoryIsTriedOnceMore) {
  platform::FailCall("LoadLibraryW", 1, ERROR_MOD_NOT_FOUND);
  EXPECT_TRUE(LoadedLibrary(kPath, Quiet::kNo).IsLoaded());
  EXPECT_EQ(platform::CallCount("LoadLibraryW"), 2u);
  // The previous search directory is in force again.
  EXPECT_EQ(platform::CallCount("SetDllDirectoryW"), 2u);
  WCHAR directory[MAX_PATH];
  EXPECT_EQ(GetDllDirectoryW(MAX_PATH, directory), 0u);
}

std::basic_string<WCHAR> search_directory;
BOOL WINAPI RememberDirectory(LPCWSTR directory) {
  if (directory != nullptr) search_directory = directory;
  return TRUE;
}

TEST_F(LibraryTest, TheDirectoryOfALibraryInADrivesRootIsTheRoot) {
  platform::Replace("SetDllDirectoryW", &RememberDirectory);
  const struct {
    LPCWSTR name, directory;
  } kCases[] = {{TEXT("C:\\libs\\x.dll"), TEXT("C:\\libs")},
                {TEXT("C:\\x.dll"), TEXT("C:\\")},
                {TEXT("\\x.dll"), TEXT("\\")}};
  for (const auto& c : kCases) {
    EXPECT_FALSE(LoadedLibrary(c.name, Quiet::kYes).IsLoaded());
    EXPECT_EQ(search_directory, c.directory);
  }
}

TEST_F(LibraryTest, WhereDllDirectoriesAreMissingTheCurrentDirectoryServes) {
  ASSERT_TRUE(platform::UseProfile("windows-2000"));
  Restart();
  WCHAR before[MAX_PATH], after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  platform::ResetFaults();
  platform::FailCall("LoadLibraryW", 1, ERROR_MOD_NOT_FOUND);
  EXPECT_TRUE(LoadedLibrary(kPath, Quiet::kNo).IsLoaded());
  EXPECT_EQ(platform::CallCount("SetDllDirectoryW"), 0u);
  EXPECT_EQ(platform::CallCount("SetCurrentDirectoryW"), 2u);
  GetCurrentDirectoryW(MAX_PATH, after);
  EXPECT_EQ(WideView(after), WideView(before));
}

TEST_F(LibraryTest, FailureIsReportedWithTheErrorOfTheLastTry) {
  platform::FailCall("LoadLibraryW", 1, ERROR_MOD_NOT_FOUND);
  platform::FailCall("LoadLibraryW", 1, ERROR_BAD_EXE_FORMAT, 2);
  platform::AnswerNextBox(IDOK);
  LoadedLibrary library;
  EXPECT_FALSE(library.Load(kPath, Quiet::kNo));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
  EXPECT_TRUE(
      WideView(platform::ShownBoxes().back().text)
          .starts_with(TEXT("The library \"C:\\libs\\some.dll\" could not be loaded.\n\n")));
  EXPECT_FALSE(library.Load(TEXT("missing.dll"), Quiet::kYes));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(platform::ShownBoxes().size(), 1u);
}

platform::VersionResource Version(WORD major, WORD minor) {
  platform::VersionResource version;
  version.file_version = {7, 3, 2, 1};
  version.product_version = {major, minor, 0, 0};
  version.translations = {{0x0407, 1200}, {0x0409, 1200}};
  version.strings = {
      {0x0409, 1200, {{TEXT("ProductName"), TEXT("second")}}},
      {0x0407,
       1200,
       {{TEXT("ProductName"), TEXT("first")}, {TEXT("CompanyName"), TEXT("Company")}}}};
  return version;
}

TEST_F(LibraryTest, VersionsAreReadThroughTheFirstTranslation) {
  VersionText product, text, company, original;
  VersionDetails details = {&product, &text, &company, &original};
  platform::PeWriter().AddVersion(Version(300, 2)).WriteTo(platform::HostPath(kPath));
  EXPECT_TRUE(GetFileVersionDetails(kPath, details));
  EXPECT_EQ(WideView(product.text), TEXT("first"));
  EXPECT_EQ(WideView(company.text), TEXT("Company"));
  EXPECT_EQ(WideView(original.text), TEXT(""));
  EXPECT_EQ(details.productMajor, 300);
  EXPECT_EQ(details.productMinor, 2);
  EXPECT_EQ(details.fileVersionHigh, 0x00070003u);
  EXPECT_EQ(details.packedProductVersion, 0x2C02);

  platform::VersionResource untranslated = Version(8, 27);
  untranslated.translations.clear();
  platform::PeWriter().AddVersion(untranslated).WriteTo(platform::HostPath(kPath));
  EXPECT_FALSE(GetFileVersionDetails(kPath, details)) << "no translation table";
  EXPECT_EQ(WideView(product.text), TEXT(""));
  EXPECT_EQ(details.productMajor, 0);
  EXPECT_FALSE(GetFileVersionDetails(TEXT("C:\\libs\\missing.dll"), details));
  EXPECT_FALSE(GetFileVersionDetails(TEXT("C:\\libs"), details)) << "a directory";
}

TEST_F(LibraryTest, TheDispatcherIsLookedForInTheProductsDirectory) {
  EXPECT_EQ(GetDispatcherVersion(), 0u);
  platform::PeWriter()
      .AddVersion(Version(8, 27))
      .WriteTo(platform::HostPath(TEXT("C:\\Product\\kvdisp8.exe")));
  CopyStringW(startupContext.appDir, TEXT("C:\\Product\\"));
  EXPECT_EQ(GetDispatcherVersion(), 8u * 65536 + 27);
}

}  // namespace
}  // namespace kv::test
