// Security descriptors in their two forms: with pointers as programs build them, and self-relative
// as they are stored and handed back.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/security/sid.h"

namespace platform {

class SecurityDescriptor {
 public:
  // Reads a descriptor of either form; nothing when it is malformed.
  static std::optional<SecurityDescriptor> Parse(const void* descriptor);
  // Reads a self-relative one that came from somewhere else: nothing when any part of it does not
  // lie within the bytes.
  static std::optional<SecurityDescriptor> ParseStored(std::span<const uint8_t> bytes);
  // Administrators own it; they and the system have all rights, users `users_may`.
  static SecurityDescriptor Default(ACCESS_MASK all, ACCESS_MASK users_may);

  void SetOwner(const Sid& sid) { owner_ = sid.bytes(); }
  void SetGroup(const Sid& sid) { group_ = sid.bytes(); }
  // Makes the list present, with no entries when it was none before.
  void MakeDacl();
  void MakeSacl();
  // Append an entry to the list, which is made when it is missing. False when it would become too
  // long.
  bool AddToDacl(BYTE type, BYTE flags, ACCESS_MASK mask, const Sid& sid);
  bool AddToSacl(BYTE type, BYTE flags, ACCESS_MASK mask, const Sid& sid);

  // Takes over the chosen parts (OWNER_SECURITY_INFORMATION, …) of `other`.
  void Replace(const SecurityDescriptor& other, SECURITY_INFORMATION parts);
  // The self-relative form of the chosen parts.
  std::vector<uint8_t> Serialize(SECURITY_INFORMATION parts) const;

 private:
  using Bytes = std::vector<uint8_t>;
  WORD control_ = 0;  // without SE_SELF_RELATIVE
  Bytes owner_;       // empty: none
  Bytes group_;
  Bytes sacl_;  // empty: null or not present, as the control word says
  Bytes dacl_;
};

}  // namespace platform
