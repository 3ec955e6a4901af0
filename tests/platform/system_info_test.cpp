// What the system says about itself, for every Windows version.
#include <shellapi.h>

#include "platform/control/profiles.h"
#include "platform/kernel/machine_facts.h"
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;

class SystemInfoTest : public kv::test::MachineTest {
 protected:
  // Major and minor of a file's product version, high and low word; 0 when it has none.
  static DWORD ProductVersion(LPCWSTR path) {
    std::vector<BYTE> block(GetFileVersionInfoSizeW(path, nullptr));
    void* value = nullptr;
    UINT length = 0;
    if (block.empty() ||
        !GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), TEXT("\\"), &value, &length)) {
      return 0;
    }
    return static_cast<VS_FIXEDFILEINFO*>(value)->dwProductVersionMS;
  }
};

TEST_F(SystemInfoTest, VersionsAreThoseOfTheProfile) {
  const struct {
    const char *profile, *architecture;
    DWORD version, build, type, service_pack, user32;
    LPCWSTR user32_path;
  } cases[] = {
      {"windows-nt4", "x86", 0x400, 1381, 0, 0, 0x00040000,
       TEXT("C:\\WINNT\\System32\\user32.dll")},
      {"windows-xp", "x86", 0x501, 2600, 1, 3, 0x00050001,
       TEXT("C:\\Windows\\System32\\user32.dll")},
      {"windows-xp", "x64", 0x502, 3790, 1, 2, 0x00050002,
       TEXT("C:\\Windows\\System32\\user32.dll")},
      {"windows-server-2008-r2", "x64", 0x601, 7601, 3, 1, 0x00060001,
       TEXT("C:\\Windows\\SysWOW64\\user32.dll")},
      // Newer systems pass themselves off as 6.2; their files tell.
      {"windows-8.1", "x64", 0x602, 9200, 1, 0, 0x00060003,
       TEXT("C:\\Windows\\System32\\user32.dll")},
      {"windows-11", "x64", 0x602, 9200, 1, 0, 0x000A0000,
       TEXT("C:\\Windows\\System32\\user32.dll")},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(platform::UseProfile(c.profile, c.architecture));
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    auto* plain = reinterpret_cast<OSVERSIONINFOW*>(&version);
    const bool has_extended = c.type != 0;
    EXPECT_EQ(GetVersionExW(plain) != FALSE, has_extended) << c.profile;
    if (!has_extended) {
      version.dwOSVersionInfoSize = sizeof *plain;
      EXPECT_TRUE(GetVersionExW(plain));
    }
    EXPECT_EQ(version.dwMajorVersion << 8 | version.dwMinorVersion, c.version) << c.profile;
    EXPECT_EQ(version.dwBuildNumber, c.build) << c.profile;
    EXPECT_EQ(version.dwPlatformId, DWORD{VER_PLATFORM_WIN32_NT});
    EXPECT_EQ(version.wProductType, c.type) << c.profile;
    EXPECT_EQ(version.wServicePackMajor, c.service_pack) << c.profile;
    EXPECT_EQ(ProductVersion(c.user32_path), c.user32) << c.profile;
    EXPECT_EQ(GetVersion(), c.build << 16 | (c.version & 0xFF) << 8 | c.version >> 8) << c.profile;
  }
  OSVERSIONINFOW odd = {};
  odd.dwOSVersionInfoSize = 148;
  EXPECT_FALSE(GetVersionExW(&odd));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(SystemInfoTest, OldSystemsLackWhatCameLater) {
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  EXPECT_EQ(GetVersion(), 0x80000A04u);
  WCHAR directory[32];
  GetSystemDirectoryW(directory, 32);
  EXPECT_EQ(WideView(directory), TEXT("C:\\Windows\\System"));
  EXPECT_EQ(LoadLibraryW(TEXT("wtsapi32.dll")), nullptr);
  EXPECT_FALSE(platform::UseProfile("windows-98", "x64"));
  EXPECT_FALSE(platform::UseProfile("windows-11", "x86"));
  EXPECT_FALSE(platform::UseProfile("windows-12"));
  for (const std::string& name : platform::ProfileNames()) {
    EXPECT_TRUE(platform::UseProfile(name)) << name;
  }
}

TEST_F(SystemInfoTest, ProcessorsDifferForA32BitProcessOnA64BitSystem) {
  const bool is_32_bit = sizeof(void*) == 4;
  SYSTEM_INFO own, native;
  BOOL wow64 = FALSE;
  GetSystemInfo(&own);
  GetNativeSystemInfo(&native);
  EXPECT_TRUE(IsWow64Process(GetCurrentProcess(), &wow64));
  EXPECT_EQ(wow64 != FALSE, is_32_bit);
  EXPECT_EQ(own.wProcessorArchitecture,
            is_32_bit ? PROCESSOR_ARCHITECTURE_INTEL : PROCESSOR_ARCHITECTURE_AMD64);
  EXPECT_EQ(native.wProcessorArchitecture, PROCESSOR_ARCHITECTURE_AMD64);
  platform::SetFact(platform::facts::kArchitecture, "x86");
  EXPECT_TRUE(IsWow64Process(GetCurrentProcess(), &wow64));
  EXPECT_FALSE(wow64);
  EXPECT_FALSE(IsWow64Process(nullptr, &wow64));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(SystemInfoTest, CommonControlsTellTheirVersion) {
  const struct {
    const char* profile;
    DWORD major, minor;
  } cases[] = {{"windows-95", 0, 0}, {"windows-nt4", 4, 72}, {"windows-10", 5, 82}};
  for (const auto& c : cases) {
    ASSERT_TRUE(platform::UseProfile(c.profile));
    const HMODULE controls = LoadLibraryW(TEXT("comctl32.dll"));
    const auto get_version = reinterpret_cast<HRESULT(CALLBACK*)(DWORD*)>(
        reinterpret_cast<void (*)()>(GetProcAddress(controls, "DllGetVersion")));
    DWORD version[5] = {sizeof version};
    EXPECT_EQ(get_version != nullptr, c.major != 0) << c.profile;
    if (get_version != nullptr) {
      EXPECT_EQ(get_version(version), S_OK);
    }
    EXPECT_EQ(version[1], c.major);
    EXPECT_EQ(version[2], c.minor);
    FreeLibrary(controls);
  }
}

TEST_F(SystemInfoTest, NamesFollowTheirBufferRules) {
  WCHAR text[64];
  EXPECT_EQ(GetTempPathW(64, text), 32u);
  EXPECT_EQ(WideView(text), TEXT("C:\\Users\\Ada\\AppData\\Local\\Temp\\"));
  EXPECT_EQ(GetTempPathW(32, text), 33u);
  EXPECT_EQ(GetFileAttributesW(text), DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_EQ(GetSystemDirectoryW(text, 0), 20u);
  platform::SetFact(platform::facts::kComputerName, "PRESS");
  DWORD size = 5;
  EXPECT_FALSE(GetComputerNameW(text, &size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_BUFFER_OVERFLOW});
  EXPECT_EQ(size, 6u);
  EXPECT_TRUE(GetComputerNameW(text, &size));
  EXPECT_EQ(size, 5u);
}

TEST_F(SystemInfoTest, CommandLinesFallIntoArguments) {
  const struct {
    LPCWSTR line, arguments;
  } cases[] = {
      {TEXT("\"C:\\a b\\p\"r \ts"), TEXT("[C:\\a b\\p][r][s]")},
      {TEXT(" p"), TEXT("[][p]")},
      {TEXT("p \"\" q"), TEXT("[p][][q]")},
      {TEXT("p \"a\"\"b c\" d"), TEXT("[p][a\"b][c d]")},
      {TEXT("p \"a\"\"\"\" b"), TEXT("[p][a\"][b]")},
      {TEXT("p a\\\\\"b c\" \"d\\\"e\" f\\g"), TEXT("[p][a\\b c][d\"e][f\\g]")},
  };
  for (const auto& c : cases) {
    int count = 0;
    const LPWSTR* const arguments = CommandLineToArgvW(c.line, &count);
    std::basic_string<WCHAR> joined;
    for (int i = 0; i < count; ++i) joined.append(TEXT("[")).append(arguments[i]).append(TEXT("]"));
    EXPECT_EQ(joined, c.arguments);
    LocalFree(const_cast<LPWSTR*>(arguments));
  }
}

TEST_F(SystemInfoTest, ProcessesSeeEachOthersFactsAndKeepThem) {
  platform::MachineFacts other(platform::MachineDirectory());
  platform::SetFact("one", "1");
  EXPECT_EQ(other.Get("one", {}), "1");
  other.Set("two", "2");
  platform::SetFact("one", "3");
  EXPECT_EQ(platform::Fact("two"), "2");
  EXPECT_EQ(other.Get("one", {}), "3");
}

TEST_F(SystemInfoTest, SleepPassesOnTheMachinesClock) {
  const DWORD start = GetTickCount();
  FILETIME before, after;
  GetSystemTimeAsFileTime(&before);
  Sleep(30'000);
  GetSystemTimeAsFileTime(&after);
  EXPECT_GE(GetTickCount() - start, 30'000u);
  EXPECT_LT(GetTickCount() - start, 31'000u);
  EXPECT_GE(after.dwLowDateTime - before.dwLowDateTime, 300'000'000u);
}

}  // namespace
