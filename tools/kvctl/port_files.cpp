#include "tools/kvctl/port_files.h"

#include "runtime/core/startup_context.h"
#include "runtime/core/version_details.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/file_list.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/printing/driver_directories.h"
#include "runtime/text/format.h"

namespace kvctl {
namespace {

// The resource libraries of single languages, "kvres832-0407.dll".
constexpr WCHAR kLanguageLibraries[] = TEXT("kvres832-????.dll");

WideString DirectoryOf(WideView path) {
  const size_t backslash = path.rfind(TEXT('\\'));
  return backslash == WideView::npos ? WideString() : WideString(path.substr(0, backslash));
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

std::vector<WideString> PortFilesIn(const WideString& directory) {
  std::vector<WideString> names;
  if (directory.empty()) return names;
  const auto add = [&](LPCWSTR name) {
    if (kv::FileExistsIn(directory.c_str(), name, kv::Report::kNo)) names.push_back(name);
  };
  add(kv::kResourceDllName);
  kv::CFileList libraries;
  libraries.Scan(PathIn(directory, kLanguageLibraries).c_str(), TRUE, FALSE);
  for (int i = 0; i < libraries.count(); ++i) names.push_back(libraries.GetName(i));
  add(kv::startupContext.monitorFile);
  return names;
}

WideString PathIn(const WideString& directory, WideView name) {
  return (directory + TEXT('\\')).append(name);
}

DWORD FileVersion(const WideString& path) {
  kv::VersionDetails details;
  kv::GetFileVersionDetails(path.c_str(), details);
  return details.fileVersionHigh;
}

WideString VersionText(DWORD version) {
  WCHAR text[32];
  kv::FormatText(text, TEXT("%d.%d"), HIWORD(version), LOWORD(version));
  return text;
}

}  // namespace kvctl
