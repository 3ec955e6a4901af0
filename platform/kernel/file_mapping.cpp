#include "platform/kernel/file_mapping.h"

#include <sys/mman.h>

#include <limits>
#include <mutex>
#include <unordered_map>

#include "platform/kernel/api_call.h"
#include "platform/kernel/disk_space.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

struct MappedView {
  // Keeps the file mapped for the others.
  std::shared_ptr<FileMapping> mapping;
  std::unique_ptr<CountedResource> counted;
};

struct Views {
  std::mutex mutex;
  std::unordered_map<const void*, MappedView> mapped;
};

Views& views() {
  static Views* instance = new Views;
  return *instance;
}

DWORD MapWhole(const std::shared_ptr<FileMapping>& mapping, DWORD access, void*& view) {
  const bool writes = (access & FILE_MAP_WRITE) != 0;
  if (writes && !mapping->writable()) return ERROR_ACCESS_DENIED;
  void* const address = mmap(nullptr, mapping->size(), PROT_READ | (writes ? PROT_WRITE : 0),
                             MAP_SHARED, mapping->descriptor(), 0);
  if (address == MAP_FAILED) return ERROR_NOT_ENOUGH_MEMORY;
  std::lock_guard lock(views().mutex);
  views().mapped.emplace(
      address, MappedView{mapping, std::make_unique<CountedResource>(Resource::kFileView)});
  view = address;
  return ERROR_SUCCESS;
}

}  // namespace

DWORD FileMapping::Create(const File& file, DWORD protection, uint64_t maximum,
                          std::shared_ptr<FileMapping>& mapping) {
  if (protection != PAGE_READONLY && protection != PAGE_READWRITE)
    return ERROR_CALL_NOT_IMPLEMENTED;
  const bool writable = protection == PAGE_READWRITE;
  const DWORD needed = FILE_READ_DATA | (writable ? FILE_WRITE_DATA : 0);
  if ((file.access() & needed) != needed) return ERROR_ACCESS_DENIED;
  uint64_t size = 0;
  DWORD error = file.Size(size);
  if (error != ERROR_SUCCESS) return error;
  if (size == 0 && maximum == 0) return ERROR_FILE_INVALID;
  if (maximum > size) {
    if (!writable) return ERROR_NOT_ENOUGH_MEMORY;
    error = ResizeFile(file.shared(), maximum);
    if (error != ERROR_SUCCESS) return error;
  }
  const uint64_t wanted = maximum != 0 ? maximum : size;
  if (wanted > std::numeric_limits<size_t>::max()) return ERROR_NOT_ENOUGH_MEMORY;
  auto made = std::make_shared<FileMapping>();
  error = made->file_.OpenForMapping(file.shared(), writable);
  if (error != ERROR_SUCCESS) return error;
  made->size_ = static_cast<size_t>(wanted);
  made->writable_ = writable;
  mapping = std::move(made);
  return ERROR_SUCCESS;
}

}  // namespace platform

using namespace platform;

HANDLE WINAPI CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection,
                                 DWORD size_high, DWORD size_low, LPCWSTR name) {
  KV_API(CreateFileMappingW, ERROR_NOT_ENOUGH_MEMORY, nullptr, file, attributes, protection,
         size_high, size_low, name);
  const auto object = ObjectOf<File>(file);
  DWORD error = object == nullptr ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
  if (file == INVALID_HANDLE_VALUE || name != nullptr) error = ERROR_CALL_NOT_IMPLEMENTED;
  std::shared_ptr<FileMapping> mapping;
  if (error == ERROR_SUCCESS) {
    error = FileMapping::Create(*object, protection,
                                static_cast<uint64_t>(size_high) << 32 | size_low, mapping);
  }
  SetLastError(error);
  return error == ERROR_SUCCESS ? OpenHandle(std::move(mapping)) : nullptr;
}

LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                            SIZE_T size) {
  KV_API(MapViewOfFile, ERROR_NOT_ENOUGH_MEMORY, nullptr, mapping, access, offset_high, offset_low,
         size);
  const auto object = ObjectOf<FileMapping>(mapping);
  DWORD error = object == nullptr ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
  if (offset_high != 0 || offset_low != 0 || size != 0) error = ERROR_CALL_NOT_IMPLEMENTED;
  void* view = nullptr;
  if (error == ERROR_SUCCESS) error = MapWhole(object, access, view);
  if (error != ERROR_SUCCESS) SetLastError(error);
  return view;
}

BOOL WINAPI UnmapViewOfFile(LPCVOID view) {
  KV_API_NOFAIL(UnmapViewOfFile, FALSE, view);
  std::lock_guard lock(views().mutex);
  const auto found = views().mapped.find(view);
  if (found == views().mapped.end()) return Finish(ERROR_INVALID_ADDRESS);
  munmap(const_cast<void*>(view), found->second.mapping->size());
  views().mapped.erase(found);
  return TRUE;
}
