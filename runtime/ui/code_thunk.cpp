#include "runtime/ui/code_thunk.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

extern "C" {
extern const BYTE kvHookTemplateBegin[];
extern const BYTE kvHookTemplateEnd[];
extern const BYTE kvEnumerationTemplateBegin[];
extern const BYTE kvEnumerationTemplateEnd[];
}

namespace kv {
namespace {

constexpr BYTE kMarker[] = {0x17, 0x17, 0x17, 0x17};

}  // namespace

CodeTemplate HookTemplate() {
  return {kvHookTemplateBegin, kvHookTemplateEnd};
}

CodeTemplate EnumerationTemplate() {
  return {kvEnumerationTemplateBegin, kvEnumerationTemplateEnd};
}

void* CCodeThunk::Build(const CodeTemplate& code, const void* object) {
  Free();
  const BYTE* const marker =
      std::search(code.begin, code.end, std::begin(kMarker), std::end(kMarker));
  if (code.end - marker < static_cast<std::ptrdiff_t>(sizeof(object))) return nullptr;
  const SIZE_T size = static_cast<SIZE_T>(code.end - code.begin);
  // Memory is never writable and executable at once.
  code_ = VirtualAllocEx(GetCurrentProcess(), nullptr, size, MEM_COMMIT, PAGE_READWRITE);
  if (code_ == nullptr) return nullptr;
  BYTE* const copy = static_cast<BYTE*>(code_);
  std::memcpy(copy, code.begin, size);
  std::memcpy(copy + (marker - code.begin), &object, sizeof(object));
  DWORD previous;
  if (!VirtualProtect(code_, size, PAGE_EXECUTE, &previous)) {
    Free();
    return nullptr;
  }
  FlushInstructionCache(GetCurrentProcess(), code_, size);
  return code_;
}

void CCodeThunk::Free() {
  if (void* const code = std::exchange(code_, nullptr))
    VirtualFreeEx(GetCurrentProcess(), code, 0, MEM_RELEASE);
}

}  // namespace kv
