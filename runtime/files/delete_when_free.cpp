#include "runtime/files/delete_when_free.h"

#include <algorithm>

#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/ansi_text.h"
#include "runtime/files/file.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_identity.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/files/temp_names.h"
#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

bool IsTextOf(const CHAR* bytes, int size, UINT codePage, WideView text) {
  WCHAR wide[MAX_PATH];
  const int length = MultiByteToWideChar(codePage, 0, bytes, size, wide, MAX_PATH);
  return WideView(wide, length) == text;
}

// The script is written in the ANSI code page, but shells take it for one in the OEM code page.
bool MeansTheSameToShells(WideView text) {
  if (std::all_of(text.begin(), text.end(), [](WCHAR c) { return c < 0x80; })) return true;
  int size = 0;
  const std::unique_ptr<CHAR[]> bytes = ToAnsi(text, &size);
  return bytes != nullptr && IsTextOf(bytes.get(), size, CP_ACP, text) &&
         IsTextOf(bytes.get(), size, CP_OEMCP, text);
}

// Whether shells read the path, in quotes and with its percent signs doubled, as it is meant:
// without wildcards, and without exclamation marks, between which some look for variables.
bool CanStandInScript(WideView path) {
  const bool isPlain = std::all_of(path.begin(), path.end(), [](WCHAR c) {
    return c >= ' ' && WideView(TEXT("\"*?<>|!")).find(c) == WideView::npos;
  });
  return isPlain && path.find(':', 2) == WideView::npos && MeansTheSameToShells(path);
}

// Whether the path can be a command line as it is.
bool CanBeCommandLine(WideView path) {
  return std::all_of(path.begin(), path.end(), [](WCHAR c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           WideView(TEXT("\\:._-~#$")).find(c) != WideView::npos;
  });
}

// The path, or its short form, that serves; null (ERROR_INVALID_NAME) when neither does.
LPCWSTR FindForm(LPCWSTR path, bool (*serves)(WideView), WCHAR (&buffer)[MAX_PATH]) {
  if (serves(path)) return path;
  const LPCWSTR shortened = ShortPath(path, buffer);
  if (serves(shortened)) return shortened;
  SetLastError(ERROR_INVALID_NAME);
  return nullptr;
}

// A path as it is written in a script, where two percent signs stand for one.
struct EscapedPath {
  WCHAR text[2 * MAX_PATH];

  explicit EscapedPath(WideView path) {
    LPWSTR end = text;
    for (const WCHAR c : path) {
      *end++ = c;
      if (c == '%') *end++ = c;
    }
    *end = 0;
  }
};

BOOL WriteScript(LPCWSTR script, LPCWSTR path) {
  WCHAR buffer[MAX_PATH];
  const LPCWSTR own = FindForm(script, CanStandInScript, buffer);
  if (own == nullptr) return FALSE;
  const EscapedPath file(path), itself(own);
  File out;
  return out.Create(script, Quiet::kNo) && out.WriteStringA("\t@echo off\r\n") &&
         out.WriteStringA(":LOOP\r\n") &&
         out.printf(TEXT("\tif not exist \"%s\" goto DONE\r\n"), file.text) &&
         out.printf(TEXT("\tdel \"%s\"\r\n"), file.text) && out.WriteStringA("\tgoto LOOP\r\n") &&
         out.WriteStringA(":DONE\r\n") && out.printf(TEXT("\tdel \"%s\"\r\n"), itself.text);
}

BOOL StartScript(LPCWSTR script) {
  WCHAR buffer[MAX_PATH], commandLine[MAX_PATH + 20];  // the system may write into it
  const LPCWSTR command = FindForm(script, CanBeCommandLine, buffer);
  if (command == nullptr) return FALSE;
  const bool isNt = startupContext.platform.ntKind != 0;
  FormatText(commandLine, isNt ? TEXT("%s") : TEXT("command.com /c %s"), command);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION information = {};
  if (!CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE,
                      CREATE_SUSPENDED | IDLE_PRIORITY_CLASS, nullptr, nullptr, &startup,
                      &information)) {
    return FALSE;
  }
  const UniqueHandle process(information.hProcess), thread(information.hThread);
  SetThreadPriority(thread.Get(), THREAD_PRIORITY_IDLE);
  if (ResumeThread(thread.Get()) != static_cast<DWORD>(-1)) return TRUE;
  const DWORD error = GetLastError();
  TerminateProcess(process.Get(), 1);
  return FailWith(error);
}

}  // namespace

BOOL DeleteWhenFree(LPCWSTR path) {
  WCHAR full[MAX_PATH], buffer[MAX_PATH], script[MAX_PATH];
  if (!MakeFullPath(path, full)) return FALSE;
  const DWORD attributes = GetFileAttributesW(full);
  const bool isThere = attributes != INVALID_FILE_ATTRIBUTES;
  if (!isThere && !MeansMissing(GetLastError())) return FALSE;
  // The shell would take a directory for all that it holds.
  if (isThere && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FailWith(ERROR_ACCESS_DENIED);
  const LPCWSTR form = FindForm(full, CanStandInScript, buffer);
  if (form == nullptr || !MakeTempNameWithExt(nullptr, TEXT(".bat"), script)) return FALSE;
  if (WriteScript(script, form) && StartScript(script)) {
    // What is read-only or hidden the shell would not delete, and try for ever.
    if (isThere) SetFileAttributesW(full, FILE_ATTRIBUTE_NORMAL);
    return TRUE;
  }
  const DWORD error = GetLastError();
  RemoveFile(script, Quiet::kYes);
  return FailWith(error);
}

}  // namespace kv
