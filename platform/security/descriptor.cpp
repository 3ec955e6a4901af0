#include "platform/security/descriptor.h"

#include <cstring>

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

void MakeList(Bytes& acl) {
  if (acl.empty()) acl = {ACL_REVISION, 0, sizeof(ACL), 0, 0, 0, 0, 0};
}

bool AddEntry(Bytes& acl, BYTE type, BYTE flags, ACCESS_MASK mask, const Sid& sid) {
  MakeList(acl);
  const size_t size = 8 + sid.bytes().size();
  const size_t total = acl.size() + size;
  if (total > 0xFFFF) return false;
  const uint8_t head[] = {type, flags, LOBYTE(size), HIBYTE(size)};
  acl.insert(acl.end(), head, head + 4);
  for (int shift = 0; shift < 32; shift += 8) acl.push_back(static_cast<uint8_t>(mask >> shift));
  acl.insert(acl.end(), sid.bytes().begin(), sid.bytes().end());
  const WORD count = static_cast<WORD>(acl[4] | acl[5] << 8) + 1;
  acl[2] = LOBYTE(total);
  acl[3] = HIBYTE(total);
  acl[4] = LOBYTE(count);
  acl[5] = HIBYTE(count);
  return true;
}

// Whether a SID lies whole within the bytes.
bool HoldsSid(std::span<const uint8_t> bytes) {
  return bytes.size() >= 8 && Sid::IsValid(bytes.data()) && bytes.size() >= 8u + 4 * bytes[1];
}

// Whether a list with all its entries, each with the SID that its type calls for, lies within the
// bytes.
bool HoldsAcl(std::span<const uint8_t> bytes) {
  if (bytes.size() < sizeof(ACL)) return false;
  ACL acl;
  std::memcpy(&acl, bytes.data(), sizeof acl);
  // Lists and entries are whole numbers of double words, so that all that follows stays aligned.
  if (acl.AclSize < sizeof acl || acl.AclSize > bytes.size() || acl.AclSize % 4 != 0) return false;
  bytes = bytes.subspan(sizeof acl, acl.AclSize - sizeof acl);
  for (WORD i = 0; i < acl.AceCount; ++i) {
    ACE_HEADER head;
    if (bytes.size() < sizeof head) return false;
    std::memcpy(&head, bytes.data(), sizeof head);
    if (head.AceSize < 8 || head.AceSize > bytes.size() || head.AceSize % 4 != 0) return false;
    const bool has_sid =
        head.AceType <= ACCESS_DENIED_ACE_TYPE || head.AceType == SYSTEM_MANDATORY_LABEL_ACE_TYPE;
    if (has_sid && !HoldsSid(bytes.subspan(8, head.AceSize - 8))) return false;
    bytes = bytes.subspan(head.AceSize);
  }
  return true;
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

std::optional<SecurityDescriptor> SecurityDescriptor::ParseStored(std::span<const uint8_t> bytes) {
  Relative head;
  if (bytes.size() < sizeof head) return std::nullopt;
  std::memcpy(&head, bytes.data(), sizeof head);
  if (head.revision != kRevision || (head.control & kSelfRelative) == 0) return std::nullopt;
  for (int i = 0; i < 4; ++i) {
    if (head.parts[i] == 0) continue;
    if (head.parts[i] > bytes.size()) return std::nullopt;
    const std::span<const uint8_t> part = bytes.subspan(head.parts[i]);
    if (!(i < 2 ? HoldsSid(part) : HoldsAcl(part))) return std::nullopt;
  }
  return Parse(bytes.data());
}

void SecurityDescriptor::MakeDacl() {
  control_ |= kDaclPresent;
  MakeList(dacl_);
}

void SecurityDescriptor::MakeSacl() {
  control_ |= kSaclPresent;
  MakeList(sacl_);
}

bool SecurityDescriptor::AddToDacl(BYTE type, BYTE flags, ACCESS_MASK mask, const Sid& sid) {
  control_ |= kDaclPresent;
  return AddEntry(dacl_, type, flags, mask, sid);
}

bool SecurityDescriptor::AddToSacl(BYTE type, BYTE flags, ACCESS_MASK mask, const Sid& sid) {
  control_ |= kSaclPresent;
  return AddEntry(sacl_, type, flags, mask, sid);
}

SecurityDescriptor SecurityDescriptor::Default(ACCESS_MASK all, ACCESS_MASK users_may) {
  SecurityDescriptor result;
  result.SetOwner(Sid::Administrators());
  result.SetGroup(Sid::LocalSystem());
  const auto allow = [&](ACCESS_MASK mask, const Sid& sid) {
    result.AddToDacl(ACCESS_ALLOWED_ACE_TYPE, CONTAINER_INHERIT_ACE, mask, sid);
  };
  allow(users_may, Sid::Users());
  allow(all, Sid::Administrators());
  allow(all, Sid::LocalSystem());
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
