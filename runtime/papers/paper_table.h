// Paper sizes by id and by name.
#pragma once

#include "runtime/core/win.h"

namespace kv {

enum PaperUnits : WORD { kPaperInches = 1, kPaperMillimetres = 2 };

struct PaperEntry {
  WORD id;         // the device mode's dmPaperSize; 0 in a custom entry that has none yet
  WCHAR name[65];  // the device mode's dmFormName
  DWORD width;     // micrometres, portrait
  DWORD height;
  WORD units;  // in which the size is shown, a PaperUnits
};

class CPaperTable {
 public:
  virtual ~CPaperTable() = default;

  WORD count() const { return count_; }
  // Entries belong to the table. Null when there is none; id 0 is never found.
  const PaperEntry* FindPaperById(WORD id) const;
  // The first entry of that name, letter case ignored.
  const PaperEntry* FindPaperByName(LPCWSTR name) const;
  const PaperEntry* GetPaperAt(int index) const;

 protected:
  CPaperTable(WORD count, const PaperEntry* entries) : count_(count), entries_(entries) {}

  WORD count_;
  const PaperEntry* entries_;
};

// The 66 standard paper sizes of Windows.
class CStandardPapers : public CPaperTable {
 public:
  CStandardPapers();
  // The entry of the startup context's defaultPaperSize, else the first.
  const PaperEntry* GetDefaultPaper() const;
};

}  // namespace kv
