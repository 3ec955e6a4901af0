#include "platform/registry/journal_record.h"

#include <bit>
#include <cstring>

namespace platform {
namespace {

static_assert(std::endian::native == std::endian::little);

struct RecordHead {
  uint32_t size;      // of the whole record
  uint32_t checksum;  // of everything behind this field
  uint32_t op;
  uint32_t key;
  uint32_t number;
  uint32_t name_units;
  uint32_t data_bytes;
};
static_assert(sizeof(RecordHead) == 28);
constexpr size_t kCheckedFrom = offsetof(RecordHead, op);

// FNV-1a.
uint32_t Checksum(std::string_view bytes) {
  uint32_t sum = 2166136261u;
  for (unsigned char byte : bytes) sum = (sum ^ byte) * 16777619u;
  return sum;
}

}  // namespace

size_t EncodedSize(const JournalRecord& record) {
  return sizeof(RecordHead) + record.name.size() * sizeof(WCHAR) + record.data.size();
}

void AppendRecord(std::string& out, const JournalRecord& record) {
  RecordHead head = {};
  head.size = static_cast<uint32_t>(EncodedSize(record));
  head.op = static_cast<uint32_t>(record.op);
  head.key = record.key;
  head.number = record.number;
  head.name_units = static_cast<uint32_t>(record.name.size());
  head.data_bytes = static_cast<uint32_t>(record.data.size());
  const size_t begin = out.size();
  out.append(reinterpret_cast<const char*>(&head), sizeof head);
  out.append(reinterpret_cast<const char*>(record.name.data()), record.name.size() * sizeof(WCHAR));
  out.append(reinterpret_cast<const char*>(record.data.data()), record.data.size());
  head.checksum = Checksum(std::string_view(out).substr(begin + kCheckedFrom));
  std::memcpy(out.data() + begin + offsetof(RecordHead, checksum), &head.checksum,
              sizeof head.checksum);
}

size_t ReadRecord(std::string_view bytes, JournalRecord& record) {
  RecordHead head;
  if (bytes.size() < sizeof head) return 0;
  std::memcpy(&head, bytes.data(), sizeof head);
  if (head.size > bytes.size() || head.size < sizeof head) return 0;
  if (uint64_t{sizeof head} + uint64_t{head.name_units} * sizeof(WCHAR) + head.data_bytes !=
      head.size) {
    return 0;
  }
  if (Checksum(bytes.substr(kCheckedFrom, head.size - kCheckedFrom)) != head.checksum) return 0;
  record.op = static_cast<JournalRecord::Op>(head.op);
  record.key = head.key;
  record.number = head.number;
  record.name.resize(head.name_units);
  const char* name = bytes.data() + sizeof head;
  std::memcpy(record.name.data(), name, head.name_units * sizeof(WCHAR));
  const auto* data = reinterpret_cast<const uint8_t*>(name + head.name_units * sizeof(WCHAR));
  record.data.assign(data, data + head.data_bytes);
  return head.size;
}

}  // namespace platform
