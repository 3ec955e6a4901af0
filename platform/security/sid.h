// Security identifiers.
#pragma once

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

class Sid {
 public:
  // The authority in its low 48 bits; at most SID_MAX_SUB_AUTHORITIES sub-authorities.
  Sid(uint64_t authority, std::initializer_list<DWORD> sub_authorities);
  // Below the NT authority (S-1-5).
  static Sid Nt(std::initializer_list<DWORD> sub_authorities) { return Sid(5, sub_authorities); }
  static Sid Administrators() { return Nt({32, 544}); }
  static Sid Users() { return Nt({32, 545}); }
  static Sid LocalSystem() { return Nt({18}); }
  // The label of an integrity level.
  static Sid Integrity(DWORD level) { return Sid(16, {level}); }

  // "S-1-5-32-545" or with an authority in hexadecimal; nothing for other texts.
  static std::optional<Sid> FromText(WideView text);
  // A copy of a SID in memory; nothing when it is null or not valid.
  static std::optional<Sid> FromMemory(const void* sid);
  // Whether revision and number of sub-authorities are those of a SID.
  static bool IsValid(const void* sid);
  // The SID with one more sub-authority.
  Sid With(DWORD sub_authority) const;

  WideString Text() const;
  const std::vector<uint8_t>& bytes() const { return bytes_; }
  bool operator==(const Sid&) const = default;

 private:
  Sid() = default;
  void Append(DWORD sub_authority);
  std::vector<uint8_t> bytes_;
};

}  // namespace platform
