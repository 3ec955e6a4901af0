// The Internet-shortcut object. Its file is an initialisation file with the address in section
// "InternetShortcut"; letters beyond ASCII are escaped there as bytes of UTF-8.
#include <intshcut.h>

#include "platform/shell/address.h"
#include "platform/shell/com_object.h"

namespace platform {
namespace {

constexpr IID kLocatorInterface = {
    0xCABB0DA0, 0xDA57, 0x11CF, {0x99, 0x74, 0x00, 0x20, 0xAF, 0xD7, 0x97, 0x62}};
constexpr WCHAR kSection[] = TEXT("InternetShortcut");

std::string Escaped(WideView address) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : ToUtf8(address)) {
    const auto byte = static_cast<BYTE>(c);
    if (byte > ' ' && byte < 0x7F) {
      escaped += c;
    } else {
      escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return escaped;
}

class InternetShortcut final : public ComObject<IUniformResourceLocatorW, IPersistFile> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    IUniformResourceLocatorW* const locator = this;
    if (id == IID_IUnknown || id == kLocatorInterface) return HandOut(locator, locator, object);
    IPersistFile* const file = this;
    if (id == IID_IPersist || id == IID_IPersistFile) return HandOut(locator, file, object);
    return HandOut(nullptr, nullptr, object);
  }

  HRESULT STDMETHODCALLTYPE SetURL(LPCWSTR address, DWORD flags) override {
    KV_METHOD("IUniformResourceLocatorW::SetURL", ERROR_OUTOFMEMORY);
    if (flags != 0) return E_INVALIDARG;
    if (!IsAddress(View(address))) return URL_E_INVALID_SYNTAX;
    if (View(address).size() > kLongestAddress) return E_INVALIDARG;
    address_ = address;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetURL(LPWSTR* address) override {
    KV_METHOD("IUniformResourceLocatorW::GetURL", ERROR_OUTOFMEMORY);
    *address = nullptr;
    if (address_.empty()) return S_FALSE;
    *address = CopyForTask(address_);
    return *address != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE InvokeCommand(PURLINVOKECOMMANDINFOW) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override {
    *id = kInternetShortcutClass;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE IsDirty() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Load(LPCOLESTR file, DWORD mode) override {
    KV_METHOD("IPersistFile::Load", ERROR_OUTOFMEMORY);
    if (mode != STGM_READ && mode != STGM_READWRITE) return E_INVALIDARG;
    if (GetFileAttributesW(file) == INVALID_FILE_ATTRIBUTES) {
      return HRESULT_FROM_WIN32(GetLastError());
    }
    WCHAR address[kLongestAddress + 1];
    GetPrivateProfileStringW(kSection, TEXT("URL"), TEXT(""), address, kLongestAddress + 1, file);
    address_ = address;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Save(LPCOLESTR file, BOOL remember) override {
    KV_METHOD("IPersistFile::Save", ERROR_ACCESS_DENIED);
    if (!remember) return E_INVALIDARG;
    const std::string text = "[InternetShortcut]\r\nURL=" + Escaped(address_) + "\r\n";
    const DWORD error = WriteWholeFile(file, text);
    return error == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(error);
  }
  HRESULT STDMETHODCALLTYPE SaveCompleted(LPCOLESTR) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetCurFile(LPOLESTR*) override { return E_NOTIMPL; }

 private:
  WideString address_;
};

}  // namespace

IUnknown* NewInternetShortcut() {
  return static_cast<IUniformResourceLocatorW*>(new InternetShortcut);
}

}  // namespace platform
