#include "runtime/printing/devmode.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "runtime/core/messages.h"
#include "runtime/printing/readable_memory.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

static_assert(sizeof(DEVMODEW) == 220 && sizeof(DEVMODEA) == 156);
static_assert(offsetof(DEVMODEW, dmLogPixels) == 166 && offsetof(DEVMODEA, dmLogPixels) == 102);

// Between the two names: from dmSpecVersion to dmCollate.
constexpr size_t kMiddle = 38;
static_assert(offsetof(DEVMODEW, dmFormName) - offsetof(DEVMODEW, dmSpecVersion) == kMiddle);
static_assert(offsetof(DEVMODEA, dmFormName) - offsetof(DEVMODEA, dmSpecVersion) == kMiddle);
// From dmLogPixels to the end of the public part.
constexpr size_t kEnd = sizeof(DEVMODEW) - offsetof(DEVMODEW, dmLogPixels);
static_assert(sizeof(DEVMODEA) - offsetof(DEVMODEA, dmLogPixels) == kEnd);

struct ModeName {
  DWORD bit;
  LPCWSTR name;
};
constexpr ModeName kModeNames[] = {
    {DM_IN_BUFFER, TEXT("DM_IN_BUFFER")},
    {DM_IN_PROMPT, TEXT("DM_IN_PROMPT")},
    {DM_OUT_BUFFER, TEXT("DM_OUT_BUFFER")},
    // The SDK has no macros for three of these.
    {64, TEXT("DM_USER_DEFAULT")},
    {DM_OUT_DEFAULT, TEXT("DM_OUT_DEFAULT")},
    {16, TEXT("DM_ADVANCED")},
    {32, TEXT("DM_NOPERMISSION")},
};

// The two sizes in a device mode, which may be misaligned.
struct Sizes {
  WORD structure;
  WORD extra;
};
static_assert(offsetof(DEVMODEW, dmDriverExtra) == offsetof(DEVMODEW, dmSize) + sizeof(WORD));
static_assert(offsetof(DEVMODEA, dmDriverExtra) == offsetof(DEVMODEA, dmSize) + sizeof(WORD));

template <class DevMode>
Sizes SizesOf(const DevMode* devMode) {
  Sizes sizes;
  std::memcpy(&sizes, reinterpret_cast<const BYTE*>(devMode) + offsetof(DevMode, dmSize),
              sizeof sizes);
  return sizes;
}

template <class DevMode>
BOOL IsValid(const DevMode* devMode) {
  if (!IsReadable(devMode, sizeof(DevMode))) return FALSE;
  const Sizes sizes = SizesOf(devMode);
  return sizes.structure == sizeof(DevMode) && IsReadable(devMode, sizeof(DevMode) + sizes.extra);
}

// An aligned copy of the structure without what lies behind it.
template <class DevMode>
DevMode StructureOf(const DevMode* devMode) {
  DevMode copy;
  std::memcpy(static_cast<void*>(&copy), static_cast<const void*>(devMode), sizeof copy);
  return copy;
}

// The bytes of a device mode from one of its fields on.
template <class DevMode>
const BYTE* BytesAt(const DevMode& devMode, size_t offset) {
  return reinterpret_cast<const BYTE*>(&devMode) + offset;
}
BYTE* BytesAt(DEVMODEW& devMode, size_t offset) {
  return reinterpret_cast<BYTE*>(&devMode) + offset;
}

// The text of a field that may lack its terminator.
template <size_t kCapacity>
WideView FieldText(const WCHAR (&field)[kCapacity]) {
  const WCHAR* const end = std::find(field, field + kCapacity, WCHAR{0});
  return WideView(field, end - field);
}

// Converts a narrow field that may lack its terminator.
template <size_t kCapacity>
void WidenField(const BYTE (&field)[kCapacity], WCHAR (&output)[kCapacity]) {
  char terminated[kCapacity + 1] = {};
  std::memcpy(terminated, field, kCapacity);
  AnsiToWide(output, static_cast<int>(kCapacity), terminated, CP_ACP);
}

}  // namespace

BOOL IsValidDevMode(const DEVMODEW* devMode) {
  return IsValid(devMode);
}

BOOL IsValidDevModeA(const DEVMODEA* devMode) {
  return IsValid(devMode);
}

size_t ReadableDevModeSize(const DEVMODEW* devMode) {
  constexpr size_t kHead = offsetof(DEVMODEW, dmFields);
  if (!IsReadable(devMode, kHead)) return 0;
  const Sizes sizes = SizesOf(devMode);
  const size_t size = size_t{sizes.structure} + sizes.extra;
  return sizes.structure >= kHead && IsReadable(devMode, size) ? size : 0;
}

DEVMODEW PublicPartOf(const DEVMODEW* devMode) {
  return StructureOf(devMode);
}

UniqueDevMode DuplicateDevmodePtr(const DEVMODEW* devMode, Quiet quiet) {
  if (devMode == nullptr) return nullptr;
  const size_t size = ReadableDevModeSize(devMode);
  if (size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  void* const block = AllocateBlock(size);
  if (block == nullptr) {
    if (quiet == Quiet::kNo) {
      ShowInternalError(TEXT("DuplicateDevmodePtr could not allocate DEVMODE"));
    }
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  std::memcpy(block, static_cast<const void*>(devMode), size);
  return UniqueDevMode(static_cast<DEVMODEW*>(block));
}

BOOL DevModesEqual(const DEVMODEW* a, const DEVMODEW* b) {
  if (a == nullptr && b == nullptr) return TRUE;
  if (!IsValidDevMode(a) || !IsValidDevMode(b)) return FALSE;
  const DEVMODEW x = PublicPartOf(a), y = PublicPartOf(b);
  constexpr size_t kMiddleAt = offsetof(DEVMODEW, dmSpecVersion);
  constexpr size_t kEndAt = offsetof(DEVMODEW, dmLogPixels);
  return x.dmDriverExtra == y.dmDriverExtra &&
         FieldText(x.dmDeviceName) == FieldText(y.dmDeviceName) &&
         std::memcmp(BytesAt(x, kMiddleAt), BytesAt(y, kMiddleAt), kMiddle) == 0 &&
         FieldText(x.dmFormName) == FieldText(y.dmFormName) &&
         std::memcmp(BytesAt(x, kEndAt), BytesAt(y, kEndAt), kEnd) == 0 &&
         std::memcmp(PrivatePartOf(a), PrivatePartOf(b), x.dmDriverExtra) == 0;
}

UniqueDevMode DevModeFromA(const DEVMODEA* devMode) {
  if (!IsValidDevModeA(devMode)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const DEVMODEA narrow = StructureOf(devMode);
  void* const block = AllocateBlock(sizeof(DEVMODEW) + narrow.dmDriverExtra);
  if (block == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  UniqueDevMode wide(static_cast<DEVMODEW*>(block));
  WidenField(narrow.dmDeviceName, wide->dmDeviceName);
  std::memcpy(BytesAt(*wide, offsetof(DEVMODEW, dmSpecVersion)),
              BytesAt(narrow, offsetof(DEVMODEA, dmSpecVersion)), kMiddle);
  wide->dmSize = sizeof *wide;
  WidenField(narrow.dmFormName, wide->dmFormName);
  std::memcpy(BytesAt(*wide, offsetof(DEVMODEW, dmLogPixels)),
              BytesAt(narrow, offsetof(DEVMODEA, dmLogPixels)), kEnd);
  std::memcpy(BytesAt(*wide, sizeof *wide), reinterpret_cast<const BYTE*>(devMode) + sizeof narrow,
              narrow.dmDriverExtra);
  return wide;
}

void DescribeDevModeMode(DWORD mode, WCHAR (&text)[kModeTextCapacity]) {
  if (mode == 0) {
    CopyStringW(text, TEXT("get DEVMODE size"));
    return;
  }
  text[0] = 0;
  for (const ModeName& known : kModeNames) {
    if ((mode & known.bit) == 0) continue;
    AppendText(text, kModeTextCapacity, text[0] == 0 ? TEXT("%s") : TEXT(", %s"), known.name);
    mode &= ~known.bit;
  }
  if (mode == 0) return;
  AppendText(text, kModeTextCapacity, text[0] == 0 ? TEXT("unknown %08X") : TEXT(", unknown %08X"),
             static_cast<unsigned>(mode));
}

}  // namespace kv
