// Loading modules of all kinds, and what can be found in them.
#include <stdlib.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "platform/control/pe_writer.h"
#include "platform/control/profiles.h"
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;
using platform::HostPath;
using platform::PeWriter;
namespace fs = std::filesystem;

constexpr WORD kOtherMachine =
    sizeof(void*) == 4 ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386;

class ModulesTest : public kv::test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    log_ = directory() / "module.log";
    setenv("KV_MODULE_LOG", log_.c_str(), 1);
    unsetenv("KV_MODULE_REFUSES");
    CopyModule(TEXT("C:\\app\\first.dll"));
  }
  void TearDown() override {
    unsetenv("KV_MODULE_REFUSES");
    unsetenv("KV_MODULE_LOG");
    MachineTest::TearDown();
  }

  static void CopyModule(WideView target) {
    fs::create_directories(HostPath(target).parent_path());
    fs::copy_file(kv::test::TestDirectory() / "loadable_module.dll", HostPath(target));
  }

  // The events since the last call, with blanks between them.
  std::string Events() {
    std::ifstream file(log_);
    std::string all, line;
    while (std::getline(file, line)) all += (all.empty() ? "" : " ") + line;
    fs::remove(log_);
    return all;
  }

  using Function = int(WINAPI*)();
  static Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  }

  // Loads, expecting a refusal with this error.
  static DWORD ErrorOfLoading(LPCWSTR name) {
    SetLastError(ERROR_SUCCESS);
    const HMODULE module = LoadLibraryW(name);
    const DWORD error = GetLastError();
    if (module == nullptr) return error;
    FreeLibrary(module);
    return ERROR_SUCCESS;
  }

  fs::path log_;
};

TEST_F(ModulesTest, ALoadIsAttachedOnceAndTheLastFreeUnloads) {
  const HMODULE module = LoadLibraryW(TEXT("C:\\app\\first.dll"));
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(Events(), "constructed attached");
  EXPECT_EQ(LoadLibraryW(TEXT("c:\\APP\\First")), module);
  EXPECT_EQ(LoadLibraryW(TEXT("FIRST.dll")), module);
  EXPECT_EQ(GetModuleHandleW(TEXT("first")), module);
  EXPECT_EQ(Events(), "");
  WCHAR path[MAX_PATH];
  EXPECT_EQ(WideView(path, GetModuleFileNameW(module, path, MAX_PATH)), TEXT("C:\\app\\first.dll"));
  EXPECT_EQ(Find(module, "Answer")(), 42);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(Events(), "");
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(Events(), "detached destroyed");
  EXPECT_EQ(GetModuleHandleW(TEXT("first")), nullptr);
  EXPECT_FALSE(FreeLibrary(module));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST_F(ModulesTest, ARefusedAttachIsDetachedAndUnloaded) {
  setenv("KV_MODULE_REFUSES", "1", 1);
  EXPECT_EQ(ErrorOfLoading(TEXT("C:\\app\\first.dll")), DWORD{ERROR_DLL_INIT_FAILED});
  EXPECT_EQ(Events(), "constructed attached detached destroyed");
  EXPECT_EQ(GetModuleHandleW(TEXT("first")), nullptr);
}

TEST_F(ModulesTest, TwoCopiesAreTwoModulesAndALifeBeginsAfresh) {
  CopyModule(TEXT("C:\\app\\second.dll"));
  const HMODULE first = LoadLibraryW(TEXT("C:\\app\\first.dll"));
  const HMODULE second = LoadLibraryW(TEXT("C:\\app\\second.dll"));
  ASSERT_NE(first, second);
  EXPECT_EQ(Find(first, "Count")(), 1);
  EXPECT_EQ(Find(first, "Count")(), 2);
  EXPECT_EQ(Find(second, "Count")(), 1);
  FreeLibrary(first);
  const HMODULE again = LoadLibraryW(TEXT("C:\\app\\first.dll"));
  EXPECT_EQ(Find(again, "Count")(), 1);
  FreeLibrary(again);
  FreeLibrary(second);
}

TEST_F(ModulesTest, FunctionsAreFoundOnlyInTheModuleItself) {
  const HMODULE module = LoadLibraryW(TEXT("C:\\app\\first.dll"));
  // One of a library that the module needs, one of its own that it does not export.
  for (const char* name : {"malloc", "LoadLibraryW", "in_module", "Nothing"}) {
    EXPECT_EQ(GetProcAddress(module, name), nullptr) << name;
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND}) << name;
  }
  FreeLibrary(module);
}

TEST_F(ModulesTest, ALoadedFileCanBeNeitherWrittenNorDeleted) {
  PeWriter().AddString(0x409, 1, TEXT("one")).WriteTo(HostPath(TEXT("C:\\app\\texts.dll")));
  for (LPCWSTR path : {TEXT("C:\\app\\first.dll"), TEXT("C:\\app\\texts.dll")}) {
    const HMODULE module = LoadLibraryW(path);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(CreateFileW(path, GENERIC_WRITE, 7, nullptr, OPEN_EXISTING, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(DeleteFileW(path));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    FreeLibrary(module);
    EXPECT_TRUE(DeleteFileW(path));
  }
}

TEST_F(ModulesTest, WhatIsNoModuleIsRefusedWithTheReason) {
  PeWriter(kOtherMachine).WriteTo(HostPath(TEXT("C:\\app\\other.dll")));
  const std::vector<BYTE> image = PeWriter().AddString(0x409, 1, TEXT("one")).Build();
  const auto write = [](LPCWSTR path, const std::vector<BYTE>& bytes) {
    std::ofstream(HostPath(path), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  };
  write(TEXT("C:\\app\\cut.dll"), {image.begin(), image.end() - 1});
  write(TEXT("C:\\app\\empty.dll"), {});
  write(TEXT("C:\\app\\text.dll"), {'h', 'e', 'l', 'l', 'o'});
  write(TEXT("C:\\app\\elf.dll"), {0x7F, 'E', 'L', 'F', 1});
  const struct {
    LPCWSTR name;
    DWORD error;
  } cases[] = {
      {TEXT("C:\\app\\missing.dll"), ERROR_MOD_NOT_FOUND},
      {TEXT("C:\\nowhere\\first.dll"), ERROR_MOD_NOT_FOUND},
      {TEXT("missing"), ERROR_MOD_NOT_FOUND},
      {TEXT(""), ERROR_MOD_NOT_FOUND},
      {TEXT("C:\\app\\other.dll"), ERROR_BAD_EXE_FORMAT},
      {TEXT("C:\\app\\cut.dll"), ERROR_BAD_EXE_FORMAT},
      {TEXT("C:\\app\\empty.dll"), ERROR_BAD_EXE_FORMAT},
      {TEXT("C:\\app\\text.dll"), ERROR_BAD_EXE_FORMAT},
      {TEXT("C:\\app\\elf.dll"), ERROR_BAD_EXE_FORMAT},
  };
  for (const auto& c : cases) EXPECT_EQ(ErrorOfLoading(c.name), c.error);
}

TEST_F(ModulesTest, BareNamesAreSearchedInOrder) {
  EXPECT_EQ(ErrorOfLoading(TEXT("first.dll")), DWORD{ERROR_MOD_NOT_FOUND});
  ASSERT_TRUE(SetCurrentDirectoryW(TEXT("C:\\app")));
  EXPECT_EQ(ErrorOfLoading(TEXT("first.dll")), DWORD{ERROR_SUCCESS});
  // A DLL directory takes the place of the current one, an empty one too.
  ASSERT_TRUE(SetDllDirectoryW(TEXT("")));
  EXPECT_EQ(ErrorOfLoading(TEXT("first.dll")), DWORD{ERROR_MOD_NOT_FOUND});
  ASSERT_TRUE(SetCurrentDirectoryW(TEXT("C:\\")));
  ASSERT_TRUE(SetDllDirectoryW(TEXT("C:\\app")));
  EXPECT_EQ(ErrorOfLoading(TEXT("first")), DWORD{ERROR_SUCCESS});
  WCHAR directory[7];
  EXPECT_EQ(GetDllDirectoryW(6, directory), 7u);
  EXPECT_EQ(GetDllDirectoryW(7, directory), 6u);
  EXPECT_EQ(WideView(directory), TEXT("C:\\app"));
  ASSERT_TRUE(SetDllDirectoryW(nullptr));
  EXPECT_EQ(GetDllDirectoryW(7, directory), 0u);
  CopyModule(TEXT("C:\\Windows\\System32\\first.dll"));
  EXPECT_EQ(ErrorOfLoading(TEXT("first.dll")), DWORD{ERROR_SUCCESS});
}

TEST_F(ModulesTest, SystemLibrariesHaveTheFunctionsOfTheirVersion) {
  const HMODULE kernel = GetModuleHandleW(TEXT("kernel32"));
  ASSERT_NE(kernel, nullptr);
  EXPECT_EQ(GetModuleHandleW(TEXT("KERNEL32.DLL")), kernel);
  EXPECT_EQ(GetModuleHandleW(TEXT("wtsapi32")), nullptr);
  const struct {
    const char* profile;
    bool has_dll_directory, has_native_info, has_wow64;
  } cases[] = {
      {"windows-95", false, false, false},    {"windows-2000", false, false, false},
      {"windows-xp-rtm", false, true, false}, {"windows-xp", true, true, true},
      {"windows-10", true, true, true},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(platform::UseProfile(c.profile)) << c.profile;
    EXPECT_EQ(GetProcAddress(kernel, "SetDllDirectoryW") != nullptr, c.has_dll_directory)
        << c.profile;
    EXPECT_EQ(GetProcAddress(kernel, "GetNativeSystemInfo") != nullptr, c.has_native_info)
        << c.profile;
    EXPECT_EQ(GetProcAddress(kernel, "IsWow64Process") != nullptr, c.has_wow64) << c.profile;
  }
  platform::SetFact("entry.kernel32.IsWow64Process", "0");
  EXPECT_EQ(GetProcAddress(kernel, "IsWow64Process"), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
  // Found functions are the very ones that programs are linked to.
  EXPECT_EQ(reinterpret_cast<void (*)()>(GetProcAddress(kernel, "SetDllDirectoryW")),
            reinterpret_cast<void (*)()>(&SetDllDirectoryW));
  // What is there from the start survives a load and a free too many.
  EXPECT_EQ(LoadLibraryW(TEXT("kernel32.dll")), kernel);
  EXPECT_TRUE(FreeLibrary(kernel));
  EXPECT_TRUE(FreeLibrary(kernel));
  EXPECT_EQ(GetModuleHandleW(TEXT("kernel32")), kernel);
}

TEST_F(ModulesTest, SystemLibrariesComeFromTheSystemDirectory) {
  const HMODULE controls = LoadLibraryW(TEXT("comctl32"));
  ASSERT_NE(controls, nullptr);
  WCHAR path[MAX_PATH];
  GetModuleFileNameW(controls, path, MAX_PATH);
  EXPECT_EQ(WideView(path), TEXT("C:\\Windows\\System32\\comctl32.dll"));
  fs::remove(HostPath(TEXT("C:\\Windows\\System32\\wtsapi32.dll")));
  EXPECT_EQ(ErrorOfLoading(TEXT("wtsapi32.dll")), DWORD{ERROR_MOD_NOT_FOUND});
  FreeLibrary(controls);
}

TEST_F(ModulesTest, PathsThatDoNotFitAreCut) {
  WCHAR path[8];
  std::fill(std::begin(path), std::end(path), WCHAR{'x'});
  const HMODULE module = LoadLibraryW(TEXT("C:\\app\\first.dll"));
  EXPECT_EQ(GetModuleFileNameW(module, path, 7), 7u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(WideView(path, 8), WideView(TEXT("C:\\app\0x"), 8));
  WCHAR program[1024];
  EXPECT_NE(GetModuleFileNameW(nullptr, program, 1024), 0u);
  EXPECT_TRUE(WideView(program).starts_with(TEXT("Z:\\")));
  EXPECT_TRUE(WideView(program).ends_with(TEXT("\\platform_test")));
  FreeLibrary(module);
}

TEST_F(ModulesTest, ThreadsThatLoadTheSameModuleShareOneAttach) {
  std::vector<std::thread> threads;
  std::atomic<int> loaded = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&loaded] {
      for (int round = 0; round < 20; ++round) {
        const HMODULE module = LoadLibraryW(TEXT("C:\\app\\first.dll"));
        loaded += module != nullptr && Find(module, "Answer")() == 42;
        FreeLibrary(module);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loaded, 80);
  std::istringstream events(Events());
  int attached = 0;
  for (std::string event; events >> event;) {
    attached += event == "attached";
    attached -= event == "detached";
    EXPECT_TRUE(attached == 0 || attached == 1);
  }
  EXPECT_EQ(attached, 0);
}

TEST_F(ModulesTest, HostModulesCarryResourcesInASection) {
  const fs::path image = directory() / "image";
  platform::VersionResource version;
  version.product_version = {8, 27, 0, 0};
  version.translations.emplace_back(0x409, 1200);
  PeWriter().AddString(0x409, 5, TEXT("five")).AddVersion(version).WriteTo(image);
  const std::string module_file = HostPath(TEXT("C:\\app\\first.dll"));
  const std::string command = "objcopy --add-section .kvrsrc=" + image.string() + " " + module_file;
  ASSERT_EQ(std::system(command.c_str()), 0);
  const HMODULE module = LoadLibraryW(TEXT("C:\\app\\first.dll"));
  ASSERT_NE(module, nullptr);
  WCHAR text[8];
  EXPECT_EQ(LoadStringW(module, 5, text, 8), 4);
  EXPECT_EQ(WideView(text), TEXT("five"));
  EXPECT_NE(GetFileVersionInfoSizeW(TEXT("C:\\app\\first.dll"), nullptr), 0u);
  // The program itself has no such section.
  EXPECT_EQ(LoadStringW(nullptr, 5, text, 8), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_DATA_NOT_FOUND});
  FreeLibrary(module);
}

}  // namespace
