#include "platform/security/sid.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>

namespace platform {
namespace {

constexpr size_t kHead = 8;
constexpr uint64_t kLargestAuthority = (uint64_t{1} << 48) - 1;

std::vector<uint8_t> Head(uint64_t authority) {
  std::vector<uint8_t> head = {SID_REVISION, 0};
  for (int shift = 40; shift >= 0; shift -= 8)
    head.push_back(static_cast<uint8_t>(authority >> shift));
  return head;
}

// Reads a number off the front of `text`; nothing when there is none or it is above `limit`.
std::optional<uint64_t> TakeNumber(std::string_view& text, uint64_t limit) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  uint64_t number = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
  if (error != std::errc() || number > limit) return std::nullopt;
  text.remove_prefix(end - text.data());
  return number;
}

}  // namespace

Sid::Sid(uint64_t authority, std::initializer_list<DWORD> sub_authorities)
    : bytes_(Head(authority)) {
  for (DWORD sub_authority : sub_authorities) Append(sub_authority);
}

void Sid::Append(DWORD sub_authority) {
  for (int shift = 0; shift < 32; shift += 8)
    bytes_.push_back(static_cast<uint8_t>(sub_authority >> shift));
  ++bytes_[1];
}

Sid Sid::With(DWORD sub_authority) const {
  Sid longer(*this);
  longer.Append(sub_authority);
  return longer;
}

std::optional<Sid> Sid::FromText(WideView text) {
  const std::string narrow = ToUtf8(text);
  std::string_view rest = narrow;
  if (!rest.starts_with("S-1-") && !rest.starts_with("s-1-")) return std::nullopt;
  rest.remove_prefix(4);
  const auto authority = TakeNumber(rest, kLargestAuthority);
  if (!authority) return std::nullopt;
  Sid sid;
  sid.bytes_ = Head(*authority);
  while (!rest.empty()) {
    if (rest[0] != '-' || sid.bytes_[1] == SID_MAX_SUB_AUTHORITIES) return std::nullopt;
    rest.remove_prefix(1);
    const auto number = TakeNumber(rest, 0xFFFFFFFF);
    if (!number) return std::nullopt;
    sid.Append(static_cast<DWORD>(*number));
  }
  if (sid.bytes_[1] == 0) return std::nullopt;
  return sid;
}

bool Sid::IsValid(const void* sid) {
  const auto* bytes = static_cast<const BYTE*>(sid);
  return sid != nullptr && bytes[0] == SID_REVISION && bytes[1] <= SID_MAX_SUB_AUTHORITIES;
}

std::optional<Sid> Sid::FromMemory(const void* memory) {
  if (!IsValid(memory)) return std::nullopt;
  const auto* bytes = static_cast<const BYTE*>(memory);
  Sid sid;
  sid.bytes_.assign(bytes, bytes + kHead + 4 * bytes[1]);
  return sid;
}

WideString Sid::Text() const {
  uint64_t authority = 0;
  for (size_t i = 2; i < kHead; ++i) authority = authority << 8 | bytes_[i];
  char number[32];
  std::snprintf(number, sizeof number, authority >> 32 != 0 ? "0x%012llx" : "%llu",
                static_cast<unsigned long long>(authority));
  std::string text = std::string("S-1-") + number;
  for (size_t at = kHead; at < bytes_.size(); at += 4) {
    DWORD sub_authority;
    std::memcpy(&sub_authority, &bytes_[at], sizeof sub_authority);
    text += '-' + std::to_string(sub_authority);
  }
  return ToWide(text);
}

}  // namespace platform
