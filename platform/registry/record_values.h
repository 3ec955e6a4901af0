// Records whose members are kept as the values of a key, each named in a table.
#pragma once

#include "platform/registry/registry.h"

namespace platform {

template <class Record>
struct TextValue {
  const WCHAR* name;
  WideString Record::*member;
};

template <class Record>
struct NumberValue {
  const WCHAR* name;
  DWORD Record::*member;
};

// Texts that are missing are empty; numbers that are missing stay as they are.
template <class Record, size_t kTexts, size_t kNumbers>
void ReadValues(const RegistryKey& key, const TextValue<Record> (&texts)[kTexts],
                const NumberValue<Record> (&numbers)[kNumbers], Record& record) {
  for (const auto& text : texts) record.*text.member = key.Text(text.name);
  for (const auto& number : numbers) {
    record.*number.member = key.Number(number.name, record.*number.member);
  }
}

// All values in one change, so that other processes see all of them or none.
template <class Record, size_t kTexts, size_t kNumbers>
bool WriteValues(const RegistryKey& key, const TextValue<Record> (&texts)[kTexts],
                 const NumberValue<Record> (&numbers)[kNumbers], const Record& record) {
  return key && key.Modify([&](Hive::Change& hive) -> LSTATUS {
    for (const auto& text : texts) {
      const WideString& value = record.*text.member;
      hive.SetValue(key.id(), text.name, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(WCHAR));
    }
    for (const auto& number : numbers) {
      hive.SetValue(key.id(), number.name, REG_DWORD, &(record.*number.member), sizeof(DWORD));
    }
    return ERROR_SUCCESS;
  }) == ERROR_SUCCESS;
}

}  // namespace platform
