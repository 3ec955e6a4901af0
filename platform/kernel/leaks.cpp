#include "platform/control/leaks.h"

#include <atomic>

#include "platform/kernel/api_call.h"

namespace platform {
namespace {

constexpr const char* kNames[] = {
    "handle",        "find handle",    "file view",      "registry key",
    "module",        "global block",   "local block",    "heap block",
    "virtual block", "RPC string",     "printer handle", "service handle",
    "GDI object",    "device context", "icon",           "window",
    "window class",  "hook",           "timer",          "COM object",
    "SID",           "session block",  "network buffer"};
static_assert(std::size(kNames) == static_cast<size_t>(Resource::kCount));

std::atomic<int> counts[static_cast<size_t>(Resource::kCount)];

}  // namespace

CountedResource::CountedResource(Resource kind) : kind_(kind), counted_(IsOutermostCall()) {
  if (counted_) ++counts[static_cast<size_t>(kind)];
}

CountedResource::~CountedResource() {
  if (counted_) --counts[static_cast<size_t>(kind_)];
}

ResourceCounts LiveResources() {
  ResourceCounts result;
  for (size_t i = 0; i < result.size(); ++i) result[i] = counts[i];
  return result;
}

std::string DescribeDifference(const ResourceCounts& before, const ResourceCounts& now) {
  std::string text;
  for (size_t i = 0; i < now.size(); ++i) {
    const int difference = now[i] - before[i];
    if (difference == 0) continue;
    if (!text.empty()) text += ", ";
    text += std::to_string(difference) + " " + kNames[i] + (difference == 1 ? "" : "s");
  }
  return text;
}

}  // namespace platform
