// Registry keys of tests.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace kv::test {

using WideString = std::basic_string<WCHAR>;

// A key that closes itself; `status` tells how opening went.
struct Key {
  HKEY handle = nullptr;
  DWORD disposition = 0;
  LSTATUS status;
  static Key Create(HKEY root, const WideString& path, REGSAM access = KEY_ALL_ACCESS) {
    Key key;
    key.status = RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, access, nullptr, &key.handle,
                                 &key.disposition);
    return key;
  }
  static Key Open(HKEY root, const WideString& path, REGSAM access = KEY_READ) {
    Key key;
    key.status = RegOpenKeyExW(root, path.c_str(), 0, access, &key.handle);
    return key;
  }
  Key(Key&& other) : handle(other.handle), disposition(other.disposition), status(other.status) {
    other.handle = nullptr;
  }
  ~Key() {
    if (handle != nullptr) {
      EXPECT_EQ(RegCloseKey(handle), ERROR_SUCCESS);
    }
  }
  operator HKEY() const { return handle; }

 private:
  Key() = default;
};

inline LSTATUS SetText(HKEY key, const WideString& name, const WideString& text) {
  return RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                        static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
}

// "" for a missing value.
inline WideString Text(HKEY key, const WideString& name) {
  WCHAR buffer[100] = {};
  DWORD size = sizeof buffer;
  RegQueryValueExW(key, name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size);
  return buffer;
}

}  // namespace kv::test
