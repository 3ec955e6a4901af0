// The records of a hive file. All numbers are little-endian and of fixed width, so that 32- and
// 64-bit processes share the file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

using Bytes = std::vector<uint8_t>;

struct JournalRecord {
  enum class Op : uint32_t {
    kHive = 1,     // first record of each file; number: the first free key id
    kCreateKey,    // key: the new id; number: the parent's id; name
    kDeleteKey,    // key, with everything below it
    kSetValue,     // key; number: the type; name; data
    kDeleteValue,  // key; name
    kSetSecurity,  // key; data: a self-relative descriptor
  };
  Op op = Op::kHive;
  uint32_t key = 0;
  uint32_t number = 0;
  WideString name;
  Bytes data;
};

// Bytes that the record takes in the file.
size_t EncodedSize(const JournalRecord& record);
void AppendRecord(std::string& out, const JournalRecord& record);
// Reads the record at the beginning of `bytes`; returns its size, or 0 when the bytes are no whole,
// undamaged record.
size_t ReadRecord(std::string_view bytes, JournalRecord& record);

}  // namespace platform
