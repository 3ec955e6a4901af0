#include "runtime/files/delete_when_free.h"

#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/temp_names.h"
#include "runtime/text/format.h"

namespace kv {
namespace {

BOOL WriteScript(LPCWSTR script, LPCWSTR path) {
  File file;
  return file.Create(script, Quiet::kNo) && file.WriteStringA("\t@echo off\r\n") &&
         file.WriteStringA(":LOOP\r\n") &&
         file.printf(TEXT("\tif not exist \"%s\" goto DONE\r\n"), path) &&
         file.printf(TEXT("\tdel \"%s\"\r\n"), path) && file.WriteStringA("\tgoto LOOP\r\n") &&
         file.WriteStringA(":DONE\r\n") && file.printf(TEXT("\tdel \"%s\"\r\n"), script);
}

BOOL StartScript(LPCWSTR script) {
  WCHAR commandLine[MAX_PATH + 20];  // the system may write into it
  const bool isNt = startupContext.platform.ntKind != 0;
  if (!FormatText(commandLine, isNt ? TEXT("%s") : TEXT("command.com /c %s"), script)) return FALSE;
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
  const UniqueHandle thread(information.hThread);
  SetThreadPriority(thread.Get(), THREAD_PRIORITY_IDLE);
  CloseHandle(information.hProcess);
  return ResumeThread(thread.Get()) != static_cast<DWORD>(-1);
}

}  // namespace

BOOL DeleteWhenFree(LPCWSTR path) {
  WCHAR script[MAX_PATH];
  if (!MakeTempNameWithExt(nullptr, TEXT(".bat"), script)) return FALSE;
  if (WriteScript(script, path) && StartScript(script)) return TRUE;
  RemoveFile(script, Quiet::kYes);
  return FALSE;
}

}  // namespace kv
