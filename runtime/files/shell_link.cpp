#include "runtime/files/shell_link.h"

#include <shlwapi.h>

#include "runtime/core/startup_context.h"
#include "runtime/files/item_lists.h"
#include "runtime/files/link_target.h"
#include "runtime/files/open_command.h"
#include "runtime/files/paths.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr SHGDNF kNameWithin = 0xA001;

BOOL Answered(HRESULT result) {
  return result == S_OK;
}

// The name that the folder of the list `folder` gives to `items`, which are relative to it; an
// empty one stays when there is none.
void NameInFolder(PCIDLIST_ABSOLUTE folder, PCUIDLIST_RELATIVE items, LPWSTR name, int capacity) {
  ComReference<IShellFolder> desktop, bound;
  STRRET text;
  if (Answered(SHGetDesktopFolder(desktop.Receive())) &&
      Answered(desktop.Get()->BindToObject(folder, nullptr, IID_IShellFolder,
                                           reinterpret_cast<void**>(bound.Receive()))) &&
      Answered(bound.Get()->GetDisplayNameOf(items, kNameWithin, &text))) {
    StrRetToBufW(&text, items, name, static_cast<UINT>(capacity));
  }
}

}  // namespace

CShellLink::CShellLink(LPCWSTR file, Access access) {
  CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                   reinterpret_cast<void**>(shellLink_.Receive()));
  persistFile_ = QueryFor<IPersistFile>(shellLink_, IID_IPersistFile);
  dataList_ = QueryFor<IShellLinkDataList>(shellLink_, IID_IShellLinkDataList);
  ready_ = shellLink_ && persistFile_;
  if (ready_ && !View(file).empty()) ready_ = Load(file, access);
}

CShellLink::~CShellLink() {
  persistFile_.Reset();
  dataList_.Reset();
  shellLink_.Reset();
}

BOOL CShellLink::Load(LPCWSTR file, Access access) {
  return persistFile_ && Answered(persistFile_.Get()->Load(
                             file, access == Access::kWrite ? STGM_READWRITE : STGM_READ));
}

BOOL CShellLink::GetArguments(WCHAR (&text)[256]) const {
  text[0] = 0;
  return ready_ && Answered(shellLink_.Get()->GetArguments(text, 256));
}

BOOL CShellLink::GetDescription(WCHAR (&text)[256]) const {
  text[0] = 0;
  return ready_ && Answered(shellLink_.Get()->GetDescription(text, 256));
}

BOOL CShellLink::GetWorkingDirectory(LPWSTR text, int capacity) const {
  if (capacity < 1) return FALSE;
  text[0] = 0;
  return ready_ && Answered(shellLink_.Get()->GetWorkingDirectory(text, capacity));
}

BOOL CShellLink::GetIconLocation(WCHAR (&file)[MAX_PATH], int& index) const {
  file[0] = 0;
  index = -1;
  return ready_ && Answered(shellLink_.Get()->GetIconLocation(file, MAX_PATH, &index));
}

BOOL CShellLink::GetPath(LPWSTR path, int capacity) const {
  if (capacity < 1) return FALSE;
  path[0] = 0;
  WIN32_FIND_DATAW scratch;
  return ready_ && Answered(shellLink_.Get()->GetPath(path, capacity, &scratch, 0));
}

BOOL CShellLink::GetShowCmd(int& show) const {
  show = SW_SHOWNORMAL;
  return ready_ && Answered(shellLink_.Get()->GetShowCmd(&show));
}

BOOL CShellLink::SetTarget(const ShortcutContents& contents) {
  IShellLinkW* const link = shellLink_.Get();
  LPCWSTR target = contents.target;
  LPCWSTR arguments = contents.arguments;
  WCHAR program[MAX_PATH];
  const bool marked = startupContext.platform.ntKind == kWindowsVista &&
                      contents.runAsAdministrator == RunAsAdministrator::kYes && dataList_;
  if (marked) {
    dataList_.Get()->SetFlags(SLDF_RUNAS_USER);
    const LPCWSTR extension = FindExtension(target);
    if (target != nullptr && !EqualAsciiNoCase(View(extension), TEXT(".exe")) &&
        GetQuotedOpenProgram(extension, program)) {
      arguments = target;
      target = program;
    }
  }
  if (target != nullptr && FAILED(link->SetPath(target))) return FALSE;
  if (contents.workingDirectory != nullptr) link->SetWorkingDirectory(contents.workingDirectory);
  link->SetShowCmd(contents.showCommand);
  if (arguments != nullptr) link->SetArguments(arguments);
  return TRUE;
}

void CShellLink::SetIcon(const ShortcutContents& contents) {
  IShellLinkW* const link = shellLink_.Get();
  if (contents.iconFile != nullptr) {
    link->SetIconLocation(contents.iconFile, contents.iconIndex);
  } else if (IsLinkTarget(contents.target)) {
    if (const auto browser = GetOpenCommandProgram(TEXT(".htm"))) {
      link->SetIconLocation(browser.get(), 0);
    }
  }
}

BOOL CShellLink::Save(LPCWSTR file, const ShortcutContents& contents) {
  if (!ready_ || !SetTarget(contents)) return FALSE;
  SetIcon(contents);
  if (contents.description != nullptr) shellLink_.Get()->SetDescription(contents.description);
  if (FAILED(persistFile_.Get()->Save(file, TRUE))) return FALSE;
  persistFile_.Get()->SaveCompleted(file);
  return TRUE;
}

BOOL CShellLink::IsInSpecialFolder(int folder, LPWSTR name, int capacity) const {
  if (capacity <= 0) name = nullptr;
  if (name != nullptr) name[0] = 0;
  if (!ready_) return FALSE;
  UniqueItemList target, place;
  if (!Answered(shellLink_.Get()->GetIDList(target.Receive())) ||
      !Answered(SHGetSpecialFolderLocation(nullptr, folder, place.Receive())) ||
      !ItemListStartsWith(target.Get(), place.Get())) {
    return FALSE;
  }
  if (name != nullptr) {
    const auto* const rest =
        reinterpret_cast<const BYTE*>(target.Get()) + ItemListSize(place.Get());
    NameInFolder(place.Get(), reinterpret_cast<PCUIDLIST_RELATIVE>(rest), name, capacity);
  }
  return TRUE;
}

BOOL GetShortcutFolderName(LPCWSTR file, int folder, LPWSTR name, int capacity) {
  return CShellLink(file, Access::kRead).IsInSpecialFolder(folder, name, capacity);
}

BOOL GetShortcutInternetName(LPCWSTR file, LPWSTR name, int capacity) {
  return GetShortcutFolderName(file, CSIDL_INTERNET, name, capacity);
}

BOOL GetShortcutPrinterName(LPCWSTR file, LPWSTR name, int capacity) {
  return GetShortcutFolderName(file, CSIDL_PRINTERS, name, capacity);
}

}  // namespace kv
