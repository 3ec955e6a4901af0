#include "runtime/files/directories.h"

#include <aclapi.h>

#include <memory>
#include <new>

#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/paths.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kEverything[] = TEXT("*.*");

bool IsDirectoryEntry(const WIN32_FIND_DATAW& entry) {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

enum class WalkEnd {
  kNothingFound,  // the listing could not begin
  kStopped,       // by the visitor
  kFailed,        // by an error of the listing, which is the last error
  kComplete,
};

// Calls `visit` for each entry of `pattern` that is not "." or "..", until it answers false.
template <class Visit>
WalkEnd Walk(LPCWSTR pattern, WIN32_FIND_DATAW& entry, Visit visit) {
  const UniqueFindHandle search(FindFirstFileW(pattern, &entry));
  if (!search) return WalkEnd::kNothingFound;
  do {
    if (!IsDotEntry(entry) && !visit()) return WalkEnd::kStopped;
  } while (FindNextFileW(search.Get(), &entry));
  return GetLastError() == ERROR_NO_MORE_FILES ? WalkEnd::kComplete : WalkEnd::kFailed;
}

// TRUE when the walk went through; a listing that failed is reported unless quiet.
BOOL IsComplete(WalkEnd end, Quiet quiet) {
  if (end == WalkEnd::kFailed && quiet == Quiet::kNo) ShowLastError(TEXT("FindNextFile"));
  return end == WalkEnd::kComplete;
}

// The first backslash that ends the root of a full path; null when there is none, or a server has
// no share.
LPWSTR EndOfRoot(LPWSTR path) {
  const WideView whole = path;
  size_t start = 0;
  if (whole.starts_with(TEXT("\\\\"))) {
    const size_t server = whole.find('\\', 2);
    if (server == WideView::npos || server == 2 || whole.substr(server + 1, 1) == TEXT("\\"))
      return nullptr;
    start = server + 1;
  }
  const size_t slash = whole.find('\\', start);
  return slash == WideView::npos ? nullptr : path + slash;
}

// The buffers of one DeleteTree, on the heap because the recursion is as deep as the tree.
struct TreeBuffers {
  std::unique_ptr<WCHAR[]> path;
  std::unique_ptr<WIN32_FIND_DATAW> entry;

  BOOL Allocate(Quiet quiet) {
    path.reset(new (std::nothrow) WCHAR[MAX_PATH]);
    if (path == nullptr) return Fail(TEXT("could not allocate MAX_PATH buffer"), quiet);
    entry.reset(new (std::nothrow) WIN32_FIND_DATAW);
    if (entry == nullptr) return Fail(TEXT("could not allocate WIN32_FIND_DATA"), quiet);
    return TRUE;
  }

 private:
  static BOOL Fail(LPCWSTR what, Quiet quiet) {
    if (quiet == Quiet::kNo) ShowInternalError(what);
    return FALSE;
  }
};

// Deletes the listed file by its long name, which is left in `path`, else by its short one.
BOOL RemoveEntry(LPCWSTR directory, const WIN32_FIND_DATAW& entry, LPWSTR path) {
  const BOOL fits = PathJoin(directory, entry.cFileName, path, MAX_PATH);
  if (fits && RemoveFile(path, Quiet::kYes)) return TRUE;
  const DWORD error = fits ? GetLastError() : ERROR_FILENAME_EXCED_RANGE;
  WCHAR shortPath[MAX_PATH];
  if (entry.cAlternateFileName[0] != 0 &&
      PathJoin(directory, entry.cAlternateFileName, shortPath, MAX_PATH) &&
      RemoveFile(shortPath, Quiet::kYes)) {
    return TRUE;
  }
  SetLastError(error);
  return FALSE;
}

}  // namespace

BOOL CreateOneDirectory(LPCWSTR path, Quiet quiet) {
  if (CreateDirectoryW(path, nullptr)) return TRUE;
  const DWORD error = GetLastError();
  if (error == ERROR_ALREADY_EXISTS) return TRUE;
  if (quiet == Quiet::kNo) ShowError(IDS_DIRECTORY_NOT_CREATED, path);
  SetLastError(error);
  return FALSE;
}

BOOL CreateDirectoryTree(LPCWSTR path, Expand expand, Quiet quiet) {
  if (View(path).empty()) return TRUE;
  std::unique_ptr<WCHAR[]> expanded;
  if (expand == Expand::kYes) {
    expanded = MyExpandEnvironmentStrings(path);
    if (expanded == nullptr) return FALSE;
    path = expanded.get();
  }
  WCHAR full[MAX_PATH];
  if (!MakeFullPath(path, full)) return FALSE;
  if (DirectoryExists(full)) return TRUE;
  LPWSTR slash = EndOfRoot(full);
  if (slash == nullptr) return FALSE;
  for (++slash; *slash != 0; ++slash) {
    if (*slash != '\\') continue;
    *slash = 0;
    const BOOL made = DirectoryExists(full) || CreateOneDirectory(full, quiet);
    *slash = '\\';
    if (!made) return FALSE;
  }
  return CreateOneDirectory(full, quiet);
}

BOOL IsDirectoryEmpty(LPCWSTR directory) {
  WCHAR pattern[MAX_PATH];
  WIN32_FIND_DATAW entry;
  return PathJoin(directory, kEverything, pattern, MAX_PATH) &&
         Walk(pattern, entry, [] { return false; }) == WalkEnd::kComplete;
}

int CopyDirectory(LPCWSTR source, LPCWSTR target, Recurse recurse) {
  WCHAR listed[MAX_PATH], pattern[MAX_PATH], directory[MAX_PATH], from[MAX_PATH], to[MAX_PATH];
  // The full path has the directory that a pattern in the current one leaves out.
  if (!MakeListPattern(source, listed) || !MakeFullPath(listed, pattern)) return -1;
  CopyStringW(directory, pattern);
  directory[GetFileName(directory) - directory] = 0;

  int count = 0;
  WIN32_FIND_DATAW entry;
  const auto fail = [&] {
    ShowError(IDS_COPY_FAILED, entry.cFileName, to);
    return false;
  };
  // Forms both paths of the entry; a name that does not fit fails as a copy.
  const auto join = [&] {
    const BOOL fits = PathJoin(target, entry.cFileName, to, MAX_PATH);
    return PathJoin(directory, entry.cFileName, from, MAX_PATH) && fits;
  };
  const auto copyFile = [&] {
    if (IsDirectoryEntry(entry)) return true;
    if (!join() || !CopyFileW(from, to, FALSE)) return fail();
    ++count;
    return true;
  };
  if (!IsComplete(Walk(pattern, entry, copyFile), Quiet::kNo)) return -1;
  if (recurse == Recurse::kNo) return count;
  const auto copyDirectory = [&] {
    if (!IsDirectoryEntry(entry)) return true;
    if (!join()) return fail();
    CreateDirectoryW(to, nullptr);
    const int copied = CopyDirectory(from, to, recurse);
    count += copied;
    return copied >= 0;
  };
  return IsComplete(Walk(pattern, entry, copyDirectory), Quiet::kNo) ? count : -1;
}

BOOL DeleteTree(LPCWSTR directory, FilesOnly filesOnly, Quiet quiet) {
  TreeBuffers buffers;
  WCHAR pattern[MAX_PATH];
  if (!buffers.Allocate(quiet) || !PathJoin(directory, kEverything, pattern, MAX_PATH))
    return FALSE;
  const LPWSTR path = buffers.path.get();
  WIN32_FIND_DATAW& entry = *buffers.entry;

  int failures = 0;
  const auto removeFile = [&] {
    if (IsDirectoryEntry(entry) || RemoveEntry(directory, entry, path)) return true;
    ++failures;
    if (quiet == Quiet::kYes) return true;
    WCHAR reason[kErrorTextCapacity];
    GetLastErrorSuffix(reason, kErrorTextCapacity);
    ShowError(IDS_FILE_NOT_DELETED, path, reason);
    return false;
  };
  if (!IsComplete(Walk(pattern, entry, removeFile), quiet)) return FALSE;
  if (filesOnly == FilesOnly::kYes) return TRUE;

  const auto removeDirectory = [&] {
    return !IsDirectoryEntry(entry) || (PathJoin(directory, entry.cFileName, path, MAX_PATH) &&
                                        DeleteTree(path, FilesOnly::kNo, Quiet::kNo));
  };
  if (!IsComplete(Walk(pattern, entry, removeDirectory), quiet) || failures != 0) return FALSE;
  RemoveDirectoryW(directory);
  return TRUE;
}

BOOL ResetSecurityTree(LPCWSTR path) {
  if (startupContext.platform.ntKind == 0) return FALSE;
  const auto setSecurity =
      FindProc<decltype(&SetNamedSecurityInfoW)>(TEXT("advapi32.dll"), "SetNamedSecurityInfoW");
  if (setSecurity == nullptr) return FALSE;
  // No DACL at all grants everyone full access.
  if (setSecurity(const_cast<LPWSTR>(path), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                  nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
    return FALSE;
  }
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return FALSE;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return TRUE;
  WCHAR pattern[MAX_PATH], child[MAX_PATH];
  WIN32_FIND_DATAW entry;
  return PathJoin(path, kEverything, pattern, MAX_PATH) &&
         Walk(pattern, entry, [&] {
           return PathJoin(path, entry.cFileName, child, MAX_PATH) && ResetSecurityTree(child);
         }) == WalkEnd::kComplete;
}

}  // namespace kv
