// Copying and renaming whole keys.
#include "runtime/registry/delete_key.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Whether `path` is `above` or a key below it; the empty path is the key that paths start from.
BOOL IsWithin(WideView path, WideView above) {
  if (above.empty()) return TRUE;
  return path.size() >= above.size() && EqualNoCase(path.substr(0, above.size()), above) &&
         (path.size() == above.size() || path[above.size()] == '\\');
}

}  // namespace

int RegKey::CopyTree(RegKey& source, Recurse recurse) {
  BOOL complete = TRUE;
  return CopyTree(source, recurse, complete);
}

int RegKey::CopyTree(RegKey& source, Recurse recurse, BOOL& complete) {
  if (source.valueCount_ == 0 && source.subKeyCount_ == 0) return 1;
  int count = 0;
  for (LPCWSTR name = source.FirstValue(); name != nullptr; name = source.NextValue()) {
    if (CopyValueFrom(source, name)) ++count;
  }
  if (recurse == Recurse::kNo) return count;
  const DWORD values = static_cast<DWORD>(count);
  DWORD subKeys = 0;
  for (LPCWSTR name = source.FirstSubKey(); name != nullptr; name = source.NextSubKey()) {
    RegKey childSource, child;
    if (childSource.OpenKey(kRead, source.handle(), name) &&
        child.CreateKey(kCreate, handle(), name)) {
      count += child.CopyTree(childSource, recurse, complete);
      ++subKeys;
    }
  }
  // A listing that breaks off looks like one that has ended, and one without memory like that of an
  // empty key.
  if (values != source.valueCount_ || subKeys != source.subKeyCount_ ||
      source.valueData_ == nullptr) {
    complete = FALSE;
  }
  return count;
}

BOOL RegKey::RenameSubKey(LPCWSTR name, LPCWSTR newName) {
  // Deleting the new name first would take the old one with it, or the copy would contain itself.
  if (!IsOpen() || IsWithin(View(name), View(newName)) || IsWithin(View(newName), View(name))) {
    return FALSE;
  }
  RegKey source, target;
  if (!source.OpenKey(kRead, handle(), name)) return FALSE;
  MyDeleteKeyW(handle(), newName);
  if (!target.CreateKey(kCreate, handle(), newName)) return FALSE;
  BOOL complete = TRUE;
  if (target.CopyTree(source, Recurse::kYes, complete) == 0 || !complete) return FALSE;
  source.Close();
  if (!MyDeleteKeyW(handle(), name)) return FALSE;
  Refresh();
  return TRUE;
}

}  // namespace kv
