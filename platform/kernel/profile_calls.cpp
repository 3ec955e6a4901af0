// The functions for initialisation files.
#include <algorithm>
#include <cstdlib>

#include "platform/kernel/api_call.h"
#include "platform/kernel/profile_file.h"
#include "platform/kernel/result.h"
#include "platform/kernel/system_version.h"

namespace platform {
namespace {

constexpr WCHAR kWinIni[] = TEXT("win.ini");
constexpr WideView kUserSections[] = {TEXT("Windows"), TEXT("Devices"), TEXT("PrinterPorts")};

// A text that is cut to fit; returns its length.
DWORD CopyText(WideView text, LPWSTR buffer, DWORD capacity) {
  if (capacity == 0) return 0;
  const WideView fitting = text.substr(0, capacity - 1);
  *std::copy(fitting.begin(), fitting.end(), buffer) = 0;
  return static_cast<DWORD>(fitting.size());
}

// Terminated texts, the list ended by an empty one. Returns the characters without the last
// terminator; where the list was cut, both terminators stand at the end of the buffer.
DWORD CopyList(const std::vector<WideString>& texts, LPWSTR buffer, DWORD capacity) {
  WideString list;
  for (const WideString& text : texts) {
    list += text;
    list.push_back(0);
  }
  if (capacity < 2) return CopyText({}, buffer, capacity);
  const bool fits = list.size() + 1 <= capacity;
  if (!fits) {
    list.resize(capacity - 2);
    list.push_back(0);
  }
  *std::copy(list.begin(), list.end(), buffer) = 0;
  // Without a single text the list is its own end.
  if (list.empty()) buffer[1] = 0;
  return fits ? static_cast<DWORD>(list.size()) : capacity - 2;
}

WideView WithoutBlanksAtEnd(WideView text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

DWORD ReadProfile(const ProfileFile& profile, LPCWSTR section, LPCWSTR key, LPCWSTR otherwise,
                  LPWSTR buffer, DWORD capacity) {
  if (section == nullptr) return CopyList(profile.Sections(), buffer, capacity);
  if (key == nullptr && profile.HasSection(section)) {
    return CopyList(profile.Keys(section), buffer, capacity);
  }
  const auto value = key == nullptr ? std::nullopt : profile.Value(section, key);
  return CopyText(value ? *value : WithoutBlanksAtEnd(View(otherwise)), buffer, capacity);
}

DWORD WriteProfile(WideView file, LPCWSTR section, LPCWSTR key, LPCWSTR value) {
  ProfileFile profile(file);
  if (key == nullptr) {
    profile.DeleteSection(section);
  } else if (value == nullptr) {
    profile.DeleteKey(section, key);
  } else {
    profile.SetValue(section, key, value);
  }
  return profile.Save();
}

// A number as it begins a text, as far as it is one.
UINT NumberIn(const WideString& text, INT otherwise) {
  if (text.empty()) return static_cast<UINT>(otherwise);
  return static_cast<UINT>(std::strtoll(ToUtf8(text).c_str(), nullptr, 10));
}

// The user's key that stands for a section of win.ini; empty where the file holds the section.
WideString UserKey(LPCWSTR section) {
  if (InstalledVersion().platform != VER_PLATFORM_WIN32_NT || section == nullptr) return {};
  for (WideView mapped : kUserSections) {
    if (!EqualNoCase(section, mapped)) continue;
    return TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\") + WideString(mapped);
  }
  return {};
}

class UserSection {
 public:
  UserSection(const WideString& path, REGSAM access) {
    status_ = RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, access, nullptr,
                              &key_, nullptr);
  }
  ~UserSection() {
    if (status_ == ERROR_SUCCESS) RegCloseKey(key_);
  }
  UserSection(const UserSection&) = delete;
  UserSection& operator=(const UserSection&) = delete;

  std::vector<WideString> Keys() const {
    std::vector<WideString> names;
    WCHAR name[MAX_PATH];
    DWORD size = MAX_PATH;
    while (status_ == ERROR_SUCCESS &&
           RegEnumValueW(key_, static_cast<DWORD>(names.size()), name, &size, nullptr, nullptr,
                         nullptr, nullptr) == ERROR_SUCCESS) {
      names.emplace_back(name, size);
      size = MAX_PATH;
    }
    return names;
  }

  std::optional<WideString> Value(LPCWSTR name) const {
    WCHAR text[1024] = {};
    DWORD size = sizeof text - sizeof(WCHAR), type = REG_NONE;
    if (status_ != ERROR_SUCCESS ||
        RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ) {
      return std::nullopt;
    }
    return text;
  }

  DWORD Set(LPCWSTR name, LPCWSTR value) const {
    if (status_ != ERROR_SUCCESS) return static_cast<DWORD>(status_);
    if (value == nullptr) return static_cast<DWORD>(RegDeleteValueW(key_, name));
    const DWORD size = static_cast<DWORD>((View(value).size() + 1) * sizeof(WCHAR));
    return static_cast<DWORD>(
        RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), size));
  }

 private:
  HKEY key_ = nullptr;
  LSTATUS status_;
};

DWORD ReadUserSection(const WideString& path, LPCWSTR key, LPCWSTR otherwise, LPWSTR buffer,
                      DWORD capacity) {
  const UserSection section(path, KEY_READ);
  if (key == nullptr) return CopyList(section.Keys(), buffer, capacity);
  const auto value = section.Value(key);
  return CopyText(value ? *value : WithoutBlanksAtEnd(View(otherwise)), buffer, capacity);
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI GetProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise, LPWSTR buffer,
                               DWORD capacity) {
  KV_API_NOFAIL(GetProfileStringW, 0, section, key, otherwise, buffer, capacity);
  const WideString mapped = UserKey(section);
  return mapped.empty()
             ? ReadProfile(ProfileFile(kWinIni), section, key, otherwise, buffer, capacity)
             : ReadUserSection(mapped, key, otherwise, buffer, capacity);
}

UINT WINAPI GetProfileIntW(LPCWSTR section, LPCWSTR key, INT otherwise) {
  KV_API_NOFAIL(GetProfileIntW, static_cast<UINT>(otherwise), section, key, otherwise);
  const WideString mapped = UserKey(section);
  const auto value = mapped.empty() ? ProfileFile(kWinIni).Value(View(section), View(key))
                                    : UserSection(mapped, KEY_READ).Value(key);
  return NumberIn(value.value_or(WideString()), otherwise);
}

BOOL WINAPI WriteProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value) {
  KV_API(WriteProfileStringW, ERROR_ACCESS_DENIED, FALSE, section, key, value);
  if (section == nullptr) return FALSE;
  const WideString mapped = UserKey(section);
  if (mapped.empty()) return Finish(WriteProfile(kWinIni, section, key, value));
  if (key == nullptr) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  return Finish(UserSection(mapped, KEY_SET_VALUE).Set(key, value));
}

DWORD WINAPI GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR otherwise,
                                      LPWSTR buffer, DWORD capacity, LPCWSTR file) {
  KV_API_NOFAIL(GetPrivateProfileStringW, 0, section, key, otherwise, buffer, capacity, file);
  return ReadProfile(ProfileFile(View(file)), section, key, otherwise, buffer, capacity);
}

UINT WINAPI GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT otherwise, LPCWSTR file) {
  KV_API_NOFAIL(GetPrivateProfileIntW, static_cast<UINT>(otherwise), section, key, otherwise, file);
  const auto value = ProfileFile(View(file)).Value(View(section), View(key));
  return NumberIn(value.value_or(WideString()), otherwise);
}

DWORD WINAPI GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buffer, DWORD capacity,
                                       LPCWSTR file) {
  KV_API_NOFAIL(GetPrivateProfileSectionW, 0, section, buffer, capacity, file);
  return CopyList(ProfileFile(View(file)).Lines(View(section)), buffer, capacity);
}

BOOL WINAPI WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file) {
  KV_API(WritePrivateProfileStringW, ERROR_ACCESS_DENIED, FALSE, section, key, value, file);
  if (section == nullptr) return FALSE;
  return Finish(WriteProfile(View(file), section, key, value));
}

BOOL WINAPI WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR data, LPCWSTR file) {
  KV_API(WritePrivateProfileSectionW, ERROR_ACCESS_DENIED, FALSE, section, data, file);
  ProfileFile profile(View(file));
  std::vector<WideString> lines;
  for (LPCWSTR line = data; line != nullptr && *line != 0; line += View(line).size() + 1) {
    lines.emplace_back(line);
  }
  if (data == nullptr) {
    profile.DeleteSection(View(section));
  } else {
    profile.SetSection(View(section), lines);
  }
  return Finish(profile.Save());
}
