// The language of a resource library, read from the bytes of its file.
#include "runtime/core/resource_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace kv {
namespace {

// The parts of an image with two sections, of which the second one holds the resources.
constexpr size_t kHeaders = 0x80, kOptional = kHeaders + 24, kResourceBlock = 0x300,
                 kBlockSize = 0x100, kFileSize = 0x700;
// In the resources: the root directory, that of the string tables, that of their languages.
constexpr size_t kRoot = kResourceBlock, kTables = kRoot + 0x40, kLanguages = kRoot + 0x60;
constexpr size_t kLastByteNeeded = kLanguages + 16 + 8 + 4;

class TestImage {
 public:
  explicit TestImage(bool wide)
      : bytes_(kFileSize),
        directory_(kOptional + (wide ? 112 : 96) + 16),
        sections_(kOptional + (wide ? 0xF0 : 0xE0)) {
    memcpy(&bytes_[0], "MZ", 2);
    Put(0x3C, kHeaders);
    memcpy(&bytes_[kHeaders], "PE\0\0", 4);
    Put(kHeaders + 6, 2);                    // sections
    Put(kHeaders + 20, wide ? 0xF0 : 0xE0);  // size of the optional header
    Put(kOptional, wide ? 0x20B : 0x10B);
    Put(directory_, 0x2000);
    PutSection(0, 0x1000, 0x200, 0x200, 0x100);
    PutSection(1, 0x2000, 0x200, 0x180, kResourceBlock);
    // A named type with the number of the string tables in its other half, icons, string tables.
    Put(kRoot + 12, 1 | 2 << 16);
    PutEntry(kRoot + 16, 0x80000006, 0x80000020);
    PutEntry(kRoot + 24, 3, 0x80000020);
    PutEntry(kRoot + 32, 6, 0x80000040);
    Put(kTables + 12, 1 << 16);
    PutEntry(kTables + 16, 625, 0x80000060);
    Put(kLanguages + 12, 1 | 1 << 16);
    PutEntry(kLanguages + 16, 0x8000040C, 0x90);
    PutEntry(kLanguages + 24, 0x0407, 0xA0);
    // The same resources stand behind the section's end, and before its beginning.
    memcpy(&bytes_[kResourceBlock + 0x200], &bytes_[kResourceBlock], kBlockSize);
  }

  size_t directory() const { return directory_; }
  size_t section(size_t number) const { return sections_ + number * 40; }
  void Put(size_t offset, DWORD value) { memcpy(&bytes_[offset], &value, sizeof(value)); }

  // From a copy that ends with its last byte.
  LANGID Language(size_t size = kFileSize) const {
    const std::unique_ptr<BYTE[]> exact(new BYTE[size]);
    memcpy(exact.get(), bytes_.data(), size);
    return GetImageLanguage(exact.get(), size);
  }

 private:
  void PutSection(size_t number, DWORD address, DWORD virtualSize, DWORD rawSize, DWORD rawOffset) {
    const DWORD values[] = {virtualSize, address, rawSize, rawOffset};
    memcpy(&bytes_[section(number) + 8], values, sizeof(values));
  }
  void PutEntry(size_t offset, DWORD name, DWORD target) {
    Put(offset, name);
    Put(offset + 4, target);
  }

  std::vector<BYTE> bytes_;
  size_t directory_, sections_;
};

TEST(ResourceFilePortableTest, TheLanguageIsThatOfTheOnlyNumberedEntryOfTheFirstStringTable) {
  for (const bool wide : {false, true}) {
    const TestImage sound(wide);
    EXPECT_EQ(sound.Language(), 0x0407);
    for (size_t size = 0; size <= kFileSize; ++size) {
      EXPECT_EQ(sound.Language(size), size >= kLastByteNeeded ? 0x0407 : 0) << size;
    }
    const size_t directory = sound.directory(), second = sound.section(1);
    const struct {
      const char* what;
      size_t offset;
      DWORD value;
      LANGID expected;
    } kChanges[] = {
        {"no DOS program", 0, 0x5A4E, 0},
        {"another header", kHeaders, 0x454E, 0},
        {"a ROM image", kOptional, 0x107, 0},
        {"headers elsewhere", 0x3C, 0xFFFFFFF0, 0},
        {"no resources", directory, 0, 0},
        {"only one section", kHeaders + 6, 1, 0},
        {"more sections than there are", kHeaders + 6, 200, 0x0407},
        {"resources before the section", directory, 0x1FFF, 0},
        {"resources behind the section", directory, 0x2200, 0},
        {"a section of one byte", second + 8, 1, 0x0407},
        {"a section that does not tell its size in memory", second + 8, 0, 0x0407},
        {"a section that begins later", second + 12, 0x2001, 0},
        {"data elsewhere", second + 20, kResourceBlock + 0x200, 0x0407},
        {"no string tables", kRoot + 32, 7, 0},
        {"string tables that are no directory", kRoot + 36, 0x40, 0},
        {"one numbered type", kRoot + 12, 1 | 1 << 16, 0},
        {"no named type", kRoot + 12, 3 << 16, 0x0407},
        {"no table", kTables + 12, 0, 0},
        {"a named table", kTables + 12, 1, 0x0407},
        {"a table that is no directory", kTables + 20, 0x60, 0},
        {"no numbered language", kLanguages + 12, 1, 0},
        {"two numbered languages", kLanguages + 12, 1 | 2 << 16, 0},
        {"no named language", kLanguages + 12, 1 << 16, 0x040C},
    };
    for (const auto& change : kChanges) {
      TestImage image(wide);
      image.Put(change.offset, change.value);
      EXPECT_EQ(image.Language(), change.expected) << change.what << (wide ? ", 64 bits" : "");
    }
    TestImage at_zero(wide);
    at_zero.Put(directory, 0);
    at_zero.Put(second + 12, 0);
    EXPECT_EQ(at_zero.Language(), 0) << "no resources, although a section begins there";
    TestImage image(wide);
    image.Put(second + 8, 0);
    image.Put(directory, 0x2180);
    EXPECT_EQ(image.Language(), 0) << "behind the section's size in the file";
    // From the middle of a section on.
    image.Put(directory, 0x2010);
    image.Put(second + 20, kResourceBlock - 0x10);
    EXPECT_EQ(image.Language(), 0x0407);
  }
}

}  // namespace
}  // namespace kv
