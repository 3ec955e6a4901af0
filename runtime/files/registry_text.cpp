#include "runtime/files/registry_text.h"

#include <memory>

#include "runtime/registry/expand_environment.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {

BOOL ReadWholeString(const RegKey& key, LPCWSTR name, LPWSTR text, int capacity, Expand expand) {
  if (key.ReadString(name, text, capacity, Expand::kNo) == 0) return FALSE;
  if (expand == Expand::kNo || key.GetValueType(name, REG_EXPAND_SZ) == 0) return TRUE;
  const std::unique_ptr<WCHAR[]> expansion = MyExpandEnvironmentStrings(text);
  const bool fits = View(expansion.get()).size() < static_cast<size_t>(capacity);
  CopyStringW(text, capacity, fits ? expansion.get() : nullptr);
  return text[0] != 0;
}

}  // namespace kv
