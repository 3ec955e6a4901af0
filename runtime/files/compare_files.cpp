#include "runtime/files/compare_files.h"

#include <string.h>

#include "runtime/files/mapped_file.h"

namespace kv {
namespace {

// TRUE for a regular file.
BOOL ReadFacts(LPCWSTR path, WIN32_FILE_ATTRIBUTE_DATA& facts) {
  return GetFileAttributesExW(path, GetFileExInfoStandard, &facts) &&
         (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

// 100 ns since 1601.
ULONGLONG ChangeTime(const WIN32_FILE_ATTRIBUTE_DATA& facts) {
  return (static_cast<ULONGLONG>(facts.ftLastWriteTime.dwHighDateTime) << 32) |
         facts.ftLastWriteTime.dwLowDateTime;
}

// Seconds since 1970, as a signed 32-bit number.
int ChangeSecond(const WIN32_FILE_ATTRIBUTE_DATA& facts) {
  constexpr ULONGLONG kSecond = 10'000'000, kUnixEpoch = 11'644'473'600;
  return static_cast<int>(ChangeTime(facts) / kSecond - kUnixEpoch);
}

int CompareBytes(LPCWSTR a, LPCWSTR b) {
  CMappedFile first, second;
  if (first.MapFile(a, CMappedFile::Access::kRead, 0, Quiet::kYes) == nullptr) return -1;
  if (second.MapFile(b, CMappedFile::Access::kRead, 0, Quiet::kYes) == nullptr) return -1;
  if (first.size() != second.size()) return 0;
  return memcmp(first.view(), second.view(), first.size()) == 0;
}

}  // namespace

int CompareFiles(LPCWSTR a, LPCWSTR b, CompareContents contents) {
  WIN32_FILE_ATTRIBUTE_DATA first, second;
  if (!ReadFacts(a, first) || !ReadFacts(b, second)) return -1;
  if (first.nFileSizeHigh != second.nFileSizeHigh || first.nFileSizeLow != second.nFileSizeLow)
    return 0;
  if (contents == CompareContents::kNo) return ChangeTime(first) == ChangeTime(second);
  // Sizes of mapped files have 32 bits.
  return first.nFileSizeHigh == 0 ? CompareBytes(a, b) : -1;
}

BOOL IsNewer(LPCWSTR a, LPCWSTR b) {
  WIN32_FILE_ATTRIBUTE_DATA first, second;
  return ReadFacts(a, first) && ReadFacts(b, second) && ChangeSecond(first) > ChangeSecond(second);
}

}  // namespace kv
