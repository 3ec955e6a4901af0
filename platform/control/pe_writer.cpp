#include "platform/control/pe_writer.h"

#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>

#include "platform/kernel/pe_format.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

constexpr DWORD kFileAlignment = 0x200;
constexpr DWORD kSectionAlignment = 0x1000;
constexpr DWORD kPeHeaderAt = 0x40;
constexpr DWORD kSectionAddress = kSectionAlignment;
constexpr WORD kStringsPerBlock = 16;

DWORD Aligned(size_t value, DWORD alignment) {
  return static_cast<DWORD>((value + alignment - 1) / alignment * alignment);
}

template <class T>
void Append(std::vector<BYTE>& out, const T& value) {
  const auto* bytes = reinterpret_cast<const BYTE*>(&value);
  out.insert(out.end(), bytes, bytes + sizeof value);
}

template <class T>
void Put(std::vector<BYTE>& out, size_t at, const T& value) {
  std::memcpy(out.data() + at, &value, sizeof value);
}

void AppendText(std::vector<BYTE>& out, WideView text) {
  for (WCHAR c : text) Append(out, c);
}

void Pad(std::vector<BYTE>& out, DWORD alignment = 4) {
  out.resize(Aligned(out.size(), alignment));
}

// One node of a version resource: its key, its value and whatever `add_children` appends.
void AppendNode(std::vector<BYTE>& out, WideView key, WORD value_length, WORD is_text,
                const std::vector<BYTE>& value,
                const std::function<void(std::vector<BYTE>&)>& add_children) {
  Pad(out);
  const size_t start = out.size();
  Append<WORD>(out, 0);
  Append(out, value_length);
  Append(out, is_text);
  AppendText(out, key);
  Append<WCHAR>(out, 0);
  Pad(out);
  out.insert(out.end(), value.begin(), value.end());
  if (add_children) add_children(out);
  Put(out, start, static_cast<WORD>(out.size() - start));
}

WideString HexText(WORD language, WORD code_page) {
  constexpr WideView kDigits = TEXT("0123456789abcdef");
  WideString text;
  for (WORD part : {language, code_page}) {
    for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[(part >> shift) & 15];
  }
  return text;
}

std::vector<BYTE> FixedInfo(const VersionResource& version) {
  const auto pair = [](WORD high, WORD low) { return DWORD{high} << 16 | low; };
  VS_FIXEDFILEINFO info = {};
  info.dwSignature = VS_FFI_SIGNATURE;
  info.dwStrucVersion = VS_FFI_STRUCVERSION;
  info.dwFileVersionMS = pair(version.file_version[0], version.file_version[1]);
  info.dwFileVersionLS = pair(version.file_version[2], version.file_version[3]);
  info.dwProductVersionMS = pair(version.product_version[0], version.product_version[1]);
  info.dwProductVersionLS = pair(version.product_version[2], version.product_version[3]);
  info.dwFileFlagsMask = VS_FFI_FILEFLAGSMASK;
  info.dwFileOS = VOS_NT_WINDOWS32;
  info.dwFileType = VFT_DLL;
  std::vector<BYTE> bytes;
  Append(bytes, info);
  return bytes;
}

void AppendStrings(std::vector<BYTE>& out, const VersionStrings& table) {
  AppendNode(out, HexText(table.language, table.code_page), 0, 1, {}, [&](std::vector<BYTE>& body) {
    for (const auto& [name, text] : table.values) {
      std::vector<BYTE> value;
      AppendText(value, text);
      Append<WCHAR>(value, 0);
      AppendNode(body, name, static_cast<WORD>(text.size() + 1), 1, value, nullptr);
    }
  });
}

// Lays out the three levels of a resource section. All directories come first, level by level, then
// the entries of the data, the names and the data themselves.
class SectionLayout {
 public:
  // Reserves a directory and returns its offset.
  DWORD AddDirectory(WORD named, WORD numbered) {
    const DWORD at = static_cast<DWORD>(directories_.size());
    pe::ResourceDirectory directory = {};
    directory.named_count = named;
    directory.id_count = numbered;
    Append(directories_, directory);
    directories_.resize(directories_.size() + (named + numbered) * sizeof(pe::ResourceEntry));
    return at;
  }

  void SetEntry(DWORD directory, size_t index, const ResourceKey& key, DWORD target) {
    pe::ResourceEntry entry = {key.id, target};
    const size_t at = directory + sizeof(pe::ResourceDirectory) + index * sizeof entry;
    if (!key.name.empty()) {
      entry.name = pe::kHighBit | static_cast<DWORD>(names_.size());
      name_entries_.push_back(at);
      Append(names_, static_cast<WORD>(key.name.size()));
      AppendText(names_, key.name);
    }
    Put(directories_, at, entry);
  }

  void SetData(DWORD directory, size_t index, WORD language, const std::vector<BYTE>& data) {
    SetEntry(directory, index, language, static_cast<DWORD>(data_entries_.size()));
    data_places_.push_back(directory + sizeof(pe::ResourceDirectory) +
                           index * sizeof(pe::ResourceEntry));
    Append(data_entries_, pe::ResourceData{static_cast<DWORD>(data_.size()),
                                           static_cast<DWORD>(data.size()), 0, 0});
    data_.insert(data_.end(), data.begin(), data.end());
    Pad(data_);
  }

  // Puts the pieces together; what was relative to a piece becomes relative to the section.
  std::vector<BYTE> Finish() {
    const DWORD data_entries_at = static_cast<DWORD>(directories_.size());
    const DWORD names_at = data_entries_at + static_cast<DWORD>(data_entries_.size());
    Pad(names_);
    const DWORD data_at = names_at + static_cast<DWORD>(names_.size());
    for (size_t at : name_entries_) Shift(directories_, at, names_at);
    for (size_t at : data_places_) Shift(directories_, at + sizeof(DWORD), data_entries_at);
    for (size_t at = 0; at < data_entries_.size(); at += sizeof(pe::ResourceData)) {
      Shift(data_entries_, at, kSectionAddress + data_at);
    }
    std::vector<BYTE> all = directories_;
    for (const auto* piece : {&data_entries_, &names_, &data_}) {
      all.insert(all.end(), piece->begin(), piece->end());
    }
    return all;
  }

 private:
  static void Shift(std::vector<BYTE>& bytes, size_t at, DWORD by) {
    DWORD value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    Put(bytes, at, value + by);
  }

  std::vector<BYTE> directories_;
  std::vector<BYTE> data_entries_;
  std::vector<BYTE> names_;
  std::vector<BYTE> data_;
  std::vector<size_t> name_entries_;
  std::vector<size_t> data_places_;
};

// The optional header of an image with one section of `body_size` bytes, or with none.
void PutOptionalHeader(std::vector<BYTE>& file, size_t header_at, WORD magic, size_t body_size) {
  const auto put = [&](DWORD at, auto value) { Put(file, header_at + at, value); };
  put(0, magic);
  if (magic == pe::kMagic64) {
    put(pe::kImageBaseAt64, uint64_t{0x180000000});
    put(pe::kDirectoryCountAt64, pe::kDirectoryCount);
  } else {
    put(pe::kImageBaseAt32, DWORD{0x10000000});
    put(pe::kDirectoryCountAt32, pe::kDirectoryCount);
  }
  put(pe::kSectionAlignmentAt, kSectionAlignment);
  put(pe::kFileAlignmentAt, kFileAlignment);
  put(pe::kSystemVersionAt, WORD{4});
  put(pe::kSubsystemVersionAt, WORD{4});
  put(pe::kImageSizeAt, kSectionAddress + Aligned(body_size, kSectionAlignment));
  put(pe::kHeadersSizeAt, kFileAlignment);
  put(pe::kSubsystemAt, WORD{2});
  if (body_size == 0) return;
  put(pe::DirectoriesAt(magic) + pe::kResourceDirectory * sizeof(pe::DataDirectory),
      pe::DataDirectory{kSectionAddress, static_cast<DWORD>(body_size)});
}

pe::Section ResourceSection(size_t body_size) {
  pe::Section section = {};
  std::memcpy(section.name, ".rsrc", 5);
  section.virtual_size = static_cast<DWORD>(body_size);
  section.virtual_address = kSectionAddress;
  section.raw_size = Aligned(body_size, kFileAlignment);
  section.raw_offset = kFileAlignment;
  section.characteristics = 0x40000040;  // initialised data, readable
  return section;
}

void PutHeaders(std::vector<BYTE>& file, WORD machine, size_t body_size) {
  const bool wide = machine == IMAGE_FILE_MACHINE_AMD64;
  const WORD magic = wide ? pe::kMagic64 : pe::kMagic32;
  Put(file, 0, pe::kDosSignature);
  Put(file, pe::kHeaderOffsetAt, kPeHeaderAt);
  Put(file, kPeHeaderAt, pe::kPeSignature);
  pe::FileHeader header = {};
  header.machine = machine;
  header.section_count = body_size == 0 ? 0 : 1;
  header.optional_header_size = static_cast<WORD>(pe::OptionalHeaderSize(magic));
  // An executable image, a DLL; of 32 bits, or aware of large addresses.
  header.characteristics = wide ? 0x2022 : 0x2102;
  const size_t header_at = kPeHeaderAt + sizeof(DWORD);
  Put(file, header_at, header);
  const size_t optional_at = header_at + sizeof header;
  PutOptionalHeader(file, optional_at, magic, body_size);
  if (body_size != 0) {
    Put(file, optional_at + pe::OptionalHeaderSize(magic), ResourceSection(body_size));
  }
}

template <class Map>
DWORD AddDirectoryFor(SectionLayout& layout, const Map& entries) {
  WORD named = 0;
  for (const auto& [key, value] : entries) named += !ResourceKey(key).name.empty();
  return layout.AddDirectory(named, static_cast<WORD>(entries.size() - named));
}

}  // namespace

ResourceKey ResourceKey::From(LPCWSTR type_or_name) {
  if (IS_INTRESOURCE(type_or_name)) {
    return ResourceKey(static_cast<WORD>(reinterpret_cast<ULONG_PTR>(type_or_name)));
  }
  const WideView text(type_or_name);
  if (text.size() < 2 || text[0] != '#') return ResourceKey(text);
  DWORD number = 0;
  for (WCHAR c : text.substr(1)) {
    if (c < '0' || c > '9' || number > 0xFFFF) return ResourceKey(text);
    number = number * 10 + (c - '0');
  }
  return number > 0xFFFF ? ResourceKey(text) : ResourceKey(static_cast<WORD>(number));
}

bool ResourceKey::operator<(const ResourceKey& other) const {
  if (name.empty() != other.name.empty()) return other.name.empty();
  return name.empty() ? id < other.id : name < other.name;
}

std::vector<BYTE> VersionResource::Build() const {
  const std::vector<BYTE> fixed = has_fixed_info ? FixedInfo(*this) : std::vector<BYTE>();
  const auto add_translations = [&](std::vector<BYTE>& body) {
    std::vector<BYTE> value;
    for (const auto& [language, code_page] : translations) {
      Append(value, language);
      Append(value, code_page);
    }
    AppendNode(body, TEXT("Translation"), static_cast<WORD>(value.size()), 0, value, nullptr);
  };
  std::vector<BYTE> out;
  AppendNode(out, TEXT("VS_VERSION_INFO"), static_cast<WORD>(fixed.size()), 0, fixed,
             [&](std::vector<BYTE>& body) {
               if (!strings.empty()) {
                 AppendNode(body, TEXT("StringFileInfo"), 0, 1, {}, [&](std::vector<BYTE>& tables) {
                   for (const VersionStrings& table : strings) AppendStrings(tables, table);
                 });
               }
               if (!translations.empty()) {
                 AppendNode(body, TEXT("VarFileInfo"), 0, 1, {}, add_translations);
               }
             });
  return out;
}

PeWriter::PeWriter() : machine_(pe::kOwnMachine) {}

PeWriter& PeWriter::AddString(WORD language, WORD id, std::basic_string_view<WCHAR> text) {
  const WORD block = static_cast<WORD>(id / kStringsPerBlock + 1);
  string_blocks_[{block, language}][id % kStringsPerBlock] = text;
  return *this;
}

PeWriter& PeWriter::AddVersion(const VersionResource& version, WORD language) {
  return AddResource(ResourceKey::From(RT_VERSION), WORD{1}, language, version.Build());
}

PeWriter& PeWriter::AddResource(const ResourceKey& type, const ResourceKey& name, WORD language,
                                std::vector<BYTE> data) {
  types_[type][name][language] = std::move(data);
  return *this;
}

PeWriter::Types PeWriter::WithStrings() const {
  Types types = types_;
  for (const auto& [place, strings] : string_blocks_) {
    std::vector<BYTE> block;
    for (const WideString& text : strings) {
      Append(block, static_cast<WORD>(text.size()));
      AppendText(block, text);
    }
    types[ResourceKey::From(RT_STRING)][place.first][place.second] = std::move(block);
  }
  return types;
}

std::vector<BYTE> PeWriter::BuildSection(const Types& types) {
  SectionLayout layout;
  const DWORD root = AddDirectoryFor(layout, types);
  size_t type_index = 0;
  for (const auto& [type, names] : types) {
    const DWORD type_directory = AddDirectoryFor(layout, names);
    layout.SetEntry(root, type_index++, type, pe::kHighBit | type_directory);
    size_t name_index = 0;
    for (const auto& [name, languages] : names) {
      const DWORD name_directory = AddDirectoryFor(layout, languages);
      layout.SetEntry(type_directory, name_index++, name, pe::kHighBit | name_directory);
      size_t language_index = 0;
      for (const auto& [language, data] : languages) {
        layout.SetData(name_directory, language_index++, language, data);
      }
    }
  }
  return layout.Finish();
}

std::vector<BYTE> PeWriter::Build() const {
  const Types types = WithStrings();
  const std::vector<BYTE> body = types.empty() ? std::vector<BYTE>() : BuildSection(types);
  std::vector<BYTE> file(kFileAlignment);
  PutHeaders(file, machine_, body.size());
  file.insert(file.end(), body.begin(), body.end());
  Pad(file, kFileAlignment);
  return file;
}

void PeWriter::WriteTo(const std::filesystem::path& host_path) const {
  std::filesystem::create_directories(host_path.parent_path());
  const std::filesystem::path fresh = host_path.string() + "." + std::to_string(getpid());
  const std::vector<BYTE> bytes = Build();
  {
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
  }
  std::filesystem::rename(fresh, host_path);
}

}  // namespace platform
