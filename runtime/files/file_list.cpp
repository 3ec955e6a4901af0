#include "runtime/files/file_list.h"

#include <algorithm>
#include <new>

#include "runtime/core/handles.h"
#include "runtime/files/compare_files.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_identity.h"
#include "runtime/files/file_replacement.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

bool IsWanted(const WIN32_FIND_DATAW& entry, BOOL files, BOOL directories) {
  if (IsDotEntry(entry)) return false;
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? directories != FALSE
                                                                  : files != FALSE;
}

// Calls `take` for each wanted entry until it answers false.
template <class Take>
void ListWanted(LPCWSTR pattern, BOOL files, BOOL directories, Take take) {
  WIN32_FIND_DATAW entry;
  const UniqueFindHandle search(FindFirstFileW(pattern, &entry));
  if (!search) return;
  do {
    if (IsWanted(entry, files, directories) && !take(entry)) return;
  } while (FindNextFileW(search.Get(), &entry));
}

bool NameLess(const WIN32_FIND_DATAW* a, const WIN32_FIND_DATAW* b) {
  return CompareAsciiNoCase(a->cFileName, b->cFileName) < 0;
}

bool IsLess(const WIN32_FIND_DATAW& a, const WIN32_FIND_DATAW& b, int key) {
  switch (key) {
    case CFileList::kByName:
      return NameLess(&a, &b);
    case CFileList::kByLastWrite:
      return a.ftLastWriteTime.dwHighDateTime != b.ftLastWriteTime.dwHighDateTime
                 ? a.ftLastWriteTime.dwHighDateTime < b.ftLastWriteTime.dwHighDateTime
                 : a.ftLastWriteTime.dwLowDateTime < b.ftLastWriteTime.dwLowDateTime;
    default:
      return a.nFileSizeLow < b.nFileSizeLow;
  }
}

// Null after the report when memory runs out.
std::unique_ptr<CFileList> NewList() {
  std::unique_ptr<CFileList> list(new (std::nothrow) CFileList);
  if (list == nullptr) ReportNoMemory(TEXT("could not create CFileList"));
  return list;
}

// Whether the file is the one to spare, or may be it.
bool IsSpared(LPCWSTR path, LPCWSTR spare) {
  if (View(spare).empty()) return false;
  return EqualAsciiNoCase(path, View(spare)) || !AreDifferentFiles(path, spare);
}

}  // namespace

bool IsDotEntry(const WIN32_FIND_DATAW& entry) {
  const WideView name = entry.cFileName;
  return name == TEXT(".") || name == TEXT("..");
}

bool IsLinkEntry(const WIN32_FIND_DATAW& entry) {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(entry.dwReserved0);
}

BOOL MakeListPattern(LPCWSTR source, WCHAR (&pattern)[MAX_PATH], WCHAR (&directory)[MAX_PATH]) {
  if (View(source).empty()) return FailWith(ERROR_PATH_NOT_FOUND);
  if (View(source).size() >= MAX_PATH) return FailWith(ERROR_FILENAME_EXCED_RANGE);
  if (!IsDirectory(source)) {
    CopyStringW(pattern, source);
  } else if (!PathJoin(source, TEXT("*.*"), pattern, MAX_PATH)) {
    return FALSE;
  }
  // The pattern itself stays as it is: in a full path it would lose a dot at its end.
  if (!MakeFullPath(pattern, directory)) return FALSE;
  directory[GetFileName(directory) - directory] = 0;
  const bool complete = View(directory).ends_with('\\');
  return complete || AppendText(directory, MAX_PATH, TEXT("\\")) ||
         FailWith(ERROR_FILENAME_EXCED_RANGE);
}

int CFileList::Scan(LPCWSTR pattern, BOOL files, BOOL directories) {
  WCHAR search[MAX_PATH], directory[MAX_PATH];
  const BOOL canBeListed = MakeListPattern(pattern, search, directory);
  Clear();
  if (!canBeListed) return 0;
  CopyStringW(directory_, directory);

  int wanted = 0;
  ListWanted(search, files, directories, [&](const WIN32_FIND_DATAW&) { return ++wanted > 0; });
  if (wanted == 0) return 0;
  entries_.reset(new (std::nothrow) WIN32_FIND_DATAW[wanted]);
  if (entries_ == nullptr) {
    ReportNoMemory(TEXT("could not allocate WIN32_FIND_DATA array"));
    return -1;
  }
  // Entries that appeared since the first listing are not taken.
  ListWanted(search, files, directories, [&](const WIN32_FIND_DATAW& entry) {
    entries_[count_++] = entry;
    return count_ < wanted;
  });
  return count_;
}

int CFileList::Add(LPCWSTR pattern, BOOL files, BOOL directories) {
  if (count_ == 0) return Scan(pattern, files, directories);
  CFileList other;
  if (other.Scan(pattern, files, directories) < 0) return -1;
  if (other.count_ == 0 || !EqualAsciiNoCase(directory_, other.directory_)) return count_;
  // The present names in order, so that long lists stay fast.
  const std::unique_ptr<const WIN32_FIND_DATAW*[]> present(new (std::nothrow)
                                                               const WIN32_FIND_DATAW*[count_]);
  Entries joined(new (std::nothrow) WIN32_FIND_DATAW[count_ + other.count_]);
  if (present == nullptr || joined == nullptr) {
    ReportNoMemory(TEXT("could not allocate WIN32_FIND_DATA array"));
    return -1;
  }
  for (int i = 0; i < count_; ++i) present[i] = &entries_[i];
  std::sort(present.get(), present.get() + count_, NameLess);
  std::copy_n(entries_.get(), count_, joined.get());
  int total = count_;
  for (int i = 0; i < other.count_; ++i) {
    if (!std::binary_search(present.get(), present.get() + count_, &other.entries_[i], NameLess)) {
      joined[total++] = other.entries_[i];
    }
  }
  entries_ = std::move(joined);
  return count_ = total;
}

void CFileList::Clear() {
  entries_.reset();
  count_ = 0;
  directory_[0] = 0;
}

int CFileList::Find(LPCWSTR name) const {
  for (int i = 0; i < count_; ++i) {
    if (EqualAsciiNoCase(entries_[i].cFileName, View(name))) return i;
  }
  return -1;
}

const WIN32_FIND_DATAW* CFileList::GetEntry(int index) const {
  if (index < 0 || index >= count_ || entries_[index].cFileName[0] == 0) return nullptr;
  return &entries_[index];
}

LPCWSTR CFileList::GetName(int index) const {
  const WIN32_FIND_DATAW* const entry = GetEntry(index);
  return entry == nullptr ? nullptr : entry->cFileName;
}

BOOL CFileList::MakePath(int index, WCHAR (&path)[MAX_PATH]) const {
  const LPCWSTR name = GetName(index);
  return name != nullptr && PathJoin(directory_, name, path, MAX_PATH);
}

LPCWSTR CFileList::GetPath(int index) {
  return MakePath(index, pathBuffer_) ? pathBuffer_ : nullptr;
}

int CFileList::RemoveAt(int index) {
  if (index < 0 || index >= count_) return count_;
  std::move(entries_.get() + index + 1, entries_.get() + count_, entries_.get() + index);
  entries_[--count_] = {};
  return count_;
}

int CFileList::RemoveByName(LPCWSTR path) {
  return RemoveAt(Find(GetFileName(path)));
}

ULONGLONG CFileList::TotalSize() const {
  ULONGLONG total = 0;
  for (int i = 0; i < count_; ++i) total += entries_[i].nFileSizeLow;
  return total;
}

void CFileList::Sort(int key, BOOL ascending) {
  if (count_ < 1 || key < kByName || key > kBySize) return;
  std::sort(entries_.get(), entries_.get() + count_,
            [key, ascending](const auto& a, const auto& b) {
              return ascending ? IsLess(a, b, key) : IsLess(b, a, key);
            });
}

BOOL CFileList::CopyEntry(int index, LPCWSTR targetDirectory, CopyMode mode) const {
  WCHAR source[MAX_PATH], target[MAX_PATH];
  if (!MakePath(index, source) || !PathJoin(targetDirectory, GetName(index), target, MAX_PATH)) {
    return FALSE;
  }
  if (mode == CopyMode::kSkipExisting && FileExists(target, Report::kNo)) return FALSE;
  if (mode == CopyMode::kSkipEqual && CompareFiles(source, target, CompareContents::kNo) == 1)
    return FALSE;
  bool targetInTheWay = false;
  if (!CopyOver(source, target, Overwrite::kYes, targetInTheWay)) return FALSE;
  SetFileAttributesW(target, FILE_ATTRIBUTE_NORMAL);
  return TRUE;
}

int CFileList::CopyTo(LPCWSTR targetDirectory, CopyMode mode) {
  int copied = 0;
  for (int i = 0; i < count_; ++i) {
    if (CopyEntry(i, targetDirectory, mode)) ++copied;
  }
  return copied;
}

int CFileList::DeleteAll(BOOL useLibraryDelete) {
  int deleted = 0;
  WCHAR path[MAX_PATH];
  for (int i = 0; i < count_; ++i) {
    if (!MakePath(i, path)) continue;
    const BOOL gone = useLibraryDelete ? RemoveFile(path, Quiet::kYes)
                                       : DeleteFileW(path) || MeansMissing(GetLastError());
    if (gone) ++deleted;
  }
  Clear();
  return deleted;
}

int CFileList::MoveTo(LPCWSTR targetDirectory) {
  int done = 0;
  WCHAR path[MAX_PATH];
  for (int i = 0; i < count_; ++i) {
    if (!CopyEntry(i, targetDirectory, CopyMode::kAlways)) continue;
    ++done;
    if (MakePath(i, path) && RemoveFile(path, Quiet::kYes)) ++done;
  }
  Clear();
  return done;
}

ULONGLONG GetFilesSize(LPCWSTR pattern) {
  const std::unique_ptr<CFileList> list = NewList();
  if (list == nullptr) return 0;
  list->Scan(pattern, TRUE, FALSE);
  ULONGLONG total = 0;
  for (int i = 0; i < list->count(); ++i) {
    const WIN32_FIND_DATAW* const entry = list->GetEntry(i);
    if (entry != nullptr) total += ULONGLONG{entry->nFileSizeHigh} << 32 | entry->nFileSizeLow;
  }
  return total;
}

BOOL PruneOldFiles(LPCWSTR pattern, int keep, int maximum, LPCWSTR spare) {
  if (View(pattern).empty()) return FailWith(ERROR_PATH_NOT_FOUND);
  const std::unique_ptr<CFileList> list = NewList();
  if (list == nullptr) return FALSE;
  const int count = list->Scan(pattern, TRUE, FALSE);
  if (count < 0) return FALSE;
  const int excess = count - std::max(keep, 0);
  if (excess <= 0) return TRUE;
  int wanted = maximum >= 0 && excess >= maximum ? maximum : excess;
  list->Sort(CFileList::kByLastWrite, TRUE);
  for (int i = 0; i < list->count() && wanted > 0; ++i) {
    const LPCWSTR path = list->GetPath(i);
    if (path == nullptr || IsSpared(path, spare)) continue;
    if (RemoveFile(path, Quiet::kYes)) --wanted;
  }
  return wanted == 0;
}

}  // namespace kv
