#include "runtime/files/internet_shortcut.h"

#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr CLSID kShortcutClass = {
    0xFBF23B40, 0xE3F0, 0x101B, {0x84, 0x88, 0x00, 0xAA, 0x00, 0x3E, 0x56, 0xF8}};
constexpr IID kLocatorInterface = {
    0xCABB0DA0, 0xDA57, 0x11CF, {0x99, 0x74, 0x00, 0x20, 0xAF, 0xD7, 0x97, 0x62}};
constexpr DWORD kTaskAllocator = 1;

}  // namespace

CInternetShortcut::CInternetShortcut(LPCWSTR file, Access access) {
  CoCreateInstance(kShortcutClass, nullptr, CLSCTX_INPROC_SERVER, kLocatorInterface,
                   reinterpret_cast<void**>(locator_.Receive()));
  persistFile_ = QueryFor<IPersistFile>(locator_, IID_IPersistFile);
  CoGetMalloc(kTaskAllocator, allocator_.Receive());
  ready_ = locator_ && persistFile_ && allocator_;
  if (ready_ && !View(file).empty()) ready_ = Load(file, access);
}

CInternetShortcut::~CInternetShortcut() {
  persistFile_.Reset();
  locator_.Reset();
  allocator_.Reset();
}

BOOL CInternetShortcut::Load(LPCWSTR file, Access access) {
  return persistFile_ && persistFile_.Get()->Load(
                             file, access == Access::kWrite ? STGM_READWRITE : STGM_READ) == S_OK;
}

BOOL CInternetShortcut::Save(LPCWSTR file, LPCWSTR address) {
  if (!ready_ || FAILED(locator_.Get()->SetURL(address, 0)) ||
      FAILED(persistFile_.Get()->Save(file, TRUE))) {
    return FALSE;
  }
  persistFile_.Get()->SaveCompleted(file);
  return TRUE;
}

BOOL CInternetShortcut::GetURL(LPWSTR address, int capacity) const {
  if (capacity > 0) address[0] = 0;
  if (!ready_) return FALSE;
  LPWSTR text = nullptr;
  if (locator_.Get()->GetURL(&text) != S_OK) return FALSE;
  CopyStringW(address, capacity, text);
  if (allocator_.Get()->DidAlloc(text) == 1) allocator_.Get()->Free(text);
  return TRUE;
}

}  // namespace kv
