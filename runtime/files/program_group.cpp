#include "runtime/files/program_group.h"

#include <memory>
#include <new>

#include "runtime/files/file_list.h"
#include "runtime/files/file_report.h"
#include "runtime/files/paths.h"
#include "runtime/files/shell_link.h"
#include "runtime/files/special_folders.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Whether the file is a shortcut to a program of that name.
BOOL IsShortcutTo(CShellLink& link, LPCWSTR file, LPCWSTR program) {
  WCHAR target[MAX_PATH];
  return file != nullptr && link.Load(file, Access::kRead) && link.GetPath(target, MAX_PATH) &&
         EqualAsciiNoCase(View(GetFileName(target)), View(program));
}

BOOL HoldsShortcutTo(CFileList& group, LPCWSTR directory, CShellLink& link, LPCWSTR program) {
  group.Scan(directory, TRUE, TRUE);
  for (int i = 0; i < group.count(); ++i) {
    if (IsShortcutTo(link, group.GetPath(i), program)) return TRUE;
  }
  return FALSE;
}

// The path of the first directory of the menu with a shortcut to the program; null when there is
// none. It lies in `menu`.
LPCWSTR FindGroup(CFileList& menu, CFileList& items, CShellLink& link, LPCWSTR program) {
  for (int i = 0; i < menu.count(); ++i) {
    const LPCWSTR directory = menu.GetPath(i);
    if (directory == nullptr || !IsDirectory(directory)) continue;
    if (HoldsShortcutTo(items, directory, link, program)) return directory;
  }
  return nullptr;
}

}  // namespace

BOOL FindProgramGroup(HKEY root, LPCWSTR program, LPWSTR group, int capacity) {
  if (capacity < 1) return FALSE;
  WCHAR wanted[MAX_PATH], programs[MAX_PATH];
  CopyStringW(wanted, View(program).size() < MAX_PATH ? program : nullptr);
  group[0] = 0;
  if (wanted[0] == 0 || !GetShellFolder(root, TEXT("Programs"), programs, Expand::kYes) ||
      !IsDirectory(programs)) {
    return FALSE;
  }
  CShellLink link;
  if (!link.ready()) return FALSE;
  const std::unique_ptr<CFileList> menu(new (std::nothrow) CFileList);
  const std::unique_ptr<CFileList> items(new (std::nothrow) CFileList);
  if (menu == nullptr || items == nullptr) return ReportNoMemory(TEXT("FindProgramGroup"));
  menu->Scan(programs, TRUE, TRUE);
  CopyStringW(group, capacity, FindGroup(*menu, *items, link, wanted));
  return group[0] != 0;
}

}  // namespace kv
