#include "runtime/core/resource_file.h"

#include <string.h>

#include "runtime/core/handles.h"

namespace kv {
namespace {

// The parts of the PE format that are read here; all numbers are little-endian.
constexpr WORD kDosSignature = 0x5A4D;     // MZ
constexpr DWORD kNtSignature = 0x4550;     // PE, two zero bytes
constexpr size_t kNtHeadersOffset = 0x3C;  // where the offset of the NT headers stands
constexpr size_t kFileHeader = 4;          // from here on relative to the NT headers
constexpr size_t kSectionCount = kFileHeader + 2;
constexpr size_t kOptionalHeaderSize = kFileHeader + 16;
constexpr size_t kOptionalHeader = kFileHeader + 20;
constexpr WORD kMagic32 = 0x10B, kMagic64 = 0x20B;
constexpr size_t kHeadersSize32 = 248, kHeadersSize64 = 264;
constexpr size_t kDirectories32 = kOptionalHeader + 96, kDirectories64 = kOptionalHeader + 112;
constexpr size_t kResourceDirectory = 2 * 8;  // the third entry of the data directory
constexpr size_t kSectionSize = 40, kSectionVirtualSize = 8, kSectionAddress = 12,
                 kSectionRawSize = 16, kSectionRawOffset = 20;
constexpr size_t kNamedCount = 12, kIdCount = 14, kFirstEntry = 16, kEntrySize = 8;
constexpr DWORD kHighBit =
    0x80000000;  // of an entry: a name instead of a number, a directory instead of data
constexpr DWORD kStringTable = 6;  // RT_STRING

// Reads numbers of a file that may end anywhere.
class Image {
 public:
  Image(const BYTE* bytes, size_t size) : bytes_(bytes), size_(size) {}

  bool Holds(ULONGLONG offset, size_t length) const {
    return offset <= size_ && length <= size_ - offset;
  }
  WORD Word(ULONGLONG offset) const { return Read<WORD>(offset); }
  DWORD Dword(ULONGLONG offset) const { return Read<DWORD>(offset); }

 private:
  // 0 where the file does not reach.
  template <class Number>
  Number Read(ULONGLONG offset) const {
    Number value = 0;
    if (Holds(offset, sizeof(value))) memcpy(&value, bytes_ + offset, sizeof(value));
    return value;
  }

  const BYTE* bytes_;
  size_t size_;
};

// The offset of the NT headers when they are readable in full; 0 for anything but a PE image.
DWORD FindNtHeaders(const Image& image) {
  if (image.Word(0) != kDosSignature) return 0;
  const DWORD headers = image.Dword(kNtHeadersOffset);
  if (image.Dword(headers) != kNtSignature) return 0;
  const WORD magic = image.Word(ULONGLONG{headers} + kOptionalHeader);
  const size_t needed = magic == kMagic32 ? kHeadersSize32 : magic == kMagic64 ? kHeadersSize64 : 0;
  return needed != 0 && image.Holds(headers, needed) ? headers : 0;
}

// The file offset of the root resource directory; 0 when there is none.
ULONGLONG FindResources(const Image& image, ULONGLONG headers) {
  const bool wide = image.Word(headers + kOptionalHeader) == kMagic64;
  const DWORD address =
      image.Dword(headers + (wide ? kDirectories64 : kDirectories32) + kResourceDirectory);
  if (address == 0) return 0;
  const ULONGLONG sections = headers + kOptionalHeader + image.Word(headers + kOptionalHeaderSize);
  for (int i = 0; i < image.Word(headers + kSectionCount); ++i) {
    const ULONGLONG section = sections + i * kSectionSize;
    if (!image.Holds(section, kSectionSize)) return 0;
    const DWORD begin = image.Dword(section + kSectionAddress);
    const DWORD virtualSize = image.Dword(section + kSectionVirtualSize);
    const DWORD length = virtualSize != 0 ? virtualSize : image.Dword(section + kSectionRawSize);
    if (address >= begin && address - begin < length) {
      return ULONGLONG{image.Dword(section + kSectionRawOffset)} + (address - begin);
    }
  }
  return 0;
}

// The offset of the directory that an entry refers to, relative to the root; 0 when it refers to
// data.
DWORD SubDirectory(const Image& image, ULONGLONG entry) {
  const DWORD target = image.Dword(entry + 4);
  return (target & kHighBit) != 0 ? target & ~kHighBit : 0;
}

// The directory of the string tables, relative to the root; 0 when there is none.
DWORD FindStringTables(const Image& image, ULONGLONG root) {
  const int named = image.Word(root + kNamedCount);
  for (int i = 0; i < image.Word(root + kIdCount); ++i) {
    const ULONGLONG entry = root + kFirstEntry + (named + i) * kEntrySize;
    if (!image.Holds(entry, kEntrySize)) return 0;
    if (image.Dword(entry) == kStringTable) return SubDirectory(image, entry);
  }
  return 0;
}

}  // namespace

LANGID GetImageLanguage(const BYTE* bytes, size_t size) {
  const Image image(bytes, size);
  const DWORD headers = FindNtHeaders(image);
  if (headers == 0) return 0;
  const ULONGLONG root = FindResources(image, headers);
  if (root == 0) return 0;
  const DWORD tables = FindStringTables(image, root);
  if (tables == 0 ||
      image.Word(root + tables + kNamedCount) + image.Word(root + tables + kIdCount) == 0)
    return 0;
  const DWORD languages = SubDirectory(image, root + tables + kFirstEntry);
  if (languages == 0 || image.Word(root + languages + kIdCount) != 1) return 0;
  const ULONGLONG entry =
      root + languages + kFirstEntry + image.Word(root + languages + kNamedCount) * kEntrySize;
  return static_cast<LANGID>(image.Dword(entry));
}

LANGID GetFileLanguage(LPCWSTR path) {
  // Not while somebody writes it.
  const UniqueFile file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return 0;
  const DWORD size = GetFileSize(file.Get(), nullptr);
  const UniqueHandle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  if (size == INVALID_FILE_SIZE || !mapping) return 0;
  const void* const view = MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0);
  if (view == nullptr) return 0;
  const LANGID language = GetImageLanguage(static_cast<const BYTE*>(view), size);
  UnmapViewOfFile(view);
  return language;
}

}  // namespace kv
