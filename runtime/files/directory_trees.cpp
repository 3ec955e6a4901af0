// Removing directories with all they hold, and opening them to everyone.
#include <aclapi.h>

#include <memory>
#include <new>

#include "resources/string_ids.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/directories.h"
#include "runtime/files/directory_walk.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_identity.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The full path of what is to be treated as a tree; FALSE for what is none.
BOOL MakeTreePath(LPCWSTR path, WCHAR (&full)[MAX_PATH]) {
  if (View(path).empty()) return FailWith(ERROR_PATH_NOT_FOUND);
  // A drive alone is the directory that is current there, but its root in front of a name.
  if (View(path).ends_with(':')) return FailWith(ERROR_ACCESS_DENIED);
  if (!MakeFullPath(path, full)) return FALSE;
  const LPCWSTR root = EndOfRoot(full);
  return (root != nullptr && root[1] != 0) || FailWith(ERROR_ACCESS_DENIED);
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
    return quiet == Quiet::kNo ? ReportNoMemory(what) : FailWith(ERROR_NOT_ENOUGH_MEMORY);
  }
};

// Deletes the listed file by its long name, which is left in `path`, else by its short one.
BOOL RemoveEntry(LPCWSTR directory, const WIN32_FIND_DATAW& entry, LPWSTR path) {
  const BOOL fits = PathJoin(directory, entry.cFileName, path, MAX_PATH);
  if (fits && RemoveFile(path, Quiet::kYes)) return TRUE;
  const DWORD error = GetLastError();
  WCHAR shortPath[MAX_PATH];
  if (entry.cAlternateFileName[0] != 0 &&
      PathJoin(directory, entry.cAlternateFileName, shortPath, MAX_PATH) &&
      RemoveFile(shortPath, Quiet::kYes)) {
    return TRUE;
  }
  return FailWith(error);
}

// Reports that `path` could not be deleted, with the system's reason, and keeps the last error.
BOOL ReportNotDeleted(LPCWSTR path) {
  return ReportFileError(IDS_FILE_NOT_DELETED, path, GetLastError());
}

BOOL RemoveLink(LPCWSTR path, Quiet quiet) {
  if (RemoveDirectoryW(path) || MeansMissing(GetLastError())) return TRUE;
  return quiet == Quiet::kNo ? ReportNotDeleted(path) : FALSE;
}

BOOL EmptyAndRemove(LPCWSTR directory, FilesOnly filesOnly, Quiet quiet);

// Removes the listed directory with all it holds, or the link to it; TRUE also when it is gone.
BOOL RemoveSubdirectory(LPCWSTR directory, const WIN32_FIND_DATAW& entry, LPWSTR path) {
  if (!PathJoin(directory, entry.cFileName, path, MAX_PATH)) return FALSE;
  if (IsLinkEntry(entry)) return RemoveLink(path, Quiet::kNo);
  if (EmptyAndRemove(path, FilesOnly::kNo, Quiet::kNo)) return TRUE;
  const DWORD error = GetLastError();
  return IsMissing(path) || FailWith(error);
}

BOOL EmptyAndRemove(LPCWSTR directory, FilesOnly filesOnly, Quiet quiet) {
  TreeBuffers buffers;
  WCHAR pattern[MAX_PATH];
  if (!buffers.Allocate(quiet) || !PathJoin(directory, kEverything, pattern, MAX_PATH))
    return FALSE;
  const LPWSTR path = buffers.path.get();
  WIN32_FIND_DATAW& entry = *buffers.entry;

  bool failed = false;
  DWORD failure = ERROR_SUCCESS;
  const auto removeFile = [&] {
    if (IsDirectoryEntry(entry) || RemoveEntry(directory, entry, path)) return true;
    failed = true;
    failure = GetLastError();
    if (quiet == Quiet::kNo) ReportNotDeleted(path);
    return quiet == Quiet::kYes;
  };
  if (!IsComplete(Walk(pattern, entry, removeFile), quiet)) return FALSE;
  if (filesOnly == FilesOnly::kYes) return TRUE;

  const auto removeDirectory = [&] {
    return !IsDirectoryEntry(entry) || RemoveSubdirectory(directory, entry, path);
  };
  if (!IsComplete(Walk(pattern, entry, removeDirectory), quiet)) return FALSE;
  if (failed) return FailWith(failure);
  RemoveDirectoryW(directory);
  return TRUE;
}

// Whether the path names a link to a directory; it loses a backslash at its end, behind which the
// system would look.
bool IsDirectoryLink(WCHAR (&path)[MAX_PATH]) {
  const size_t length = View(path).size();
  if (path[length - 1] == '\\') path[length - 1] = 0;
  const DWORD attributes = GetFileAttributesW(path);
  constexpr DWORD kDirectoryLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & kDirectoryLink) != kDirectoryLink) {
    return false;
  }
  WIN32_FIND_DATAW entry;
  return UniqueFindHandle(FindFirstFileW(path, &entry)) && IsLinkEntry(entry);
}

using SetSecurity = decltype(&SetNamedSecurityInfoW);

BOOL ResetSecurity(SetSecurity setSecurity, LPWSTR path) {
  // No DACL at all grants everyone full access.
  const DWORD error = setSecurity(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                  nullptr, nullptr);
  if (error != ERROR_SUCCESS) return FailWith(error);
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return FALSE;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return TRUE;
  WCHAR pattern[MAX_PATH], child[MAX_PATH];
  WIN32_FIND_DATAW entry;
  const auto resetEntry = [&] {
    if (IsLinkEntry(entry)) return true;
    if (!PathJoin(path, entry.cFileName, child, MAX_PATH)) return false;
    return ResetSecurity(setSecurity, child) || MeansMissing(GetLastError());
  };
  return PathJoin(path, kEverything, pattern, MAX_PATH) &&
         Walk(pattern, entry, resetEntry) == WalkEnd::kComplete;
}

}  // namespace

BOOL DeleteTree(LPCWSTR directory, FilesOnly filesOnly, Quiet quiet) {
  WCHAR full[MAX_PATH];
  if (!MakeTreePath(directory, full)) return FALSE;
  if (filesOnly == FilesOnly::kNo && IsDirectoryLink(full)) return RemoveLink(full, quiet);
  return EmptyAndRemove(full, filesOnly, quiet);
}

BOOL ResetSecurityTree(LPCWSTR path) {
  if (startupContext.platform.ntKind == 0) return FailWith(ERROR_CALL_NOT_IMPLEMENTED);
  WCHAR full[MAX_PATH];
  const auto setSecurity = FindProc<SetSecurity>(TEXT("advapi32.dll"), "SetNamedSecurityInfoW");
  if (!MakeTreePath(path, full)) return FALSE;
  return setSecurity != nullptr ? ResetSecurity(setSecurity, full) : FailWith(ERROR_PROC_NOT_FOUND);
}

}  // namespace kv
