#include "platform/kernel/pe_image.h"

#include <algorithm>
#include <cstring>

namespace platform {
namespace {

// Resource compilers make no longer names; entries with one are passed over, so that a small file
// cannot ask for much memory.
constexpr WORD kLongestName = 255;

template <class T>
std::optional<T> ReadAt(std::span<const BYTE> bytes, size_t offset) {
  if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return std::nullopt;
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

bool SameKey(const ResourceKey& a, const ResourceKey& b) {
  return a.id == b.id && EqualNoCase(a.name, b.name);
}

}  // namespace

template <class T>
std::optional<T> PeImage::At(size_t offset) const {
  return ReadAt<T>(bytes_, offset);
}

std::shared_ptr<const PeImage> PeImage::Read(Bytes bytes) {
  std::shared_ptr<PeImage> image(new PeImage(std::move(bytes)));
  return image->ReadHeaders() ? image : nullptr;
}

bool PeImage::ReadHeaders() {
  if (At<WORD>(0) != pe::kDosSignature) return false;
  const auto start = At<DWORD>(pe::kHeaderOffsetAt);
  if (!start || At<DWORD>(*start) != pe::kPeSignature) return false;
  const size_t header_at = size_t{*start} + sizeof(DWORD);
  const auto header = At<pe::FileHeader>(header_at);
  if (!header) return false;
  machine_ = header->machine;

  const size_t optional_at = header_at + sizeof *header;
  const auto magic = At<WORD>(optional_at);
  if (magic != pe::kMagic32 && magic != pe::kMagic64) return false;
  if (header->optional_header_size < pe::OptionalHeaderSize(*magic)) return false;
  const auto entry_point = At<DWORD>(optional_at + pe::kEntryPointAt);
  const auto directory = At<pe::DataDirectory>(optional_at + pe::DirectoriesAt(*magic) +
                                               pe::kResourceDirectory * sizeof(pe::DataDirectory));
  if (!entry_point || !directory) return false;
  has_entry_point_ = *entry_point != 0;

  size_t section_at = optional_at + header->optional_header_size;
  for (WORD i = 0; i < header->section_count; ++i, section_at += sizeof(pe::Section)) {
    const auto section = At<pe::Section>(section_at);
    if (!section) return false;
    if (section->raw_size != 0 && (section->raw_offset > bytes_.size() ||
                                   bytes_.size() - section->raw_offset < section->raw_size)) {
      return false;
    }
    sections_.push_back(*section);
  }
  if (directory->address != 0) {
    const auto offset = OffsetOf(directory->address, sizeof(pe::ResourceDirectory));
    if (!offset) return true;
    for (const pe::Section& section : sections_) {
      const size_t end = size_t{section.raw_offset} + section.raw_size;
      if (*offset >= section.raw_offset && *offset < end) {
        resources_ = std::span(bytes_).subspan(*offset, end - *offset);
        break;
      }
    }
  }
  return true;
}

std::optional<size_t> PeImage::OffsetOf(DWORD address, DWORD size) const {
  for (const pe::Section& section : sections_) {
    if (address < section.virtual_address) continue;
    const DWORD within = address - section.virtual_address;
    if (within >= section.raw_size) continue;
    if (section.raw_size - within < size) return std::nullopt;
    return size_t{section.raw_offset} + within;
  }
  return std::nullopt;
}

std::optional<ResourceKey> PeImage::KeyOf(DWORD name) const {
  if ((name & pe::kHighBit) == 0) return ResourceKey(static_cast<WORD>(name));
  const size_t at = name & ~pe::kHighBit;
  const auto length = ReadAt<WORD>(resources_, at);
  if (!length || *length == 0 || *length > kLongestName) return std::nullopt;
  const size_t text_at = at + sizeof(WORD);
  if ((resources_.size() - text_at) / sizeof(WCHAR) < *length) return std::nullopt;
  WideString text(*length, 0);
  std::memcpy(text.data(), resources_.data() + text_at, *length * sizeof(WCHAR));
  return ResourceKey(WideView(text));
}

std::vector<PeImage::Entry> PeImage::EntriesAt(DWORD directory) const {
  std::vector<Entry> entries;
  const auto header = ReadAt<pe::ResourceDirectory>(resources_, directory);
  if (!header) return entries;
  const size_t count = size_t{header->named_count} + header->id_count;
  size_t at = directory + sizeof *header;
  for (size_t i = 0; i < count; ++i, at += sizeof(pe::ResourceEntry)) {
    const auto entry = ReadAt<pe::ResourceEntry>(resources_, at);
    if (!entry) break;
    const auto key = KeyOf(entry->name);
    if (!key) continue;
    entries.push_back({*key, (entry->target & pe::kHighBit) != 0, entry->target & ~pe::kHighBit});
  }
  return entries;
}

std::optional<DWORD> PeImage::Below(DWORD directory, const ResourceKey& key) const {
  for (const Entry& entry : EntriesAt(directory)) {
    if (entry.is_directory && SameKey(entry.key, key)) return entry.target;
  }
  return std::nullopt;
}

std::vector<ResourceKey> PeImage::Types() const {
  std::vector<ResourceKey> types;
  for (Entry& entry : EntriesAt(0)) types.push_back(std::move(entry.key));
  return types;
}

std::vector<ResourceKey> PeImage::Names(const ResourceKey& type) const {
  std::vector<ResourceKey> names;
  const auto directory = Below(0, type);
  if (!directory) return names;
  for (Entry& entry : EntriesAt(*directory)) names.push_back(std::move(entry.key));
  return names;
}

std::vector<WORD> PeImage::Languages(const ResourceKey& type, const ResourceKey& name) const {
  std::vector<WORD> languages;
  const auto names = Below(0, type);
  const auto directory = names ? Below(*names, name) : std::nullopt;
  if (!directory) return languages;
  for (const Entry& entry : EntriesAt(*directory)) {
    if (entry.key.name.empty()) languages.push_back(entry.key.id);
  }
  return languages;
}

const pe::ResourceData* PeImage::Find(const ResourceKey& type, const ResourceKey& name,
                                      WORD language) const {
  const auto names = Below(0, type);
  const auto directory = names ? Below(*names, name) : std::nullopt;
  if (!directory) return nullptr;
  for (const Entry& entry : EntriesAt(*directory)) {
    if (entry.is_directory || !entry.key.name.empty() || entry.key.id != language) continue;
    const auto data = ReadAt<pe::ResourceData>(resources_, entry.target);
    if (!data || !OffsetOf(data->address, data->size)) return nullptr;
    return reinterpret_cast<const pe::ResourceData*>(resources_.data() + entry.target);
  }
  return nullptr;
}

std::span<const BYTE> PeImage::Data(const pe::ResourceData* entry) const {
  const auto* address = reinterpret_cast<const BYTE*>(entry);
  const auto* first = resources_.data();
  if (entry == nullptr || address < first || address >= first + resources_.size()) return {};
  const auto data = ReadAt<pe::ResourceData>(resources_, address - first);
  const auto offset = data ? OffsetOf(data->address, data->size) : std::nullopt;
  if (!offset) return {};
  return std::span(bytes_).subspan(*offset, data->size);
}

}  // namespace platform
