#include "platform/security/descriptor.h"

#include <cstring>
#include <initializer_list>

namespace platform {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr BYTE kRevision = 1;
constexpr WORD kDaclBits =
    0x1504;  // present, defaulted, auto-inherit request, auto-inherited, protected
constexpr WORD kSaclBits = 0x2A30;
constexpr WORD kDaclPresent = 0x0004;
constexpr WORD kSaclPresent = 0x0010;
constexpr WORD kSelfRelative = 0x8000;
constexpr DWORD kAllParts = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                            DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION;

struct Absolute {
  BYTE revision;
  BYTE reserved;
  WORD control;
  const BYTE* parts[4];  // owner, group, SACL, DACL
};
struct Relative {
  BYTE revision;
  BYTE reserved;
  WORD control;
  DWORD parts[4];
};
static_assert(sizeof(Relative) == 20);

Bytes CopySid(const BYTE* sid) {
  return sid == nullptr ? Bytes() : Bytes(sid, sid + 8 + 4 * sid[1]);
}

Bytes CopyAcl(const BYTE* acl) {
  if (acl == nullptr) return {};
  WORD size;
  std::memcpy(&size, acl + 2, sizeof size);
  return Bytes(acl, acl + size);
}

Bytes NtSid(std::initializer_list<DWORD> authorities) {
  Bytes sid = {kRevision, static_cast<uint8_t>(authorities.size()), 0, 0, 0, 0, 0, 5};
  for (DWORD authority : authorities) {
    for (int shift = 0; shift < 32; shift += 8)
      sid.push_back(static_cast<uint8_t>(authority >> shift));
  }
  return sid;
}

void AllowInherited(Bytes& acl, ACCESS_MASK mask, const Bytes& sid) {
  constexpr uint8_t kContainersInherit = 2;
  const auto size = static_cast<WORD>(8 + sid.size());
  const uint8_t head[] = {0, kContainersInherit, LOBYTE(size), HIBYTE(size)};
  acl.insert(acl.end(), head, head + 4);
  for (int shift = 0; shift < 32; shift += 8) acl.push_back(static_cast<uint8_t>(mask >> shift));
  acl.insert(acl.end(), sid.begin(), sid.end());
  const auto total = static_cast<WORD>(acl.size());
  acl[2] = LOBYTE(total);
  acl[3] = HIBYTE(total);
  ++acl[4];
}

}  // namespace

std::optional<SecurityDescriptor> SecurityDescriptor::Parse(const void* descriptor) {
  if (descriptor == nullptr) return std::nullopt;
  const auto* bytes = static_cast<const BYTE*>(descriptor);
  Absolute absolute;
  std::memcpy(&absolute, bytes, 4);
  if (absolute.revision != kRevision) return std::nullopt;
  if ((absolute.control & kSelfRelative) != 0) {
    Relative relative;
    std::memcpy(&relative, bytes, sizeof relative);
    for (int i = 0; i < 4; ++i) {
      absolute.parts[i] = relative.parts[i] == 0 ? nullptr : bytes + relative.parts[i];
    }
  } else {
    std::memcpy(&absolute, bytes, sizeof absolute);
  }
  SecurityDescriptor result;
  result.control_ = absolute.control & ~kSelfRelative;
  result.owner_ = CopySid(absolute.parts[0]);
  result.group_ = CopySid(absolute.parts[1]);
  if ((absolute.control & kSaclPresent) != 0) result.sacl_ = CopyAcl(absolute.parts[2]);
  if ((absolute.control & kDaclPresent) != 0) result.dacl_ = CopyAcl(absolute.parts[3]);
  return result;
}

SecurityDescriptor SecurityDescriptor::Default(ACCESS_MASK all, ACCESS_MASK users_may) {
  const Bytes administrators = NtSid({32, 544}), users = NtSid({32, 545}), system = NtSid({18});
  SecurityDescriptor result;
  result.owner_ = administrators;
  result.group_ = system;
  result.control_ = kDaclPresent;
  result.dacl_ = {2, 0, 8, 0, 0, 0, 0, 0};
  AllowInherited(result.dacl_, users_may, users);
  AllowInherited(result.dacl_, all, administrators);
  AllowInherited(result.dacl_, all, system);
  return result;
}

void SecurityDescriptor::Replace(const SecurityDescriptor& other, SECURITY_INFORMATION parts) {
  const auto take_bits = [&](WORD bits) {
    control_ = static_cast<WORD>((control_ & ~bits) | (other.control_ & bits));
  };
  if ((parts & OWNER_SECURITY_INFORMATION) != 0) owner_ = other.owner_;
  if ((parts & GROUP_SECURITY_INFORMATION) != 0) group_ = other.group_;
  if ((parts & SACL_SECURITY_INFORMATION) != 0) {
    sacl_ = other.sacl_;
    take_bits(kSaclBits);
  }
  if ((parts & DACL_SECURITY_INFORMATION) != 0) {
    dacl_ = other.dacl_;
    take_bits(kDaclBits);
  }
}

std::vector<uint8_t> SecurityDescriptor::Serialize(SECURITY_INFORMATION parts) const {
  Relative head = {};
  head.revision = kRevision;
  head.control = kSelfRelative;
  if ((parts & SACL_SECURITY_INFORMATION) != 0) head.control |= control_ & kSaclBits;
  if ((parts & DACL_SECURITY_INFORMATION) != 0) head.control |= control_ & kDaclBits;
  constexpr DWORD kPart[] = {OWNER_SECURITY_INFORMATION, GROUP_SECURITY_INFORMATION,
                             SACL_SECURITY_INFORMATION, DACL_SECURITY_INFORMATION};
  const Bytes* content[] = {&owner_, &group_, &sacl_, &dacl_};
  Bytes result(sizeof head);
  for (int i = 0; i < 4; ++i) {
    if ((parts & kAllParts & kPart[i]) == 0 || content[i]->empty()) continue;
    head.parts[i] = static_cast<DWORD>(result.size());
    result.insert(result.end(), content[i]->begin(), content[i]->end());
  }
  std::memcpy(result.data(), &head, sizeof head);
  return result;
}

}  // namespace platform
