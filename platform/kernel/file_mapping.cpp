#include "platform/kernel/file_mapping.h"

#include <errno.h>
#include <sys/mman.h>
#include <unistd.h>

#include <limits>
#include <mutex>
#include <unordered_map>

#include "platform/kernel/api_call.h"
#include "platform/kernel/disk_space.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/result.h"
#include "platform/security/rights.h"
#include "platform/services/sessions.h"

namespace platform {
namespace {

struct MappedView {
  size_t size;
  std::shared_ptr<KernelObject> kept;
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

DWORD MapWhole(Mapping& mapping, DWORD access, void*& view) {
  const bool writes = (access & FILE_MAP_WRITE) != 0;
  if (writes && !mapping.writable()) return ERROR_ACCESS_DENIED;
  void* const address = mmap(nullptr, mapping.size(), PROT_READ | (writes ? PROT_WRITE : 0),
                             MAP_SHARED, mapping.descriptor(), mapping.offset());
  if (address == MAP_FAILED) return ERROR_NOT_ENOUGH_MEMORY;
  std::lock_guard lock(views().mutex);
  views().mapped.emplace(address,
                         MappedView{mapping.size(), mapping.KeptByViews(),
                                    std::make_unique<CountedResource>(Resource::kFileView)});
  view = address;
  return ERROR_SUCCESS;
}

DWORD CreateOfFile(HANDLE file, DWORD protection, uint64_t size, LPCWSTR name,
                   std::shared_ptr<Mapping>& mapping) {
  const auto object = ObjectOf<File>(file);
  if (object == nullptr) return ERROR_INVALID_HANDLE;
  if (name != nullptr) return ERROR_CALL_NOT_IMPLEMENTED;
  std::shared_ptr<FileMapping> made;
  const DWORD error = FileMapping::Create(*object, protection, size, made);
  mapping = std::move(made);
  return error;
}

DWORD CreateOfMemory(DWORD protection, uint64_t size, WideView name,
                     std::shared_ptr<Mapping>& mapping, bool& existed) {
  constexpr WideView kGlobal = TEXT("Global\\");
  if (protection != PAGE_READWRITE) return ERROR_CALL_NOT_IMPLEMENTED;
  if (size == 0) return ERROR_INVALID_PARAMETER;
  std::shared_ptr<MemoryMapping> made;
  DWORD error = ERROR_SUCCESS;
  if (name.empty()) {
    error = MemoryMapping::Create(size, made);
  } else {
    // Memory for all sessions is made by services and by who may.
    const bool may_make = !name.starts_with(kGlobal) || ProcessSession() == 0 ||
                          CallerHasPrivilege(TEXT("SeCreateGlobalPrivilege"));
    error = MemoryMapping::Open(name, size, may_make, made, existed);
    if (error == ERROR_FILE_NOT_FOUND && !may_make) error = ERROR_ACCESS_DENIED;
  }
  mapping = std::move(made);
  return error;
}

}  // namespace

DWORD MemoryMapping::Create(uint64_t size, std::shared_ptr<MemoryMapping>& mapping) {
  if (size > std::numeric_limits<size_t>::max() / 2) return ERROR_NOT_ENOUGH_MEMORY;
  auto made = std::make_shared<MemoryMapping>();
  made->descriptor_ = memfd_create("mapping", MFD_CLOEXEC);
  made->size_ = static_cast<size_t>(size);
  if (made->descriptor_ < 0 || ftruncate(made->descriptor_, static_cast<off_t>(size)) != 0) {
    return ErrorOfErrno(errno);
  }
  mapping = std::move(made);
  return ERROR_SUCCESS;
}

DWORD MemoryMapping::Open(WideView name, uint64_t size, bool create,
                          std::shared_ptr<MemoryMapping>& mapping, bool& existed) {
  if (size > std::numeric_limits<int32_t>::max() / 2) return ERROR_NOT_ENOUGH_MEMORY;
  ObjectRequest request;
  DWORD error = ObjectPath(name, request.path);
  request.kind = ObjectKind::kMapping;
  request.create = create;
  request.size = size;
  auto made = std::make_shared<MemoryMapping>();
  if (error == ERROR_SUCCESS) {
    error = Machine::Current().Part<SharedObjects>().Open(request, made->object_, existed);
  }
  if (error != ERROR_SUCCESS) return error;
  made->size_ = static_cast<size_t>(made->object_->state().size);
  mapping = std::move(made);
  return ERROR_SUCCESS;
}

MemoryMapping::~MemoryMapping() {
  if (descriptor_ >= 0) close(descriptor_);
}

int MemoryMapping::descriptor() const {
  return object_ != nullptr ? object_->descriptor() : descriptor_;
}

size_t MemoryMapping::offset() const {
  return object_ != nullptr ? SharedObject::kStateSize : 0;
}

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
  const uint64_t size = static_cast<uint64_t>(size_high) << 32 | size_low;
  std::shared_ptr<Mapping> mapping;
  bool existed = false;
  const DWORD error = file == INVALID_HANDLE_VALUE
                          ? CreateOfMemory(protection, size, View(name), mapping, existed)
                          : CreateOfFile(file, protection, size, name, mapping);
  SetLastError(error == ERROR_SUCCESS && existed ? ERROR_ALREADY_EXISTS : error);
  return error == ERROR_SUCCESS ? OpenHandle(std::move(mapping)) : nullptr;
}

HANDLE WINAPI OpenFileMappingW(DWORD access, BOOL inherit, LPCWSTR name) {
  KV_API(OpenFileMappingW, ERROR_FILE_NOT_FOUND, nullptr, access, inherit, name);
  std::shared_ptr<MemoryMapping> mapping;
  bool existed = false;
  DWORD error = View(name).empty() ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
  if (inherit || access != FILE_MAP_ALL_ACCESS) error = ERROR_CALL_NOT_IMPLEMENTED;
  if (error == ERROR_SUCCESS) error = MemoryMapping::Open(View(name), 0, false, mapping, existed);
  return Finish(error) ? OpenHandle(std::move(mapping)) : nullptr;
}

LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                            SIZE_T size) {
  KV_API(MapViewOfFile, ERROR_NOT_ENOUGH_MEMORY, nullptr, mapping, access, offset_high, offset_low,
         size);
  const auto object = ObjectOf<Mapping>(mapping);
  DWORD error = object == nullptr ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
  const bool usual =
      access == FILE_MAP_READ || access == FILE_MAP_WRITE || access == FILE_MAP_ALL_ACCESS;
  if (!usual || offset_high != 0 || offset_low != 0 || size != 0) {
    error = ERROR_CALL_NOT_IMPLEMENTED;
  }
  void* view = nullptr;
  if (error == ERROR_SUCCESS) error = MapWhole(*object, access, view);
  if (error != ERROR_SUCCESS) SetLastError(error);
  return view;
}

BOOL WINAPI UnmapViewOfFile(LPCVOID view) {
  KV_API_NOFAIL(UnmapViewOfFile, FALSE, view);
  std::lock_guard lock(views().mutex);
  const auto found = views().mapped.find(view);
  if (found == views().mapped.end()) return Finish(ERROR_INVALID_ADDRESS);
  munmap(const_cast<void*>(view), found->second.size);
  views().mapped.erase(found);
  return TRUE;
}
