// Shell shortcuts (.lnk files) through the platform's shell-link object.
//
// The calling thread has initialised COM. Texts are cut to the caller's capacity, in characters
// with the terminator; one below 1 takes nothing and fails. Nothing is reported; the COM calls
// leave no last error.
#pragma once

#include <shlobj.h>

#include "runtime/core/flags.h"
#include "runtime/core/win.h"
#include "runtime/files/com_reference.h"

namespace kv {

enum class Access : bool { kRead, kWrite };
enum class RunAsAdministrator : bool { kNo, kYes };

// What Save writes; null texts are left out.
struct ShortcutContents {
  LPCWSTR target = nullptr;  // a file, a directory or an address; what the object has when null
  LPCWSTR workingDirectory = nullptr;
  int showCommand = SW_SHOWNORMAL;
  LPCWSTR arguments = nullptr;
  LPCWSTR iconFile = nullptr;
  int iconIndex = 0;
  LPCWSTR description = nullptr;
  RunAsAdministrator runAsAdministrator = RunAsAdministrator::kNo;
};

class CShellLink {
 public:
  // A new object; with a file (not null or empty) it is loaded.
  explicit CShellLink(LPCWSTR file = nullptr, Access access = Access::kRead);
  ~CShellLink();
  CShellLink(const CShellLink&) = delete;
  CShellLink& operator=(const CShellLink&) = delete;

  // Whether the object can be used: it could be made, and the file, when one was given, was loaded.
  BOOL ready() const { return ready_; }

  // TRUE when the file was read as a shortcut; else what the object holds is the system's choice.
  // Whether it is ready stays as it was.
  BOOL Load(LPCWSTR file, Access access);

  // Each empties its output first and returns TRUE when it got the text; FALSE when not ready.
  BOOL GetArguments(WCHAR (&text)[256]) const;
  BOOL GetDescription(WCHAR (&text)[256]) const;
  BOOL GetWorkingDirectory(LPWSTR text, int capacity) const;
  // `index` is -1 unless the object gives one.
  BOOL GetIconLocation(WCHAR (&file)[MAX_PATH], int& index) const;
  // The target's path; FALSE for a target that is no file or directory.
  BOOL GetPath(LPWSTR path, int capacity) const;
  // SW_SHOWNORMAL unless the object gives one.
  BOOL GetShowCmd(int& show) const;

  // Writes the shortcut. A link (IsLinkTarget) without an icon file shows the icon of the program
  // that opens ".htm". On Windows Vista (NT generation 5, no later and no server one) a shortcut
  // that is to run as administrator is marked so; when its target is no ".exe" it points to the
  // program of the target's open command with the target as its argument, or, when that command
  // does not quote its program, to the target itself. FALSE, with the file as it was, when not
  // ready and when the object does not take the target; FALSE also when the file cannot be written.
  BOOL Save(LPCWSTR file, const ShortcutContents& contents);

  // TRUE when the target lies inside the special folder (a CSIDL_ number) or is that folder. A
  // given `name` is emptied first and gets the target's name relative to the folder.
  BOOL IsInSpecialFolder(int folder, LPWSTR name, int capacity) const;

 private:
  BOOL SetTarget(const ShortcutContents& contents);
  void SetIcon(const ShortcutContents& contents);

  ComReference<IShellLinkW> shellLink_;
  ComReference<IPersistFile> persistFile_;
  ComReference<IShellLinkDataList> dataList_;
  BOOL ready_ = FALSE;
};

// IsInSpecialFolder of the shortcut in `file`.
BOOL GetShortcutFolderName(LPCWSTR file, int folder, LPWSTR name, int capacity);
// The address of a shortcut to the Internet, the name of a shortcut's printer.
BOOL GetShortcutInternetName(LPCWSTR file, LPWSTR name, int capacity);
BOOL GetShortcutPrinterName(LPCWSTR file, LPWSTR name, int capacity);

}  // namespace kv
