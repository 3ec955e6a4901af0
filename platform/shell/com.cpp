// Component objects: apartments, the task allocator, the classes that the product asks for.
#include <intshcut.h>
#include <shlobj.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/counted_blocks.h"
#include "platform/shell/com_object.h"

extern "C" {
const IID IID_IUnknown = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IMalloc = {0x00000002, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IPersist = {0x0000010C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IPersistFile = {0x0000010B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

namespace platform {
namespace {

thread_local int initializations = 0;

// Blocks whose sizes can be asked for.
class TaskMemory {
 public:
  static TaskMemory& Get() {
    static TaskMemory* const instance = new TaskMemory;
    return *instance;
  }
  void* Allocate(SIZE_T size) {
    void* const block = blocks_.Allocate(size);
    std::lock_guard lock(mutex_);
    sizes_[block] = size;
    return block;
  }
  void Free(void* block) {
    // Forgotten before another block can get its place.
    std::lock_guard lock(mutex_);
    sizes_.erase(block);
    blocks_.Free(block);
  }
  bool Owns(void* block) { return SizeOf(block) != kNoSize; }
  // kNoSize for what is no block.
  SIZE_T SizeOf(void* block) {
    std::lock_guard lock(mutex_);
    const auto found = sizes_.find(block);
    return found == sizes_.end() ? kNoSize : found->second;
  }

 private:
  static constexpr SIZE_T kNoSize = static_cast<SIZE_T>(-1);
  CountedBlocks blocks_{Resource::kHeapBlock};
  std::mutex mutex_;
  std::unordered_map<void*, SIZE_T> sizes_;
};

class TaskAllocator final : public ComObject<IMalloc> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    const bool known = id == IID_IUnknown || id == IID_IMalloc;
    return HandOut(known ? this : nullptr, known ? this : nullptr, object);
  }
  void* STDMETHODCALLTYPE Alloc(SIZE_T size) override { return TaskMemory::Get().Allocate(size); }
  void* STDMETHODCALLTYPE Realloc(void* block, SIZE_T size) override {
    void* const grown = Alloc(size);
    if (block != nullptr) {
      std::memcpy(grown, block, std::min(size, GetSize(block)));
      Free(block);
    }
    return grown;
  }
  void STDMETHODCALLTYPE Free(void* block) override { TaskMemory::Get().Free(block); }
  SIZE_T STDMETHODCALLTYPE GetSize(void* block) override { return TaskMemory::Get().SizeOf(block); }
  int STDMETHODCALLTYPE DidAlloc(void* block) override {
    return block == nullptr ? -1 : TaskMemory::Get().Owns(block);
  }
  void STDMETHODCALLTYPE HeapMinimize() override {}
};

}  // namespace

LPWSTR CopyForTask(WideView text) {
  const auto copy = static_cast<LPWSTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(WCHAR)));
  if (copy != nullptr) *std::copy(text.begin(), text.end(), copy) = 0;
  return copy;
}

DWORD ReadWholeFile(LPCWSTR path, std::string& bytes) {
  const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  bytes.resize(GetFileSize(file, nullptr));
  DWORD read = 0;
  const BOOL done = ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
  const DWORD error = done ? ERROR_SUCCESS : GetLastError();
  CloseHandle(file);
  bytes.resize(read);
  return error;
}

DWORD WriteWholeFile(LPCWSTR path, std::string_view bytes) {
  const HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  DWORD written = 0;
  const BOOL done =
      WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  const DWORD error = done ? ERROR_SUCCESS : GetLastError();
  CloseHandle(file);
  return error;
}

}  // namespace platform

using namespace platform;

HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD mode) {
  KV_API_ENTER_(CoInitializeEx, ERROR_OUTOFMEMORY, true, reserved, mode);
  if (kv_call.error() != 0) return HRESULT_FROM_WIN32(kv_call.error());
  if (reserved != nullptr || mode != COINIT_APARTMENTTHREADED) return E_INVALIDARG;
  return initializations++ == 0 ? S_OK : S_FALSE;
}

void WINAPI CoUninitialize() {
  KV_API_VOID(CoUninitialize);
  if (initializations > 0) --initializations;
}

HRESULT WINAPI CoCreateInstance(REFCLSID class_id, LPUNKNOWN outer, DWORD context, REFIID id,
                                LPVOID* object) {
  KV_API_ENTER_(CoCreateInstance, ERROR_OUTOFMEMORY, true, class_id, outer, context, id, object);
  *object = nullptr;
  if (kv_call.error() != 0) return HRESULT_FROM_WIN32(kv_call.error());
  if (initializations == 0) return CO_E_NOTINITIALIZED;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  if (context != CLSCTX_INPROC_SERVER) return E_INVALIDARG;
  IUnknown* made = nullptr;
  if (class_id == CLSID_ShellLink) made = NewShellLink();
  if (class_id == kInternetShortcutClass) made = NewInternetShortcut();
  if (made == nullptr) return REGDB_E_CLASSNOTREG;
  const HRESULT result = made->QueryInterface(id, object);
  made->Release();
  return result;
}

HRESULT WINAPI CoGetMalloc(DWORD context, IMalloc** allocator) {
  KV_API_ENTER_(CoGetMalloc, ERROR_OUTOFMEMORY, true, context, allocator);
  *allocator = nullptr;
  if (kv_call.error() != 0) return HRESULT_FROM_WIN32(kv_call.error());
  if (context != 1) return E_INVALIDARG;
  *allocator = new TaskAllocator;
  return S_OK;
}

LPVOID WINAPI CoTaskMemAlloc(SIZE_T size) {
  KV_API(CoTaskMemAlloc, ERROR_OUTOFMEMORY, nullptr, size);
  return TaskMemory::Get().Allocate(size);
}

void WINAPI CoTaskMemFree(LPVOID block) {
  KV_API_VOID(CoTaskMemFree, block);
  TaskMemory::Get().Free(block);
}
