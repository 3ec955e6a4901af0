// Starting other programs, with or without the powers of an administrator, and the end of the
// machine's run.
//
// A show command is the platform's SW_ value. A command line begins with the program, in quotes
// when its path holds blanks. Every handle that a function opens is closed by it.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/core/win.h"

namespace kv {

// Whether a function returns only when the started program has ended.
enum class Wait : bool { kNo, kYes };

// Starts a program, trying up to `attempts` times (at least one) with 3000 ms between two tries.
// With `wait` the thread's messages are handled until the program has ended, `timeout`
// (milliseconds, INFINITE allowed) is over or the thread is told to quit; the program runs on in
// the last two cases. *exitCode (may be null) gets its exit code, STILL_ACTIVE (259) while it runs,
// 0 when it was not started. TRUE when it was started; else FALSE, reported unless quiet, with the
// last error of the last try, ERROR_INVALID_PARAMETER without any and ERROR_NOT_ENOUGH_MEMORY
// without memory.
BOOL MyCreateProcess(LPCWSTR commandLine, int show, int attempts, Wait wait, DWORD timeout,
                     Quiet quiet, DWORD* exitCode);

// The same start, waiting behind a progress window (see WaitForMultipleObjectsWithProgress): TRUE
// when the program has ended, FALSE when it was not started (reported), the time ran out, the user
// cancelled or the window could not be made. Without a class name it is MyCreateProcess with a
// wait.
BOOL CreateProcessWithProgress(LPCWSTR commandLine, int show, int attempts, DWORD timeout,
                               LPCWSTR className, LPCWSTR title, LPCWSTR text, LPCWSTR cancelText);

// Has the shell apply `verb` ("open", "runas") to a file; parameters may be null. With `wait` the
// end of the program, if one was started, is waited for without handling messages. FALSE,
// unreported, with ShellExecuteExW's last error.
BOOL ShellRun(LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, int show, Wait wait);

// Runs a program with (`elevation` 1 or more) or without (0) the powers of an administrator, or as
// the caller runs (negative). Where the caller already has what is asked for, the program's end is
// waited for whatever `wait` says. TRUE on success.
BOOL RunWithElevation(LPCWSTR file, LPCWSTR parameters, int elevation, int show, Wait wait);

// Runs a program as the user of the desktop's shell, in the caller's session: from an elevated
// process it starts one that is not. `file` is not quoted for the caller. FALSE for an empty file,
// without a shell, and where the system or the caller's rights do not allow it; only an
// advapi32.dll that cannot be loaded is reported.
BOOL RunAsShellUser(LPCWSTR file, LPCWSTR parameters, int show, Wait wait);

// Ask the system to restart or to shut down. FALSE when the caller lacks the privilege; TRUE once
// asked, whatever the answer.
BOOL RestartWindows();
BOOL ShutDownWindows();

// The process's command line from its first argument on, which only blanks separate; empty when
// there is none. The system's, not to be freed or changed.
LPCWSTR GetCommandLineArguments();

// Let a 32-bit process on a 64-bit system see the real system directory, and end that again, on the
// calling thread. FALSE elsewhere, with an *oldValue of null.
BOOL DisableWow64FsRedirection(PVOID* oldValue);
BOOL RevertWow64FsRedirection(PVOID oldValue);

}  // namespace kv
