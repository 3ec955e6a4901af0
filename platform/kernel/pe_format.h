// The structures of PE files that resources need, as they stand in the file.
#pragma once

#include <windows.h>

namespace platform::pe {

constexpr WORD kDosSignature = 0x5A4D;
constexpr DWORD kPeSignature = 0x00004550;
constexpr WORD kMagic32 = 0x10B;
constexpr WORD kMagic64 = 0x20B;
constexpr DWORD kHeaderOffsetAt = 0x3C;
constexpr DWORD kDirectoryCount = 16;
constexpr DWORD kResourceDirectory = 2;
// In an entry: the name is a text; the target is another directory.
constexpr DWORD kHighBit = 0x80000000;

struct FileHeader {
  WORD machine;
  WORD section_count;
  DWORD time;
  DWORD symbols;
  DWORD symbol_count;
  WORD optional_header_size;
  WORD characteristics;
};
static_assert(sizeof(FileHeader) == 20);

struct Section {
  char name[8];
  DWORD virtual_size;
  DWORD virtual_address;
  DWORD raw_size;
  DWORD raw_offset;
  DWORD relocations;
  DWORD line_numbers;
  WORD relocation_count;
  WORD line_number_count;
  DWORD characteristics;
};
static_assert(sizeof(Section) == 40);

struct DataDirectory {
  DWORD address;
  DWORD size;
};

struct ResourceDirectory {
  DWORD characteristics;
  DWORD time;
  WORD major;
  WORD minor;
  WORD named_count;
  WORD id_count;
};
static_assert(sizeof(ResourceDirectory) == 16);

struct ResourceEntry {
  DWORD name;
  DWORD target;
};

struct ResourceData {
  DWORD address;
  DWORD size;
  DWORD code_page;
  DWORD reserved;
};
static_assert(sizeof(ResourceData) == 16);

// Offset of the data directories in the optional header.
constexpr DWORD DirectoriesAt(WORD magic) {
  return magic == kMagic64 ? 112 : 96;
}
constexpr DWORD OptionalHeaderSize(WORD magic) {
  return DirectoriesAt(magic) + kDirectoryCount * sizeof(DataDirectory);
}
// Offsets in the optional header that are the same in both forms.
constexpr DWORD kEntryPointAt = 16;
constexpr DWORD kSectionAlignmentAt = 32;
constexpr DWORD kFileAlignmentAt = 36;
constexpr DWORD kSystemVersionAt = 40;
constexpr DWORD kSubsystemVersionAt = 48;
constexpr DWORD kImageSizeAt = 56;
constexpr DWORD kHeadersSizeAt = 60;
constexpr DWORD kSubsystemAt = 68;
// Those that differ.
constexpr DWORD kImageBaseAt32 = 28;
constexpr DWORD kImageBaseAt64 = 24;
constexpr DWORD kDirectoryCountAt32 = 92;
constexpr DWORD kDirectoryCountAt64 = 108;

// The machine type of this process.
constexpr WORD kOwnMachine =
    sizeof(void*) == 4 ? IMAGE_FILE_MACHINE_I386 : IMAGE_FILE_MACHINE_AMD64;

}  // namespace platform::pe
