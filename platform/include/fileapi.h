// Files and directories.
#pragma once

#include <minwinbase.h>

#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)
#define INVALID_FILE_SIZE ((DWORD)0xFFFFFFFF)
#define INVALID_SET_FILE_POINTER ((DWORD)-1)
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2

#define FILE_READ_DATA 0x0001
#define FILE_WRITE_DATA 0x0002
#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004

#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_SYSTEM 0x00000004
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400

// What a listing tells of a link, in dwReserved0.
#define IO_REPARSE_TAG_SYMLINK 0xA000000C
#define IsReparseTagNameSurrogate(tag) ((tag)&0x20000000)

#define FILE_FLAG_WRITE_THROUGH 0x80000000
#define FILE_FLAG_RANDOM_ACCESS 0x10000000
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000

#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5

typedef enum _GET_FILEEX_INFO_LEVELS {
  GetFileExInfoStandard,
  GetFileExMaxInfoLevel
} GET_FILEEX_INFO_LEVELS;

typedef struct _WIN32_FILE_ATTRIBUTE_DATA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
} WIN32_FILE_ATTRIBUTE_DATA;
static_assert(sizeof(WIN32_FILE_ATTRIBUTE_DATA) == 36);

typedef struct _BY_HANDLE_FILE_INFORMATION {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD dwVolumeSerialNumber;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD nNumberOfLinks;
  DWORD nFileIndexHigh;
  DWORD nFileIndexLow;
} BY_HANDLE_FILE_INFORMATION, *LPBY_HANDLE_FILE_INFORMATION;
static_assert(sizeof(BY_HANDLE_FILE_INFORMATION) == 52);

extern "C" {
// Attributes: read-only, hidden, system and archive are kept for files; directories and links have
// none of them, and SetFileAttributesW takes only "normal" for these. The host's symbolic links are
// the machine's, as far as they lead somewhere.
DWORD WINAPI GetFileAttributesW(LPCWSTR path);
BOOL WINAPI GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information);
BOOL WINAPI SetFileAttributesW(LPCWSTR path, DWORD attributes);
// A directory is opened with FILE_FLAG_BACKUP_SEMANTICS and no access at all, to ask which it is.
HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                          DWORD disposition, DWORD flags, HANDLE model);
BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                      LPOVERLAPPED overlapped);
BOOL WINAPI GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
DWORD WINAPI GetFileSize(HANDLE file, LPDWORD size_high);
BOOL WINAPI GetFileInformationByHandle(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information);
DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, PLONG distance_high, DWORD method);
BOOL WINAPI SetEndOfFile(HANDLE file);
BOOL WINAPI CopyFileW(LPCWSTR from, LPCWSTR to, BOOL fail_if_exists);
BOOL WINAPI DeleteFileW(LPCWSTR path);
BOOL WINAPI CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes);
BOOL WINAPI RemoveDirectoryW(LPCWSTR path);
DWORD WINAPI GetTempPathW(DWORD capacity, LPWSTR buffer);
// Makes the empty file "DIRECTORY\PREnnnn.tmp" and writes its path into `path` (MAX_PATH
// characters); ERROR_CALL_NOT_IMPLEMENTED for a number of the caller's own.
UINT WINAPI GetTempFileNameW(LPCWSTR directory, LPCWSTR prefix, UINT unique, LPWSTR path);
// Both return the length without the terminator, or the capacity needed for a buffer that is too
// small (which stays as it is), or 0.
DWORD WINAPI GetFullPathNameW(LPCWSTR path, DWORD capacity, LPWSTR buffer, LPWSTR* file_part);
DWORD WINAPI GetShortPathNameW(LPCWSTR path, LPWSTR buffer, DWORD capacity);
// What the pattern's last component matches, by long or short name, in the order of the names.
HANDLE WINAPI FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data);
BOOL WINAPI FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW data);
BOOL WINAPI FindClose(HANDLE search);
}
