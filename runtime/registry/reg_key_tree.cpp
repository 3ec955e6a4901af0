// Copying and renaming whole keys.
#include <algorithm>

#include "runtime/core/last_error.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/key_name.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// Others may write to a key while it is copied; one that is written to all the time is given up.
constexpr int kMostCopies = 10;

// Takes the first name off a path, in which any number of backslashes part the names; empty at its
// end.
WideView TakeName(WideView& path) {
  path.remove_prefix(std::min(path.find_first_not_of('\\'), path.size()));
  const WideView name = path.substr(0, path.find('\\'));
  path.remove_prefix(name.size());
  return name;
}

// Whether `path` is `above` or a key below it; the empty path is the key that paths start from.
bool IsWithin(WideView path, WideView above) {
  for (WideView name = TakeName(above); !name.empty(); name = TakeName(above)) {
    if (!EqualNoCase(TakeName(path), name)) return false;
  }
  return true;
}

}  // namespace

int RegKey::CopyTree(RegKey& source, Recurse recurse) {
  if (recurse == Recurse::kYes &&
      RelateKeys(handle(), source.handle()) == KeyRelation::kFirstBelow) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
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
  if (IsWithin(View(name), View(newName)) || IsWithin(View(newName), View(name)))
    return FailWith(ERROR_INVALID_PARAMETER);
  RegKey source, target;
  if (!IsOpen() || !source.OpenKey(kRead, handle(), name)) return FALSE;
  // Links and views give one key several paths.
  const KeyRelation keys = target.OpenKey(kRead, handle(), newName)
                               ? RelateKeys(source.handle(), target.handle())
                               : KeyRelation::kApart;
  if (keys != KeyRelation::kApart && keys != KeyRelation::kUnknown)
    return FailWith(ERROR_INVALID_PARAMETER);
  target.Close();
  // What has the new name is not deleted in vain.
  if (!MayCreateBelow(handle())) return target.Refuse(ERROR_ACCESS_DENIED);
  MyDeleteKeyW(handle(), newName);
  if (!target.CreateKey(kCreate, handle(), newName)) return FALSE;
  if (RelateKeys(source.handle(), target.handle()) == KeyRelation::kSecondBelow) {
    target.Close(Disposal::kDelete);
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  if (!MoveTree(source, name, target)) return FALSE;
  Refresh();
  return TRUE;
}

BOOL RegKey::MoveTree(RegKey& source, LPCWSTR name, RegKey& target) {
  for (int copies = 0; copies < kMostCopies; ++copies) {
    BOOL complete = TRUE;
    if (!source.IsOpen() && !source.OpenKey(kRead, handle(), name)) return FALSE;
    if (target.CopyTree(source, Recurse::kYes, complete) == 0 || !complete) continue;
    source.Close();
    const CopiedKey deletion = DeleteCopiedKey(handle(), name, target.handle());
    if (deletion != CopiedKey::kNotWhollyCopied) return deletion == CopiedKey::kDeleted;
  }
  return FALSE;
}

}  // namespace kv
