// What the layer has handed out to the product and not got back.
#pragma once

#include <array>
#include <string>

namespace platform {

enum class Resource {
  kHandle,  // files, mappings, mutexes, events, threads, processes, tokens, pipes
  kFindHandle,
  kFileView,
  kRegistryKey,
  kModule,
  kGlobalMemory,
  kLocalMemory,
  kHeapBlock,
  kVirtualMemory,
  kRpcString,
  kPrinterHandle,
  kServiceHandle,
  kGdiObject,
  kDeviceContext,
  kIcon,
  kWindow,
  kWindowClass,
  kHook,
  kTimer,
  kComObject,
  kSid,            // AllocateAndInitializeSid
  kSessionMemory,  // blocks for WTSFreeMemory
  kNetworkBuffer,  // blocks for NetApiBufferFree
  kCount
};

using ResourceCounts = std::array<int, static_cast<size_t>(Resource::kCount)>;

ResourceCounts LiveResources();
// "2 handles, 1 registry key", or "" when `now` holds nothing more than `before`. Fewer counts as
// well: something was given back twice.
std::string DescribeDifference(const ResourceCounts& before, const ResourceCounts& now);

// The layer's side: a member of whatever is handed out. Counts only what the product asks for
// itself (see IsOutermostCall), and takes back exactly what it counted.
class CountedResource {
 public:
  explicit CountedResource(Resource kind);
  ~CountedResource();
  CountedResource(const CountedResource&) = delete;
  CountedResource& operator=(const CountedResource&) = delete;

 private:
  Resource kind_;
  bool counted_;
};

}  // namespace platform
