// Files, paths and directories when calls and allocations fail.
#include "platform/control/clipboard.h"
#include "platform/control/faults.h"
#include "resources/string_ids.h"
#include "runtime/files/ansi_text.h"
#include "runtime/files/compare_files.h"
#include "runtime/files/current_directory.h"
#include "runtime/files/delete_when_free.h"
#include "runtime/files/directories.h"
#include "runtime/files/dll_directory.h"
#include "runtime/files/file.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/file_report.h"
#include "runtime/files/global_block.h"
#include "runtime/files/mapped_file.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/files/temp_names.h"
#include "runtime/files/whole_files.h"
#include "runtime/registry/delete_key.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/machine_files.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kPath[] = TEXT("C:\\dir\\file.txt");
constexpr WCHAR kOther[] = TEXT("C:\\dir\\other.txt");
constexpr char kOld[] = "what was there before";

void RemoveDirectories() {
  for (const LPCWSTR path : {TEXT("C:\\dir"), TEXT("C:\\to"), TEXT("C:\\new")}) {
    std::filesystem::remove_all(platform::HostPath(path));
  }
}

// An empty directory but for the file with the old content.
void Prepare() {
  RemoveDirectories();
  PutFile(kPath, kOld);
}

size_t FilesIn(LPCWSTR directory) {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry :
       std::filesystem::recursive_directory_iterator(platform::HostPath(directory))) {
    ++count;
  }
  return count;
}

// An operation on the open file with the old content, which ends as `wanted`; when it fails, what
// was written before its beginning is still there.
template <class Operation>
void ExpectFile(Attempt& attempt, Operation operation, const std::string& wanted) {
  Prepare();
  File file;
  EXPECT_TRUE(file.OpenWrite(kPath));
  const BOOL done = attempt.Call([&] { return operation(file); });
  EXPECT_TRUE(file.IsOpen());
  file.Close();
  attempt.Expect(done, FileBytes(kPath) == wanted, FileBytes(kPath).starts_with(kOld));
}

SWEEP_AREA(File, RuntimeTest);

SCENARIO(File, Open) {
  Prepare();
  File file;
  const BOOL done = attempt.Call([&] {
    return file.Open(kPath, File::kForWriting) && file.ReopenRead() && file.ReopenWrite() &&
           file.OpenRead(kPath) && file.OpenWrite(kPath);
  });
  EXPECT_EQ(done, !attempt.hit());
  attempt.Expect(done, file.IsOpen());
  EXPECT_TRUE(done || attempt.reports() == 1 || attempt.failed().starts_with("GetFullP"));
  EXPECT_EQ(FileBytes(kPath), kOld);
}

SCENARIO(File, Create) {
  Prepare();
  File file;
  const BOOL done =
      attempt.Call([&] { return file.Create(TEXT("C:\\new\\deep\\file.txt"), Quiet::kNo); });
  EXPECT_TRUE(done || attempt.reports() == 1 || attempt.failed().starts_with("GetFullP"));
  attempt.Expect(done, IsThere(TEXT("C:\\new\\deep\\file.txt")), !file.IsOpen());
}

SCENARIO(File, TemporaryFile) {
  File file;
  const BOOL done = attempt.Call([&] { return file.Create(nullptr, Quiet::kYes); });
  attempt.Expect(done, IsThere(file.name()), !file.IsOpen());
  if (done) file.CloseAndDelete(Quiet::kYes);
}

SCENARIO(File, WriteNumbersAndTexts) {
  ExpectFile(
      attempt,
      [](File& file) {
        return file.WriteBom() && file.WriteByte('1') && file.WriteWord(0x3332) &&
               file.WriteDword(0x37363534) && file.WriteQword(0x4645444342413938) &&
               file.WriteStringA("text", -1, File::Terminator::kYes) &&
               file.WriteStringAsAnsi(TEXT("ansi")) && file.WriteStringW(TEXT("w")) &&
               file.WriteCountedStringW(TEXT("c"));
      },
      kOld +
          std::string("\xFF\xFE"
                      "123456789ABCDEF") +
          std::string("text\0ansiw\0\1\0c\0", 15));
}

SCENARIO(File, Print) {
  ExpectFile(
      attempt,
      [](File& file) {
        return file.printf("%d", 1) && file.printf(TEXT("%s"), TEXT("two")) &&
               file.printfW(TEXT("%c"), 'x') && file.printf(TEXT("%600d"), 5);
      },
      kOld + std::string("1twox\0", 6) + std::string(599, ' ') + "5");
}

SCENARIO(File, NewLineAndAlign) {
  ExpectFile(
      attempt,
      [](File& file) {
        return file.WriteStringA("x  ") && file.NewLine(File::Trim::kYes) && file.AlignWord() &&
               file.AlignDword();
      },
      kOld + std::string("x\n\0", 3));
}

SCENARIO(File, WriteAscii85) {
  ExpectFile(
      attempt, [](File& file) { return file.WriteAscii85("abcd", 4, 0); },
      kOld + std::string("@:E_W~>\r\n"));
}

SCENARIO(File, Append) {
  PutFile(TEXT("C:\\long"), std::string(40'000, 'x'));
  ExpectFile(
      attempt,
      [](File& file) {
        File source(TEXT("C:\\long"), File::kForReading);
        return file.AppendFile(TEXT("C:\\long")) &&
               file.AppendFromHandle(source.handle(), 10, 40'000);
      },
      kOld + std::string(79'990, 'x'));
}

SCENARIO(File, Positions) {
  DWORD position = 0, size = 0;
  ExpectFile(
      attempt,
      [&](File& file) {
        return file.GetSize(&size) && file.PushPosition() && file.WriteStringA("more") &&
               file.PopPosition() && file.SetEnd() && file.Seek(-1, FILE_END) &&
               file.Tell(&position) && file.Seek(0, FILE_END);
      },
      kOld);
  EXPECT_TRUE(attempt.hit() || (position == 20 && size == 21));
}

SCENARIO(File, SetLengthAndEmpty) {
  Prepare();
  File file;
  file.OpenWrite(kPath);
  const BOOL done = attempt.Call([&] { return file.SetLength(4) && file.Empty(); });
  file.Close();
  attempt.Expect(done, FileBytes(kPath).empty(),
                 kOld == FileBytes(kPath) || FileBytes(kPath) == "what");
}

SCENARIO(File, Read) {
  RemoveDirectories();
  PutFile(kPath, std::string("ab\0\3xyz\xFF\xFE\xFF\1u\0end", 16));
  File file;
  EXPECT_TRUE(file.OpenRead(kPath));
  char narrow[4], end[4] = {};
  WCHAR single[8], wide[8];
  const BOOL done = attempt.Call([&] {
    return file.ReadZString(narrow, 4) && file.ReadCountedString(single, 8) &&
           file.ReadCountedString(wide, 8) && file.Read(end, 3);
  });
  attempt.Expect(done, std::string(narrow) == "ab" && WideView(single) == TEXT("xyz") &&
                           WideView(wide) == TEXT("u") && std::string(end) == "end");
}

SCENARIO(File, CloseAndDelete) {
  Prepare();
  File file;
  file.OpenWrite(kPath);
  const BOOL done = attempt.Call([&] { return file.CloseAndDelete(Quiet::kNo); });
  EXPECT_EQ(done, attempt.reports() == 0);
  attempt.Expect(done, !IsThere(kPath), FileBytes(kPath) == kOld);
}

SCENARIO(File, Detach) {
  Prepare();
  std::unique_ptr<File> file;
  attempt.Call([&] { file = NewFile(kPath, File::kForReading); });
  attempt.Expect(file != nullptr, file != nullptr && file->IsOpen());
  EXPECT_EQ(file == nullptr, attempt.reports() != 0);
  if (file != nullptr) CloseHandle(file->Detach());
}

SCENARIO(File, WholeFiles) {
  Prepare();
  std::unique_ptr<BYTE[]> bytes;
  DWORD size = 0;
  HGLOBAL block = nullptr;
  const BOOL read = attempt.Call([&] {
    block = ReadFileToGlobal(kPath);
    return ReadEntireFile(kPath, 1, bytes, size);
  });
  attempt.Expect(read, size == 21 && reinterpret_cast<char*>(bytes.get()) == std::string_view(kOld),
                 bytes == nullptr);
  attempt.Expect(block != nullptr, block == nullptr || GlobalSize(block) == 21);
  if (block != nullptr) GlobalFree(block);
}

SCENARIO(File, WriteEntireFile) {
  RemoveDirectories();
  PutFile(kOther, "");
  const BOOL done = attempt.Call([] { return WriteEntireFile(kPath, "new", 3); });
  EXPECT_EQ(done, !attempt.hit());
  attempt.Expect(done, FileBytes(kPath) == "new");
}

SCENARIO(File, ToAnsi) {
  int size = 0;
  const auto text = attempt.Call([&] { return ToAnsi(TEXT("text"), &size); });
  attempt.Expect(text != nullptr, size == 4, attempt.reports() == 1);
}

SCENARIO(File, Report) {
  attempt.Call([] { return ReportFileError(IDS_FILE_NOT_FOUND, kPath, 2); });
  EXPECT_TRUE(attempt.reports() == 1 || attempt.hit());
}

SWEEP_AREA(MappedFile, RuntimeTest);

SCENARIO(MappedFile, Map) {
  Prepare();
  CMappedFile file;
  const void* view =
      attempt.Call([&] { return file.MapFile(kPath, CMappedFile::Access::kRead, 0, Quiet::kNo); });
  EXPECT_EQ(view == nullptr, attempt.reports() == 1);
  attempt.Expect(view != nullptr,
                 view != nullptr && file.size() == 21 && memcmp(view, kOld, 21) == 0);
}

SCENARIO(MappedFile, MapHandleAndResize) {
  Prepare();
  const UniqueFile handle(
      CreateFileW(kPath, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  CMappedFile file;
  const BOOL done = attempt.Call([&] {
    return file.MapHandle(handle.Get(), CMappedFile::Access::kWrite, 40) != nullptr &&
           file.Resize(30);
  });
  file.Close(CMappedFile::CloseFile::kYes);
  attempt.Expect(done, FileBytes(kPath).size() == 30);
  EXPECT_TRUE(FileBytes(kPath).starts_with(kOld));
}

SCENARIO(MappedFile, ReplaceInFile) {
  Prepare();
  const int count = attempt.Call([] {
    return CMappedFile::ReplaceInFile(kPath, "was", "has been", CMappedFile::Occurrences::kAll);
  });
  const std::string now = FileBytes(kPath);
  const std::string wanted = "what has been there before";
  // Zeros stand behind the text when the file cannot be cut.
  attempt.Expect(count == 1, now == wanted || (attempt.reports() == 1 && now.starts_with(wanted)),
                 now == kOld);
}

SWEEP_AREA(GlobalBlock, RuntimeTest);

SCENARIO(GlobalBlock, Grow) {
  CGlobalBlock block;
  bool done = attempt.Call([&]() -> bool {
    return block.Alloc(4, GMEM_MOVEABLE, 16) && block.AppendDword(0x64636261) &&
           block.AppendWord(0x6665) && block.AppendByte('g') &&
           block.AppendStringA("hi", CGlobalBlock::Terminator::kNo) &&
           block.AppendStringW(TEXT("x"), CGlobalBlock::Terminator::kYes) && block.Reserve(100) &&
           block.Grow(10);
  });
  char bytes[9] = {};
  const DWORD position = block.position();
  done = done && block.SetPosition(0) && block.Read(bytes, 9) == 9;
  attempt.Expect(done, std::string(bytes, 9) == "abcdefghi" && block.size() >= 110,
                 position <= block.size());
}

SCENARIO(GlobalBlock, CopyAttachDetach) {
  CGlobalBlock block, attached;
  EXPECT_TRUE(block.Alloc(3, GMEM_MOVEABLE, 0) && block.Append("abc", 3));
  HGLOBAL given = nullptr;
  const bool done = attempt.Call([&]() -> bool {
    CGlobalBlock copy(block);
    if (copy.data() == nullptr) return false;
    const bool equal = memcmp(copy.data(), "abc", 3) == 0;
    given = copy.Detach();
    if (!attached.Attach(given)) return false;
    given = nullptr;
    attached.Unlock();
    return attached.Lock() && equal;
  });
  attempt.Expect(done, attached.size() == 3);
  if (given != nullptr) GlobalFree(given);
}

SCENARIO(GlobalBlock, PutOnClipboard) {
  CGlobalBlock block;
  EXPECT_TRUE(block.Alloc(3, GMEM_MOVEABLE, 0) && block.Append("abc", 3));
  const BOOL done =
      attempt.Call([&] { return block.PutOnClipboard(CF_TEXT, CGlobalBlock::EmptyFirst::kYes); });
  const bool kept = block.data() != nullptr && memcmp(block.data(), "abc", 3) == 0;
  attempt.Expect(done, block.data() == nullptr, kept);
  EXPECT_TRUE(!done || platform::ClipboardContent(CF_TEXT).has_value());
  OpenClipboard(nullptr);
  EmptyClipboard();
  CloseClipboard();
}

SWEEP_AREA(FileActions, RuntimeTest);

SCENARIO(FileActions, Questions) {
  Prepare();
  BOOL there = FALSE, there_in = FALSE, directory = FALSE;
  ULONGLONG checked = 0;
  const DWORD size = attempt.Call([&] {
    there = FileExists(kPath, Report::kNo);
    there_in = FileExistsIn(TEXT("C:\\dir"), TEXT("file.txt"), Report::kYes);
    directory = DirectoryExists(TEXT("C:\\dir"));
    GetFileSizeChecked(kPath, checked);
    return GetFileSizeByName(kPath);
  });
  attempt.Expect(there && there_in && directory && checked == 21, true);
  attempt.Expect(size != INVALID_FILE_SIZE, size == 21);
}

SCENARIO(FileActions, CanWriteFile) {
  Prepare();
  attempt.Expect(attempt.Call([] { return CanWriteFile(kPath); }), true);
  EXPECT_EQ(FileBytes(kPath), kOld);
}

SCENARIO(FileActions, RemoveFile) {
  Prepare();
  SetFileAttributesW(kPath, FILE_ATTRIBUTE_READONLY);
  const BOOL done = attempt.Call([] { return RemoveFile(kPath, Quiet::kNo); });
  attempt.Expect(done, !IsThere(kPath), FileBytes(kPath) == kOld);
  EXPECT_EQ(done, attempt.reports() == 0);
}

SCENARIO(FileActions, RemoveFileIn) {
  Prepare();
  const BOOL done =
      attempt.Call([] { return RemoveFileIn(TEXT("C:\\dir"), TEXT("file.txt"), Quiet::kYes); });
  attempt.Expect(done, !IsThere(kPath), FileBytes(kPath) == kOld);
}

SCENARIO(FileActions, CopyFileTo) {
  Prepare();
  PutFile(kOther, "new");
  const BOOL done =
      attempt.Call([] { return CopyFileTo(kOther, kPath, Overwrite::kYes, Quiet::kNo); });
  attempt.Expect(done, FileBytes(kPath) == "new",
                 FileBytes(kOther) == "new" && FileBytes(kPath) == kOld);
  EXPECT_EQ(FilesIn(TEXT("C:\\dir")), 2u) << "no copy is left on the way";
  // A target that cannot be removed is reported too.
  EXPECT_TRUE(done ? attempt.reports() == 0 : attempt.reports() == 1 || attempt.reports() == 2);
}

SCENARIO(FileActions, CopyFileToDir) {
  Prepare();
  PutFile(TEXT("C:\\to\\there"), "x");
  const BOOL done = attempt.Call([] {
    return CopyFileToDir(TEXT("C:\\dir"), TEXT("file.txt"), TEXT("C:\\to"), nullptr, Overwrite::kNo,
                         Quiet::kYes);
  });
  attempt.Expect(done, FileBytes(TEXT("C:\\to\\file.txt")) == kOld,
                 !IsThere(TEXT("C:\\to\\file.txt")));
}

SCENARIO(FileActions, CopyFileWithProgress) {
  RemoveDirectories();
  PutFile(kPath, std::string(40'000, 'x'));
  const BOOL done =
      attempt.Call([] { return CopyFileWithProgress(kPath, kOther, TEXT("KvCopy"), IDS_CANCEL); });
  attempt.Expect(done, FileBytes(kOther).size() == 40'000, !IsThere(kOther));
}

SCENARIO(FileActions, CopyFileWithProgressOver) {
  Prepare();
  PutFile(kOther, std::string(40'000, 'x'));
  const BOOL done =
      attempt.Call([] { return CopyFileWithProgress(kOther, kPath, TEXT("KvCopy"), IDS_CANCEL); });
  attempt.Expect(done, FileBytes(kPath).size() == 40'000, FileBytes(kPath) == kOld);
  EXPECT_EQ(FilesIn(TEXT("C:\\dir")), 2u) << "no copy is left on the way";
}

SCENARIO(FileActions, Compare) {
  Prepare();
  PutFile(kOther, kOld);
  BOOL newer = TRUE;
  const int equal = attempt.Call([&] {
    newer = IsNewer(kPath, kOther);
    return CompareFiles(kPath, kOther, CompareContents::kYes);
  });
  EXPECT_FALSE(newer);
  attempt.Expect(equal == 1, true, equal == -1);
}

SCENARIO(FileActions, Directories) {
  RemoveDirectories();
  const BOOL done = attempt.Call([] {
    return CreateOneDirectory(TEXT("C:\\to"), Quiet::kNo) &&
           CreateDirectoryTree(TEXT("C:\\new\\a\\b"), Expand::kYes, Quiet::kNo) &&
           IsDirectoryEmpty(TEXT("C:\\new\\a\\b"));
  });
  attempt.Expect(done, IsThere(TEXT("C:\\new\\a\\b")) && IsThere(TEXT("C:\\to")));
}

SCENARIO(FileActions, CopyDirectory) {
  Prepare();
  PutFile(TEXT("C:\\dir\\sub\\b"), "22");
  CreateDirectoryW(TEXT("C:\\to"), nullptr);
  const int copied =
      attempt.Call([] { return CopyDirectory(TEXT("C:\\dir"), TEXT("C:\\to"), Recurse::kYes); });
  // A source whose attributes cannot be read is taken for a pattern.
  const bool right = FileBytes(TEXT("C:\\to\\sub\\b")) == "22" ||
                     attempt.failed().starts_with("GetFileAttributesW");
  attempt.Expect(copied == 2, right, copied == -1);
  EXPECT_EQ(FileBytes(kPath), kOld);
}

SCENARIO(FileActions, DeleteTree) {
  Prepare();
  PutFile(TEXT("C:\\dir\\sub\\b"), "22");
  const BOOL done =
      attempt.Call([] { return DeleteTree(TEXT("C:\\dir"), FilesOnly::kNo, Quiet::kNo); });
  attempt.Expect(done, !IsThere(kPath) && !IsThere(TEXT("C:\\dir\\sub\\b")));
}

SCENARIO(FileActions, ResetSecurityTree) {
  Prepare();
  const BOOL done = attempt.Call([] { return ResetSecurityTree(TEXT("C:\\dir")); });
  EXPECT_EQ(done, !attempt.hit());
}

SCENARIO(FileActions, DirectoryScopes) {
  Prepare();
  SetCurrentDirectoryW(TEXT("C:\\Windows"));
  SetDllDirectoryW(TEXT("C:\\Windows"));
  attempt.Call([] {
    const CCurrentDirectory current(TEXT("C:\\dir"));
    const CDllDirectory libraries(TEXT("C:\\dir"));
  });
  WCHAR now[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, now);
  EXPECT_TRUE(WideView(now) == TEXT("C:\\Windows") ||
              attempt.failed().starts_with("SetCurrentDirectoryW"));
  GetDllDirectoryW(MAX_PATH, now);
  EXPECT_TRUE(WideView(now) == TEXT("C:\\Windows") || attempt.failed().starts_with("SetDll") ||
              attempt.failed().starts_with("GetDllDirectoryW"));
}

SCENARIO(FileActions, DeleteWhenFree) {
  Prepare();
  WCHAR temporary[MAX_PATH];
  GetTempPathW(MAX_PATH, temporary);
  const size_t before = FilesIn(temporary);
  // The script itself would run beside the test.
  const BOOL done = attempt.Call([] {
    platform::Replace(
        "CreateProcessW",
        +[](LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
            LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) WINAPI -> BOOL { return TRUE; });
    platform::Replace(
        "ResumeThread", +[](HANDLE) WINAPI -> DWORD { return 1; });
    return DeleteWhenFree(kPath);
  });
  attempt.Expect(done, FilesIn(temporary) == before + 1, FilesIn(temporary) == before);
  DeleteTree(temporary, FilesOnly::kYes, Quiet::kYes);
}

SWEEP_AREA(FileList, RuntimeTest);

SCENARIO(FileList, ScanAndAdd) {
  Prepare();
  PutFile(kOther, "x");
  PutFile(TEXT("C:\\dir\\a.doc"), "x");
  CFileList list;
  EXPECT_EQ(list.Scan(TEXT("C:\\dir\\f*"), TRUE, FALSE), 1);
  const int count = attempt.Call([&] { return list.Add(TEXT("C:\\dir"), TRUE, TRUE); });
  list.Sort(CFileList::kByName, TRUE);
  const int index = list.Find(TEXT("FILE.TXT"));
  attempt.Expect(count == 3, View(list.GetName(0)) == TEXT("a.doc"),
                 index >= 0 && View(list.GetPath(index)) == kPath);
}

SCENARIO(FileList, CopyTo) {
  Prepare();
  PutFile(kOther, "x");
  PutFile(TEXT("C:\\to\\file.txt"), "older");
  CFileList list;
  const int copied = attempt.Call([&] {
    list.Scan(TEXT("C:\\dir"), TRUE, FALSE);
    return list.CopyTo(TEXT("C:\\to"), CopyMode::kSkipEqual);
  });
  const std::string target = FileBytes(TEXT("C:\\to\\file.txt"));
  attempt.Expect(copied == 2, target == kOld, target == kOld || target == "older");
  EXPECT_EQ(FileBytes(kPath), kOld);
}

SCENARIO(FileList, MoveTo) {
  Prepare();
  PutFile(kOther, "x");
  CreateDirectoryW(TEXT("C:\\to"), nullptr);
  CFileList list;
  const int done = attempt.Call([&] {
    list.Scan(TEXT("C:\\dir"), TRUE, FALSE);
    return list.MoveTo(TEXT("C:\\to"));
  });
  attempt.Expect(done == 4, !IsThere(kPath), done < 4);
  EXPECT_TRUE(FileBytes(kPath) == kOld || FileBytes(TEXT("C:\\to\\file.txt")) == kOld);
  EXPECT_TRUE(FileBytes(kOther) == "x" || FileBytes(TEXT("C:\\to\\other.txt")) == "x");
}

// The target is the directory itself by another name.
SCENARIO(FileList, MoveOntoItself) {
  Prepare();
  std::filesystem::remove(platform::HostPath(TEXT("C:\\link")));
  std::filesystem::create_directory_symlink(platform::HostPath(TEXT("C:\\dir")),
                                            platform::HostPath(TEXT("C:\\link")));
  CFileList list;
  const int done = attempt.Call([&] {
    list.Scan(TEXT("C:\\dir"), TRUE, FALSE);
    return list.MoveTo(TEXT("C:\\link"));
  });
  EXPECT_EQ(done, 0);
  EXPECT_EQ(FileBytes(kPath), kOld);
}

SCENARIO(FileList, DeleteAll) {
  Prepare();
  PutFile(kOther, "x");
  CFileList list;
  list.Scan(TEXT("C:\\dir"), TRUE, FALSE);
  const int deleted = attempt.Call([&] { return list.DeleteAll(TRUE); });
  EXPECT_EQ(deleted + FilesIn(TEXT("C:\\dir")), 2u);
  EXPECT_TRUE(deleted == 2 || attempt.hit());
}

SCENARIO(FileList, SizesAndPruning) {
  Prepare();
  PutFile(kOther, "x");
  ULONGLONG size = 0;
  const BOOL done = attempt.Call([&] {
    size = GetFilesSize(TEXT("C:\\dir\\*"));
    return PruneOldFiles(TEXT("C:\\dir\\*"), 1, -1, kOther);
  });
  EXPECT_TRUE(size == 22 || attempt.hit());
  EXPECT_EQ(FileBytes(kOther), "x") << "spared";
  attempt.Expect(done, !IsThere(kPath) || attempt.hit());
}

SWEEP_AREA(Paths, RuntimeTest);

SCENARIO(Paths, OfTheSystem) {
  Prepare();
  WCHAR directory[MAX_PATH] = {}, full[MAX_PATH] = {}, system[MAX_PATH], beside[MAX_PATH];
  BOOL is_directory = FALSE, is_system = FALSE, is_beside = FALSE;
  const BOOL formed = attempt.Call([&] {
    GetDirectory(kPath, directory);
    is_beside = PathBesideModule(nullptr, TEXT("x.dll"), beside);
    is_system = GetSystemFilePath(TEXT("x.dll"), system);
    is_directory = IsDirectory(TEXT("C:\\dir"));
    return MakeFullPath(TEXT("C:\\dir\\.\\file.txt"), full);
  });
  attempt.Expect(formed, WideView(full) == kPath);
  attempt.Expect(is_directory, true);
  attempt.Expect(directory[0] != 0, WideView(directory) == TEXT("C:\\dir"));
  attempt.Expect(is_system, WideView(system) == TEXT("C:\\Windows\\System32\\x.dll"),
                 system[0] == 0);
  attempt.Expect(is_beside, WideView(beside).find(TEXT(":\\")) == 1, beside[0] == 0);
}

SCENARIO(Paths, ShortPathForAnsi) {
  Prepare();
  CAnsiText text;
  const BOOL done = attempt.Call([&] { return ShortPathForAnsi(kPath, text); });
  attempt.Expect(done, text.Get() == std::string("C:\\dir\\file.txt"), *text.Get() == 0);
}

SCENARIO(Paths, TemporaryNames) {
  Prepare();
  WCHAR plain[MAX_PATH] = {}, named[MAX_PATH] = {}, copy[MAX_PATH] = {};
  int made = 0;
  attempt.Call([&] {
    made += MakeTempName(TEXT("C:\\dir"), plain) != 0;
    made += MakeTempNameWithExt(TEXT("C:\\dir"), TEXT("bat"), named) != 0;
    made += CopyToTempName(kPath, copy) != 0;
  });
  if (copy[0] != 0 && IsThere(copy)) {
    EXPECT_EQ(FileBytes(copy), kOld);
    DeleteFileW(copy);
    --made;
  }
  EXPECT_EQ(FilesIn(TEXT("C:\\dir")), static_cast<size_t>(made) + 1);
  EXPECT_TRUE(attempt.hit() || made == 2);
}

SCENARIO(Paths, MakeUniqueFileName) {
  Prepare();
  WCHAR path[MAX_PATH];
  CopyStringW(path, kPath);
  const BOOL done = attempt.Call([&] { return MakeUniqueFileName(path, MAX_PATH); });
  attempt.Expect(done, WideView(path) == TEXT("C:\\dir\\file_1.txt") || attempt.hit(),
                 WideView(path) == kPath);
}

SCENARIO(Paths, SpecialFolders) {
  WCHAR user[MAX_PATH], shell[MAX_PATH], programs[MAX_PATH], startup[MAX_PATH], spool[MAX_PATH],
      version[MAX_PATH];
  BOOL is_folder = FALSE;
  attempt.Call([&] {
    GetUserShellFolder(TEXT("Programs"), user, Expand::kYes);
    GetShellFolder(HKEY_LOCAL_MACHINE, TEXT("Common Programs"), shell, Expand::kYes);
    GetCommonProgramsFolder(programs, Expand::kYes);
    GetCommonStartupFolder(startup, Expand::kYes);
    GetDefaultSpoolDirectory(spool, Expand::kYes);
    GetCurrentVersionValue(TEXT("SystemRoot"), version, Expand::kYes);
    is_folder = IsShellFolderPath(TEXT("C:\\none"));
  });
  EXPECT_FALSE(is_folder);
  for (const LPCWSTR folder : {user, shell, programs, startup, spool, version}) {
    EXPECT_TRUE(folder[0] == 0 || WideView(folder).starts_with(TEXT("C:\\"))) << "half";
  }
}

SCENARIO(Paths, SystemPath) {
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  SetText(
      Key::Create(HKEY_LOCAL_MACHINE, TEXT("System\\CurrentControlSet\\Control\\Session Manager\\"
                                           "Environment")),
      TEXT("Path"), TEXT("C:\\a"));
  const auto path = attempt.Call([] { return GetSystemPath(); });
  attempt.Expect(path != nullptr, View(path.get()) == TEXT("C:\\a;"));
}

}  // namespace
}  // namespace kv::test
