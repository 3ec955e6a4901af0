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

template <class DevMode>
BOOL IsValid(const DevMode* devMode) {
  return IsReadable(devMode, sizeof *devMode) && devMode->dmSize == sizeof *devMode &&
         IsReadable(devMode, sizeof *devMode + devMode->dmDriverExtra);
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

UniqueDevMode DuplicateDevmodePtr(const DEVMODEW* devMode, Quiet quiet) {
  if (devMode == nullptr) return nullptr;
  const size_t size = DevModeSize(*devMode);
  void* const block = AllocateBlock(size);
  if (block == nullptr) {
    if (quiet == Quiet::kNo) {
      ShowInternalError(TEXT("DuplicateDevmodePtr could not allocate DEVMODE"));
    }
    return nullptr;
  }
  std::memcpy(block, static_cast<const void*>(devMode), size);
  return UniqueDevMode(static_cast<DEVMODEW*>(block));
}

BOOL DevModesEqual(const DEVMODEW* a, const DEVMODEW* b) {
  if (a == nullptr || b == nullptr) return a == b;
  if (!IsValidDevMode(a) || !IsValidDevMode(b)) return FALSE;
  if (a->dmSize != b->dmSize || a->dmDriverExtra != b->dmDriverExtra) return FALSE;
  return FieldText(a->dmDeviceName) == FieldText(b->dmDeviceName) &&
         std::memcmp(&a->dmSpecVersion, &b->dmSpecVersion, kMiddle) == 0 &&
         FieldText(a->dmFormName) == FieldText(b->dmFormName) &&
         std::memcmp(&a->dmLogPixels, &b->dmLogPixels, kEnd + a->dmDriverExtra) == 0;
}

UniqueDevMode DevModeFromA(const DEVMODEA* devMode) {
  if (!IsValidDevModeA(devMode)) return nullptr;
  void* const block = AllocateBlock(sizeof(DEVMODEW) + devMode->dmDriverExtra);
  if (block == nullptr) return nullptr;
  UniqueDevMode wide(static_cast<DEVMODEW*>(block));
  WidenField(devMode->dmDeviceName, wide->dmDeviceName);
  std::memcpy(&wide->dmSpecVersion, &devMode->dmSpecVersion, kMiddle);
  wide->dmSize = sizeof *wide;
  WidenField(devMode->dmFormName, wide->dmFormName);
  std::memcpy(&wide->dmLogPixels, &devMode->dmLogPixels, kEnd + devMode->dmDriverExtra);
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
