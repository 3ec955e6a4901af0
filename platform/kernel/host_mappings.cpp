#include "platform/kernel/host_mappings.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <memory>

namespace platform {
namespace {

constexpr char kMaps[] = "/proc/self/maps";

// The question that kernels since 6.11 answer about one mapping, as their <linux/fs.h> has it.
struct MapQuery {
  uint64_t size;
  uint64_t query_flags;
  uint64_t query_addr;
  uint64_t vma_start;
  uint64_t vma_end;
  uint64_t vma_flags;
  uint64_t vma_page_size;
  uint64_t vma_offset;
  uint64_t inode;
  uint32_t dev_major;
  uint32_t dev_minor;
  uint32_t vma_name_size;
  uint32_t build_id_size;
  uint64_t vma_name_addr;
  uint64_t build_id_addr;
};
static_assert(sizeof(MapQuery) == 104);
constexpr unsigned long kAskForMap = _IOWR('f', 17, MapQuery);
constexpr uint64_t kReadable = 1, kWritable = 2, kExecutable = 4, kThisOrNext = 0x10;

enum class Answer { kFound, kNone, kUnknown };

Answer AskKernel(uint64_t address, HostMapping& mapping) {
  const int file = open(kMaps, O_RDONLY | O_CLOEXEC);
  if (file < 0) return Answer::kUnknown;
  MapQuery query = {};
  query.size = sizeof query;
  query.query_flags = kThisOrNext;
  query.query_addr = address;
  const int result = ioctl(file, kAskForMap, &query);
  const int error = errno;
  close(file);
  if (result != 0) return error == ENOENT ? Answer::kNone : Answer::kUnknown;
  mapping = {query.vma_start,
             query.vma_end,
             (query.vma_flags & kReadable) != 0,
             (query.vma_flags & kWritable) != 0,
             (query.vma_flags & kExecutable) != 0,
             query.inode != 0};
  return Answer::kFound;
}

// For older kernels: the same from the list of all mappings, which is in order.
std::optional<HostMapping> SearchList(uint64_t address) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(kMaps, "re"), fclose);
  char line[512];
  while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr) {
    HostMapping mapping = {};
    char rights[5] = {};
    uint64_t offset = 0, inode = 0;
    if (sscanf(line, "%" SCNx64 "-%" SCNx64 " %4s %" SCNx64 " %*s %" SCNu64, &mapping.start,
               &mapping.end, rights, &offset, &inode) != 5 ||
        mapping.end <= address) {
      continue;
    }
    mapping.readable = rights[0] == 'r';
    mapping.writable = rights[1] == 'w';
    mapping.executable = rights[2] == 'x';
    mapping.of_file = inode != 0;
    return mapping;
  }
  return std::nullopt;
}

}  // namespace

std::optional<HostMapping> FindHostMapping(uint64_t address) {
  HostMapping mapping;
  switch (AskKernel(address, mapping)) {
    case Answer::kFound:
      return mapping;
    case Answer::kNone:
      return std::nullopt;
    default:
      return SearchList(address);
  }
}

}  // namespace platform
