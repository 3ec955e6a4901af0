// Resources in PE images, whole and broken ones.
#include <numeric>

#include "platform/control/pe_writer.h"
#include "platform/kernel/pe_image.h"
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;
using platform::HostPath;
using platform::PeImage;
using platform::PeWriter;
using platform::ResourceKey;

PeWriter Sample(WORD machine) {
  PeWriter writer(machine);
  writer.AddString(0x407, 17, TEXT("zwei")).AddString(0x409, 17, TEXT("two"));
  writer.AddString(0x409, 16, TEXT("")).AddString(0x409, 31, TEXT("last"));
  writer.AddString(0x409, 64, TEXT("other block"));
  writer.AddResource(WORD{10}, WideView(TEXT("Named")), 0, {1, 2, 3});
  writer.AddResource(WORD{10}, WORD{7}, 0x409, {4});
  return writer;
}

// Asks for everything that the image says it holds; the sum keeps the reads alive.
size_t Walk(const PeImage& image) {
  size_t sum = 0;
  for (const ResourceKey& type : image.Types()) {
    for (const ResourceKey& name : image.Names(type)) {
      for (WORD language : image.Languages(type, name)) {
        const auto data = image.Data(image.Find(type, name, language));
        sum += std::accumulate(data.begin(), data.end(), size_t{0});
      }
    }
  }
  return sum;
}

TEST(PeImageTest, WhatIsWrittenIsRead) {
  for (WORD machine : {IMAGE_FILE_MACHINE_I386, IMAGE_FILE_MACHINE_AMD64}) {
    const auto image = PeImage::Read(Sample(machine).Build());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->machine(), machine);
    EXPECT_FALSE(image->HasEntryPoint());
    EXPECT_EQ(image->Languages(WORD{6}, WORD{2}), (std::vector<WORD>{0x407, 0x409}));
    EXPECT_EQ(image->Languages(WORD{6}, WORD{5}), (std::vector<WORD>{0x409}));
    // Names stand before numbers and are found without regard to case.
    const auto names = image->Names(WORD{10});
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(WideView(names[0].name), TEXT("Named"));
    const auto data = image->Data(image->Find(WORD{10}, WideView(TEXT("NAMED")), 0));
    EXPECT_EQ(std::vector<BYTE>(data.begin(), data.end()), (std::vector<BYTE>{1, 2, 3}));
    EXPECT_EQ(image->Find(WORD{10}, WORD{7}, 0x407), nullptr);
  }
}

TEST(PeImageTest, TruncatedImagesAreNone) {
  const std::vector<BYTE> whole = Sample(IMAGE_FILE_MACHINE_I386).Build();
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(PeImage::Read({whole.begin(), whole.begin() + static_cast<long>(size)}), nullptr)
        << size;
  }
}

TEST(PeImageTest, LyingImagesAreReadWithinTheirBytes) {
  const std::vector<BYTE> whole = Sample(IMAGE_FILE_MACHINE_AMD64).Build();
  size_t readable = 0;
  for (size_t at = 0; at + sizeof(DWORD) <= whole.size(); ++at) {
    for (DWORD lie : {0u, 1u, 0x7Fu, 0xFFFFu, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
      std::vector<BYTE> bytes = whole;
      memcpy(bytes.data() + at, &lie, sizeof lie);
      // A buffer of exactly the size, so that a read behind it shows.
      bytes.shrink_to_fit();
      const auto image = PeImage::Read(std::move(bytes));
      if (image != nullptr) readable += Walk(*image) != 0;
    }
  }
  EXPECT_GT(readable, 0u);
}

TEST(PeImageTest, DirectoriesThatLeadInACircleEnd) {
  std::vector<BYTE> bytes = Sample(IMAGE_FILE_MACHINE_I386).Build();
  // Every entry of every directory leads back to the root.
  const DWORD root = 0x80000000;
  for (size_t at = 0x200 + 16 + 4; at + 4 < 0x200 + 0x100; at += 8) {
    memcpy(bytes.data() + at, &root, sizeof root);
  }
  const auto image = PeImage::Read(std::move(bytes));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(Walk(*image), 0u);
}

class ResourcesTest : public kv::test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    Sample(platform::pe::kOwnMachine).WriteTo(HostPath(TEXT("C:\\texts.dll")));
    module_ = LoadLibraryW(TEXT("C:\\texts.dll"));
    ASSERT_NE(module_, nullptr);
  }
  void TearDown() override {
    FreeLibrary(module_);
    MachineTest::TearDown();
  }

  HMODULE module_ = nullptr;
};

TEST_F(ResourcesTest, StringsAreCutToTheBuffer) {
  WCHAR text[16];
  const struct {
    UINT id;
    int capacity;
    WideView expected;
  } cases[] = {
      {17, 16, TEXT("two")}, {17, 4, TEXT("two")},   {17, 3, TEXT("tw")},
      {17, 1, TEXT("")},     {31, 16, TEXT("last")}, {16, 16, TEXT("")},
      {18, 16, TEXT("")},    {64, 6, TEXT("other")}, {300, 16, TEXT("")},
  };
  for (const auto& c : cases) {
    std::fill(std::begin(text), std::end(text), WCHAR{'x'});
    EXPECT_EQ(LoadStringW(module_, c.id, text, c.capacity), static_cast<int>(c.expected.size()));
    EXPECT_EQ(WideView(text), c.expected) << c.id;
  }
  // Without a capacity the caller gets the text's place.
  const WCHAR* place = nullptr;
  const int length = LoadStringW(module_, 17, reinterpret_cast<LPWSTR>(&place), 0);
  EXPECT_EQ(WideView(place, static_cast<size_t>(length)), TEXT("two"));
}

TEST_F(ResourcesTest, StringsAreTakenInTheUsersLanguage) {
  WCHAR text[16];
  platform::SetFact(platform::facts::kUserLocale, "0x0407");
  LoadStringW(module_, 17, text, 16);
  EXPECT_EQ(WideView(text), TEXT("zwei"));
  // Whatever is there beats nothing.
  EXPECT_EQ(LoadStringW(module_, 64, text, 16), 11);
}

TEST_F(ResourcesTest, EnumerationsFollowTheDirectoryAndStopOnRequest) {
  std::vector<ULONG_PTR> blocks;
  const ENUMRESNAMEPROCW all = [](HMODULE, LPCWSTR, LPWSTR name, LONG_PTR list) CALLBACK -> BOOL {
    auto& result = *reinterpret_cast<std::vector<ULONG_PTR>*>(list);
    result.push_back(reinterpret_cast<ULONG_PTR>(name));
    // The layer's functions may be called, and count as calls of the program.
    GetTickCount();
    return TRUE;
  };
  EXPECT_TRUE(EnumResourceNamesW(module_, RT_STRING, all, reinterpret_cast<LONG_PTR>(&blocks)));
  EXPECT_EQ(blocks, (std::vector<ULONG_PTR>{2, 5}));
  EXPECT_EQ(platform::CallCount("GetTickCount"), 2u);
  std::vector<WORD> languages;
  const ENUMRESLANGPROCW first = [](HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR list)
                                     CALLBACK -> BOOL {
    reinterpret_cast<std::vector<WORD>*>(list)->push_back(language);
    return FALSE;
  };
  EXPECT_FALSE(EnumResourceLanguagesW(module_, RT_STRING, MAKEINTRESOURCEW(2), first,
                                      reinterpret_cast<LONG_PTR>(&languages)));
  EXPECT_EQ(languages, (std::vector<WORD>{0x407}));
  EXPECT_FALSE(EnumResourceNamesW(module_, RT_ICON, all, 0));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_TYPE_NOT_FOUND});
}

TEST_F(ResourcesTest, DataAreFoundLoadedAndMeasured) {
  const HRSRC found = FindResourceW(module_, TEXT("named"), RT_RCDATA);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(SizeofResource(module_, found), 3u);
  EXPECT_EQ(static_cast<BYTE*>(LockResource(LoadResource(module_, found)))[2], 3);
  EXPECT_NE(FindResourceW(module_, TEXT("#7"), RT_RCDATA), nullptr);
  EXPECT_EQ(FindResourceExW(module_, RT_STRING, MAKEINTRESOURCEW(9), 0), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_NAME_NOT_FOUND});
}

}  // namespace
