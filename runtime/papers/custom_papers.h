// Paper sizes that the user has made.
//
// They are kept below the user's settings key, for all processes of the product; a reader-writer
// lock between processes keeps them from reading the store while another writes it. A table is a
// snapshot taken when it was constructed: changes made through it go to its own entries first and
// to the store second, and what others change it does not see. It belongs to one thread.
//
// Nothing here is reported, but for a paper whose key cannot be deleted. When the lock is not to be
// had within a second or a key cannot be opened, the store is left alone: loading finds no papers,
// and a change stays in the table.
#pragma once

#include <memory>

#include "runtime/ipc/shared_access_lock.h"
#include "runtime/papers/paper_table.h"
#include "runtime/registry/reg_key.h"

namespace kv {

// The ids that custom papers are given.
constexpr WORD kFirstCustomPaperId = 300;
constexpr WORD kLastCustomPaperId = 32766;

// The lock of the store.
class CCustomPapersAccessManager : public CSharedAccessLock {
 public:
  CCustomPapersAccessManager();
  ~CCustomPapersAccessManager() override = default;
};

class CCustomPapers : public CPaperTable {
 public:
  // Loads the store. Papers without a width or a height are left out; those without an id get one,
  // which is written back. Names are cut to 63 characters. Empty when memory runs out.
  CCustomPapers();
  ~CCustomPapers() override = default;
  CCustomPapers(const CCustomPapers&) = delete;
  CCustomPapers& operator=(const CCustomPapers&) = delete;

  // Adds a paper, or replaces the one of that name (letter case ignored). With id 0 it keeps the
  // old paper's id or gets the next free one. FALSE, with nothing changed, for an empty name, when
  // memory runs out, and when the table holds 65535 papers already.
  BOOL AddCustomPaper(const PaperEntry& paper);
  // Nothing for a name that the table does not have. When memory runs out nothing changes.
  void RemoveCustomPaper(LPCWSTR name);
  // The lowest id from kFirstCustomPaperId on that no paper has; kFirstCustomPaperId also when all
  // are taken and when memory runs out.
  WORD NextFreeCustomPaperId() const;

 private:
  void Load(RegKey& papers);
  BOOL GiveMissingIds();
  void WriteIds(CCustomPapersAccessManager& lock, RegKey& settings);
  BOOL Append(const PaperEntry& paper);
  void Adopt(std::unique_ptr<PaperEntry[]> entries, WORD count);
  // Entries of this table, which may be changed.
  PaperEntry* Find(LPCWSTR name);

  std::unique_ptr<PaperEntry[]> owned_;
};

}  // namespace kv
