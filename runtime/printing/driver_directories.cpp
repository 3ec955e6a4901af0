#include "runtime/printing/driver_directories.h"

#include "runtime/core/startup_context.h"
#include "runtime/files/link_target.h"
#include "runtime/files/paths.h"
#include "runtime/printing/printer_info.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The directory below the environment's in which the running system looks for drivers.
LPCWSTR VersionDirectory() {
  switch (startupContext.platform.ntKind) {
    case 0:
      return TEXT("");
    case kNt4:
      return TEXT("\\2");
    default:
      return TEXT("\\3");
  }
}

// Null where there is none.
LPCWSTR ServerShareFormat() {
  const LPCWSTR environment = GetNativePrintEnvironment();
  if (environment == nullptr) return nullptr;
  if (View(environment) == TEXT("Windows x64")) return TEXT("\\\\%s\\print$\\x64\\3");
  switch (startupContext.platform.ntKind) {
    case 0:
      return TEXT("\\\\%s\\print$\\win40\\0");
    case kNt4:
      return TEXT("\\\\%s\\print$\\w32x86\\2");
    default:
      return TEXT("\\\\%s\\print$\\w32x86\\3");
  }
}

WCHAR Refuse(DWORD error, WCHAR (&path)[MAX_PATH]) {
  path[0] = 0;
  SetLastError(error);
  return 0;
}

// The file in the directory, or the directory itself without one.
WCHAR JoinFile(const WCHAR (&directory)[MAX_PATH], LPCWSTR file, WCHAR (&path)[MAX_PATH]) {
  WCHAR joined[MAX_PATH];
  if (View(file).empty()) {
    CopyStringW(joined, directory);
  } else if (!PathJoin(directory, file, joined, MAX_PATH)) {
    return Refuse(ERROR_FILENAME_EXCED_RANGE, path);
  }
  CopyStringW(path, joined);
  return path[0];
}

}  // namespace

WCHAR GetDriverDirectory(LPCWSTR environment, LPCWSTR file, WCHAR (&path)[MAX_PATH]) {
  if (IsLinkTarget(file)) {
    if (View(file).size() >= MAX_PATH) return Refuse(ERROR_FILENAME_EXCED_RANGE, path);
    CopyStringW(path, file);
    return path[0];
  }
  WCHAR directory[MAX_PATH] = {};
  DWORD needed = 0;
  if (!GetPrinterDriverDirectoryW(nullptr, const_cast<LPWSTR>(environment), 1,
                                  reinterpret_cast<BYTE*>(directory), sizeof(directory), &needed)) {
    const DWORD error = GetLastError();
    return Refuse(error == ERROR_INSUFFICIENT_BUFFER ? ERROR_FILENAME_EXCED_RANGE : error, path);
  }
  // Joined with nothing the file would lie in the root of the current drive.
  if (directory[0] == 0) return Refuse(ERROR_PATH_NOT_FOUND, path);
  if (!AppendText(directory, MAX_PATH, TEXT("%s"), VersionDirectory())) {
    return Refuse(ERROR_FILENAME_EXCED_RANGE, path);
  }
  return JoinFile(directory, file, path);
}

WCHAR GetProductDriverDirectory(LPCWSTR file, WCHAR (&path)[MAX_PATH]) {
  return GetDriverDirectory(startupContext.printEnvironment, file, path);
}

WCHAR GetNativeDriverDirectory(LPCWSTR file, WCHAR (&path)[MAX_PATH]) {
  const BOOL isWow64 = startupContext.platform.wow64Arch != 0;
  return GetDriverDirectory(isWow64 ? TEXT("Windows x64") : GetPrintEnvironment(), file, path);
}

WCHAR GetServerDriverShare(LPCWSTR server, LPCWSTR file, WCHAR (&path)[MAX_PATH]) {
  const LPCWSTR format = ServerShareFormat();
  WCHAR share[MAX_PATH];
  if (format == nullptr) return Refuse(ERROR_INVALID_ENVIRONMENT, path);
  if (View(server).empty()) return Refuse(ERROR_INVALID_PARAMETER, path);
  if (!FormatText(share, format, server)) return Refuse(ERROR_FILENAME_EXCED_RANGE, path);
  return JoinFile(share, file, path);
}

}  // namespace kv
