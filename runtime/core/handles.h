// Small owning types for the platform's handles, so that no function has a clean-up path to forget.
#pragma once

#include <utility>

#include "runtime/core/win.h"

namespace kv {

// Owns one handle; Traits gives its type, its empty value and how it is released.
template <class Traits>
class UniqueResource {
 public:
  using Handle = typename Traits::Handle;

  UniqueResource() = default;
  explicit UniqueResource(Handle handle) : handle_(handle) {}
  UniqueResource(UniqueResource&& other) noexcept : handle_(other.Release()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;
  ~UniqueResource() { Reset(); }

  Handle Get() const { return handle_; }
  explicit operator bool() const { return handle_ != Traits::Empty(); }
  // Gives the handle up without releasing it.
  Handle Release() { return std::exchange(handle_, Traits::Empty()); }
  void Reset(Handle handle = Traits::Empty()) {
    const Handle old = std::exchange(handle_, handle);
    if (old != Traits::Empty()) Traits::Close(old);
  }
  // For calls that hand a handle out through a pointer; releases what is held.
  Handle* Receive() {
    Reset();
    return &handle_;
  }

 private:
  Handle handle_ = Traits::Empty();
};

struct KernelHandleTraits {
  using Handle = HANDLE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { CloseHandle(handle); }
};
// Mappings, mutexes, events, processes, threads, tokens.
using UniqueHandle = UniqueResource<KernelHandleTraits>;

struct FileHandleTraits {
  using Handle = HANDLE;
  static Handle Empty() { return INVALID_HANDLE_VALUE; }
  static void Close(Handle handle) { CloseHandle(handle); }
};
// What CreateFileW returns.
using UniqueFile = UniqueResource<FileHandleTraits>;

struct FindHandleTraits {
  using Handle = HANDLE;
  static Handle Empty() { return INVALID_HANDLE_VALUE; }
  static void Close(Handle handle) { FindClose(handle); }
};
// What FindFirstFileW returns.
using UniqueFindHandle = UniqueResource<FindHandleTraits>;

struct ModuleTraits {
  using Handle = HMODULE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { FreeLibrary(handle); }
};
using UniqueModule = UniqueResource<ModuleTraits>;

struct KeyTraits {
  using Handle = HKEY;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { RegCloseKey(handle); }
};
using UniqueKey = UniqueResource<KeyTraits>;

struct PrinterTraits {
  using Handle = HANDLE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { ClosePrinter(handle); }
};
using UniquePrinter = UniqueResource<PrinterTraits>;

struct GlobalMemoryTraits {
  using Handle = HGLOBAL;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { GlobalFree(handle); }
};
using UniqueGlobal = UniqueResource<GlobalMemoryTraits>;

// Regions, fonts and other graphics objects that DeleteObject ends.
template <class Object>
struct GraphicsObjectTraits {
  using Handle = Object;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { DeleteObject(handle); }
};
using UniqueRegion = UniqueResource<GraphicsObjectTraits<HRGN>>;

// Keeps a block of global memory locked.
class GlobalLockScope {
 public:
  explicit GlobalLockScope(HGLOBAL block)
      : block_(block), data_(block == nullptr ? nullptr : GlobalLock(block)) {}
  ~GlobalLockScope() {
    if (data_ != nullptr) GlobalUnlock(block_);
  }
  GlobalLockScope(const GlobalLockScope&) = delete;
  GlobalLockScope& operator=(const GlobalLockScope&) = delete;
  // Null when the block could not be locked.
  void* Data() const { return data_; }

 private:
  HGLOBAL block_;
  void* data_;
};

}  // namespace kv
