// The spooler's structures of many levels: each level is a table of the members of a record, and
// one place lays out structures and strings in the caller's buffer.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

using Bytes = std::vector<uint8_t>;

// One field of a structure with its contents.
struct InfoField {
  bool is_pointer = false;
  DWORD number = 0;   // when it is no pointer
  bool null = false;  // a null pointer
  Bytes target;       // what the pointer leads to
  size_t alignment = 1;
};
using InfoRecord = std::vector<InfoField>;

// Packs structures at the beginning of the buffer and what they point to at its end. `needed` gets
// the size in bytes in any case; false, with ERROR_INSUFFICIENT_BUFFER as last error, when `size`
// is less: the buffer is then untouched. False with ERROR_INVALID_PARAMETER when `needed` is null.
bool PackInfo(const std::vector<InfoRecord>& records, LPBYTE buffer, DWORD size, LPDWORD needed);

// How the texts of a structure are encoded: in UTF-16, or in the machine's ANSI code page.
enum class TextForm { kWide, kNarrow };

// Appends a text with its terminator to what a field leads to.
void AppendText(InfoField& field, const WideString& text, TextForm form);

// A member of Record that is a field of a structure.
template <class Record>
class LevelField {
 public:
  constexpr LevelField(DWORD Record::*number) : number_(number) {}
  constexpr LevelField(Bytes Record::*bytes) : bytes_(bytes) {}
  constexpr LevelField(WideString Record::*text) : text_(text) {}
  constexpr LevelField(std::vector<WideString> Record::*texts) : texts_(texts) {}
  // A text that is handed out as a null pointer when it is empty.
  static constexpr LevelField OrNull(WideString Record::*text) {
    LevelField field(text);
    field.null_when_empty_ = true;
    return field;
  }

  InfoField Of(const Record& record, TextForm form) const {
    InfoField field;
    if (number_ != nullptr) {
      field.number = record.*number_;
      return field;
    }
    field.is_pointer = true;
    if (text_ != nullptr) {
      AppendText(field, record.*text_, form);
      field.null = null_when_empty_ && (record.*text_).empty();
    } else if (bytes_ != nullptr) {
      field.target = record.*bytes_;
      field.alignment = sizeof(void*);
      field.null = field.target.empty();
    } else {
      for (const WideString& text : record.*texts_) AppendText(field, text, form);
      AppendText(field, {}, form);
      field.null = (record.*texts_).empty();
    }
    return field;
  }

 private:
  DWORD Record::*number_ = nullptr;
  Bytes Record::*bytes_ = nullptr;
  WideString Record::*text_ = nullptr;
  std::vector<WideString> Record::*texts_ = nullptr;
  bool null_when_empty_ = false;
};

template <class Record>
struct Level {
  DWORD number;
  std::span<const LevelField<Record>> fields;
};

// The level's fields; empty for a level that does not exist (ERROR_INVALID_LEVEL is then set).
template <class Record>
std::span<const LevelField<Record>> FieldsOfLevel(std::span<const Level<Record>> levels,
                                                  DWORD number) {
  for (const Level<Record>& level : levels) {
    if (level.number == number) return level.fields;
  }
  SetLastError(ERROR_INVALID_LEVEL);
  return {};
}

template <class Record>
BOOL PackLevel(std::span<const LevelField<Record>> fields, const std::vector<Record>& records,
               LPBYTE buffer, DWORD size, LPDWORD needed, TextForm form = TextForm::kWide) {
  std::vector<InfoRecord> packed;
  for (const Record& record : records) {
    InfoRecord& info = packed.emplace_back();
    for (const LevelField<Record>& field : fields) info.push_back(field.Of(record, form));
  }
  return PackInfo(packed, buffer, size, needed);
}

// For the functions that enumerate: also sets `returned`, to 0 when the call fails.
template <class Record>
BOOL PackLevel(std::span<const LevelField<Record>> fields, const std::vector<Record>& records,
               LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
  if (returned == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *returned = 0;
  if (!PackLevel(fields, records, buffer, size, needed)) return FALSE;
  *returned = static_cast<DWORD>(records.size());
  return TRUE;
}

}  // namespace platform
