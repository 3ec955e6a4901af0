// Writes libraries of resources only: PE images without code, as resource compilers and linkers
// make them. Machines get their system files this way, tests their resource libraries.
#pragma once

#include <windows.h>

#include <array>
#include <compare>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

// The type or name of a resource: a number, or a text when `name` is not empty.
struct ResourceKey {
  std::basic_string<WCHAR> name;
  WORD id = 0;

  ResourceKey() = default;
  ResourceKey(WORD number) : id(number) {}
  ResourceKey(std::basic_string_view<WCHAR> text) : name(text) {}
  // As the system's functions take it: MAKEINTRESOURCEW(id), "#id" or a text.
  static ResourceKey From(LPCWSTR type_or_name);

  bool operator==(const ResourceKey&) const = default;
  // Texts before numbers, as they stand in a directory.
  bool operator<(const ResourceKey& other) const;
};

struct VersionStrings {
  WORD language = 0x0409;
  WORD code_page = 1200;
  std::vector<std::pair<std::basic_string<WCHAR>, std::basic_string<WCHAR>>> values;
};

struct VersionResource {
  // Major, minor, build, revision.
  std::array<WORD, 4> file_version = {};
  std::array<WORD, 4> product_version = {};
  bool has_fixed_info = true;
  std::vector<VersionStrings> strings;
  // Language and code page pairs; no translation table when empty.
  std::vector<std::pair<WORD, WORD>> translations;

  // The bytes of the resource.
  std::vector<BYTE> Build() const;
};

class PeWriter {
 public:
  // IMAGE_FILE_MACHINE_I386 or IMAGE_FILE_MACHINE_AMD64.
  explicit PeWriter(WORD machine) : machine_(machine) {}
  // The machine type of this process.
  PeWriter();

  PeWriter& AddString(WORD language, WORD id, std::basic_string_view<WCHAR> text);
  PeWriter& AddVersion(const VersionResource& version, WORD language = 0x0409);
  PeWriter& AddResource(const ResourceKey& type, const ResourceKey& name, WORD language,
                        std::vector<BYTE> data);

  std::vector<BYTE> Build() const;
  // Replaces the file in one step; directories that are missing are made.
  void WriteTo(const std::filesystem::path& host_path) const;

 private:
  using Languages = std::map<WORD, std::vector<BYTE>>;
  using Names = std::map<ResourceKey, Languages>;
  using Types = std::map<ResourceKey, Names>;

  Types WithStrings() const;
  static std::vector<BYTE> BuildSection(const Types& types);

  WORD machine_;
  Types types_;
  std::map<std::pair<WORD, WORD>, std::array<std::basic_string<WCHAR>, 16>> string_blocks_;
};

}  // namespace platform
