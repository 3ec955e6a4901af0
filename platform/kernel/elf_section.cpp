#include "platform/kernel/elf_section.h"

#include <elf.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace platform {
namespace {

constexpr size_t kLargestSection = 64 << 20;

bool ReadExactly(int descriptor, uint64_t offset, void* buffer, size_t size) {
  return pread(descriptor, buffer, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

template <class Section>
bool ReadContent(int descriptor, const Section& section, std::vector<BYTE>& content) {
  if (section.sh_type == SHT_NOBITS || section.sh_size > kLargestSection) return false;
  content.resize(static_cast<size_t>(section.sh_size));
  return ReadExactly(descriptor, section.sh_offset, content.data(), content.size());
}

template <class Header, class Section>
std::vector<BYTE> ReadNamed(int descriptor, std::string_view name) {
  Header header;
  if (!ReadExactly(descriptor, 0, &header, sizeof header)) return {};
  if (header.e_shentsize != sizeof(Section) || header.e_shstrndx >= header.e_shnum) return {};
  std::vector<Section> sections(header.e_shnum);
  if (!ReadExactly(descriptor, header.e_shoff, sections.data(),
                   sections.size() * sizeof(Section))) {
    return {};
  }
  std::vector<BYTE> names;
  if (!ReadContent(descriptor, sections[header.e_shstrndx], names)) return {};
  names.push_back(0);
  for (const Section& section : sections) {
    if (section.sh_name >= names.size()) continue;
    if (name != reinterpret_cast<const char*>(names.data() + section.sh_name)) continue;
    std::vector<BYTE> content;
    if (ReadContent(descriptor, section, content)) return content;
  }
  return {};
}

unsigned char ElfClass(int descriptor) {
  unsigned char identification[EI_NIDENT];
  if (!ReadExactly(descriptor, 0, identification, sizeof identification)) return ELFCLASSNONE;
  if (std::memcmp(identification, ELFMAG, SELFMAG) != 0) return ELFCLASSNONE;
  return identification[EI_CLASS];
}

}  // namespace

ImageFormat FormatOf(int descriptor) {
  char start[SELFMAG];
  if (!ReadExactly(descriptor, 0, start, sizeof start)) return ImageFormat::kOther;
  if (std::memcmp(start, ELFMAG, SELFMAG) == 0) return ImageFormat::kElf;
  return start[0] == 'M' && start[1] == 'Z' ? ImageFormat::kPe : ImageFormat::kOther;
}

bool IsOwnElf(int descriptor) {
  return ElfClass(descriptor) == (sizeof(void*) == 4 ? ELFCLASS32 : ELFCLASS64);
}

std::vector<BYTE> ReadElfSection(int descriptor, std::string_view name) {
  switch (ElfClass(descriptor)) {
    case ELFCLASS32:
      return ReadNamed<Elf32_Ehdr, Elf32_Shdr>(descriptor, name);
    case ELFCLASS64:
      return ReadNamed<Elf64_Ehdr, Elf64_Shdr>(descriptor, name);
    default:
      return {};
  }
}

}  // namespace platform
