#include "platform/spooler/level_packing.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace platform {
namespace {

size_t RoundUp(size_t value, size_t alignment) {
  return (value + alignment - 1) / alignment * alignment;
}

// The size of a structure of these fields, or the offset of one of them.
size_t OffsetOf(const InfoRecord& record, size_t index) {
  size_t offset = 0;
  bool has_pointer = false;
  for (size_t i = 0; i < record.size(); ++i) {
    const size_t width = record[i].is_pointer ? sizeof(void*) : sizeof(DWORD);
    has_pointer = has_pointer || record[i].is_pointer;
    offset = RoundUp(offset, width);
    if (i == index) return offset;
    offset += width;
  }
  return RoundUp(offset, has_pointer ? sizeof(void*) : sizeof(DWORD));
}

size_t SizeOf(const InfoRecord& record) {
  return OffsetOf(record, record.size());
}

size_t NeededFor(const std::vector<InfoRecord>& records) {
  size_t needed = 0;
  for (const InfoRecord& record : records) {
    needed += SizeOf(record);
    for (const InfoField& field : record) {
      if (!field.is_pointer || field.null) continue;
      // Room for moving down to an aligned address.
      needed += field.target.size() + (field.alignment > sizeof(WCHAR) ? field.alignment : 0);
    }
  }
  return needed;
}

}  // namespace

void AppendText(InfoField& field, const WideString& text, TextForm form) {
  field.alignment = sizeof(WCHAR);
  if (form == TextForm::kWide) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.c_str());
    field.target.insert(field.target.end(), bytes, bytes + (text.size() + 1) * sizeof(WCHAR));
    return;
  }
  std::string narrow(2 * text.size() + 1, '\0');
  const int size = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, narrow.data(),
                                       static_cast<int>(narrow.size()), nullptr, nullptr);
  field.target.insert(field.target.end(), narrow.begin(), narrow.begin() + std::max(size, 1));
  // Texts of an odd length keep their neighbours aligned.
  if (field.target.size() % sizeof(WCHAR) != 0) field.target.push_back(0);
}

bool PackInfo(const std::vector<InfoRecord>& records, LPBYTE buffer, DWORD size, LPDWORD needed) {
  if (needed == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  *needed = static_cast<DWORD>(NeededFor(records));
  if (size < *needed || (buffer == nullptr && *needed != 0)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return false;
  }
  BYTE* place = buffer;
  BYTE* end = buffer + size / sizeof(WCHAR) * sizeof(WCHAR);
  for (const InfoRecord& record : records) {
    std::memset(place, 0, SizeOf(record));
    for (size_t i = 0; i < record.size(); ++i) {
      const InfoField& field = record[i];
      BYTE* const slot = place + OffsetOf(record, i);
      if (!field.is_pointer) {
        std::memcpy(slot, &field.number, sizeof field.number);
      } else if (!field.null) {
        end -= field.target.size();
        if (field.alignment > sizeof(WCHAR))
          end -= reinterpret_cast<UINT_PTR>(end) % field.alignment;
        std::copy(field.target.begin(), field.target.end(), end);
        std::memcpy(slot, &end, sizeof end);
      }
    }
    place += SizeOf(record);
  }
  return true;
}

}  // namespace platform
