// Interfaces of the shell.
#pragma once

#include <minwinbase.h>
#include <objidl.h>
#include <shtypes.h>

#define SLDF_RUNAS_USER 0x00002000

#define SHGDN_INFOLDER 0x0001
#define SHGDN_INCLUDE_NONFILESYS 0x2000
#define SHGDN_FORPARSING 0x8000

typedef DWORD SHGDNF, SHCONTF, SFGAOF;

// A link to something in the shell's name space.
struct IShellLinkW : IUnknown {
  // S_FALSE, with the empty text, when the target is no file. `data` is filled from the link.
  virtual HRESULT STDMETHODCALLTYPE GetPath(LPWSTR path, int capacity, WIN32_FIND_DATAW* data,
                                            DWORD flags) = 0;
  // A copy of the target's list from the task allocator; S_FALSE, with null, when it has none.
  virtual HRESULT STDMETHODCALLTYPE GetIDList(PIDLIST_ABSOLUTE* list) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetIDList(PCIDLIST_ABSOLUTE list) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDescription(LPWSTR text, int capacity) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetDescription(LPCWSTR text) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetWorkingDirectory(LPWSTR text, int capacity) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetWorkingDirectory(LPCWSTR text) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetArguments(LPWSTR text, int capacity) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetArguments(LPCWSTR text) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHotkey(WORD* key) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHotkey(WORD key) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetShowCmd(int* show) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetShowCmd(int show) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIconLocation(LPWSTR file, int capacity, int* index) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetIconLocation(LPCWSTR file, int index) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetRelativePath(LPCWSTR path, DWORD reserved) = 0;
  virtual HRESULT STDMETHODCALLTYPE Resolve(HWND window, DWORD flags) = 0;
  // A path, made a full one, or an address.
  virtual HRESULT STDMETHODCALLTYPE SetPath(LPCWSTR path) = 0;
};

struct IShellLinkDataList : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE AddDataBlock(void* block) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyDataBlock(DWORD signature, void** block) = 0;
  virtual HRESULT STDMETHODCALLTYPE RemoveDataBlock(DWORD signature) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFlags(DWORD* flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetFlags(DWORD flags) = 0;
};

struct IEnumIDList;

struct IShellFolder : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE ParseDisplayName(HWND window, IBindCtx* context, LPWSTR name,
                                                     ULONG* eaten, PIDLIST_RELATIVE* list,
                                                     ULONG* attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumObjects(HWND window, SHCONTF flags, IEnumIDList** list) = 0;
  // The folder that `list`, relative to this one, names.
  virtual HRESULT STDMETHODCALLTYPE BindToObject(PCUIDLIST_RELATIVE list, IBindCtx* context,
                                                 REFIID id, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE BindToStorage(PCUIDLIST_RELATIVE list, IBindCtx* context,
                                                  REFIID id, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE CompareIDs(LPARAM parameter, PCUIDLIST_RELATIVE a,
                                               PCUIDLIST_RELATIVE b) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateViewObject(HWND owner, REFIID id, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetAttributesOf(UINT count, PCUITEMID_CHILD_ARRAY items,
                                                    SFGAOF* attributes) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetUIObjectOf(HWND owner, UINT count,
                                                  PCUITEMID_CHILD_ARRAY items, REFIID id,
                                                  UINT* reserved, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDisplayNameOf(PCUITEMID_CHILD item, SHGDNF flags,
                                                     STRRET* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetNameOf(HWND owner, PCUITEMID_CHILD item, LPCWSTR name,
                                              SHGDNF flags, PITEMID_CHILD* out) = 0;
};

extern "C" {
extern const CLSID CLSID_ShellLink;
extern const IID IID_IShellLinkW;
extern const IID IID_IShellLinkDataList;
extern const IID IID_IShellFolder;
}
