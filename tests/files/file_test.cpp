// What File reports, tries again and leaves behind.
#include "runtime/files/file.h"

#include <fstream>
#include <functional>
#include <vector>

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/messages.h"
#include "runtime/files/directories.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/mapped_file.h"
#include "runtime/files/whole_files.h"
#include "tests/support/failing_new.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

using WideString = std::basic_string<WCHAR>;

constexpr WCHAR kPath[] = TEXT("C:\\Dir\\file.txt");
std::vector<WideString> boxes;

class FileTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    std::filesystem::create_directories(platform::HostPath(kPath).parent_path());
    boxes.clear();
    SetMessageSink([](LPCWSTR text, LPCWSTR, UINT) {
      const platform::OutsideTest recording;
      boxes.emplace_back(text);
      return IDOK;
    });
  }
  void TearDown() override {
    FailAllocation(0);
    SetMessageSink(nullptr);
    RuntimeTest::TearDown();
  }
  static void SetContent(std::string_view content) {
    std::ofstream(platform::HostPath(kPath)) << content;
  }
  // The string with the file's name (or a call's, or a text) and the system's words for the error.
  static WideString Box(UINT number, LPCWSTR name, DWORD error = ERROR_SUCCESS) {
    const platform::OutsideTest composing;
    WCHAR suffix[kErrorTextCapacity] = {}, text[1024] = {};
    GetErrorSuffix(error, suffix, kErrorTextCapacity);
    LoadResourceString(text, 1024, number, name, static_cast<LPCWSTR>(suffix));
    return text;
  }
};

TEST_F(FileTest, EveryFailedCallIsReportedWithItsReason) {
  DWORD number = 0;
  const std::string data(20'000, 'a');  // more than is collected before it is written
  const auto append = [](File& f) { return f.AppendFromHandle(f.handle(), 0, 1); };
  const struct {
    const char* function;
    std::function<BOOL(File&)> act;
    UINT number;
    LPCWSTR name;
  } cases[] = {
      {"WriteFile", [](File& f) { return f.WriteByte(1); }, IDS_WRITE_FAILED, kPath},
      {"WriteFile", [&](File& f) { return f.WriteAscii85(data.data(), 20'000, 0); },
       IDS_WRITE_FAILED, kPath},
      // The last group, of one byte, finds no room.
      {"WriteFile", [&](File& f) { return f.WriteAscii85(data.data(), 13'105, 0); },
       IDS_WRITE_FAILED, kPath},
      {"ReadFile", [&](File& f) { return f.Read(&number, 1); }, IDS_READ_FAILED, kPath},
      {"SetFilePointer", [&](File& f) { return f.Tell(&number); }, IDS_SEEK_FAILED, kPath},
      {"SetFilePointer", [](File& f) { return f.Seek(1, FILE_BEGIN); }, IDS_SEEK_FAILED, kPath},
      {"SetFilePointer", [](File& f) { return f.Empty(); }, IDS_SEEK_FAILED, kPath},
      {"SetFilePointer", [](File& f) { return f.PushPosition(); }, IDS_SEEK_FAILED, kPath},
      {"SetFilePointer", [](File& f) { return f.NewLine(File::Trim::kYes); }, IDS_SEEK_FAILED,
       kPath},
      {"GetFileSize", [&](File& f) { return f.GetSize(&number); }, IDS_SEEK_FAILED, kPath},
      {"SetEndOfFile", [](File& f) { return f.SetEnd(); }, IDS_CALL_FAILED, TEXT("SetEndOfFile")},
      {"GetFileSize", append, IDS_CALL_FAILED, TEXT("GetFileSize")},
      {"SetFilePointer", append, IDS_CALL_FAILED, TEXT("SetFilePointer")},
      {"ReadFile", append, IDS_CALL_FAILED, TEXT("ReadFile")},
      {"WideCharToMultiByte",
       [](File& f) {
         // The question for the size may fail; the conversion may not.
         platform::FailCall("WideCharToMultiByte", 2, ERROR_NOT_READY);
         return f.printf(TEXT("x"));
       },
       IDS_CALL_FAILED, TEXT("WideCharToMultiByte")},
      {"CreateFileW", [](File& f) { return f.OpenRead(kPath); }, IDS_FILE_NOT_OPENED, kPath},
      {"CreateFileW", [](File& f) { return f.OpenWrite(kPath); }, IDS_FILE_NOT_OPENED, kPath},
      {"CreateFileW", [](File& f) { return f.Create(kPath, Quiet::kNo); }, IDS_FILE_NOT_CREATED,
       kPath},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    SetContent("abc");
    File file(kPath, File::kForWriting);
    const HANDLE handle = file.handle();
    boxes.clear();
    platform::FailCall(c.function, 1, ERROR_NOT_READY);
    EXPECT_FALSE(c.act(file));
    EXPECT_EQ(boxes, std::vector<WideString>{Box(c.number, c.name, ERROR_NOT_READY)});
    EXPECT_EQ(file.handle(), handle) << "a failure leaves the handle";
    platform::ResetFaults();
  }
  EXPECT_TRUE(File(kPath, File::kCreate).WriteAscii85(data.data(), 20'000, 0));
  EXPECT_EQ(platform::CallCount("WriteFile"), 2u) << "as many as the buffer wants";
  platform::FailCall("ReadFile", 1, ERROR_READ_FAULT, 2);
  EXPECT_EQ(ReadFileToGlobal(kPath), nullptr);
  std::unique_ptr<BYTE[]> bytes(new BYTE[1]);
  EXPECT_FALSE(ReadEntireFile(kPath, 0, bytes, number));
  EXPECT_EQ(bytes, nullptr);
}

TEST_F(FileTest, FilesThatCannotBeOpenedKeepTheName) {
  SetContent("abc");
  File file(kPath, File::kForReading);
  const LPCWSTR kMissing = TEXT("C:\\Dir\\missing");
  EXPECT_FALSE(file.OpenRead(kMissing));
  EXPECT_EQ(boxes.back(), Box(IDS_FILE_NOT_OPENED, kMissing, ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(WideView(file.name()), kPath);
  EXPECT_EQ(NewFile(kMissing, File::kForReading), nullptr);
  EXPECT_EQ(boxes.size(), 2u);
  const WideString long_name = TEXT("\\\\?\\C:\\Dir\\") + WideString(250, 'x');
  EXPECT_FALSE(file.OpenRead(long_name.c_str()));
  EXPECT_EQ(boxes.back(), Box(IDS_FILE_NOT_OPENED, long_name.c_str(), ERROR_FILENAME_EXCED_RANGE));
  boxes.pop_back();
  EXPECT_FALSE(file.OpenRead(TEXT("")) || file.OpenRead(nullptr));
  EXPECT_FALSE(file.Create(TEXT("C:\\Dir\\a*b"), Quiet::kYes));
  EXPECT_EQ(boxes.size(), 2u) << "quiet";
}

TEST_F(FileTest, CreationMakesTheDirectoriesOnTheWay) {
  File file;
  EXPECT_TRUE(file.Create(TEXT("C:\\a\\b\\c.txt"), Quiet::kNo));
  EXPECT_EQ(platform::CallCount("CreateFileW"), 2u);
  file.Close();
  boxes.clear();
  platform::FailCall("CreateDirectoryW", 1, ERROR_ACCESS_DENIED, 100);
  EXPECT_FALSE(file.Create(TEXT("C:\\x\\y\\z.txt"), Quiet::kYes));
  EXPECT_TRUE(boxes.empty());
  EXPECT_FALSE(file.Create(TEXT("C:\\x\\y\\z.txt"), Quiet::kNo));
  ASSERT_EQ(boxes.size(), 1u) << "only the directory is reported";
  EXPECT_EQ(boxes[0], Box(IDS_DIRECTORY_NOT_CREATED, TEXT("C:\\x")));
  EXPECT_FALSE(file.Create(TEXT("none.txt\\"), Quiet::kYes)) << "no name behind the directory";
}

TEST_F(FileTest, FilesWithoutANameAreTemporary) {
  File created, written;
  EXPECT_TRUE(created.Create(nullptr, Quiet::kNo) && written.OpenWrite(TEXT("")));
  EXPECT_NE(WideView(created.name()), WideView(written.name()));
  EXPECT_NE(WideView(created.name()).find(TEXT("\\Temp\\~KV")), WideView::npos);
  EXPECT_TRUE(WideView(created.name()).ends_with(TEXT(".tmp")));
  EXPECT_TRUE(created.CloseAndDelete(Quiet::kNo) && written.CloseAndDelete(Quiet::kNo));
}

TEST_F(FileTest, ReadsAlongWithAWriter) {
  File writer(kPath, File::kCreate), reader, second;
  ASSERT_TRUE(writer.WriteStringA("abc"));
  CHAR text[4] = {};
  platform::ResetFaults();
  EXPECT_TRUE(reader.OpenRead(kPath) && reader.Read(text, 3));
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(platform::CallCount("CreateFileW"), 2u);
  reader.Close();
  // A second writer is kept out, and so is a deletion.
  EXPECT_FALSE(second.OpenWrite(kPath));
  EXPECT_EQ(boxes.back(), Box(IDS_FILE_NOT_OPENED, kPath, ERROR_SHARING_VIOLATION));
  File name_only(kPath, File::kForReading);
  EXPECT_FALSE(name_only.CloseAndDelete(Quiet::kYes));
  EXPECT_EQ(boxes.size(), 1u);
  EXPECT_FALSE(name_only.CloseAndDelete(Quiet::kNo));
  EXPECT_EQ(boxes.size(), 2u);
}

TEST_F(FileTest, FormattedTextsOutsideTheLimitsAreReported) {
  File file(kPath, File::kCreate);
  const WideString wide(102401, 'x');
  const std::string narrow(204801, 'x');
  const struct {
    std::function<BOOL()> print;
    LPCWSTR routine;
  } cases[] = {
      {[&] { return file.printf("%s", narrow.c_str()); }, TEXT("File::printfV")},
      {[&] { return file.printf(TEXT("%s"), wide.c_str()); }, TEXT("File::printfV")},
      {[&] { return file.printfW(TEXT("%s"), wide.c_str()); }, TEXT("File::printfW")},
      {[&] { return file.printf("%s", ""); }, TEXT("File::printfV")},
      {[&] { return file.printfW(TEXT("%s"), TEXT("")); }, TEXT("File::printfW")},
  };
  for (const auto& c : cases) {
    boxes.clear();
    EXPECT_FALSE(c.print());
    ASSERT_EQ(boxes.size(), 1u) << "case " << (&c - cases);
    EXPECT_EQ(boxes[0], Box(IDS_ROUTINE_FAILED, c.routine));
  }
  DWORD size = 1;
  EXPECT_TRUE(file.GetSize(&size));
  EXPECT_EQ(size, 0u) << "nothing was written";
  boxes.clear();
  platform::FailCall("GlobalReAlloc", 2);
  EXPECT_FALSE(file.printf("%s", narrow.c_str()));
  EXPECT_EQ(boxes, std::vector<WideString>{Box(IDS_INTERNAL_ERROR, TEXT("GlobalReAlloc failed"))});
}

TEST_F(FileTest, WhatHadNoMemoryIsNamed) {
  SetContent("abc");
  File file(TEXT("C:\\Dir\\target"), File::kCreate);
  CFileList list;
  ASSERT_EQ(list.Scan(TEXT("C:\\Dir"), TRUE, FALSE), 2);
  const struct {
    uint64_t nth;
    std::function<BOOL()> act;
    LPCWSTR what;
  } cases[] = {
      {1, [] { return NewFile(kPath, 0) != nullptr; }, TEXT("new File failed")},
      {2, [&] { return file.AppendFile(kPath); }, TEXT("could not allocate file copy buffer")},
      {1, [&] { return file.WriteStringAsAnsi(TEXT("x")); }, TEXT("UnicodeToAnsiNew new char")},
      {1, [] { return GetFilesSize(kPath) != 0; }, TEXT("could not create CFileList")},
      {1, [] { return CFileList().Scan(kPath, TRUE, TRUE) != -1; },
       TEXT("could not allocate WIN32_FIND_DATA array")},
      {2, [&] { return list.Add(TEXT("C:\\Dir"), TRUE, TRUE) != -1; },
       TEXT("could not allocate WIN32_FIND_DATA array")},
      {1, [] { return DeleteTree(TEXT("C:\\Dir"), FilesOnly::kYes, Quiet::kNo); },
       TEXT("could not allocate MAX_PATH buffer")},
      {2, [] { return DeleteTree(TEXT("C:\\Dir"), FilesOnly::kYes, Quiet::kNo); },
       TEXT("could not allocate WIN32_FIND_DATA")},
  };
  for (const auto& c : cases) {
    boxes.clear();
    FailAllocation(c.nth);
    EXPECT_FALSE(c.act());
    FailAllocation(0);
    EXPECT_EQ(boxes, std::vector<WideString>{Box(IDS_INTERNAL_ERROR, c.what)}) << &c - cases;
  }
}

// Takes all but the last byte.
BOOL WINAPI WriteLess(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                      LPOVERLAPPED overlapped) {
  return WriteFile(file, data, size - 1, written, overlapped);
}

TEST_F(FileTest, WritesThatWroteLessAreFailures) {
  constexpr LPCWSTR kSource = TEXT("C:\\Dir\\source");
  std::ofstream(platform::HostPath(kSource)) << "source";
  const File source(kSource, File::kForReading);
  const std::function<BOOL(File&)> writes[] = {
      [](File& f) { return f.WriteStringA("ab"); },
      [](File& f) { return f.WriteCountedStringW(TEXT("ab")); },
      [](File& f) { return f.WriteAscii85("ab", 2, 0); },
      [&](File& f) { return f.AppendFile(kSource); },
      [&](File& f) { return f.AppendFromHandle(source.handle(), 0, 2); },
  };
  for (const auto& write : writes) {
    SCOPED_TRACE(&write - writes);
    File file(kPath, File::kCreate);
    boxes.clear();
    platform::Replace("WriteFile", &WriteLess);
    EXPECT_FALSE(write(file));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_WRITE_FAULT});
    EXPECT_EQ(boxes, std::vector<WideString>{Box(IDS_WRITE_FAILED, kPath, ERROR_WRITE_FAULT)});
    platform::ReplaceFunction("WriteFile", nullptr);
  }
  File file(kPath, File::kCreate);
  platform::Replace("WriteFile", &WriteLess);
  EXPECT_FALSE(file.WriteStringA("\nx"));
  platform::ReplaceFunction("WriteFile", nullptr);
  EXPECT_TRUE(file.NewLine(File::Trim::kNo));
  DWORD size = 0;
  EXPECT_TRUE(file.GetSize(&size));
  EXPECT_EQ(size, 1u) << "the line feed was written last";
  file.Close();
  platform::Replace("WriteFile", &WriteLess);
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(WriteEntireFile(kPath, "abc", 3));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_WRITE_FAULT});
}

ULONGLONG bytesWritten;

BOOL WINAPI CountWritten(HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) {
  bytesWritten += * written = size;
  return TRUE;
}

BOOL WINAPI SkipRead(HANDLE, LPVOID, DWORD size, LPDWORD read, LPOVERLAPPED) {
  *read = size;
  return TRUE;
}

TEST_F(FileTest, FilesAbove4GbAreTakenWholeOrRefused) {
  constexpr ULONGLONG k4Gb = ULONGLONG{1} << 32;
  SetContent("");
  std::filesystem::resize_file(platform::HostPath(kPath), k4Gb + 10);
  File source(kPath, File::kForReading), target(TEXT("C:\\Dir\\target"), File::kCreate);
  platform::Replace("ReadFile", &SkipRead);
  platform::Replace("WriteFile", &CountWritten);
  bytesWritten = 0;
  EXPECT_TRUE(target.AppendFile(kPath));
  EXPECT_EQ(bytesWritten, k4Gb + 10);
  EXPECT_TRUE(target.AppendFromHandle(source.handle(), 7, 20));
  EXPECT_EQ(bytesWritten, k4Gb + 30);
  EXPECT_TRUE(target.AppendFromHandle(source.handle(), k4Gb + 3, File::kWhole));
  EXPECT_EQ(bytesWritten, k4Gb + 37);
  LONG high = 0;
  EXPECT_EQ(SetFilePointer(source.handle(), 0, &high, FILE_CURRENT), 3u);
  EXPECT_EQ(high, 1);
  platform::ResetFaults();
  source.Close();
  EXPECT_TRUE(boxes.empty());

  ULONGLONG whole = 0;
  EXPECT_TRUE(GetFileSizeChecked(kPath, whole));
  EXPECT_EQ(whole, k4Gb + 10);
  EXPECT_EQ(GetFileSizeByName(kPath), INVALID_FILE_SIZE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_TOO_LARGE});
  std::unique_ptr<BYTE[]> bytes(new BYTE[1]);
  DWORD size = 7;
  EXPECT_FALSE(ReadEntireFile(kPath, 0, bytes, size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(bytes, nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(ReadFileToGlobal(kPath), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  CMappedFile mapped;
  EXPECT_EQ(mapped.MapFile(kPath, CMappedFile::Access::kRead, 10, Quiet::kNo), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(boxes, (std::vector<WideString>{
                       Box(IDS_INTERNAL_ERROR, TEXT("ReadEntireFile")),
                       Box(IDS_INTERNAL_ERROR, TEXT("GlobalAlloc failed")),
                       Box(IDS_CALL_FAILED, TEXT("MapViewOfFile"), ERROR_NOT_ENOUGH_MEMORY)}));
  boxes.clear();
  File writer;
  ASSERT_TRUE(writer.OpenWrite(kPath)) << "at the end, wherever that is";
  EXPECT_TRUE(writer.WriteStringA("x  ") && writer.NewLine(File::Trim::kYes) &&
              writer.WriteByte(1) && writer.AlignDword());
  DWORD position = 0;
  EXPECT_TRUE(boxes.empty());
  EXPECT_FALSE(writer.Tell(&position));
  EXPECT_EQ(boxes, std::vector<WideString>{Box(IDS_SEEK_FAILED, kPath, ERROR_INVALID_PARAMETER)});
  writer.Close();
  EXPECT_EQ(std::filesystem::file_size(platform::HostPath(kPath)), k4Gb + 16);
}

TEST_F(FileTest, NamesMayBeTheObjectsOwn) {
  SetContent("abc");
  File file(kPath, File::kForWriting);
  EXPECT_TRUE(file.AppendFile(file.name()));
  EXPECT_TRUE(file.Open(file.name(), File::kForReading));
  EXPECT_EQ(WideView(file.name()), kPath);
  char text[7] = {};
  EXPECT_TRUE(file.Read(text, 6));
  EXPECT_STREQ(text, "abcabc");
  file.Close();
  // A file that names itself.
  const std::string name(reinterpret_cast<const char*>(kPath), sizeof kPath);
  std::ofstream(platform::HostPath(kPath), std::ios::binary) << name;
  std::unique_ptr<BYTE[]> bytes;
  DWORD size = 0;
  for (int i = 0; i < 2; ++i) {
    const LPCWSTR path = i == 0 ? kPath : reinterpret_cast<LPCWSTR>(bytes.get());
    ASSERT_TRUE(ReadEntireFile(path, 0, bytes, size));
    EXPECT_EQ(size, sizeof kPath);
  }
}

TEST_F(FileTest, MappingsReportWhatFailed) {
  SetContent("abc");
  const struct {
    const char* function;
    DWORD error;
    LPCWSTR name;
  } cases[] = {
      {"CreateFileW", ERROR_ACCESS_DENIED, TEXT("CreateFile")},
      {"GetFileSize", ERROR_GEN_FAILURE, TEXT("GetFileSize")},
      {"CreateFileMappingW", ERROR_NOT_ENOUGH_MEMORY, TEXT("CreateFileMapping")},
      {"MapViewOfFile", ERROR_NOT_ENOUGH_MEMORY, TEXT("MapViewOfFile")},
  };
  using Access = CMappedFile::Access;
  {
    CMappedFile mapped;
    platform::FailCall("MapViewOfFile", 1, ERROR_BUSY);
    EXPECT_EQ(mapped.MapFile(kPath, Access::kWrite, 10, Quiet::kYes), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BUSY});
    for (const auto occurrences :
         {CMappedFile::Occurrences::kAll, CMappedFile::Occurrences::kFirst}) {
      platform::FailCall("MapViewOfFile", 1);
      EXPECT_EQ(CMappedFile::ReplaceInFile(kPath, "a", "xyz", occurrences), 0);
    }
    EXPECT_EQ(GetFileSizeByName(kPath), 3u) << "cut back";
    ASSERT_NE(mapped.MapFile(kPath, Access::kWrite, 0, Quiet::kNo), nullptr);
    for (const auto& [function, name] : {std::pair{"SetFilePointer", TEXT("SetFilePointer")},
                                         {"SetEndOfFile", TEXT("SetEndOfFile")}}) {
      platform::FailCall(function, 1, ERROR_SEEK);
      EXPECT_FALSE(mapped.Resize(2));
      EXPECT_EQ(boxes.back(), Box(IDS_CALL_FAILED, name, ERROR_SEEK));
      EXPECT_EQ(mapped.size(), 3u);
    }
  }
  const File caller(kPath, File::kForReading);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.function);
    boxes.clear();
    CMappedFile mapped;
    for (const Quiet quiet : {Quiet::kNo, Quiet::kYes}) {
      platform::FailCall(c.function, 1, c.error);
      EXPECT_EQ(mapped.MapFile(kPath, Access::kRead, 0, quiet), nullptr);
    }
    EXPECT_EQ(boxes, std::vector<WideString>{Box(IDS_CALL_FAILED, c.name, c.error)});
    if (c.name == WideView(TEXT("CreateFile"))) continue;
    boxes.clear();
    platform::FailCall(c.function, 1, c.error);
    EXPECT_EQ(mapped.MapHandle(caller.handle(), Access::kRead, 0), nullptr);
    EXPECT_EQ(mapped.size(), 0u);
    EXPECT_EQ(boxes.empty(), c.name == WideView(TEXT("GetFileSize")));
  }
}

}  // namespace
}  // namespace kv::test
