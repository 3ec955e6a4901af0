#include "runtime/files/paths.h"

#include <algorithm>

#include "runtime/files/file_report.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

BOOL TooLong() {
  return FailWith(ERROR_FILENAME_EXCED_RANGE);
}

// The text may overlap its new place.
void Move(LPWSTR to, WideView text) {
  WideView::traits_type::move(to, text.data(), text.size());
}

}  // namespace

LPCWSTR GetFileName(LPCWSTR path) {
  const size_t slash = View(path).rfind('\\');
  return slash == WideView::npos ? path : path + slash + 1;
}

LPCWSTR FindExtension(LPCWSTR path) {
  const WideView whole = View(path);
  if (whole.empty()) return nullptr;
  const size_t dot = whole.rfind('.');
  const bool inFileName = dot != WideView::npos && whole.find('\\', dot) == WideView::npos;
  return path + (inFileName ? dot : whole.size());
}

int GetBaseName(LPCWSTR path, WCHAR (&output)[MAX_PATH]) {
  const LPCWSTR extension = FindExtension(path);
  const LPCWSTR name = GetFileName(path);
  const int length = extension == nullptr ? 0 : static_cast<int>(extension - name);
  const int kept = length < MAX_PATH ? length : 0;
  CopyStringW(output, kept + 1, name);
  return kept;
}

void GetDirectory(LPCWSTR path, WCHAR (&output)[MAX_PATH]) {
  const BOOL isDirectory = IsDirectory(path);
  if (isDirectory && View(path).size() < MAX_PATH) {
    CopyStringW(output, path);
    return;
  }
  if (isDirectory || !MakeFullPath(path, output)) {
    output[0] = 0;
    return;
  }
  const size_t slash = View(output).rfind('\\');
  if (slash == WideView::npos) {
    output[0] = 0;
    return;
  }
  output[slash] = 0;
  if (View(output).find('\\') == WideView::npos) AppendText(output, MAX_PATH, TEXT("\\"));
}

BOOL ChangeExtension(LPWSTR path, int capacity, LPCWSTR extension, OldExtension old) {
  size_t end = View(path).size();
  const LPCWSTR present = FindExtension(path);
  if (present != nullptr && *present != 0) {
    if (old == OldExtension::kLeave) return TRUE;
    if (old == OldExtension::kReplace) end = present - path;
  }
  const WideView added = View(extension);
  const size_t dot = added.starts_with('.') ? 0 : 1;
  if (end + dot + added.size() >= static_cast<size_t>(capacity)) return TooLong();
  Move(path + end + dot, added);
  if (dot != 0) path[end] = '.';
  path[end + dot + added.size()] = 0;
  return TRUE;
}

BOOL PathJoin(LPCWSTR directory, LPCWSTR name, LPWSTR output, int capacity) {
  if (capacity <= 0) return TooLong();
  const WideView part = View(name);
  const bool isComplete = part.find(':') != WideView::npos || part.starts_with(TEXT("\\\\"));
  WideView folder = isComplete ? WideView() : View(directory);
  if (!isComplete && folder.empty()) {
    output[0] = 0;
    return FailWith(ERROR_PATH_NOT_FOUND);
  }
  // The name goes to its place first, and may stand where the directory goes or come from there.
  WCHAR kept[MAX_PATH];
  if (folder.size() < MAX_PATH) folder = {kept, folder.copy(kept, MAX_PATH)};
  const size_t slash = isComplete || folder.ends_with('\\') ? 0 : 1;
  const size_t room = static_cast<size_t>(capacity) - 1;
  const size_t begin = std::min(folder.size() + slash, room);
  const size_t length = std::min(part.size(), room - begin);
  Move(output + begin, part.substr(0, length));
  output[begin + length] = 0;
  Move(output, folder.substr(0, begin));
  if (slash != 0 && begin > folder.size()) output[folder.size()] = '\\';
  return folder.size() + slash + part.size() <= room ? TRUE : TooLong();
}

BOOL PathBesideModule(HMODULE module, LPCWSTR name, WCHAR (&output)[MAX_PATH]) {
  WCHAR directory[MAX_PATH];
  const DWORD length = GetModuleFileNameW(module, directory, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) {
    output[0] = 0;
    return length == 0 ? FALSE : TooLong();
  }
  directory[GetFileName(directory) - directory] = 0;
  if (PathJoin(directory, name, output, MAX_PATH)) return TRUE;
  output[0] = 0;
  return FALSE;
}

BOOL MakeFullPath(LPCWSTR path, WCHAR (&output)[MAX_PATH]) {
  WCHAR full[MAX_PATH];
  const DWORD length = GetFullPathNameW(path, MAX_PATH, full, nullptr);
  const bool fits = length != 0 && length < MAX_PATH;
  CopyStringW(output, fits ? full : nullptr);
  if (fits) return TRUE;
  return length == 0 ? FALSE : TooLong();
}

LPWSTR EndOfRoot(LPWSTR fullPath) {
  const WideView whole = View(fullPath);
  size_t start = 0;
  if (whole.starts_with(TEXT("\\\\"))) {
    const size_t server = whole.find('\\', 2);
    const bool hasShare =
        server != WideView::npos && server != 2 && whole.substr(server + 1, 1) != TEXT("\\");
    start = hasShare ? server + 1 : whole.size();
  }
  const size_t slash = whole.find('\\', start);
  if (slash != WideView::npos) return fullPath + slash;
  SetLastError(ERROR_BAD_PATHNAME);
  return nullptr;
}

LPCWSTR ShortPath(LPCWSTR path, WCHAR (&buffer)[MAX_PATH]) {
  WCHAR shortened[MAX_PATH];
  const DWORD length = GetShortPathNameW(path, shortened, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return path;
  CopyStringW(buffer, shortened);
  return buffer;
}

BOOL IsDirectory(LPCWSTR path) {
  const WideView whole = View(path);
  if (whole.empty()) return FALSE;
  if (whole.ends_with('\\')) return TRUE;
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

LPCWSTR StripLongPathPrefix(LPCWSTR path) {
  constexpr WideView kPrefixes[] = {TEXT("\\\\?\\UNC\\"), TEXT("!\\??\\"), TEXT("\\\\?\\"),
                                    TEXT("\\??\\")};
  for (const WideView prefix : kPrefixes) {
    if (StartsWithAsciiNoCase(View(path), prefix)) return path + prefix.size();
  }
  return path;
}

BOOL IsTmpFile(LPCWSTR path) {
  constexpr WideView kExtension = TEXT(".tmp");
  const WideView whole = View(path);
  return whole.size() > kExtension.size() &&
         EqualAsciiNoCase(whole.substr(whole.size() - kExtension.size()), kExtension);
}

}  // namespace kv
