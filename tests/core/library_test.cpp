// Libraries loaded at run time, and version resources.
#include <algorithm>
#include <barrier>

#include "platform/control/message_boxes.h"
#include "platform/control/pe_writer.h"
#include "platform/control/profiles.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/version_details.h"
#include "runtime/text/text.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

using WideString = std::basic_string<WCHAR>;

class LibraryTest : public RuntimeTest {
 protected:
  static constexpr WCHAR kPath[] = TEXT("C:\\libs\\some.dll");
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::PeWriter().AddString(0x0409, 1, TEXT("x")).WriteTo(platform::HostPath(kPath));
  }
};

WideString search_directory;
BOOL WINAPI RememberDirectory(LPCWSTR directory) {
  if (directory != nullptr) search_directory = directory;
  return TRUE;
}
// As a path of that length is answered: cut, without a terminator.
DWORD WINAPI LongModuleName(HMODULE, LPWSTR buffer, DWORD capacity) {
  for (DWORD i = 0; i < capacity; ++i) buffer[i] = 'd';
  return capacity;
}

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

TEST_F(LibraryTest, WhatCannotBeLoadedLeavesWhatWas) {
  LoadedLibrary library(kPath, Quiet::kNo);
  const HMODULE before = library.handle();
  EXPECT_FALSE(library.Load(TEXT("C:\\libs\\missing.dll"), Quiet::kYes));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(library.handle(), before);
  EXPECT_EQ(WideView(library.fileTitle()), TEXT("some.dll"));
  // Its own names.
  EXPECT_TRUE(library.Load(library.modulePath(), Quiet::kNo));
  EXPECT_EQ(WideView(library.modulePath()), kPath);
  EXPECT_TRUE(library.Load(library.fileTitle(), Quiet::kNo)) << "of what is loaded, that is enough";
  EXPECT_EQ(WideView(library.modulePath()), kPath);
  EXPECT_EQ(WideView(library.fileTitle()), TEXT("some.dll"));
}

// Half a path would be another file's.
TEST_F(LibraryTest, PathsThatAreTooLongAreNotCut) {
  platform::Replace("GetModuleFileNameW", &LongModuleName);
  const LoadedLibrary library(kPath, Quiet::kNo);
  EXPECT_TRUE(library.IsLoaded());
  EXPECT_EQ(WideView(library.modulePath()), TEXT(""));
  VersionDetails details;
  EXPECT_FALSE(GetModuleVersionDetails(library.handle(), details));
  EXPECT_EQ(details.productMajor, 0);
  platform::Replace("SetDllDirectoryW", &RememberDirectory);
  search_directory = TEXT("untouched");
  EXPECT_FALSE(
      LoadedLibrary(
          (WideString(TEXT("C:\\libs\\")) + WideString(300, 'd') + TEXT("\\x.dll")).c_str(),
          Quiet::kYes)
          .IsLoaded());
  EXPECT_EQ(search_directory, TEXT("untouched"));
}

// As many threads as come at once: all are in LoadLibraryW before the first leaves it.
constexpr int kThreads = 4;
std::barrier<>* all_inside;
HMODULE WINAPI LoadTogether(LPCWSTR name) {
  all_inside->arrive_and_wait();
  return LoadLibraryW(name);
}

TEST_F(LibraryTest, ThreadsThatBindOneLibraryAtOnceShareIt) {
  std::barrier<> inside(kThreads);
  all_inside = &inside;
  platform::Replace("LoadLibraryW", &LoadTogether);
  {
    LoadedLibrary shared;
    struct Share {
      LoadedLibrary* library;
      HMODULE module;
    } shares[kThreads];
    HANDLE threads[kThreads];
    for (int i = 0; i < kThreads; ++i) {
      shares[i] = {&shared, nullptr};
      threads[i] = CreateThread(
          nullptr, 0,
          [](LPVOID share) WINAPI -> DWORD {
            auto* const mine = static_cast<Share*>(share);
            mine->module = mine->library->LoadOnce(TEXT("C:\\libs\\some.dll"));
            return 0;
          },
          &shares[i], 0, nullptr);
    }
    for (const HANDLE thread : threads) {
      WaitForSingleObject(thread, INFINITE);
      CloseHandle(thread);
    }
    ASSERT_TRUE(shared.IsLoaded());
    for (const Share& share : shares) EXPECT_EQ(share.module, shared.handle());
    EXPECT_EQ(WideView(shared.modulePath()), kPath);
    EXPECT_EQ(platform::CallCount("LoadLibraryW"), kThreads);
    EXPECT_EQ(platform::CallCount("FreeLibrary"), kThreads - 1) << "one reference stays";
    EXPECT_EQ(shared.LoadOnce(TEXT("C:\\libs\\other.dll")), shared.handle()) << "it is bound";
  }
  EXPECT_EQ(GetModuleHandleW(kPath), nullptr);
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

HMODULE WINAPI FailDifferently(LPCWSTR) {
  static bool again;
  SetLastError(std::exchange(again, true) ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND);
  return nullptr;
}

TEST_F(LibraryTest, FailureIsReportedWithTheErrorOfTheLastTry) {
  platform::Replace("LoadLibraryW", &FailDifferently);
  platform::AnswerNextBox(IDOK);
  LoadedLibrary library;
  EXPECT_FALSE(library.Load(kPath, Quiet::kNo));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
  EXPECT_EQ(
      WideView(platform::ShownBoxes().back().text),
      TEXT("The library \"C:\\libs\\some.dll\" could not be loaded.\n\n%1 is not a valid Win32 "
           "application."));
  platform::ResetFaults();
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

// A node of a version resource whose header says `length` of its value.
std::vector<BYTE> Node(LPCWSTR key, bool text, WORD length, const std::vector<BYTE>& value,
                       const std::vector<std::vector<BYTE>>& children) {
  WORD header[] = {0, length, text};
  std::string node(reinterpret_cast<const char*>(header), sizeof header);
  node.append(reinterpret_cast<const char*>(key), (WideView(key).size() + 1) * sizeof(WCHAR));
  const auto align = [&] { node.resize((node.size() + 3) / 4 * 4); };
  align();
  node.append(value.begin(), value.end());
  for (const auto& child : children) {
    align();
    node.append(child.begin(), child.end());
  }
  header[0] = static_cast<WORD>(node.size());
  node.replace(0, sizeof header, reinterpret_cast<const char*>(header), sizeof header);
  return std::vector<BYTE>(node.begin(), node.end());
}

// What a block says of its values need not be so: the buffers here end where the block does.
TEST_F(LibraryTest, NothingOutsideAVersionBlockIsRead) {
  const std::vector<BYTE> fixed = [] {
    const std::vector<BYTE> whole = Version(8, 27).Build();
    const BYTE signature[] = {0xBD, 0x04, 0xEF, 0xFE};
    const auto at = std::search(whole.begin(), whole.end(), signature, signature + 4);
    return std::vector<BYTE>(at, at + sizeof(VS_FIXEDFILEINFO));
  }();
  const std::vector<BYTE> ended = {'a', 0, 'b', 0, 0, 0}, open = {'a', 0, 'b', 0};
  const std::vector<BYTE> english = {0x09, 0x04, 0xB0, 0x04};
  const struct {
    WORD length;
    std::vector<BYTE> text;
    WORD translationLength;
    std::vector<BYTE> translation, fixed;
    BOOL read;
    LPCWSTR product;
    WORD minor;
  } kCases[] = {
      {3, ended, 4, english, fixed, TRUE, TEXT("ab"), 27},
      {6, ended, 4, english, fixed, TRUE, TEXT("ab"), 27},  // in bytes
      {2, open, 4, english, fixed, TRUE, TEXT("ab"), 27},
      {4, open, 4, english, fixed, TRUE, TEXT("ab"), 27},
      {0xFFFF, open, 4, english, fixed, TRUE, TEXT("ab"), 27},
      {0xFFFF, {'a', 0, 'b'}, 4, english, fixed, TRUE, TEXT("a"), 27},
      {1, ended, 4, english, fixed, TRUE, TEXT("a"), 27},
      {0, ended, 4, english, fixed, TRUE, TEXT(""), 27},
      {3, ended, 2, english, fixed, FALSE, TEXT(""), 0},
      {3, ended, 4, english, std::vector<BYTE>(fixed.begin(), fixed.end() - 1), TRUE, TEXT("ab"),
       0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    const auto translation =
        Node(TEXT("VarFileInfo"), true, 0, {},
             {Node(TEXT("Translation"), false, c.translationLength, c.translation, {})});
    const auto texts = Node(TEXT("StringFileInfo"), true, 0, {},
                            {Node(TEXT("040904b0"), true, 0, {},
                                  {Node(TEXT("ProductName"), true, c.length, c.text, {})})});
    const auto block = Node(TEXT("VS_VERSION_INFO"), false, static_cast<WORD>(c.fixed.size()),
                            c.fixed, {translation, texts});
    const std::unique_ptr<BYTE[]> exact(new BYTE[block.size()]);
    std::copy(block.begin(), block.end(), exact.get());
    VersionText product;
    for (WCHAR& unit : product.text) unit = '#';
    VersionDetails details = {&product};
    EXPECT_EQ(ReadVersionBlock(exact.get(), block.size(), details), c.read);
    EXPECT_EQ(WideView(product.text), c.product);
    EXPECT_EQ(details.productMinor, c.minor);
  }
  // A fixed part and a translation that end the block too early.
  const auto late =
      Node(TEXT("VS_VERSION_INFO"), false, sizeof(VS_FIXEDFILEINFO), {1, 2, 3, 4}, {});
  const auto short_translation =
      Node(TEXT("VS_VERSION_INFO"), false, 0, {},
           {Node(TEXT("VarFileInfo"), true, 0, {},
                 {Node(TEXT("Translation"), false, 4, {9, 4, 0xB0}, {})})});
  for (const auto& block : {late, short_translation}) {
    const std::unique_ptr<BYTE[]> exact(new BYTE[block.size()]);
    std::copy(block.begin(), block.end(), exact.get());
    VersionDetails details;
    EXPECT_FALSE(ReadVersionBlock(exact.get(), block.size(), details));
  }
}

TEST_F(LibraryTest, TheDispatcherIsLookedForInTheProductsDirectory) {
  EXPECT_EQ(GetDispatcherVersion(), 0u);
  platform::PeWriter()
      .AddVersion(Version(8, 27))
      .WriteTo(platform::HostPath(TEXT("C:\\Product\\kvdisp8.exe")));
  CopyStringW(startupContext.appDir, TEXT("C:\\Product\\"));
  EXPECT_EQ(GetDispatcherVersion(), 8u * 65536 + 27);
  // A path of 260 characters, of which half a name would be left.
  const WideString directory = TEXT("C:\\") + WideString(245, 'd');
  platform::PeWriter()
      .AddVersion(Version(8, 27))
      .WriteTo(platform::HostPath(directory + TEXT("\\kvdisp8.ex")));
  CopyStringW(startupContext.appDir, directory.c_str());
  EXPECT_EQ(GetDispatcherVersion(), 0u);
}

}  // namespace
}  // namespace kv::test
