// The rules of files that hold on every system.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

namespace {

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

constexpr DWORD kSuccess = ERROR_SUCCESS;

// Works in an empty directory of its own, which is the current one.
class FilesPortableTest : public testing::Test {
 protected:
  void SetUp() override {
    GetCurrentDirectoryW(MAX_PATH, old_directory_);
    WCHAR temporary[MAX_PATH];
    ASSERT_NE(GetTempPathW(MAX_PATH, temporary), 0u);
    WCHAR name[MAX_PATH];
    ASSERT_NE(GetTempFileNameW(temporary, TEXT("kvt"), 0, name), 0u);
    ASSERT_TRUE(DeleteFileW(name) && CreateDirectoryW(name, nullptr));
    root_ = name;
    ASSERT_TRUE(SetCurrentDirectoryW(name));
  }
  void TearDown() override {
    SetCurrentDirectoryW(old_directory_);
    RemoveTree(root_);
  }

  static HANDLE Open(LPCWSTR path, DWORD access = GENERIC_READ | GENERIC_WRITE, DWORD share = 0,
                     DWORD disposition = OPEN_EXISTING) {
    return CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  static void SetContent(LPCWSTR path, std::string_view content) {
    const HANDLE file = Open(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    DWORD written = 0;
    EXPECT_TRUE(
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr));
    CloseHandle(file);
  }
  static std::string Content(LPCWSTR path) {
    const HANDLE file = Open(path, GENERIC_READ, FILE_SHARE_READ);
    if (file == INVALID_HANDLE_VALUE) return "(missing)";
    char bytes[100];
    DWORD read = 0;
    EXPECT_TRUE(ReadFile(file, bytes, sizeof bytes, &read, nullptr));
    CloseHandle(file);
    return std::string(bytes, read);
  }
  // The last error after a call that must fail, ERROR_SUCCESS after one that succeeds.
  static DWORD ErrorOf(bool succeeded) { return succeeded ? kSuccess : GetLastError(); }
  static WideString Found(LPCWSTR pattern) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(pattern, &data);
    if (search == INVALID_HANDLE_VALUE) return {};
    WideString names;
    do {
      names += data.cFileName;
      names += ' ';
    } while (FindNextFileW(search, &data));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_FILES));
    EXPECT_TRUE(FindClose(search));
    return names;
  }

  WideString root_;

 private:
  static void RemoveTree(const WideString& directory) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW((directory + TEXT("\\*")).c_str(), &data);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &data)) {
      const WideString name = data.cFileName, path = directory + TEXT("\\") + name;
      if (name == TEXT(".") || name == TEXT("..")) continue;
      SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
      if (!DeleteFileW(path.c_str())) RemoveTree(path);
    }
    FindClose(search);
    RemoveDirectoryW(directory.c_str());
  }

  WCHAR old_directory_[MAX_PATH] = {};
};

TEST_F(FilesPortableTest, PositionsAndLengths) {
  const HANDLE file = Open(TEXT("f"), GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
  const auto seek = [&](LONG distance, DWORD method) {
    SetLastError(ERROR_SUCCESS);
    return SetFilePointer(file, distance, nullptr, method);
  };
  EXPECT_EQ(seek(10, FILE_BEGIN), 10u);
  EXPECT_EQ(seek(-3, FILE_CURRENT), 7u);
  EXPECT_EQ(seek(-8, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NEGATIVE_SEEK));
  EXPECT_TRUE(SetEndOfFile(file));
  EXPECT_EQ(GetFileSize(file, nullptr), 7u);
  EXPECT_EQ(seek(0, FILE_END), 7u);
  CloseHandle(file);
}

TEST_F(FilesPortableTest, MappingsFollowTheFilesAccessAndSize) {
  SetContent(TEXT("f"), "content");
  SetContent(TEXT("empty"), "");
  const struct {
    LPCWSTR path;
    DWORD access, protection, size, error;
  } cases[] = {
      {TEXT("f"), GENERIC_READ, PAGE_READONLY, 0, ERROR_SUCCESS},
      {TEXT("f"), GENERIC_READ, PAGE_READONLY, 3, ERROR_SUCCESS},
      {TEXT("f"), GENERIC_READ, PAGE_READONLY, 8, ERROR_NOT_ENOUGH_MEMORY},
      {TEXT("f"), GENERIC_READ, PAGE_READWRITE, 0, ERROR_ACCESS_DENIED},
      {TEXT("f"), GENERIC_WRITE, PAGE_READWRITE, 0, ERROR_ACCESS_DENIED},
      {TEXT("f"), GENERIC_READ | GENERIC_WRITE, PAGE_READWRITE, 9, ERROR_SUCCESS},
      {TEXT("empty"), GENERIC_READ, PAGE_READONLY, 0, ERROR_FILE_INVALID},
  };
  for (const auto& c : cases) {
    const HANDLE file = Open(c.path, c.access);
    const HANDLE mapping = CreateFileMappingW(file, nullptr, c.protection, 0, c.size, nullptr);
    EXPECT_EQ(ErrorOf(mapping != nullptr), c.error) << "case " << (&c - cases);
    if (mapping != nullptr && c.protection == PAGE_READONLY) {
      EXPECT_EQ(ErrorOf(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0) != nullptr),
                static_cast<DWORD>(ERROR_ACCESS_DENIED));
    }
    if (mapping != nullptr) CloseHandle(mapping);
    CloseHandle(file);
  }
  EXPECT_EQ(Content(TEXT("f")), std::string("content\0\0", 9));
}

TEST_F(FilesPortableTest, MappedFilesCannotBeCut) {
  SetContent(TEXT("f"), "content");
  const HANDLE file = Open(TEXT("f"));
  const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
  void* const view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(CloseHandle(mapping)) << "the view lasts";
  SetFilePointer(file, 3, nullptr, FILE_BEGIN);
  EXPECT_EQ(ErrorOf(SetEndOfFile(file)), static_cast<DWORD>(ERROR_USER_MAPPED_FILE));
  EXPECT_TRUE(UnmapViewOfFile(view));
  EXPECT_EQ(ErrorOf(UnmapViewOfFile(view)), static_cast<DWORD>(ERROR_INVALID_ADDRESS));
  EXPECT_TRUE(SetEndOfFile(file));
  CloseHandle(file);
}

TEST_F(FilesPortableTest, SearchesFindByPattern) {
  CreateDirectoryW(TEXT("d"), nullptr);
  CreateDirectoryW(TEXT("d\\sub"), nullptr);
  for (LPCWSTR name : {TEXT("d\\b.txt"), TEXT("d\\A.txt"), TEXT("d\\noext"), TEXT("d\\x.html")}) {
    SetContent(name, "12345");
  }
  const struct {
    LPCWSTR pattern;
    WideView found;
  } patterns[] = {
      {TEXT("d\\*.*"), TEXT(". .. A.txt b.txt noext sub x.html ")},
      {TEXT("d\\*.TXT"), TEXT("A.txt b.txt ")},
      {TEXT("d\\?.txt"), TEXT("A.txt b.txt ")},
      {TEXT("D\\B.TXT"), TEXT("b.txt ")},
      {TEXT("d\\n*"), TEXT("noext ")},
      {TEXT("d\\noext.*"), TEXT("noext ")},
      {TEXT("d\\sub\\*"), TEXT(". .. ")},
  };
  for (const auto& c : patterns) EXPECT_EQ(Found(c.pattern), c.found) << "case " << (&c - patterns);
  WIN32_FIND_DATAW data;
  const struct {
    LPCWSTR pattern;
    DWORD error;
  } failures[] = {
      {TEXT("d\\none"), ERROR_FILE_NOT_FOUND}, {TEXT("d\\*.none"), ERROR_FILE_NOT_FOUND},
      {TEXT("none\\*"), ERROR_PATH_NOT_FOUND}, {TEXT("d\\"), ERROR_FILE_NOT_FOUND},
      {TEXT("*\\x"), ERROR_INVALID_NAME},      {TEXT(""), ERROR_PATH_NOT_FOUND},
  };
  for (const auto& c : failures) {
    EXPECT_EQ(ErrorOf(FindFirstFileW(c.pattern, &data) != INVALID_HANDLE_VALUE), c.error)
        << "case " << (&c - failures);
  }
  WIN32_FILE_ATTRIBUTE_DATA facts = {};
  ASSERT_TRUE(GetFileAttributesExW(TEXT("d\\A.txt"), GetFileExInfoStandard, &facts));
  const HANDLE search = FindFirstFileW(TEXT("d\\A.txt"), &data);
  EXPECT_EQ(data.nFileSizeLow, 5u);
  EXPECT_EQ(data.ftLastWriteTime.dwLowDateTime, facts.ftLastWriteTime.dwLowDateTime);
  EXPECT_TRUE(FindClose(search));
}

TEST_F(FilesPortableTest, OpenedNamesTellWhichFileTheyLeadTo) {
  CreateDirectoryW(TEXT("d"), nullptr);
  SetContent(TEXT("d\\f"), "12345");
  SetContent(TEXT("g"), "");
  const auto number = [](LPCWSTR path, DWORD flags) -> ULONGLONG {
    const HANDLE file = CreateFileW(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, flags, nullptr);
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!GetFileInformationByHandle(file, &information)) return 0;
    CloseHandle(file);
    return ULONGLONG{information.nFileIndexHigh} << 32 | information.nFileIndexLow;
  };
  EXPECT_NE(number(TEXT("d\\f"), 0), 0u);
  EXPECT_EQ(number(TEXT("d\\f"), 0), number(TEXT(".\\D\\..\\D\\F"), FILE_FLAG_BACKUP_SEMANTICS));
  EXPECT_NE(number(TEXT("d\\f"), 0), number(TEXT("g"), 0));
  EXPECT_EQ(number(TEXT("d"), 0), 0u);
  EXPECT_EQ(ErrorOf(number(TEXT("d"), 0) != 0), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_EQ(number(TEXT("d"), FILE_FLAG_BACKUP_SEMANTICS),
            number((root_ + TEXT("\\D")).c_str(), FILE_FLAG_BACKUP_SEMANTICS));
}

TEST_F(FilesPortableTest, FullPathsReportTheirNeed) {
  WCHAR path[MAX_PATH] = {};
  LPWSTR part = nullptr;
  const WideString expected = root_ + TEXT("\\x.txt");
  const DWORD length = static_cast<DWORD>(expected.size());
  EXPECT_EQ(GetFullPathNameW(TEXT("x.txt"), MAX_PATH, path, &part), length);
  EXPECT_EQ(path, expected);
  EXPECT_EQ(part, path + length - 5);
  EXPECT_EQ(GetFullPathNameW(TEXT("x.txt"), length, path, &part), length + 1);
  EXPECT_EQ(GetFullPathNameW(TEXT("."), MAX_PATH, path, nullptr), length - 6);
  EXPECT_EQ(GetFullPathNameW(TEXT(""), MAX_PATH, path, nullptr), 0u);
}

TEST_F(FilesPortableTest, TemporaryFilesAreMadeUnderFreeNames) {
  WCHAR first[MAX_PATH] = {}, second[MAX_PATH] = {};
  EXPECT_NE(GetTempFileNameW(root_.c_str(), TEXT("abcd"), 0, first), 0u);
  EXPECT_TRUE(WideView(first).starts_with(root_ + TEXT("\\abc")));
  EXPECT_TRUE(WideView(first).ends_with(TEXT(".tmp")));
  EXPECT_NE(GetTempFileNameW((root_ + TEXT("\\")).c_str(), TEXT("abc"), 0, second), 0u);
  EXPECT_NE(WideView(first), WideView(second));
  EXPECT_EQ(Content(first) + Content(second), "");
  EXPECT_EQ(ErrorOf(GetTempFileNameW(TEXT("none"), TEXT("a"), 0, first) != 0),
            static_cast<DWORD>(ERROR_DIRECTORY));
}

TEST_F(FilesPortableTest, MovesObeyWhatIsThere) {
  constexpr DWORD kReplace = MOVEFILE_REPLACE_EXISTING;
  CreateDirectoryW(TEXT("e"), nullptr);
  SetContent(TEXT("a"), "a");
  SetContent(TEXT("b"), "b");
  SetContent(TEXT("e\\x"), "x");
  const auto move = [](LPCWSTR from, LPCWSTR to, DWORD flags) {
    return ErrorOf(MoveFileExW(from, to, flags));
  };
  EXPECT_EQ(move(TEXT("a"), TEXT("b"), 0), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  EXPECT_EQ(move(TEXT("a"), TEXT("none\\b"), 0), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(move(TEXT("none"), TEXT("c"), 0), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  const HANDLE file = Open(TEXT("a"), GENERIC_READ, FILE_SHARE_READ);
  EXPECT_EQ(move(TEXT("a"), TEXT("c"), 0), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(move(TEXT("b"), TEXT("a"), kReplace), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  CloseHandle(file);
  EXPECT_EQ(move(TEXT("a"), TEXT("e"), kReplace), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_EQ(move(TEXT("a"), TEXT("b"), kReplace), kSuccess);
  EXPECT_EQ(Content(TEXT("b")), "a");
  EXPECT_TRUE(MoveFileW(TEXT("e"), TEXT("f"))) << "a directory with all it holds";
  EXPECT_EQ(Content(TEXT("f\\x")), "x");
  EXPECT_EQ(ErrorOf(RemoveDirectoryW(TEXT("f"))), static_cast<DWORD>(ERROR_DIR_NOT_EMPTY));
  EXPECT_EQ(ErrorOf(RemoveDirectoryW(TEXT("b"))), static_cast<DWORD>(ERROR_DIRECTORY));
  DeleteFileW(TEXT("f\\x"));
  EXPECT_TRUE(RemoveDirectoryW(TEXT("f")));
}

TEST_F(FilesPortableTest, InitialisationFilesKeepWhatNobodyWrites) {
  const WideString path = root_ + TEXT("\\test.ini");
  const LPCWSTR file = path.c_str();
  SetContent(file,
             "[One]\r\n a = 1 \r\nB=\"quoted \"\r\nc='x\"\r\n\r\n"
             "[two]\r\nn=-12x\r\n[One]\r\na=9\r\n");
  const auto read = [&](LPCWSTR section, LPCWSTR key, DWORD capacity = 100) {
    WCHAR buffer[100];
    std::fill(std::begin(buffer), std::end(buffer), WCHAR{'#'});
    const DWORD length =
        GetPrivateProfileStringW(section, key, TEXT("def  "), buffer, capacity, file);
    return WideString(buffer, length);
  };
  EXPECT_EQ(read(TEXT("one"), TEXT("A")), TEXT("1"));
  EXPECT_EQ(read(TEXT("One"), TEXT("b")), TEXT("quoted "));
  EXPECT_EQ(read(TEXT("One"), TEXT("c")), TEXT("'x\""));
  EXPECT_EQ(read(TEXT("One"), TEXT("d")), TEXT("def"));
  EXPECT_EQ(read(TEXT("One"), TEXT("b"), 4), TEXT("quo"));
  EXPECT_EQ(read(TEXT("two"), nullptr), WideView(TEXT("n\0"), 2));
  EXPECT_EQ(read(TEXT("One"), nullptr, 5), WideView(TEXT("a\0B"), 3)) << "cut: capacity - 2";
  EXPECT_TRUE(read(TEXT("none"), nullptr).starts_with(TEXT("def")));
  EXPECT_EQ(GetPrivateProfileIntW(TEXT("two"), TEXT("n"), 5, file), static_cast<UINT>(-12));
  EXPECT_EQ(GetPrivateProfileIntW(TEXT("two"), TEXT("m"), 5, file), 5u);
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("One"), TEXT("a"), TEXT("2"), file));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("One"), TEXT("e"), TEXT("5"), file));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("two"), TEXT("n"), nullptr, file));
  EXPECT_TRUE(WritePrivateProfileSectionW(TEXT("two"), TEXT("p=1\0q=2\0"), file));
  EXPECT_EQ(read(TEXT("One"), TEXT("a")), TEXT("2"));
  EXPECT_EQ(read(TEXT("One"), TEXT("e")), TEXT("5"));
  WCHAR lines[100];
  EXPECT_EQ(GetPrivateProfileSectionW(TEXT("two"), lines, 100, file), 8u);
  EXPECT_EQ(WideView(lines, 9), WideView(TEXT("p=1\0q=2\0\0"), 9));
  EXPECT_TRUE(WritePrivateProfileStringW(TEXT("two"), nullptr, nullptr, file));
  EXPECT_TRUE(read(TEXT("two"), nullptr).starts_with(TEXT("def"))) << "gone";
}

}  // namespace
