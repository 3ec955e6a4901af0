// Reads PE images: their machine type and their resources. The bytes may be anything; nothing is
// read outside them, and no offset leads in a circle.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/control/pe_writer.h"
#include "platform/kernel/pe_format.h"
#include "platform/kernel/text.h"

namespace platform {

class PeImage {
 public:
  using Bytes = std::vector<BYTE>;

  // Null when the bytes are not a complete PE image.
  static std::shared_ptr<const PeImage> Read(Bytes bytes);

  PeImage(const PeImage&) = delete;
  PeImage& operator=(const PeImage&) = delete;

  WORD machine() const { return machine_; }
  // Whether the image holds code to run.
  bool HasEntryPoint() const { return has_entry_point_; }
  bool HasResources() const { return resources_.size() != 0; }

  // In the order of the directory; empty when the type or name is missing.
  std::vector<ResourceKey> Types() const;
  std::vector<ResourceKey> Names(const ResourceKey& type) const;
  std::vector<WORD> Languages(const ResourceKey& type, const ResourceKey& name) const;

  // The entry of a resource in exactly this language; null when there is none or its data lie
  // outside the image. It lives as long as the image.
  const pe::ResourceData* Find(const ResourceKey& type, const ResourceKey& name,
                               WORD language) const;
  // The bytes of an entry that Find returned; empty for any other address.
  std::span<const BYTE> Data(const pe::ResourceData* entry) const;

 private:
  struct Entry {
    ResourceKey key;
    bool is_directory;
    DWORD target;
  };

  explicit PeImage(Bytes bytes) : bytes_(std::move(bytes)) {}
  bool ReadHeaders();
  template <class T>
  std::optional<T> At(size_t offset) const;
  std::optional<size_t> OffsetOf(DWORD address, DWORD size) const;
  std::optional<ResourceKey> KeyOf(DWORD name) const;
  std::vector<Entry> EntriesAt(DWORD directory) const;
  // The directory that an entry of `directory` leads to.
  std::optional<DWORD> Below(DWORD directory, const ResourceKey& key) const;

  Bytes bytes_;
  WORD machine_ = 0;
  bool has_entry_point_ = false;
  std::vector<pe::Section> sections_;
  // The part of the file that holds the resource directories.
  std::span<const BYTE> resources_;
};

}  // namespace platform
