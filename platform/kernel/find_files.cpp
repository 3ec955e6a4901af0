// Searches through directories.
#include <algorithm>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/control/leaks.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/directory_listing.h"
#include "platform/kernel/file_attributes.h"
#include "platform/kernel/name_pattern.h"
#include "platform/kernel/path.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

template <size_t kCapacity>
void CopyName(WideView name, WCHAR (&out)[kCapacity]) {
  const WideView fitting = name.substr(0, kCapacity - 1);
  *std::copy(fitting.begin(), fitting.end(), out) = 0;
}

// One search: the names as they were when it began, told about as they are now.
class Search {
 public:
  Search(std::filesystem::path directory, std::vector<ListedName> names)
      : directory_(std::move(directory)), names_(std::move(names)) {}

  // False when there is nothing more.
  bool Next(WIN32_FIND_DATAW& data) {
    while (next_ < names_.size()) {
      const ListedName& entry = names_[next_++];
      FileFacts facts;
      // What has gone meanwhile is passed over.
      if (!ReadFileFacts(directory_ / ToUtf8(entry.name), facts)) continue;
      data = {};
      data.dwFileAttributes = facts.attributes;
      data.ftCreationTime = facts.created;
      data.ftLastAccessTime = facts.accessed;
      data.ftLastWriteTime = facts.written;
      data.nFileSizeHigh = static_cast<DWORD>(facts.size >> 32);
      data.nFileSizeLow = static_cast<DWORD>(facts.size);
      const bool is_link = (facts.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
      if (is_link) data.dwReserved0 = IO_REPARSE_TAG_SYMLINK;
      CopyName(entry.name, data.cFileName);
      CopyName(entry.short_name, data.cAlternateFileName);
      return true;
    }
    return false;
  }

 private:
  std::filesystem::path directory_;
  std::vector<ListedName> names_;
  size_t next_ = 0;
  CountedResource counted_{Resource::kFindHandle};
};

struct Searches {
  std::mutex mutex;
  std::unordered_map<HANDLE, std::unique_ptr<Search>> open;
};

Searches& searches() {
  static Searches* instance = new Searches;
  return *instance;
}

DWORD FindPlainName(WideView path, std::unique_ptr<Search>& search) {
  const ResolvedPath resolved = ResolvePath(path);
  if (!resolved.Exists()) return resolved.error;
  // The root has no entry, and neither has a device.
  if (resolved.is_device || resolved.windows.size() <= 3) return ERROR_FILE_NOT_FOUND;
  const std::filesystem::path parent = resolved.host.parent_path();
  const WideString name = ToWide(resolved.host.filename().string());
  const WideString short_name = ShortNameOf(parent, name);
  std::vector<ListedName> names{{name, short_name == name ? WideString() : short_name}};
  search = std::make_unique<Search>(parent, std::move(names));
  return ERROR_SUCCESS;
}

DWORD FindPattern(WideView directory, WideView pattern, std::unique_ptr<Search>& search) {
  const size_t prefix = directory.starts_with(kVerbatimPrefix) ? kVerbatimPrefix.size() : 0;
  if (NamePattern::HasWildcards(directory.substr(prefix))) return ERROR_INVALID_NAME;
  const ResolvedPath resolved = ResolvePath(directory);
  if (!resolved.Exists()) {
    return resolved.error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : resolved.error;
  }
  if (HostAttributes(resolved.host) != FILE_ATTRIBUTE_DIRECTORY) return ERROR_DIRECTORY;
  std::vector<ListedName> names = ListDirectory(resolved.host);
  const bool is_root = resolved.windows.size() <= 3;
  if (!is_root) names.insert(names.begin(), {{TEXT("."), {}}, {TEXT(".."), {}}});
  const NamePattern wanted(pattern);
  std::erase_if(names, [&](const ListedName& entry) {
    return !wanted.Matches(entry.name) &&
           (entry.short_name.empty() || !wanted.Matches(entry.short_name));
  });
  if (names.empty()) return ERROR_FILE_NOT_FOUND;
  search = std::make_unique<Search>(resolved.host, std::move(names));
  return ERROR_SUCCESS;
}

DWORD Find(WideView path, std::unique_ptr<Search>& search) {
  if (path.empty()) return ERROR_PATH_NOT_FOUND;
  if (path.back() == '\\' || path.back() == '/') return ERROR_FILE_NOT_FOUND;
  const WideView pattern = BaseName(path);
  if (!NamePattern::HasWildcards(pattern)) return FindPlainName(path, search);
  WideView directory = path.substr(0, path.size() - pattern.size());
  // Without its backslash, unless that makes it a root.
  const bool is_root = directory.size() == 1 || directory.ends_with(TEXT(":\\"));
  if (directory.size() > 1 && !is_root && directory.back() != ':') directory.remove_suffix(1);
  return FindPattern(directory.empty() ? TEXT(".") : directory, pattern, search);
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE WINAPI FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
  KV_API(FindFirstFileW, ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE, pattern, data);
  std::unique_ptr<Search> search;
  DWORD error = Find(View(pattern), search);
  if (error == ERROR_SUCCESS && !search->Next(*data)) error = ERROR_FILE_NOT_FOUND;
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  const HANDLE handle = search.get();
  std::lock_guard lock(searches().mutex);
  searches().open.emplace(handle, std::move(search));
  return handle;
}

BOOL WINAPI FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW data) {
  KV_API(FindNextFileW, ERROR_ACCESS_DENIED, FALSE, search, data);
  std::lock_guard lock(searches().mutex);
  const auto found = searches().open.find(search);
  if (found == searches().open.end()) return Finish(ERROR_INVALID_HANDLE);
  return Finish(found->second->Next(*data) ? ERROR_SUCCESS : ERROR_NO_MORE_FILES);
}

BOOL WINAPI FindClose(HANDLE search) {
  KV_API_NOFAIL(FindClose, FALSE, search);
  std::lock_guard lock(searches().mutex);
  return Finish(searches().open.erase(search) != 0 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
}
