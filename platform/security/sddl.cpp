#include <sddl.h>

#include <algorithm>
#include <charconv>
#include <string>

#include "platform/kernel/api_call.h"
#include "platform/kernel/memory.h"
#include "platform/security/rights.h"
#include "platform/security/sddl.h"

namespace platform {
namespace {

struct Word {
  std::string_view letters;
  DWORD value;
};

constexpr Word kTypes[] = {{"A", ACCESS_ALLOWED_ACE_TYPE},
                           {"D", ACCESS_DENIED_ACE_TYPE},
                           {"ML", SYSTEM_MANDATORY_LABEL_ACE_TYPE}};
constexpr Word kFlags[] = {{"OI", 1}, {"CI", CONTAINER_INHERIT_ACE}, {"IO", INHERIT_ONLY_ACE}};
constexpr Word kRights[] = {{"GA", GENERIC_ALL},    {"GR", GENERIC_READ},
                            {"GW", GENERIC_WRITE},  {"GX", GENERIC_EXECUTE},
                            {"RC", READ_CONTROL},   {"SD", DELETE},
                            {"WD", WRITE_DAC},      {"WO", WRITE_OWNER},
                            {"KA", KEY_ALL_ACCESS}, {"KR", KEY_READ},
                            {"KW", KEY_WRITE},      {"FA", 0x1F01FF},
                            {"FR", 0x120089},       {"NW", SYSTEM_MANDATORY_LABEL_NO_WRITE_UP}};

struct SidWord {
  std::string_view letters;
  const WCHAR* sid;
};
constexpr SidWord kSids[] = {
    {"BA", TEXT("S-1-5-32-544")}, {"BU", TEXT("S-1-5-32-545")}, {"SY", TEXT("S-1-5-18")},
    {"WD", TEXT("S-1-1-0")},      {"AU", TEXT("S-1-5-11")},     {"LW", TEXT("S-1-16-4096")},
    {"ME", TEXT("S-1-16-8192")},  {"HI", TEXT("S-1-16-12288")}, {"SI", TEXT("S-1-16-16384")}};

const Word* Find(std::span<const Word> words, std::string_view letters) {
  const auto found = std::find_if(words.begin(), words.end(),
                                  [=](const Word& word) { return word.letters == letters; });
  return found == words.end() ? nullptr : &*found;
}

// The values of words of two letters each, joined; false for an unknown one.
bool ReadWords(std::span<const Word> words, std::string_view text, DWORD& value) {
  value = 0;
  for (; !text.empty(); text.remove_prefix(std::min<size_t>(2, text.size()))) {
    const Word* const word = Find(words, text.substr(0, 2));
    if (word == nullptr) return false;
    value |= word->value;
  }
  return true;
}

bool ReadRights(std::string_view text, DWORD& mask) {
  if (!text.starts_with("0x")) return ReadWords(kRights, text, mask);
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data() + 2, end, mask, 16);
  return result.ec == std::errc() && result.ptr == end;
}

std::optional<Sid> ReadSid(std::string_view text) {
  for (const SidWord& word : kSids) {
    if (text == word.letters) return Sid::FromText(word.sid);
  }
  return Sid::FromText(ToWide(text));
}

// The fields of "(type;flags;rights;object;inherited object;sid)" without its brackets.
bool AddEntry(std::string_view text, bool to_dacl, SecurityDescriptor& descriptor) {
  std::string_view fields[6];
  for (std::string_view& field : fields) {
    const size_t end = std::min(text.find(';'), text.size());
    field = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  const Word* const type = Find(kTypes, fields[0]);
  DWORD flags = 0, mask = 0;
  const std::optional<Sid> sid = ReadSid(fields[5]);
  const bool is_label = type != nullptr && type->value == SYSTEM_MANDATORY_LABEL_ACE_TYPE;
  if (type == nullptr || is_label == to_dacl || !ReadWords(kFlags, fields[1], flags) ||
      !ReadRights(fields[2], mask) || !fields[3].empty() || !fields[4].empty() || !sid ||
      !text.empty()) {
    return false;
  }
  const auto kind = static_cast<BYTE>(type->value), bits = static_cast<BYTE>(flags);
  return to_dacl ? descriptor.AddToDacl(kind, bits, mask, *sid)
                 : descriptor.AddToSacl(kind, bits, mask, *sid);
}

// Takes the entries "(…)(…)" off the front.
bool AddList(std::string_view& text, bool to_dacl, SecurityDescriptor& descriptor) {
  to_dacl ? descriptor.MakeDacl() : descriptor.MakeSacl();
  while (text.starts_with('(')) {
    const size_t end = text.find(')');
    if (end == std::string_view::npos || !AddEntry(text.substr(1, end - 1), to_dacl, descriptor)) {
      return false;
    }
    text.remove_prefix(end + 1);
  }
  return true;
}

bool AddSid(std::string_view& text, bool is_owner, SecurityDescriptor& descriptor) {
  // A SID as such holds no colon; the next part begins one character before one.
  const size_t colon = text.find(':');
  const size_t end = colon == std::string_view::npos ? text.size() : colon - (colon > 0 ? 1 : 0);
  const std::optional<Sid> sid = ReadSid(text.substr(0, end));
  if (!sid) return false;
  is_owner ? descriptor.SetOwner(*sid) : descriptor.SetGroup(*sid);
  text.remove_prefix(end);
  return true;
}

}  // namespace

DWORD ParseDescriptorText(WideView wide, SecurityDescriptor& descriptor) {
  const std::string narrow = ToUtf8(wide);
  std::string_view text = narrow;
  while (!text.empty()) {
    if (text.size() < 2 || text[1] != ':') return ERROR_INVALID_PARAMETER;
    const char part = text[0];
    text.remove_prefix(2);
    switch (part) {
      case 'O':
      case 'G':
        if (!AddSid(text, part == 'O', descriptor)) return ERROR_INVALID_PARAMETER;
        break;
      case 'D':
      case 'S':
        if (!AddList(text, part == 'D', descriptor)) return ERROR_INVALID_ACL;
        break;
      default:
        return ERROR_INVALID_PARAMETER;
    }
  }
  return ERROR_SUCCESS;
}

}  // namespace platform

using namespace platform;

BOOL WINAPI ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                                 PSECURITY_DESCRIPTOR* descriptor,
                                                                 ULONG* size) {
  KV_API(ConvertStringSecurityDescriptorToSecurityDescriptorW, ERROR_INVALID_PARAMETER, FALSE, text,
         revision, descriptor, size);
  SecurityDescriptor parsed;
  DWORD error = !RequireNtFamily()            ? ERROR_CALL_NOT_IMPLEMENTED
                : revision != SDDL_REVISION_1 ? ERROR_UNKNOWN_REVISION
                                              : ParseDescriptorText(View(text), parsed);
  std::vector<uint8_t> bytes;
  if (error == ERROR_SUCCESS) {
    bytes = parsed.Serialize(OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                             DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION);
    *descriptor = AllocateMemory(Resource::kLocalMemory, LMEM_FIXED, bytes.size());
    if (*descriptor == nullptr) error = ERROR_NOT_ENOUGH_MEMORY;
  }
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return FALSE;
  }
  std::copy(bytes.begin(), bytes.end(), static_cast<BYTE*>(*descriptor));
  if (size != nullptr) *size = static_cast<ULONG>(bytes.size());
  return TRUE;
}
