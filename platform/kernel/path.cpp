#include "platform/kernel/path.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/directory_cache.h"
#include "platform/kernel/directory_listing.h"
#include "platform/kernel/process_record.h"
#include "platform/kernel/wow64.h"

namespace platform {
namespace {

constexpr WideView kReservedNames[] = {TEXT("CON"), TEXT("PRN"), TEXT("AUX"), TEXT("NUL")};
constexpr size_t kLongestComponent = 255;

bool IsSeparator(WCHAR c) {
  return c == TEXT('\\') || c == TEXT('/');
}
bool IsLetter(WCHAR c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool HasDrive(WideView path) {
  return path.size() >= 2 && IsLetter(path[0]) && path[1] == ':';
}
bool IsVerbatim(WideView path) {
  return path.starts_with(kVerbatimPrefix);
}
bool IsNetworkOrDevice(WideView path) {
  return path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
}

std::vector<WideString> SplitPath(WideView path, bool slashes_too) {
  std::vector<WideString> components(1);
  for (WCHAR c : path) {
    if (c == '\\' || (slashes_too && c == '/')) {
      components.emplace_back();
    } else {
      components.back() += c;
    }
  }
  std::erase_if(components, [](const WideString& component) { return component.empty(); });
  return components;
}

void TrimEnd(WideString& component, WideView characters) {
  component.erase(component.find_last_not_of(characters) + 1);
}

// Resolves "." and "..", and drops what the system ignores at the end of names.
WideString Normalized(WCHAR drive, WideView rest) {
  std::vector<WideString> result;
  const bool ends_with_separator = !rest.empty() && IsSeparator(rest.back());
  for (WideString& component : SplitPath(rest, true)) {
    if (component == TEXT(".")) continue;
    if (component == TEXT("..")) {
      if (!result.empty()) result.pop_back();
      continue;
    }
    if (component.size() > 1 && component.back() == '.') component.pop_back();
    result.push_back(std::move(component));
  }
  if (!result.empty() && !ends_with_separator) {
    TrimEnd(result.back(), TEXT(" ."));
    if (result.back().empty()) result.pop_back();
  }
  WideString text{drive, ':', '\\'};
  for (size_t i = 0; i < result.size(); ++i) {
    if (i != 0) text += '\\';
    text += result[i];
  }
  if (!result.empty() && ends_with_separator) text += '\\';
  return text;
}

// "NUL", "con.txt", "COM1" and the like name devices in every directory.
bool IsReservedName(WideView name) {
  WideString stem(name.substr(0, name.find('.')));
  TrimEnd(stem, TEXT(" "));
  for (WideView reserved : kReservedNames) {
    if (EqualNoCase(stem, reserved)) return true;
  }
  if (stem.size() != 4 || stem[3] < '1' || stem[3] > '9') return false;
  const WideView kind = WideView(stem).substr(0, 3);
  return EqualNoCase(kind, TEXT("COM")) || EqualNoCase(kind, TEXT("LPT"));
}

bool Exists(const std::string& path, bool* is_directory) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return false;
  *is_directory = S_ISDIR(status.st_mode);
  return true;
}

std::string Joined(const std::string& directory, const std::string& name) {
  return directory.back() == '/' ? directory + name : directory + '/' + name;
}

struct HostSearch {
  DWORD error = ERROR_SUCCESS;
  bool is_directory = true;
};

// Walks from `host` (extended on the way) along the components, which take the case of the disk.
HostSearch FindOnHost(std::string& host, std::vector<WideString>& components) {
  HostSearch search;
  std::string exact = host;
  for (const WideString& component : components) exact = Joined(exact, ToUtf8(component));
  if (Exists(exact, &search.is_directory)) {
    host = exact;
    return search;
  }
  for (size_t i = 0; i < components.size(); ++i) {
    const std::string name = ToUtf8(components[i]);
    std::string next = Joined(host, name);
    if (search.error == ERROR_SUCCESS && !Exists(next, &search.is_directory)) {
      std::string other = FindNameIgnoringCase(host, name);
      if (other.empty()) other = ToUtf8(FindByShortName(host, components[i]));
      if (!other.empty() && Exists(Joined(host, other), &search.is_directory)) {
        components[i] = ToWide(other);
        next = Joined(host, other);
      } else {
        search.error = i + 1 == components.size() ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
      }
    }
    if (search.error == ERROR_SUCCESS && !search.is_directory && i + 1 < components.size()) {
      search.error = ERROR_PATH_NOT_FOUND;
    }
    host = std::move(next);
  }
  return search;
}

ResolvedPath Failed(DWORD error) {
  ResolvedPath result;
  result.error = error;
  return result;
}

ResolvedPath DeviceNamed(WideView name) {
  ResolvedPath result;
  result.is_device = true;
  result.windows = WideString(TEXT("\\\\.\\")) + WideString(name);
  WideString stem(name.substr(0, name.find('.')));
  TrimEnd(stem, TEXT(" "));
  if (EqualNoCase(stem, TEXT("NUL"))) {
    result.host = "/dev/null";
  } else {
    result.error = ERROR_FILE_NOT_FOUND;
  }
  return result;
}

WideString JoinedText(WCHAR drive, const std::vector<WideString>& components) {
  WideString text{UpperCase(drive), ':', '\\'};
  for (size_t i = 0; i < components.size(); ++i) {
    if (i != 0) text += '\\';
    text += components[i];
  }
  return text;
}

ResolvedPath ResolveFull(WideView full, bool verbatim) {
  std::vector<WideString> components = SplitPath(full.substr(2), false);
  if (!components.empty() && !verbatim && IsReservedName(components.back())) {
    return DeviceNamed(components.back());
  }
  for (const WideString& component : components) {
    if (!IsValidComponent(component)) return Failed(ERROR_INVALID_NAME);
  }
  const WCHAR drive = UpperCase(full[0]);
  if (drive != 'C' && drive != 'Z') return Failed(ERROR_PATH_NOT_FOUND);

  std::vector<WideString> located = components;
  if (drive == 'C') RedirectSystemPath(located);
  std::string host =
      drive == 'C' ? (Machine::Current().directory() / "drive_c").string() : std::string("/");
  const HostSearch search = FindOnHost(host, located);

  ResolvedPath result;
  result.error = search.error;
  if (result.Exists() && !search.is_directory && full.back() == '\\') {
    result.error = ERROR_INVALID_NAME;
  }
  result.host = host;
  // A path that was led elsewhere keeps the name under which the process knows it.
  for (size_t i = 0; i < components.size(); ++i) {
    if (EqualNoCase(components[i], located[i])) components[i] = located[i];
  }
  result.windows = JoinedText(drive, components);
  return result;
}

}  // namespace

bool IsValidComponent(WideView component) {
  if (component.size() > kLongestComponent) return false;
  return std::none_of(component.begin(), component.end(), [](WCHAR c) {
    return c < 0x20 || WideView(TEXT("<>:\"/\\|?*")).find(c) != WideView::npos;
  });
}

WideString FullPath(WideView path) {
  if (IsVerbatim(path) || IsNetworkOrDevice(path)) return WideString(path);
  if (HasDrive(path) && path.size() >= 3 && IsSeparator(path[2])) {
    return Normalized(path[0], path.substr(2));
  }
  const WideString current = Machine::Current().Part<CurrentDirectory>().Get();
  if (HasDrive(path)) {
    WideString rest(path.substr(2));
    if (UpperCase(path[0]) == UpperCase(current[0])) rest = current.substr(2) + TEXT("\\") + rest;
    return Normalized(path[0], rest);
  }
  if (!path.empty() && IsSeparator(path[0])) return Normalized(current[0], path);
  return Normalized(current[0], current.substr(2) + TEXT("\\") + WideString(path));
}

ResolvedPath ResolvePath(WideView path) {
  if (path.empty()) return Failed(ERROR_PATH_NOT_FOUND);
  if (IsVerbatim(path)) {
    const WideView rest = path.substr(kVerbatimPrefix.size());
    if (HasDrive(rest) && rest.size() >= 3 && rest[2] == '\\') return ResolveFull(rest, true);
    return Failed(EqualNoCase(rest.substr(0, 4), TEXT("UNC\\")) ? ERROR_BAD_NETPATH
                                                                : ERROR_INVALID_NAME);
  }
  if (IsNetworkOrDevice(path)) {
    if (path.size() >= 4 && path[2] == '.' && IsSeparator(path[3])) {
      return DeviceNamed(path.substr(4));
    }
    return Failed(ERROR_BAD_NETPATH);
  }
  const WideString full = FullPath(path);
  if (full.size() >= MAX_PATH) return Failed(ERROR_PATH_NOT_FOUND);
  return ResolveFull(full, false);
}

WideString WindowsPath(const std::filesystem::path& host) {
  const std::filesystem::path absolute = std::filesystem::absolute(host).lexically_normal();
  const std::filesystem::path drive = Machine::Current().directory() / "drive_c";
  const std::filesystem::path below = absolute.lexically_relative(drive.lexically_normal());
  const bool on_drive_c = !below.empty() && *below.begin() != "..";
  WideString text = on_drive_c ? TEXT("C:\\") : TEXT("Z:\\");
  const std::filesystem::path rest = on_drive_c ? below : absolute.relative_path();
  for (const auto& component : rest) {
    if (component.empty() || component == ".") continue;
    if (text.back() != '\\') text += '\\';
    text += ToWide(component.string());
  }
  return text;
}

WideView BaseName(WideView path) {
  return path.substr(path.find_last_of(TEXT("\\/:")) + 1);
}

WideView DirectoryOf(WideView path) {
  const size_t last = path.rfind('\\');
  if (last == WideView::npos) return {};
  return path.substr(0, last == 2 ? 3 : last);
}

std::filesystem::path HostPath(std::basic_string_view<WCHAR> path) {
  return ResolvePath(path).host;
}

// A program starts where its user stands on the host, so that relative names of real files work.
CurrentDirectory::CurrentDirectory(Machine&) {
  path_ = ProcessRecord::Own().directory;
  if (!path_.empty()) return;
  std::error_code error;
  const std::filesystem::path host = std::filesystem::current_path(error);
  path_ = error ? WideString(TEXT("C:\\")) : WindowsPath(host);
}

WideString CurrentDirectory::Get() const {
  std::lock_guard lock(mutex_);
  return path_;
}

void CurrentDirectory::Set(WideString full_path) {
  std::lock_guard lock(mutex_);
  path_ = std::move(full_path);
}

}  // namespace platform

DWORD WINAPI GetCurrentDirectoryW(DWORD capacity, LPWSTR buffer) {
  KV_API(GetCurrentDirectoryW, ERROR_NOT_ENOUGH_MEMORY, 0, capacity, buffer);
  return platform::CopyOut(platform::Machine::Current().Part<platform::CurrentDirectory>().Get(),
                           buffer, capacity);
}

BOOL WINAPI SetCurrentDirectoryW(LPCWSTR path) {
  KV_API(SetCurrentDirectoryW, ERROR_FILE_NOT_FOUND, FALSE, path);
  const platform::ResolvedPath resolved = platform::ResolvePath(platform::View(path));
  if (!resolved.Exists() || resolved.is_device) {
    SetLastError(resolved.Exists() ? ERROR_DIRECTORY : resolved.error);
    return FALSE;
  }
  if (!std::filesystem::is_directory(resolved.host)) {
    SetLastError(ERROR_DIRECTORY);
    return FALSE;
  }
  platform::Machine::Current().Part<platform::CurrentDirectory>().Set(resolved.windows);
  return TRUE;
}
