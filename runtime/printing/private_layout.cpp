#include "runtime/printing/private_layout.h"

#include <cstring>

namespace kv {
namespace {

constexpr WORD kFirstDriverVersion = 1041;
// Up to this driver the private part had no layout number.
constexpr WORD kLastUnnumberedDriver = 1065;

constexpr WORD X = kNowhere;

// Numbers: resolution, four margins, dialog, compression, path escapes, automatic em, units,
// resampling, JPEG quality, monochrome resampling, action.
constexpr PrivateLayout kLayouts[] = {
    {0, 158, true, 2, 66, {70, 72, 74, 76, 78, 80, X, X, 84, X, X, X, X, X}, 92, X},
    {1, 156, true, 4, 68, {72, 74, 76, 78, 80, 82, 86, 152, 154, X, X, X, X, X}, 88, X},
    {2, 680, true, 4, 68, {72, 74, 76, 78, 80, 82, 86, 152, 154, 156, X, X, X, X}, 88, 158},
    {3, 356, false, 4, 36, {40, 42, 44, 46, 48, 50, 54, 88, 90, 92, 354, X, X, X}, 56, 94},
    {3, 680, true, 4, 68, {72, 74, 76, 78, 80, 82, 86, 152, 154, 156, 678, X, X, X}, 88, 158},
    {4, 356, false, 4, 36, {40, 42, 44, 46, 48, 50, 54, 88, 90, 92, 354, X, X, X}, 56, 94},
    {5, 360, false, 4, 36, {40, 42, 44, 46, 48, 50, 54, 88, 90, 92, 354, 356, X, X}, 56, 94},
    {6, 360, false, 4, 36, {40, 42, 44, 46, 48, 50, 54, 88, 90, 92, 354, 356, 358, X}, 56, 94},
    {7, 364, false, 4, 36, {40, 42, 44, 46, 48, 50, 54, 88, 90, 92, 354, 356, 358, 360}, 56, 94},
    {8, 364, false, 4, 36, {40, 42, 44, 46, 48, 50, 54, 88, 90, 92, 354, 356, 358, 360}, 56, 94},
};

}  // namespace

const PrivateLayout* FindPrivateLayout(const DEVMODEW* devMode) {
  constexpr WORD kHead = 4;  // signature and layout number
  const DEVMODEW dev = PublicPartOf(devMode);
  if (dev.dmDriverExtra < kHead || dev.dmDriverVersion < kFirstDriverVersion) return nullptr;
  const BYTE* const head = PrivatePartOf(devMode);
  if (std::memcmp(head, "KV", 2) != 0) return nullptr;
  WORD number = 0;
  if (dev.dmDriverVersion > kLastUnnumberedDriver) std::memcpy(&number, head + 2, sizeof number);
  for (const PrivateLayout& layout : kLayouts) {
    if (layout.number == number && layout.size == dev.dmDriverExtra) return &layout;
  }
  return nullptr;
}

BOOL RecogniseProductDevMode(const DEVMODEW* devMode, WORD* privateSize, int* layout) {
  const BOOL isValid = IsValidDevMode(devMode);
  const PrivateLayout* const found = isValid ? FindPrivateLayout(devMode) : nullptr;
  if (privateSize != nullptr) *privateSize = found == nullptr ? WORD{0} : found->size;
  if (layout != nullptr) *layout = found == nullptr ? -1 : found->number;
  return isValid;
}

}  // namespace kv
