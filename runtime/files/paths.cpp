#include "runtime/files/paths.h"

#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {

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
  output[0] = 0;
  const LPCWSTR extension = FindExtension(path);
  if (extension == nullptr) return 0;
  const LPCWSTR name = GetFileName(path);
  const int length = static_cast<int>(extension - name);
  CopyStringW(output, length + 1 < MAX_PATH ? length + 1 : MAX_PATH, name);
  return static_cast<int>(View(output).size());
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
  const size_t length = View(path).size();
  size_t end = length;
  const LPCWSTR present = FindExtension(path);
  if (present != nullptr && *present != 0) {
    if (old == OldExtension::kLeave) return TRUE;
    if (old == OldExtension::kReplace) end = present - path;
  }
  const WideView added = View(extension);
  const size_t dot = added.starts_with('.') ? 0 : 1;
  if (end + dot + added.size() >= static_cast<size_t>(capacity)) return FALSE;
  path[end] = 0;
  return AppendText(path, capacity, dot == 0 ? TEXT("%s") : TEXT(".%s"), extension);
}

BOOL PathJoin(LPCWSTR directory, LPCWSTR name, LPWSTR output, int capacity) {
  const WideView part = View(name);
  if (part.find(':') != WideView::npos || part.starts_with(TEXT("\\\\"))) {
    CopyStringW(output, capacity, name);
    return part.size() < static_cast<size_t>(capacity);
  }
  const WideView folder = View(directory);
  const bool slash = !folder.ends_with('\\');
  CopyStringW(output, capacity, directory);
  if (slash) AppendText(output, capacity, TEXT("\\"));
  if (!part.empty()) AppendText(output, capacity, TEXT("%s"), name);
  return folder.size() + (slash ? 1 : 0) + part.size() < static_cast<size_t>(capacity);
}

void PathBesideModule(HMODULE module, LPCWSTR name, WCHAR (&output)[MAX_PATH]) {
  WCHAR directory[MAX_PATH];
  output[0] = 0;
  const DWORD length = GetModuleFileNameW(module, directory, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return;
  directory[GetFileName(directory) - directory] = 0;
  if (!PathJoin(directory, name, output, MAX_PATH)) output[0] = 0;
}

BOOL MakeFullPath(LPCWSTR path, WCHAR (&output)[MAX_PATH]) {
  output[0] = 0;
  const DWORD length = GetFullPathNameW(path, MAX_PATH, output, nullptr);
  return length != 0 && length < MAX_PATH;
}

LPCWSTR ShortPath(LPCWSTR path, WCHAR (&buffer)[MAX_PATH]) {
  const DWORD length = GetShortPathNameW(path, buffer, MAX_PATH);
  return length == 0 || length >= MAX_PATH ? path : buffer;
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
