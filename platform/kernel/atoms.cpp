#include "platform/kernel/atoms.h"

#include <algorithm>
#include <cstdio>

#include "platform/kernel/api_call.h"
#include "platform/kernel/locked_file.h"

namespace platform {
namespace {

constexpr ATOM kFirst = 0xC000;
constexpr size_t kMaxAtoms = 0x10000 - kFirst;
constexpr size_t kMaxName = 255;

}  // namespace

Atoms::Atoms(Machine& machine) : path_(machine.directory() / "objects" / "atoms") {}

ATOM Atoms::Find(WideView name) const {
  const auto found = std::find_if(names_.begin(), names_.end(), [&](const WideString& known) {
    return EqualNoCase(known, name);
  });
  return found == names_.end() ? 0 : static_cast<ATOM>(kFirst + (found - names_.begin()));
}

// Each name is terminated by a zero byte; a torn last one is not counted and will be overwritten.
void Atoms::ReadNew(int file) {
  std::string bytes;
  char block[4096];
  off_t at = read_;
  for (ssize_t n; (n = pread(file, block, sizeof(block), at)) > 0; at += n) bytes.append(block, n);
  size_t start = 0;
  for (size_t end; (end = bytes.find('\0', start)) != std::string::npos; start = end + 1) {
    names_.push_back(ToWide(std::string_view(bytes).substr(start, end - start)));
  }
  read_ += static_cast<off_t>(start);
}

ATOM Atoms::Add(WideView name) {
  if (name.empty() || name.size() > kMaxName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::lock_guard lock(mutex_);
  if (const ATOM atom = Find(name)) return atom;
  LockedFile file(path_);
  ReadNew(file.get());
  if (const ATOM atom = Find(name)) return atom;
  const std::string record = ToUtf8(name) + '\0';
  if (names_.size() == kMaxAtoms || pwrite(file.get(), record.data(), record.size(), read_) !=
                                        static_cast<ssize_t>(record.size())) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
  }
  ReadNew(file.get());
  return Find(name);
}

WideString Atoms::NameOf(ATOM atom) {
  std::lock_guard lock(mutex_);
  if (size_t(atom - kFirst) >= names_.size()) ReadNew(LockedFile(path_).get());
  const size_t index = atom - kFirst;
  return atom >= kFirst && index < names_.size() ? names_[index] : WideString();
}

}  // namespace platform

using namespace platform;

UINT WINAPI GlobalGetAtomNameW(ATOM atom, LPWSTR buffer, int size) {
  KV_API(GlobalGetAtomNameW, ERROR_INVALID_HANDLE, 0, atom, buffer, size);
  if (buffer == nullptr || size <= 0) {
    SetLastError(ERROR_MORE_DATA);
    return 0;
  }
  const WideString name = atom == 0 || atom >= kFirst
                              ? Machine::Current().Part<Atoms>().NameOf(atom)
                              : ToWide("#" + std::to_string(atom));
  if (name.empty()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  const size_t length = std::min(name.size(), static_cast<size_t>(size) - 1);
  std::copy_n(name.data(), length, buffer);
  buffer[length] = 0;
  return static_cast<UINT>(length);
}

UINT WINAPI RegisterWindowMessageW(LPCWSTR name) {
  KV_API(RegisterWindowMessageW, ERROR_NOT_ENOUGH_MEMORY, 0, name);
  return Machine::Current().Part<Atoms>().Add(View(name));
}

UINT WINAPI RegisterClipboardFormatW(LPCWSTR name) {
  KV_API(RegisterClipboardFormatW, ERROR_NOT_ENOUGH_MEMORY, 0, name);
  return Machine::Current().Part<Atoms>().Add(View(name));
}
