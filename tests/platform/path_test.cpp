// Paths of the machine, and files opened by several at once.
#include <fstream>

#include "platform/control/profiles.h"
#include "platform/kernel/path.h"
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;
using platform::HostPath;
namespace fs = std::filesystem;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class PathTest : public kv::test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    drive_ = directory() / "drive_c";
    fs::create_directories(drive_ / "Dir" / "Sub");
    std::ofstream(drive_ / "Dir" / "File.txt") << "content";
  }
  static DWORD ErrorOf(LPCWSTR path) {
    SetLastError(ERROR_SUCCESS);
    return GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES ? GetLastError() : ERROR_SUCCESS;
  }
  static HANDLE Open(LPCWSTR path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  }

  fs::path drive_;
};

TEST_F(PathTest, FullPathsAreFormedAsTheSystemFormsThem) {
  ASSERT_TRUE(SetCurrentDirectoryW(TEXT("c:\\DIR")));
  const struct {
    WideView path, full;
  } cases[] = {
      {TEXT("x"), TEXT("C:\\Dir\\x")},
      {TEXT("..\\x"), TEXT("C:\\x")},
      {TEXT("..\\..\\..\\x"), TEXT("C:\\x")},
      {TEXT("\\x"), TEXT("C:\\x")},
      {TEXT("C:x"), TEXT("C:\\Dir\\x")},
      {TEXT("Z:x"), TEXT("Z:\\x")},
      {TEXT("C:/a/./b//c"), TEXT("C:\\a\\b\\c")},
      {TEXT("C:\\a\\b.. "), TEXT("C:\\a\\b")},
      {TEXT("C:\\a.\\b"), TEXT("C:\\a\\b")},
      {TEXT("C:\\a\\"), TEXT("C:\\a\\")},
      {TEXT("C:\\"), TEXT("C:\\")},
      {TEXT("\\\\?\\C:\\a\\..\\b."), TEXT("\\\\?\\C:\\a\\..\\b.")},
  };
  for (const auto& c : cases) EXPECT_EQ(platform::FullPath(c.path), c.full);
}

TEST_F(PathTest, PathsLeadToTheHostOrSayWhyNot) {
  const std::basic_string<WCHAR> longest(300, 'x');
  const std::basic_string<WCHAR> too_long = TEXT("C:\\") + longest;
  const std::basic_string<WCHAR> long_name = TEXT("\\\\?\\C:\\") + longest;
  const struct {
    LPCWSTR path;
    DWORD error;
  } cases[] = {
      {TEXT("C:\\dir\\FILE.TXT"), ERROR_SUCCESS},
      {TEXT("\\\\?\\C:\\dir\\FILE.TXT"), ERROR_SUCCESS},
      {TEXT("C:\\Dir\\"), ERROR_SUCCESS},
      {TEXT("C:\\Dir\\none"), ERROR_FILE_NOT_FOUND},
      {TEXT("C:\\none\\none"), ERROR_PATH_NOT_FOUND},
      {TEXT("C:\\Dir\\File.txt\\x"), ERROR_PATH_NOT_FOUND},
      {TEXT("C:\\Dir\\File.txt\\"), ERROR_INVALID_NAME},
      {TEXT("C:\\Dir\\a*b"), ERROR_INVALID_NAME},
      {TEXT("C:\\Dir\\a:b"), ERROR_INVALID_NAME},
      {TEXT("\\\\?\\C:\\Dir/File.txt"), ERROR_INVALID_NAME},
      {TEXT("D:\\x"), ERROR_PATH_NOT_FOUND},
      {TEXT("\\\\server\\share\\x"), ERROR_BAD_NETPATH},
      {TEXT(""), ERROR_PATH_NOT_FOUND},
      {too_long.c_str(), ERROR_PATH_NOT_FOUND},
      {long_name.c_str(), ERROR_INVALID_NAME},
      {TEXT("C:\\Dir\\nul"), ERROR_SUCCESS},
      {TEXT("COM1.txt"), ERROR_FILE_NOT_FOUND},
  };
  for (const auto& c : cases) EXPECT_EQ(ErrorOf(c.path), c.error) << platform::ToUtf8(c.path);
}

TEST_F(PathTest, HostPathsAndMachinePathsTranslateBothWays) {
  EXPECT_EQ(HostPath(TEXT("c:\\dir\\sub\\New.txt")), drive_ / "Dir" / "Sub" / "New.txt");
  EXPECT_EQ(platform::ResolvePath(TEXT("c:\\dir\\file.txt")).windows, TEXT("C:\\Dir\\File.txt"));
  EXPECT_EQ(platform::WindowsPath(drive_ / "Dir"), TEXT("C:\\Dir"));
  EXPECT_EQ(platform::WindowsPath(drive_), TEXT("C:\\"));
  EXPECT_EQ(platform::WindowsPath("/usr/bin"), TEXT("Z:\\usr\\bin"));
  EXPECT_EQ(HostPath(TEXT("Z:\\usr\\bin")), "/usr/bin");
}

// The kept listing must follow what the host does behind it.
TEST_F(PathTest, LookupsFollowChangesOfTheDirectory) {
  EXPECT_EQ(ErrorOf(TEXT("C:\\DIR\\LATER.TXT")), DWORD{ERROR_FILE_NOT_FOUND});
  std::ofstream(drive_ / "Dir" / "later.txt") << "x";
  EXPECT_EQ(ErrorOf(TEXT("C:\\DIR\\LATER.TXT")), DWORD{ERROR_SUCCESS});
  fs::rename(drive_ / "Dir" / "later.txt", drive_ / "Dir" / "renamed.txt");
  EXPECT_EQ(ErrorOf(TEXT("C:\\DIR\\LATER.TXT")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(ErrorOf(TEXT("C:\\DIR\\RENAMED.TXT")), DWORD{ERROR_SUCCESS});
  fs::rename(drive_ / "Dir", drive_ / "Gone");
  fs::create_directory(drive_ / "Dir");
  EXPECT_EQ(ErrorOf(TEXT("C:\\DIR\\RENAMED.TXT")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(ErrorOf(TEXT("C:\\GONE\\RENAMED.TXT")), DWORD{ERROR_SUCCESS});
}

TEST_F(PathTest, LargeDirectoriesAreListedOnce) {
  for (int i = 0; i < 5000; ++i) {
    const auto name = platform::ToWide("C:\\Dir\\new" + std::to_string(i));
    const HANDLE file = Open(name.c_str(), GENERIC_WRITE, 0, CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
  }
  EXPECT_EQ(ErrorOf(TEXT("C:\\Dir\\NEW4999")), DWORD{ERROR_SUCCESS});
}

TEST_F(PathTest, A32BitProcessOnA64BitSystemSeesItsOwnSystemDirectory) {
  const bool is_32_bit = sizeof(void*) == 4;
  EXPECT_EQ(HostPath(TEXT("C:\\Windows\\System32\\x.dll")),
            drive_ / "Windows" / (is_32_bit ? "SysWOW64" : "System32") / "x.dll");
  EXPECT_EQ(HostPath(TEXT("C:\\Windows\\System32\\spool\\x")).parent_path(),
            drive_ / "Windows" / "System32" / "spool");
  void* old_value = nullptr;
  EXPECT_EQ(Wow64DisableWow64FsRedirection(&old_value), is_32_bit);
  EXPECT_EQ(HostPath(TEXT("C:\\Windows\\System32\\x.dll")),
            drive_ / "Windows" / "System32" / "x.dll");
  EXPECT_EQ(Wow64RevertWow64FsRedirection(old_value), is_32_bit);
  ASSERT_TRUE(platform::UseProfile("windows-7", "x86"));
  EXPECT_EQ(HostPath(TEXT("C:\\Windows\\System32\\x.dll")),
            drive_ / "Windows" / "System32" / "x.dll");
  EXPECT_FALSE(Wow64DisableWow64FsRedirection(&old_value));
}

TEST_F(PathTest, CreationFollowsTheDisposition) {
  const struct {
    bool exists;
    DWORD disposition, error;
    bool opens, empties;
  } cases[] = {
      {true, CREATE_NEW, ERROR_FILE_EXISTS, false, false},
      {true, CREATE_ALWAYS, ERROR_ALREADY_EXISTS, true, true},
      {true, OPEN_EXISTING, ERROR_SUCCESS, true, false},
      {true, OPEN_ALWAYS, ERROR_ALREADY_EXISTS, true, false},
      {true, TRUNCATE_EXISTING, ERROR_SUCCESS, true, true},
      {false, CREATE_NEW, ERROR_SUCCESS, true, true},
      {false, CREATE_ALWAYS, ERROR_SUCCESS, true, true},
      {false, OPEN_EXISTING, ERROR_FILE_NOT_FOUND, false, false},
      {false, OPEN_ALWAYS, ERROR_SUCCESS, true, true},
      {false, TRUNCATE_EXISTING, ERROR_FILE_NOT_FOUND, false, false},
  };
  for (const auto& c : cases) {
    fs::remove(drive_ / "case.txt");
    if (c.exists) std::ofstream(drive_ / "case.txt") << "old";
    SetLastError(ERROR_GEN_FAILURE);
    const HANDLE file = Open(TEXT("C:\\case.txt"), GENERIC_WRITE, 0, c.disposition);
    EXPECT_EQ(GetLastError(), c.error) << c.exists << c.disposition;
    EXPECT_EQ(file != INVALID_HANDLE_VALUE, c.opens) << c.exists << c.disposition;
    if (!c.opens) continue;
    LARGE_INTEGER size;
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, c.empties ? 0 : 3);
    CloseHandle(file);
  }
  EXPECT_EQ(Open(TEXT("C:\\Dir"), GENERIC_READ, kShareAll), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(PathTest, OpeningsMustAgreeOnWhatTheyShare) {
  constexpr DWORD kRead = GENERIC_READ, kWrite = GENERIC_WRITE;
  const struct {
    DWORD access1, share1, access2, share2;
    bool together, deletable;
  } cases[] = {
      {kRead, FILE_SHARE_READ, kRead, FILE_SHARE_READ, true, false},
      {kRead, 0, kRead, kShareAll, false, false},
      {kRead, kShareAll, kRead, 0, false, true},
      {kRead, FILE_SHARE_READ, kWrite, kShareAll, false, false},
      {kWrite, FILE_SHARE_READ, kRead, FILE_SHARE_READ, false, false},
      {kWrite, FILE_SHARE_READ, kRead, FILE_SHARE_READ | FILE_SHARE_WRITE, true, false},
      {kWrite, kShareAll, kWrite, kShareAll, true, true},
      {0, 0, kWrite, 0, true, true},
  };
  constexpr LPCWSTR kFile = TEXT("C:\\Dir\\File.txt");
  for (const auto& c : cases) {
    const HANDLE first = Open(kFile, c.access1, c.share1);
    ASSERT_NE(first, INVALID_HANDLE_VALUE);
    const HANDLE second = Open(kFile, c.access2, c.share2);
    EXPECT_EQ(second != INVALID_HANDLE_VALUE, c.together) << &c - cases;
    if (second == INVALID_HANDLE_VALUE) {
      EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    } else {
      CloseHandle(second);
    }
    EXPECT_EQ(DeleteFileW(kFile) != FALSE, c.deletable) << &c - cases;
    if (c.deletable) {
      std::ofstream(drive_ / "Dir" / "File.txt") << "content";
    } else {
      EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    }
    CloseHandle(first);
  }
}

TEST_F(PathTest, CopiesKeepContentTimeAndProtection) {
  const fs::path source = drive_ / "Dir" / "File.txt";
  fs::last_write_time(source, fs::last_write_time(source) - std::chrono::hours(5));
  fs::permissions(source, fs::perms::owner_write, fs::perm_options::remove);
  ASSERT_TRUE(CopyFileW(TEXT("C:\\dir\\file.txt"), TEXT("C:\\Copy.txt"), TRUE));
  EXPECT_EQ(fs::last_write_time(drive_ / "Copy.txt"), fs::last_write_time(source));
  EXPECT_EQ(GetFileAttributesW(TEXT("C:\\copy.txt")),
            DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY});
  const struct {
    LPCWSTR from, to;
    BOOL fail_if_exists;
    DWORD error;
  } cases[] = {
      {TEXT("C:\\Dir\\File.txt"), TEXT("C:\\copy.txt"), TRUE, ERROR_FILE_EXISTS},
      {TEXT("C:\\Dir\\File.txt"), TEXT("C:\\copy.txt"), FALSE, ERROR_ACCESS_DENIED},
      {TEXT("C:\\Dir\\none"), TEXT("C:\\x"), FALSE, ERROR_FILE_NOT_FOUND},
      {TEXT("C:\\Dir\\File.txt"), TEXT("C:\\none\\x"), FALSE, ERROR_PATH_NOT_FOUND},
      {TEXT("C:\\Dir\\File.txt"), TEXT("c:\\dir\\file.txt"), FALSE, ERROR_SHARING_VIOLATION},
      {TEXT("C:\\Dir"), TEXT("C:\\x"), FALSE, ERROR_ACCESS_DENIED},
  };
  for (const auto& c : cases) {
    EXPECT_FALSE(CopyFileW(c.from, c.to, c.fail_if_exists));
    EXPECT_EQ(GetLastError(), c.error);
  }
  EXPECT_FALSE(DeleteFileW(TEXT("C:\\copy.txt")));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(PathTest, DirectoriesAreMadeOneAtATime) {
  EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\Dir\\New"), nullptr));
  EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\dir\\NEW"), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\a\\b"), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  const std::basic_string<WCHAR> fits = TEXT("C:\\") + std::basic_string<WCHAR>(244, 'd');
  EXPECT_TRUE(CreateDirectoryW(fits.c_str(), nullptr));
  EXPECT_FALSE(CreateDirectoryW((fits + TEXT("d")).c_str(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
}

}  // namespace
