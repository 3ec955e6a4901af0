#include "runtime/ipc/sid_text.h"

#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr unsigned kTextRevision = 1;

void AppendAuthority(LPWSTR output, const BYTE (&bytes)[6]) {
  if (bytes[0] != 0 || bytes[1] != 0) {
    AppendText(output, kSidTextCapacity, TEXT("0x%02hx%02hx%02hx%02hx%02hx%02hx"), bytes[0],
               bytes[1], bytes[2], bytes[3], bytes[4], bytes[5]);
    return;
  }
  const unsigned low =
      static_cast<unsigned>(bytes[2]) << 24 | bytes[3] << 16 | bytes[4] << 8 | bytes[5];
  AppendText(output, kSidTextCapacity, TEXT("%u"), low);
}

}  // namespace

int SidToString(PSID sid, LPWSTR output) {
  output[0] = 0;
  if (sid == nullptr || !IsValidSid(sid)) return 0;
  FormatText(output, kSidTextCapacity, TEXT("S-%u-"), kTextRevision);
  AppendAuthority(output, GetSidIdentifierAuthority(sid)->Value);
  const BYTE count = *GetSidSubAuthorityCount(sid);
  for (BYTE i = 0; i < count; ++i) {
    AppendText(output, kSidTextCapacity, TEXT("-%u"),
               static_cast<unsigned>(*GetSidSubAuthority(sid, i)));
  }
  return static_cast<int>(View(output).size());
}

}  // namespace kv
