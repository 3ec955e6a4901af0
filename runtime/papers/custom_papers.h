// Paper sizes that the user has made.
//
// They are kept below the user's settings key, for all processes of the product; a reader-writer
// lock between processes keeps them from reading the store while another writes it. A table is a
// snapshot taken when it was constructed: changes made through it go to its own entries first and
// to the store second, and what others change it does not see. It belongs to one thread.
//
// A table that could not read the whole store is empty, finds nothing and says so (loadError); who
// goes on without it does as if there were no custom papers. It refuses to be changed, since it
// would give away ids that papers have and change those of others. Nothing is reported here; the
// lock reports a counter that cannot be made, MyDeleteKeyW what it cannot list.
#pragma once

#include <memory>

#include "runtime/papers/paper_store.h"
#include "runtime/papers/paper_table.h"

namespace kv {

// The ids that custom papers are given.
constexpr WORD kFirstCustomPaperId = 300;
constexpr WORD kLastCustomPaperId = 32766;

class CCustomPapers : public CPaperTable {
 public:
  // Loads the store; see loadError for what came of it. Papers without a width or a height are left
  // out. Those without an id, or with one of more than 16 bits, get one, which is written back
  // unless the store cannot be written. Names are cut to 63 characters; what is written goes to the
  // key of the whole name.
  CCustomPapers();
  ~CCustomPapers() override = default;
  CCustomPapers(const CCustomPapers&) = delete;
  CCustomPapers& operator=(const CCustomPapers&) = delete;

  // Why the store could not be read; ERROR_SUCCESS when the table has all of it, and when there is
  // none yet. The system's code; ERROR_TIMEOUT when others kept the lock, ERROR_NOT_ENOUGH_MEMORY,
  // ERROR_MORE_DATA for more than 65535 papers.
  DWORD loadError() const { return loadError_; }

  // Adds a paper, or replaces the one of that name (letter case ignored); `paper` may be an entry
  // of this table. With id 0 it keeps the old paper's id or gets the next free one; an id that
  // another process has given to the paper, or to another one, since this table was loaded, is
  // respected.
  //
  // TRUE when the table has the paper. The last error then is ERROR_SUCCESS when the store has it,
  // too, else why it has not and still has what it had: nothing is written when the lock is not to
  // be had within a second or a key cannot be opened.
  // FALSE, with nothing changed: loadError when that is one; ERROR_INVALID_NAME for a name that is
  // empty, has a backslash or more than 63 characters; ERROR_INVALID_PARAMETER without a width or a
  // height and for units above 2, with which the paper would not come back;
  // ERROR_NOT_ENOUGH_MEMORY; ERROR_NO_MORE_ITEMS when all ids are taken or the table holds 65535
  // papers.
  BOOL AddCustomPaper(const PaperEntry& paper);
  // Takes the paper of that name (letter case ignored) away; the name may be that of an entry. TRUE
  // when the table does not have it any more, with the last error as above. FALSE, with nothing
  // changed: loadError when that is one, ERROR_FILE_NOT_FOUND for a name that the table does not
  // have, ERROR_NOT_ENOUGH_MEMORY.
  BOOL RemoveCustomPaper(LPCWSTR name);
  // The lowest id from kFirstCustomPaperId on that no paper of the table has; kFirstCustomPaperId
  // also when all are taken, and for a table that could not be loaded.
  WORD NextFreeCustomPaperId() const;

 private:
  DWORD Load();
  DWORD ReadAll(const PaperStore& store);
  BOOL GiveMissingIds();
  void WriteMissingIds(PaperStore& store) const;
  // Makes room behind the last entry; null without memory.
  PaperEntry* Append();
  void Adopt(std::unique_ptr<PaperEntry[]> entries, WORD count);
  // Entries of this table, which may be changed.
  PaperEntry* Find(LPCWSTR name);

  std::unique_ptr<PaperEntry[]> owned_;
  DWORD loadError_ = ERROR_SUCCESS;
};

}  // namespace kv
