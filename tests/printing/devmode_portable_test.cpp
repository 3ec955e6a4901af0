// Device modes from elsewhere: validity, comparing, conversion.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "runtime/printing/devmode.h"
#include "runtime/printing/readable_memory.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/printing/raw_mode.h"

namespace kv::test {
namespace {

using Bytes = std::vector<BYTE>;

TEST(DevModePortableTest, OnlyReadableMemoryIsValid) {
  const size_t page = 4096;
  BYTE* const pages =
      static_cast<BYTE*>(VirtualAlloc(nullptr, 3 * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  DWORD old = 0;
  ASSERT_TRUE(VirtualProtect(pages + page, page, PAGE_NOACCESS, &old));
  BYTE* const end = pages + page;
  EXPECT_TRUE(IsReadable(pages, page));
  EXPECT_FALSE(IsReadable(pages, page + 1));
  EXPECT_FALSE(IsReadable(pages + page - 1, page + 2)) << "readable at both ends only";
  EXPECT_FALSE(IsReadable(nullptr, 1));
  EXPECT_FALSE(IsReadable(reinterpret_cast<void*>(~UINT_PTR{0} - 3), 8)) << "around the end";

  const auto put = [&](size_t room, WORD size, WORD extra) {
    auto* mode = reinterpret_cast<DEVMODEW*>(end - room);
    std::memset(end - room, 0, room);
    const size_t size_at = offsetof(DEVMODEW, dmSize);
    if (room >= size_at + 4) {
      std::memcpy(end - room + size_at, &size, sizeof size);
      std::memcpy(end - room + size_at + 2, &extra, sizeof extra);
    }
    return mode;
  };
  EXPECT_TRUE(IsValidDevMode(put(220, 220, 0)));
  EXPECT_TRUE(IsValidDevMode(put(224, 220, 4)));
  EXPECT_FALSE(IsValidDevMode(put(220, 220, 1))) << "one byte of private data too few";
  EXPECT_FALSE(IsValidDevMode(put(218, 220, 0)));
  EXPECT_FALSE(IsValidDevMode(put(220, 188, 0))) << "an older structure";
  EXPECT_FALSE(IsValidDevMode(put(300, 221, 0)));
  EXPECT_FALSE(IsValidDevMode(nullptr));
  EXPECT_FALSE(IsValidDevModeA(reinterpret_cast<DEVMODEA*>(put(300, 220, 0))));
  SetLastError(5);
  EXPECT_FALSE(IsValidDevMode(reinterpret_cast<DEVMODEW*>(end)));
  EXPECT_EQ(GetLastError(), DWORD{5});
  EXPECT_EQ(ReadableDevModeSize(put(224, 220, 4)), 224u);
  EXPECT_EQ(ReadableDevModeSize(put(190, 188, 2)), 190u) << "an older structure";
  EXPECT_EQ(ReadableDevModeSize(put(190, 188, 3)), 0u);
  EXPECT_EQ(ReadableDevModeSize(put(300, 71, 0)), 0u) << "no structure at all";
  EXPECT_EQ(ReadableDevModeSize(put(70, 220, 0)), 0u);
  EXPECT_EQ(ReadableDevModeSize(nullptr), 0u);
  for (const DEVMODEW* const mode : {put(220, 220, 1), put(190, 188, 3)}) {
    SetLastError(0);
    EXPECT_EQ(DuplicateDevmodePtr(mode, Quiet::kNo), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  }
  const UniqueDevMode older = DuplicateDevmodePtr(put(190, 188, 2), Quiet::kNo);
  ASSERT_NE(older, nullptr);
  EXPECT_EQ(older->dmSize, 188);
  EXPECT_TRUE(VirtualFree(pages, 0, MEM_RELEASE));
}

TEST(DevModePortableTest, EqualMeansEveryByteButWhatFollowsTheNames) {
  RawMode a(10), b(10);
  for (RawMode* mode : {&a, &b}) {
    CopyStringW(mode->dev().dmDeviceName, TEXT("Laser"));
    CopyStringW(mode->dev().dmFormName, TEXT("A4"));
  }
  EXPECT_TRUE(DevModesEqual(nullptr, nullptr));
  EXPECT_FALSE(DevModesEqual(a.get(), nullptr));
  EXPECT_TRUE(DevModesEqual(a.get(), b.get()));
  b.dev().dmDeviceName[10] = b.dev().dmFormName[5] = 'x';
  EXPECT_TRUE(DevModesEqual(a.get(), b.get())) << "behind the terminators";
  // Every byte that counts, one by one.
  BYTE* const bytes = reinterpret_cast<BYTE*>(&b.dev());
  for (size_t i = 0; i < sizeof(DEVMODEW) + 10; ++i) {
    const bool behind_name = (i >= 12 && i < 64) || (i >= 108 && i < 166);
    bytes[i] ^= 0x40;
    EXPECT_EQ(DevModesEqual(a.get(), b.get()) != FALSE, behind_name) << i;
    bytes[i] ^= 0x40;
  }
  a.dev().dmSize = b.dev().dmSize = 188;
  EXPECT_FALSE(DevModesEqual(a.get(), a.get())) << "what is not valid equals nothing";
  RawMode longer(11);
  EXPECT_FALSE(DevModesEqual(RawMode(10).get(), longer.get()));
}

TEST(DevModePortableTest, AnyAddressWillDo) {
  RawMode mode(5);
  std::memset(mode.At(0), 0x55, 5);
  const OddCopy<DEVMODEW> odd(mode.dev());
  EXPECT_TRUE(IsValidDevMode(odd.get()));
  EXPECT_TRUE(DevModesEqual(odd.get(), mode.get()) && DevModesEqual(mode.get(), odd.get()));
  EXPECT_EQ(PublicPartOf(odd.get()).dmDriverExtra, 5);
  const UniqueDevMode copy = DuplicateDevmodePtr(odd.get(), Quiet::kNo);
  EXPECT_TRUE(DevModesEqual(copy.get(), mode.get()));
}

TEST(DevModePortableTest, NarrowOnesAreWidened) {
  Bytes bytes(sizeof(DEVMODEA) + 3);
  auto* narrow = reinterpret_cast<DEVMODEA*>(bytes.data());
  std::memset(narrow->dmDeviceName, 'd', 32);  // not terminated
  narrow->dmFormName[0] = 'F';
  narrow->dmSize = sizeof *narrow;
  narrow->dmDriverExtra = 3;
  narrow->dmCollate = 7;
  narrow->dmLogPixels = 600;
  narrow->dmPanningHeight = 0x12345678;
  std::memcpy(bytes.data() + sizeof *narrow, "abc", 3);
  const UniqueDevMode wide = DevModeFromA(narrow);
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(WideView(wide->dmDeviceName), std::basic_string<WCHAR>(31, TEXT('d')));
  EXPECT_EQ(WideView(wide->dmFormName), TEXT("F"));
  EXPECT_EQ(wide->dmSize, 220);
  EXPECT_EQ(wide->dmCollate, 7);
  EXPECT_EQ(wide->dmLogPixels, 600);
  EXPECT_EQ(wide->dmPanningHeight, 0x12345678u);
  EXPECT_EQ(std::memcmp(wide.get() + 1, "abc", 3), 0);
  EXPECT_TRUE(DevModesEqual(DevModeFromA(OddCopy(*narrow).get()).get(), wide.get()));
  narrow->dmSize = 148;
  EXPECT_EQ(DevModeFromA(narrow), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(DevModePortableTest, ModesByName) {
  const std::pair<DWORD, WideView> kModes[] = {
      {0, TEXT("get DEVMODE size")},
      {10, TEXT("DM_IN_BUFFER, DM_OUT_BUFFER")},
      {0x80, TEXT("unknown 00000080")},
      {0xFFFFFFFF,
       TEXT("DM_IN_BUFFER, DM_IN_PROMPT, DM_OUT_BUFFER, DM_USER_DEFAULT, DM_OUT_DEFAULT, ")
           TEXT("DM_ADVANCED, DM_NOPERMISSION, unknown FFFFFF80")},
  };
  for (const auto& [mode, expected] : kModes) {
    WCHAR text[kModeTextCapacity];
    DescribeDevModeMode(mode, text);
    EXPECT_EQ(WideView(text), expected);
  }
}

}  // namespace
}  // namespace kv::test
