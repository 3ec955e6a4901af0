#include "runtime/papers/custom_papers.h"

#include <algorithm>
#include <bitset>
#include <new>

#include "runtime/core/last_error.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WORD kLongestTable = 0xFFFF;
constexpr size_t kCustomIdCount = kLastCustomPaperId - kFirstCustomPaperId + 1;

// The custom ids that papers have.
class IdSet {
 public:
  void Add(WORD id) {
    if (IsCustom(id)) taken_.set(PlaceOf(id));
  }
  void AddAll(const CPaperTable& papers) {
    for (int i = 0; i < papers.count(); ++i) Add(papers.GetPaperAt(i)->id);
  }
  bool Has(WORD id) const { return IsCustom(id) && taken_.test(PlaceOf(id)); }
  // The lowest that is free; 0 when all are taken.
  WORD LowestFree() const {
    size_t place = 0;
    while (place < kCustomIdCount && taken_.test(place)) ++place;
    return place == kCustomIdCount ? WORD{0} : static_cast<WORD>(kFirstCustomPaperId + place);
  }

 private:
  static bool IsCustom(WORD id) { return id >= kFirstCustomPaperId && id <= kLastCustomPaperId; }
  static size_t PlaceOf(WORD id) { return static_cast<size_t>(id - kFirstCustomPaperId); }

  std::bitset<kCustomIdCount> taken_;
};

WORD LowestFreeId(const CPaperTable& papers) {
  IdSet ids;
  ids.AddAll(papers);
  return ids.LowestFree();
}

std::unique_ptr<PaperEntry[]> NewEntries(size_t count) {
  return std::unique_ptr<PaperEntry[]>(new (std::nothrow) PaperEntry[count]());
}

// A key's name has no backslash, and what the store cuts or leaves out does not come back.
DWORD CheckStorable(const PaperEntry& paper) {
  const WCHAR* const end = std::find(std::begin(paper.name), std::end(paper.name), WCHAR{0});
  const WideView name(paper.name, static_cast<size_t>(end - paper.name));
  if (name.empty() || name.size() > kLongestPaperName || name.find(TEXT('\\')) != WideView::npos) {
    return ERROR_INVALID_NAME;
  }
  const bool hasArea = paper.width != 0 && paper.height != 0;
  return hasArea && paper.units <= kPaperMillimetres ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// The name of the key that has the paper: its own, or a longer one that was cut to it.
DWORD FindKeyName(const PaperStore& store, const WCHAR (&name)[65], StoredPaper& found) {
  CopyStringW(found.keyName, name);
  if (View(name).size() < kLongestPaperName) return ERROR_SUCCESS;
  bool isFound = false;
  return store.ForEach([&](const StoredPaper& stored) -> DWORD {
    const bool isExact = EqualNoCase(stored.keyName, name);
    if (isExact || (!isFound && EqualNoCase(stored.entry.name, name))) {
      found = stored;
      isFound = true;
    }
    return ERROR_SUCCESS;
  });
}

// The table may be older than the store: an id that it has chosen gives way to the one under which
// the paper is stored, and to those of other papers.
DWORD AgreeOnId(const PaperStore& store, LPCWSTR keyName, const CPaperTable& papers, WORD& id) {
  IdSet others;
  WORD own = 0;
  const DWORD error = store.ForEach([&](const StoredPaper& stored) -> DWORD {
    if (EqualNoCase(stored.keyName, keyName)) {
      own = stored.entry.id;
    } else {
      others.Add(stored.entry.id);
    }
    return ERROR_SUCCESS;
  });
  if (error != ERROR_SUCCESS) return error;
  if (own != 0) id = own;
  if (own != 0 || !others.Has(id)) return ERROR_SUCCESS;
  others.AddAll(papers);
  const WORD free = others.LowestFree();
  if (free == 0) return ERROR_NO_MORE_ITEMS;
  id = free;
  return ERROR_SUCCESS;
}

enum class IdIs { kGiven, kChosen };

DWORD Store(const CPaperTable& papers, PaperEntry& paper, IdIs id) {
  PaperStore store;
  StoredPaper key;
  DWORD error = store.MakeForWriting();
  if (error == ERROR_SUCCESS) error = FindKeyName(store, paper.name, key);
  if (error == ERROR_SUCCESS && id == IdIs::kChosen) {
    error = AgreeOnId(store, key.keyName, papers, paper.id);
  }
  return error == ERROR_SUCCESS ? store.Write(key.keyName, paper) : error;
}

DWORD Unstore(const PaperEntry& paper) {
  PaperStore store;
  StoredPaper key;
  DWORD error = store.OpenForWriting();
  if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  if (error == ERROR_SUCCESS) error = FindKeyName(store, paper.name, key);
  return error == ERROR_SUCCESS ? store.Delete(key.keyName) : error;
}

}  // namespace

CCustomPapers::CCustomPapers() : CPaperTable(0, nullptr), loadError_(Load()) {}

DWORD CCustomPapers::Load() {
  PaperStore store;
  DWORD error = store.OpenForReading();
  if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  if (error == ERROR_SUCCESS) error = ReadAll(store);
  if (error != ERROR_SUCCESS) return error;
  if (GiveMissingIds() && store.EnterAsWriter() == ERROR_SUCCESS) WriteMissingIds(store);
  return ERROR_SUCCESS;
}

DWORD CCustomPapers::ReadAll(const PaperStore& store) {
  DWORD capacity = 0;
  DWORD error = store.Count(capacity);
  if (error != ERROR_SUCCESS) return error;
  capacity = std::min<DWORD>(capacity, kLongestTable);
  auto entries = NewEntries(capacity);
  if (entries == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  WORD count = 0;
  error = store.ForEach([&](const StoredPaper& paper) -> DWORD {
    if (!paper.IsPaper()) return ERROR_SUCCESS;
    if (count == capacity) return ERROR_MORE_DATA;
    entries[count++] = paper.entry;
    return ERROR_SUCCESS;
  });
  if (error == ERROR_SUCCESS) Adopt(std::move(entries), count);
  return error;
}

BOOL CCustomPapers::GiveMissingIds() {
  BOOL given = FALSE;
  for (WORD i = 0; i < count_; ++i) {
    if (owned_[i].id != 0) continue;
    owned_[i].id = LowestFreeId(*this);
    given = TRUE;
  }
  return given;
}

// The store is as it was when the entries were read: this process has not left it since.
void CCustomPapers::WriteMissingIds(PaperStore& store) const {
  WORD next = 0;
  store.ForEach([&](const StoredPaper& paper) -> DWORD {
    if (!paper.IsPaper()) return ERROR_SUCCESS;
    if (next == count_ || View(owned_[next].name) != paper.entry.name) return ERROR_INVALID_DATA;
    const WORD id = owned_[next++].id;
    if (paper.entry.id == 0 && id != 0) store.WriteId(paper.keyName, id);
    return ERROR_SUCCESS;
  });
}

void CCustomPapers::Adopt(std::unique_ptr<PaperEntry[]> entries, WORD count) {
  owned_ = std::move(entries);
  entries_ = owned_.get();
  count_ = count;
}

PaperEntry* CCustomPapers::Find(LPCWSTR name) {
  const PaperEntry* const found = FindPaperByName(name);
  return found == nullptr ? nullptr : &owned_[found - entries_];
}

PaperEntry* CCustomPapers::Append() {
  auto entries = NewEntries(size_t{count_} + 1);
  if (entries == nullptr) return nullptr;
  std::copy(entries_, entries_ + count_, entries.get());
  Adopt(std::move(entries), static_cast<WORD>(count_ + 1));
  return &owned_[count_ - 1];
}

BOOL CCustomPapers::AddCustomPaper(const PaperEntry& paper) {
  DWORD error = loadError_ != ERROR_SUCCESS ? loadError_ : CheckStorable(paper);
  if (error != ERROR_SUCCESS) return FailWith(error);
  // The paper may be an entry of this table.
  PaperEntry added = paper;
  PaperEntry* place = Find(added.name);
  if (added.id == 0 && place != nullptr) added.id = place->id;
  if (added.id == 0) added.id = LowestFreeId(*this);
  if (added.id == 0 || (place == nullptr && count_ == kLongestTable)) {
    return FailWith(ERROR_NO_MORE_ITEMS);
  }
  const IdIs id = paper.id == 0 ? IdIs::kChosen : IdIs::kGiven;
  if (place == nullptr) place = Append();
  if (place == nullptr) return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  error = Store(*this, added, id);
  *place = added;
  SetLastError(error);
  return TRUE;
}

BOOL CCustomPapers::RemoveCustomPaper(LPCWSTR name) {
  if (loadError_ != ERROR_SUCCESS) return FailWith(loadError_);
  const PaperEntry* const removed = View(name).empty() ? nullptr : Find(name);
  if (removed == nullptr) return FailWith(ERROR_FILE_NOT_FOUND);
  // The name may be the entry's own.
  const PaperEntry copy = *removed;
  const WORD left = static_cast<WORD>(count_ - 1);
  auto entries = left == 0 ? nullptr : NewEntries(left);
  if (entries == nullptr && left != 0) return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  PaperEntry* const place = std::copy(entries_, removed, entries.get());
  std::copy(removed + 1, entries_ + count_, place);
  Adopt(std::move(entries), left);
  SetLastError(Unstore(copy));
  return TRUE;
}

WORD CCustomPapers::NextFreeCustomPaperId() const {
  const WORD free = LowestFreeId(*this);
  return free == 0 ? kFirstCustomPaperId : free;
}

}  // namespace kv
