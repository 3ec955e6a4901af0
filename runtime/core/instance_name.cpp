#include "runtime/core/instance_name.h"

#include <rpc.h>
#include <time.h>

#include "runtime/core/last_error.h"
#include "runtime/core/product.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"

namespace kv {
namespace {
constexpr int kMessageNameCapacity = 256;
}

InstanceName::InstanceName(const InstanceName* source) : guid_{}, guidText_{}, baseName_{} {
  if (source != nullptr) {
    *this = *source;
    return;
  }
  CreateGuid();
  if (guidText_[0] == 0) {
    guid_ = {};
    FormatText(guidText_, TEXT("%s-%02X%02X-%08X"), kProductName, kMajorVersion, kMinorVersion,
               static_cast<unsigned>(time(nullptr)));
  }
  FormatText(baseName_, TEXT("%s-%02X%02X"), kProductName, kMajorVersion, kMinorVersion);
}

void InstanceName::CreateGuid() {
  // RPC_S_UUID_LOCAL_ONLY is a failure here: the text must be unique among all machines.
  if (UuidCreate(&guid_) != RPC_S_OK) return;
  RPC_WSTR text = nullptr;
  if (UuidToStringW(&guid_, &text) != RPC_S_OK) return;
  CopyStringW(guidText_, reinterpret_cast<LPCWSTR>(text));
  CharUpperW(guidText_);
  RpcStringFreeW(&text);
}

BOOL InstanceName::MakeMessageName(LPWSTR output, int capacity, LPCWSTR suffix) const {
  return FormatText(output, capacity, TEXT("%s-%s"), baseName_, suffix);
}

BOOL InstanceName::MakeUniqueName(LPWSTR output, int capacity, LPCWSTR suffix) const {
  return FormatText(output, capacity, TEXT("%s-%s"), guidText_, suffix);
}

UINT InstanceName::RegisterMessage(LPCWSTR name) const {
  WCHAR full[kMessageNameCapacity];
  if (!MakeMessageName(full, kMessageNameCapacity, name)) return FailWith(ERROR_INVALID_PARAMETER);
  return RegisterWindowMessageW(full);
}

}  // namespace kv
