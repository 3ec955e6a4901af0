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

// Two readable pages, of which the test changes the second one.
class Pages {
 public:
  static constexpr size_t kPage = 4096;
  Pages()
      : start_(static_cast<BYTE*>(
            VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))) {}
  ~Pages() { EXPECT_TRUE(VirtualFree(start_, 0, MEM_RELEASE)); }
  void Protect(DWORD protection) {
    DWORD old = 0;
    EXPECT_TRUE(VirtualProtect(end(), kPage, protection, &old));
  }
  // The end of the first page.
  BYTE* end() const { return start_ + kPage; }

 private:
  BYTE* start_;
};

TEST(DevModePortableTest, OnlyReadableMemoryIsValid) {
  Pages pages;
  BYTE* const end = pages.end();
  for (const auto& [protection, readable] : {std::pair(DWORD{PAGE_READONLY}, true),
                                             {PAGE_EXECUTE, false},
                                             {PAGE_EXECUTE_READ, true},
                                             {PAGE_NOACCESS, false}}) {
    pages.Protect(protection);
    EXPECT_EQ(IsReadable(end - 1, 2) != FALSE, readable) << protection;
  }
  EXPECT_TRUE(IsReadable(end - pages.kPage, pages.kPage));
  EXPECT_TRUE(IsReadable(nullptr, 0));
  EXPECT_FALSE(IsReadable(nullptr, 1));
  EXPECT_FALSE(IsReadable(end, 1));
  EXPECT_FALSE(IsReadable(reinterpret_cast<void*>(~UINT_PTR{0} - 3), 8)) << "around the end";
  // What fits before the end of the page, and what the device mode says of itself.
  static constexpr unsigned kModes[][5] = {
      {220, 220, 0, 220, 1}, {224, 220, 4, 224, 1}, {220, 220, 1, 0, 0},   {218, 220, 0, 0, 0},
      {220, 188, 0, 188, 0}, {300, 221, 0, 221, 0}, {190, 188, 2, 190, 0}, {190, 188, 3, 0, 0},
      {72, 72, 0, 72, 0},    {300, 71, 0, 0, 0},    {71, 72, 0, 0, 0}};
  for (const auto& [room, size, extra, readable, valid] : kModes) {
    SCOPED_TRACE(testing::Message() << room << " " << size << " " << extra);
    auto* const mode = reinterpret_cast<DEVMODEW*>(end - room);
    std::memset(static_cast<void*>(mode), 0x77, room);
    const WORD sizes[] = {static_cast<WORD>(size), static_cast<WORD>(extra)};
    std::memcpy(end - room + offsetof(DEVMODEW, dmSize), sizes, room < 72 ? 3 : 4);
    SetLastError(5);
    EXPECT_EQ(IsValidDevMode(mode), static_cast<BOOL>(valid));
    EXPECT_EQ(ReadableDevModeSize(mode), readable);
    EXPECT_EQ(GetLastError(), DWORD{5});
    const UniqueDevMode copy = DuplicateDevmodePtr(mode, Quiet::kNo);
    EXPECT_EQ(copy != nullptr, readable != 0);
    EXPECT_EQ(copy == nullptr ? 0 : std::memcmp(copy.get(), mode, readable), 0);
    EXPECT_EQ(GetLastError(), readable == 0 ? DWORD{ERROR_INVALID_PARAMETER} : DWORD{5});
  }
  EXPECT_FALSE(IsValidDevMode(nullptr));
  EXPECT_EQ(ReadableDevModeSize(nullptr), 0u);
  EXPECT_EQ(DuplicateDevmodePtr(nullptr, Quiet::kNo), nullptr);
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
  EXPECT_TRUE(DevModesEqual(DuplicateDevmodePtr(odd.get(), Quiet::kNo).get(), mode.get()));
}

TEST(DevModePortableTest, NarrowOnesAreWidened) {
  // Both as bytes: a name, 38 bytes from dmSpecVersion on, a form, 54 from dmLogPixels on, and 3 of
  // the driver's.
  std::string narrow(156 + 3, 0);
  for (size_t i = 32; i < narrow.size(); ++i) narrow[i] = static_cast<char>(i);
  narrow.replace(0, 32, 32, 'd');  // not terminated
  narrow.replace(70, 32, "Form" + std::string(28, 0));
  const WORD sizes[] = {156, 3}, wide_sizes[] = {220, 3};
  std::memcpy(&narrow[36], sizes, sizeof sizes);
  const auto* const mode = reinterpret_cast<const DEVMODEA*>(narrow.data());
  std::basic_string<WCHAR> device(31, TEXT('d')), form(TEXT("Form"));
  device.resize(32);
  form.resize(32);
  std::string expected(reinterpret_cast<const char*>(device.data()), 64);
  expected += narrow.substr(32, 38);
  expected.append(reinterpret_cast<const char*>(form.data()), 64) += narrow.substr(102);
  std::memcpy(&expected[68], wide_sizes, sizeof wide_sizes);
  const OddCopy odd(*mode);
  for (const auto* const source : {mode, odd.get()}) {
    const UniqueDevMode wide = DevModeFromA(source);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(wide.get()), 223), expected);
  }
  narrow[36] = 100;
  EXPECT_EQ(DevModeFromA(mode), nullptr);
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
