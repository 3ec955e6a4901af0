// Security descriptors and SIDs as they come out of files, and both as text. What was once
// understood must survive the way there and back.
#include <sddl.h>

#include <string>

#include "fuzz/fuzz_machine.h"
#include "platform/security/descriptor.h"
#include "runtime/ipc/descriptor_tests.h"
#include "runtime/ipc/sid_text.h"

namespace {

using platform::SecurityDescriptor;
using platform::Sid;
using platform::WideString;

constexpr SECURITY_INFORMATION kWhole = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                        DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION;

void Require(bool holds) {
  if (!holds) abort();
}

void TryDescriptor(const uint8_t* data, size_t size) {
  const auto parsed = SecurityDescriptor::ParseStored({data, size});
  if (!parsed) return;
  std::vector<uint8_t> bytes = parsed->Serialize(kWhole);
  kv::UsersCanRead(bytes.data());
  kv::IsOwnerAdministrators(bytes.data());
  const auto again = SecurityDescriptor::ParseStored(bytes);
  Require(again && again->Serialize(kWhole) == bytes);
}

void TrySid(const uint8_t* data, size_t size) {
  if (size < 8 || !Sid::IsValid(data) || size < 8u + 4 * data[1]) return;
  const std::optional<Sid> sid = Sid::FromMemory(data);
  WCHAR text[kv::kSidTextCapacity];
  kv::SidToString(const_cast<uint8_t*>(data), text);
  Require(WideString(text) == sid->Text());
  // A text without sub-authorities is no SID's.
  const std::optional<Sid> again = Sid::FromText(text);
  Require(data[1] == 0 ? !again : again == sid);
}

void TryText(const uint8_t* data, size_t size) {
  const WideString text = platform::ToWide({reinterpret_cast<const char*>(data), size}).c_str();
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ULONG bytes = 0;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                            &descriptor, &bytes)) {
    return;
  }
  Require(SecurityDescriptor::ParseStored({static_cast<uint8_t*>(descriptor), bytes}).has_value());
  LocalFree(descriptor);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  kv::fuzz::UseTemporaryMachine();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte chooses, so that the fuzzer can work on each alone.
  constexpr void (*kTargets[])(const uint8_t*, size_t) = {TryDescriptor, TrySid, TryText};
  // A copy of exactly this size, so that reading beyond it shows.
  const std::vector<uint8_t> copy(data + 1, data + size);
  kTargets[data[0] % std::size(kTargets)](copy.data(), copy.size());
  return 0;
}
