// Arbitrary bytes as device modes, wide and narrow, at any address. They end where unreadable
// memory begins, so that whatever reads beyond what the validity test vouches for is noticed at
// once.
#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/fuzz_machine.h"
#include "runtime/core/startup_context.h"
#include "runtime/papers/paper_extent.h"
#include "runtime/printing/product_devmode.h"

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kRoom = 17 * kPage;

// The last byte of the area's readable part is followed by a page that cannot be read.
uint8_t* area = nullptr;

void Require(bool holds) {
  if (!holds) abort();
}

bool Same(const kv::ProductDevMode& a, const kv::ProductDevMode& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

void TryWide(const DEVMODEW* mode) {
  const bool valid = kv::IsValidDevMode(mode) != FALSE;
  WORD size = 0;
  int layout = 0;
  Require((kv::RecogniseProductDevMode(mode, &size, &layout) != FALSE) == valid);
  Require(valid || layout == -1);
  Require((kv::DevModesEqual(mode, mode) != FALSE) == valid);

  kv::ProductDevMode merged;
  kv::DefaultDevMode(TEXT("Printer"), merged);
  const kv::ProductDevMode before = merged;
  kv::MergeDevMode(mode, merged);
  Require(valid || Same(merged, before));
  const kv::ProductDevMode once = merged;
  kv::MergeDevMode(mode, merged);
  Require(Same(merged, once));
  kv::RecogniseProductDevMode(&merged.dev, &size, &layout);
  Require(layout == kv::kCurrentLayout);
  RECT rectangle;
  kv::GetPrintableRect(merged, rectangle);
  kv::CheckPaperFits(merged);
  if (!valid) return;
  const kv::UniqueDevMode copy = kv::DuplicateDevmodePtr(mode, kv::Quiet::kYes);
  Require(copy != nullptr && kv::DevModesEqual(copy.get(), mode));
}

void TryNarrow(const DEVMODEA* mode) {
  const kv::UniqueDevMode wide = kv::DevModeFromA(mode);
  Require((wide != nullptr) == (kv::IsValidDevModeA(mode) != FALSE));
  if (wide != nullptr) TryWide(wide.get());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  kv::fuzz::UseTemporaryMachine();
  kv::startupContext.silent = 1;
  area = static_cast<uint8_t*>(
      mmap(nullptr, kRoom + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  mprotect(area + kRoom, kPage, PROT_NONE);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kRoom) return 0;
  uint8_t* const place = area + kRoom - size;
  std::memcpy(place, data, size);
  TryWide(reinterpret_cast<const DEVMODEW*>(place));
  TryNarrow(reinterpret_cast<const DEVMODEA*>(place));
  return 0;
}
