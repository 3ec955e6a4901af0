// The shell's folders, special ones and others.
#include <shlobj.h>
#include <shlwapi.h>

#include "platform/kernel/buffer.h"
#include "platform/shell/com_object.h"
#include "platform/shell/item_list.h"

extern "C" {
const IID IID_IShellFolder = {0x000214E6, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

namespace platform {
namespace {

constexpr WCHAR kShellFolders[] =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");

// The special folders that are directories, by the names of their registry values.
struct DirectoryFolder {
  int number;
  HKEY root;
  LPCWSTR name;
};
const DirectoryFolder kDirectoryFolders[] = {
    {CSIDL_PROGRAMS, HKEY_CURRENT_USER, TEXT("Programs")},
    {CSIDL_PERSONAL, HKEY_CURRENT_USER, TEXT("Personal")},
    {CSIDL_STARTUP, HKEY_CURRENT_USER, TEXT("Startup")},
    {CSIDL_STARTMENU, HKEY_CURRENT_USER, TEXT("Start Menu")},
    {CSIDL_DESKTOPDIRECTORY, HKEY_CURRENT_USER, TEXT("Desktop")},
    {CSIDL_APPDATA, HKEY_CURRENT_USER, TEXT("AppData")},
    {CSIDL_LOCAL_APPDATA, HKEY_CURRENT_USER, TEXT("Local AppData")},
    {CSIDL_COMMON_STARTMENU, HKEY_LOCAL_MACHINE, TEXT("Common Start Menu")},
    {CSIDL_COMMON_PROGRAMS, HKEY_LOCAL_MACHINE, TEXT("Common Programs")},
    {CSIDL_COMMON_STARTUP, HKEY_LOCAL_MACHINE, TEXT("Common Startup")},
};

WideString RegistryText(HKEY root, LPCWSTR path, LPCWSTR name) {
  HKEY key;
  if (RegOpenKeyExW(root, path, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return {};
  WCHAR text[MAX_PATH + 1] = {};
  DWORD size = MAX_PATH * sizeof(WCHAR), type = 0;
  const LSTATUS status =
      RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
  RegCloseKey(key);
  return status == ERROR_SUCCESS && type == REG_SZ ? WideString(text) : WideString();
}

// Nothing for a number that is no special folder; an empty list for one that does not exist.
std::optional<ItemBytes> SpecialFolder(int number, bool& exists) {
  exists = true;
  switch (number) {
    case CSIDL_DESKTOP:
      return ItemBytes();
    case CSIDL_INTERNET:
      return InternetFolder();
    case CSIDL_PRINTERS:
      return PrintersFolder();
    case CSIDL_DRIVES:
      return ComputerFolder();
  }
  for (const DirectoryFolder& folder : kDirectoryFolders) {
    if (folder.number != number) continue;
    ItemBytes list = ListOfPath(RegistryText(folder.root, kShellFolders, folder.name));
    exists = !list.empty();
    return list;
  }
  return std::nullopt;
}

// The folder of an absolute list.
class Folder final : public ComObject<IShellFolder> {
 public:
  explicit Folder(ItemBytes place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    const bool known = id == IID_IUnknown || id == IID_IShellFolder;
    return HandOut(known ? this : nullptr, known ? this : nullptr, object);
  }
  HRESULT STDMETHODCALLTYPE BindToObject(PCUIDLIST_RELATIVE list, IBindCtx* context, REFIID id,
                                         void** object) override {
    *object = nullptr;
    KV_METHOD("IShellFolder::BindToObject", ERROR_OUTOFMEMORY);
    if (context != nullptr || SpanOf(list).empty()) return E_INVALIDARG;
    ItemBytes place = place_;
    const ItemSpan further = SpanOf(list);
    place.insert(place.end(), further.begin(), further.end());
    Folder* const folder = new Folder(std::move(place));
    const HRESULT result = folder->QueryInterface(id, object);
    folder->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE GetDisplayNameOf(PCUITEMID_CHILD item, SHGDNF flags,
                                             STRRET* name) override {
    KV_METHOD("IShellFolder::GetDisplayNameOf", ERROR_OUTOFMEMORY);
    if (flags != (SHGDN_INFOLDER | SHGDN_INCLUDE_NONFILESYS | SHGDN_FORPARSING)) {
      return E_INVALIDARG;
    }
    name->uType = STRRET_WSTR;
    name->pOleStr = CopyForTask(NameWithin(place_, SpanOf(item)));
    return name->pOleStr != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE ParseDisplayName(HWND, IBindCtx*, LPWSTR, ULONG*, PIDLIST_RELATIVE*,
                                             ULONG*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE EnumObjects(HWND, SHCONTF, IEnumIDList**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE BindToStorage(PCUIDLIST_RELATIVE, IBindCtx*, REFIID, void**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE CompareIDs(LPARAM, PCUIDLIST_RELATIVE, PCUIDLIST_RELATIVE) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE CreateViewObject(HWND, REFIID, void**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetAttributesOf(UINT, PCUITEMID_CHILD_ARRAY, SFGAOF*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetUIObjectOf(HWND, UINT, PCUITEMID_CHILD_ARRAY, REFIID, UINT*,
                                          void**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE SetNameOf(HWND, PCUITEMID_CHILD, LPCWSTR, SHGDNF,
                                      PITEMID_CHILD*) override {
    return E_NOTIMPL;
  }

 private:
  const ItemBytes place_;
};

}  // namespace
}  // namespace platform

using namespace platform;

HRESULT WINAPI SHGetSpecialFolderLocation(HWND owner, int folder, PIDLIST_ABSOLUTE* list) {
  KV_API_ENTER_(SHGetSpecialFolderLocation, ERROR_OUTOFMEMORY, true, owner, folder, list);
  *list = nullptr;
  if (kv_call.error() != 0) return HRESULT_FROM_WIN32(kv_call.error());
  bool exists;
  const std::optional<ItemBytes> items = SpecialFolder(folder, exists);
  if (!items.has_value()) return E_INVALIDARG;
  if (!exists) return E_FAIL;
  *list = ListForTask(*items);
  return *list != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI SHGetDesktopFolder(IShellFolder** folder) {
  KV_API_ENTER_(SHGetDesktopFolder, ERROR_OUTOFMEMORY, true, folder);
  *folder = nullptr;
  if (kv_call.error() != 0) return HRESULT_FROM_WIN32(kv_call.error());
  *folder = new Folder({});
  return S_OK;
}

HRESULT WINAPI StrRetToBufW(STRRET* name, PCUITEMID_CHILD item, LPWSTR text, UINT capacity) {
  KV_API_ENTER_(StrRetToBufW, ERROR_OUTOFMEMORY, true, name, item, text, capacity);
  const HRESULT result = kv_call.error() != 0         ? HRESULT_FROM_WIN32(kv_call.error())
                         : name->uType != STRRET_WSTR ? E_NOTIMPL
                                                      : S_OK;
  if (result == S_OK) CopyCut(View(name->pOleStr), text, static_cast<int>(capacity));
  if (name->uType == STRRET_WSTR) CoTaskMemFree(name->pOleStr);
  return result;
}
