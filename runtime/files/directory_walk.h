// Going through what a directory holds.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/handles.h"
#include "runtime/core/win.h"
#include "runtime/files/file_list.h"
#include "runtime/files/file_report.h"

namespace kv {

// What a directory's name is joined with to list all it holds.
inline constexpr WCHAR kEverything[] = TEXT("*.*");

inline bool IsDirectoryEntry(const WIN32_FIND_DATAW& entry) {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

enum class WalkEnd {
  kNothingFound,  // the listing could not begin
  kStopped,       // by the visitor
  kFailed,        // by an error of the listing
  kComplete,
};

// Calls `visit` for each entry of `pattern` that is not "." or "..", until it answers false. The
// last error is that of what ended it.
template <class Visit>
WalkEnd Walk(LPCWSTR pattern, WIN32_FIND_DATAW& entry, Visit visit) {
  UniqueFindHandle search(FindFirstFileW(pattern, &entry));
  if (!search) return WalkEnd::kNothingFound;
  bool goesOn = true;
  do {
    goesOn = IsDotEntry(entry) || visit();
  } while (goesOn && FindNextFileW(search.Get(), &entry));
  const DWORD error = GetLastError();
  search.Reset();
  SetLastError(error);
  if (!goesOn) return WalkEnd::kStopped;
  return error == ERROR_NO_MORE_FILES ? WalkEnd::kComplete : WalkEnd::kFailed;
}

// TRUE when the walk went through; a listing that failed is reported unless quiet.
inline BOOL IsComplete(WalkEnd end, Quiet quiet) {
  if (end == WalkEnd::kFailed && quiet == Quiet::kNo) ReportFailedCall(TEXT("FindNextFile"));
  return end == WalkEnd::kComplete;
}

}  // namespace kv
