// The shell's link object.
#include <shlobj.h>

#include "platform/kernel/buffer.h"
#include "platform/kernel/path.h"
#include "platform/shell/address.h"
#include "platform/shell/com_object.h"
#include "platform/shell/link_file.h"

extern "C" {
const CLSID CLSID_ShellLink = {0x00021401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IShellLinkW = {0x000214F9, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IShellLinkDataList = {
    0x45E2B4AE, 0xB1C3, 0x11D0, {0xB9, 0x2F, 0x00, 0xA0, 0xC9, 0x03, 0x12, 0xE1}};
}

namespace platform {
namespace {

class ShellLink final : public ComObject<IShellLinkW, IPersistFile, IShellLinkDataList> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    IShellLinkW* const link = this;
    if (id == IID_IUnknown || id == IID_IShellLinkW) return HandOut(link, link, object);
    IPersistFile* const file = this;
    if (id == IID_IPersist || id == IID_IPersistFile) return HandOut(link, file, object);
    IShellLinkDataList* const data = this;
    if (id == IID_IShellLinkDataList) return HandOut(link, data, object);
    return HandOut(nullptr, nullptr, object);
  }

  HRESULT STDMETHODCALLTYPE GetPath(LPWSTR path, int capacity, WIN32_FIND_DATAW* data,
                                    DWORD flags) override {
    KV_METHOD("IShellLinkW::GetPath", ERROR_OUTOFMEMORY);
    if (flags != 0) return E_INVALIDARG;
    if (data != nullptr) *data = {};
    WideString target = link_.local_path;
    if (const auto listed = PathOfList(link_.target)) target = *listed;
    CopyCut(target, path, capacity);
    return target.empty() ? S_FALSE : S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIDList(PIDLIST_ABSOLUTE* list) override {
    KV_METHOD("IShellLinkW::GetIDList", ERROR_OUTOFMEMORY);
    *list = nullptr;
    if (link_.target.empty()) return S_FALSE;
    *list = ListForTask(link_.target);
    return *list != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE SetIDList(PCIDLIST_ABSOLUTE list) override {
    KV_METHOD("IShellLinkW::SetIDList", ERROR_OUTOFMEMORY);
    const ItemSpan items = SpanOf(list);
    link_.target.assign(items.begin(), items.end());
    link_.local_path = PathOfList(items).value_or(WideString());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetPath(LPCWSTR path) override {
    KV_METHOD("IShellLinkW::SetPath", ERROR_OUTOFMEMORY);
    if (View(path).empty()) return E_INVALIDARG;
    if (IsAddress(path)) {
      if (View(path).size() > kLongestAddress) return E_INVALIDARG;
      link_.target = ListOfAddress(path);
      link_.local_path.clear();
      return S_OK;
    }
    const WideString full = FullPath(path);
    if (full.size() >= MAX_PATH) return E_INVALIDARG;
    ItemBytes target = ListOfPath(full);
    if (target.empty()) return HRESULT_FROM_WIN32(ERROR_BAD_NETPATH);
    link_.target = std::move(target);
    link_.local_path = full;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetDescription(LPWSTR text, int capacity) override {
    KV_METHOD("IShellLinkW::GetDescription", ERROR_OUTOFMEMORY);
    return GetText(link_.description, text, capacity);
  }
  HRESULT STDMETHODCALLTYPE SetDescription(LPCWSTR text) override {
    KV_METHOD("IShellLinkW::SetDescription", ERROR_OUTOFMEMORY);
    return SetText(link_.description, text);
  }
  HRESULT STDMETHODCALLTYPE GetWorkingDirectory(LPWSTR text, int capacity) override {
    KV_METHOD("IShellLinkW::GetWorkingDirectory", ERROR_OUTOFMEMORY);
    return GetText(link_.working_directory, text, capacity);
  }
  HRESULT STDMETHODCALLTYPE SetWorkingDirectory(LPCWSTR text) override {
    KV_METHOD("IShellLinkW::SetWorkingDirectory", ERROR_OUTOFMEMORY);
    return SetText(link_.working_directory, text);
  }
  HRESULT STDMETHODCALLTYPE GetArguments(LPWSTR text, int capacity) override {
    KV_METHOD("IShellLinkW::GetArguments", ERROR_OUTOFMEMORY);
    return GetText(link_.arguments, text, capacity);
  }
  HRESULT STDMETHODCALLTYPE SetArguments(LPCWSTR text) override {
    KV_METHOD("IShellLinkW::SetArguments", ERROR_OUTOFMEMORY);
    return SetText(link_.arguments, text);
  }
  HRESULT STDMETHODCALLTYPE GetShowCmd(int* show) override {
    KV_METHOD("IShellLinkW::GetShowCmd", ERROR_OUTOFMEMORY);
    *show = link_.show;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetShowCmd(int show) override {
    KV_METHOD("IShellLinkW::SetShowCmd", ERROR_OUTOFMEMORY);
    link_.show = show;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIconLocation(LPWSTR file, int capacity, int* index) override {
    KV_METHOD("IShellLinkW::GetIconLocation", ERROR_OUTOFMEMORY);
    *index = link_.icon_index;
    return GetText(link_.icon_file, file, capacity);
  }
  HRESULT STDMETHODCALLTYPE SetIconLocation(LPCWSTR file, int index) override {
    KV_METHOD("IShellLinkW::SetIconLocation", ERROR_OUTOFMEMORY);
    link_.icon_index = index;
    return SetText(link_.icon_file, file);
  }
  HRESULT STDMETHODCALLTYPE GetHotkey(WORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetHotkey(WORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetRelativePath(LPCWSTR, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Resolve(HWND, DWORD) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override {
    *id = CLSID_ShellLink;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE IsDirty() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Load(LPCOLESTR file, DWORD mode) override {
    KV_METHOD("IPersistFile::Load", ERROR_OUTOFMEMORY);
    if (mode != STGM_READ && mode != STGM_READWRITE) return E_INVALIDARG;
    std::string bytes;
    const DWORD error = ReadWholeFile(file, bytes);
    if (error != ERROR_SUCCESS) return HRESULT_FROM_WIN32(error);
    std::optional<LinkData> link = ReadLink(bytes);
    if (!link.has_value()) return E_FAIL;
    link_ = std::move(*link);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Save(LPCOLESTR file, BOOL remember) override {
    KV_METHOD("IPersistFile::Save", ERROR_ACCESS_DENIED);
    if (!remember) return E_INVALIDARG;
    const DWORD error = WriteWholeFile(file, WriteLink(link_));
    return error == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(error);
  }
  HRESULT STDMETHODCALLTYPE SaveCompleted(LPCOLESTR) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetCurFile(LPOLESTR*) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetFlags(DWORD* flags) override {
    *flags = link_.flags;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetFlags(DWORD flags) override {
    KV_METHOD("IShellLinkDataList::SetFlags", ERROR_OUTOFMEMORY);
    link_.flags = flags;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE AddDataBlock(void*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CopyDataBlock(DWORD, void**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RemoveDataBlock(DWORD) override { return E_NOTIMPL; }

 private:
  static HRESULT GetText(const WideString& text, LPWSTR buffer, int capacity) {
    CopyCut(text, buffer, capacity);
    return S_OK;
  }
  static HRESULT SetText(WideString& place, LPCWSTR text) {
    if (View(text).size() > kLongestLinkText) return E_INVALIDARG;
    place = View(text);
    return S_OK;
  }

  LinkData link_;
};

}  // namespace

IUnknown* NewShellLink() {
  return static_cast<IShellLinkW*>(new ShellLink);
}

}  // namespace platform
