#include "tools/kvctl/port_files.h"

#include <algorithm>

#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/core/version_details.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/printing/driver_directories.h"
#include "runtime/text/format.h"

namespace kvctl {
namespace {

WideString DirectoryOf(WideView path) {
  const size_t backslash = path.rfind(TEXT('\\'));
  return backslash == WideView::npos ? WideString() : WideString(path.substr(0, backslash));
}

bool IsModule(WideView name) {
  return kv::EqualAsciiNoCase(name, kv::startupContext.monitorFile);
}

// "kvres832.dll", or of a single language "kvres832-0407.dll".
bool IsLibrary(WideView name) {
  const WideView standard = kv::kResourceDllName;
  const size_t stem = standard.rfind('.');
  constexpr size_t kCode = 5;
  if (name.size() == standard.size() + kCode && name[stem] == '-') {
    return kv::EqualAsciiNoCase(name.substr(0, stem), standard.substr(0, stem)) &&
           kv::EqualAsciiNoCase(name.substr(stem + kCode), standard.substr(stem));
  }
  return kv::EqualAsciiNoCase(name, standard);
}

bool IsPortFile(WideView name, Leftovers leftovers) {
  if (leftovers == Leftovers::kYes) name = TargetName(name);
  return IsModule(name) || IsLibrary(name);
}

}  // namespace

WideString PackageDirectory() {
  WCHAR path[MAX_PATH];
  kv::PathBesideModule(GetModuleHandleW(nullptr), kv::startupContext.monitorFile, path);
  return DirectoryOf(path);
}

WideString SystemDirectory() {
  WCHAR path[MAX_PATH];
  kv::GetSystemFilePath(kv::startupContext.monitorFile, path);
  return DirectoryOf(path);
}

WideString DriverDirectory() {
  WCHAR path[MAX_PATH];
  kv::GetProductDriverDirectory(nullptr, path);
  return path;
}

DWORD ListPortFiles(const WideString& directory, Leftovers leftovers,
                    std::vector<WideString>& names) {
  names.clear();
  WIN32_FIND_DATAW found = {};
  const kv::UniqueFindHandle search(
      FindFirstFileW(PathIn(directory, TEXT("kv*.dll*")).c_str(), &found));
  DWORD error = search ? ERROR_SUCCESS : GetLastError();
  while (error == ERROR_SUCCESS) {
    const bool isFile = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    if (isFile && IsPortFile(found.cFileName, leftovers)) names.push_back(found.cFileName);
    if (!FindNextFileW(search.Get(), &found)) error = GetLastError();
  }
  std::ranges::sort(names, [](const WideString& a, const WideString& b) {
    const bool aIsModule = IsModule(TargetName(a)), bIsModule = IsModule(TargetName(b));
    return aIsModule != bIsModule ? bIsModule : kv::CompareAsciiNoCase(a, b) < 0;
  });
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

WideView TargetName(WideView name) {
  for (const WideView suffix : {WideView(kStagedSuffix), WideView(kBackupSuffix)}) {
    if (name.size() > suffix.size() &&
        kv::EqualAsciiNoCase(name.substr(name.size() - suffix.size()), suffix)) {
      return name.substr(0, name.size() - suffix.size());
    }
  }
  return name;
}

WideString PathIn(const WideString& directory, WideView name) {
  return directory.empty() ? WideString() : (directory + TEXT('\\')).append(name);
}

std::optional<DWORD> FileVersion(const WideString& path) {
  kv::VersionDetails details;
  if (!kv::GetFileVersionDetails(path.c_str(), details)) return std::nullopt;
  return details.fileVersionHigh;
}

WideString VersionText(DWORD version) {
  WCHAR text[32];
  kv::FormatText(text, TEXT("%d.%d"), HIWORD(version), LOWORD(version));
  return text;
}

}  // namespace kvctl
