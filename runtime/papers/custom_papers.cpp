#include "runtime/papers/custom_papers.h"

#include <algorithm>
#include <new>

#include "runtime/core/startup_context.h"
#include "runtime/ipc/object_names.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"

namespace kv {
namespace {

constexpr WCHAR kLockName[] = TEXT("CCustomPapersAccessManager");
constexpr WCHAR kCountLockName[] = TEXT("CCustomPapersAccessManagerSharedMem");
constexpr DWORD kLockTimeout = 1000;  // ms

constexpr WCHAR kPapersKey[] = TEXT("CustomPapers");
constexpr WCHAR kIdValue[] = TEXT("ID");
constexpr WCHAR kWidthValue[] = TEXT("Width");
constexpr WCHAR kHeightValue[] = TEXT("Height");
constexpr WCHAR kUnitsValue[] = TEXT("Units");

constexpr int kLoadedNameCapacity = 64;  // characters, of the entry's 65
constexpr DWORD kLongestTable = 0xFFFF;
constexpr DWORD kCustomIdCount = kLastCustomPaperId - kFirstCustomPaperId + 1;

std::unique_ptr<PaperEntry[]> NewEntries(size_t count) {
  return std::unique_ptr<PaperEntry[]>(new (std::nothrow) PaperEntry[count]);
}

// Reads the paper that the key holds, but for its name; FALSE when it has no area.
BOOL ReadPaper(RegKey& key, PaperEntry& paper) {
  paper.id = static_cast<WORD>(key.GetDword(kIdValue, 0));
  paper.width = key.GetDword(kWidthValue, 0);
  paper.height = key.GetDword(kHeightValue, 0);
  if (paper.width == 0 || paper.height == 0) return FALSE;
  const DWORD units = key.GetDword(kUnitsValue, startupContext.defaultUnits);
  paper.units = units >= 3 ? WORD{kPaperInches} : static_cast<WORD>(units);
  return TRUE;
}

BOOL WritePaper(RegKey& key, const PaperEntry& paper) {
  return (paper.id == 0 || key.SetDword(kIdValue, paper.id)) &&
         key.SetDword(kWidthValue, paper.width) && key.SetDword(kHeightValue, paper.height) &&
         key.SetDword(kUnitsValue, paper.units);
}

void Store(const PaperEntry& paper) {
  UserSettingsKey settings(KeyMode::kRead);
  if (!settings.IsOpen()) return;
  CCustomPapersAccessManager lock;
  if (!lock.Enter(TRUE, kLockTimeout)) return;
  RegKey papers, key;
  if (!papers.Create(settings.handle(), kPapersKey) ||
      !key.CreateKey(KEY_READ | KEY_WRITE, papers.handle(), paper.name)) {
    return;
  }
  PaperEntry old = {};
  const BOOL replaces = ReadPaper(key, old);
  // The width of one paper with the height of another would be a third one.
  if (!WritePaper(key, paper) && replaces) WritePaper(key, old);
}

void Unstore(LPCWSTR name) {
  UserSettingsKey settings(KeyMode::kRead);
  RegKey papers;
  if (!settings.IsOpen() || !papers.OpenRW(settings.handle(), kPapersKey)) return;
  CCustomPapersAccessManager lock;
  if (lock.Enter(TRUE, kLockTimeout)) MyDeleteKeyW(papers.handle(), name);
}

}  // namespace

CCustomPapersAccessManager::CCustomPapersAccessManager()
    : CSharedAccessLock(CMutexName(ObjectScopeLocal, kLockName),
                        CSharedMemoryName(ObjectScopeLocal, kLockName),
                        CMutexName(ObjectScopeLocal, kCountLockName)) {}

CCustomPapers::CCustomPapers() : CPaperTable(0, nullptr) {
  CCustomPapersAccessManager lock;
  if (!lock.Enter(FALSE, kLockTimeout)) return;
  UserSettingsKey settings(KeyMode::kRead);
  RegKey papers;
  if (!settings.IsOpen() || !papers.Open(settings.handle(), kPapersKey)) return;
  Load(papers);
  if (GiveMissingIds()) WriteIds(lock, settings);
}

void CCustomPapers::Load(RegKey& papers) {
  const DWORD capacity = std::min<DWORD>(papers.subKeyCount(), kLongestTable);
  if (capacity == 0) return;
  auto entries = NewEntries(capacity);
  if (entries == nullptr) return;
  WORD count = 0;
  for (LPCWSTR name = papers.FirstSubKey(); name != nullptr && count < capacity;
       name = papers.NextSubKey()) {
    RegKey key;
    if (name[0] == 0 || !key.OpenKey(KEY_READ, papers.handle(), name)) continue;
    PaperEntry& entry = entries[count];
    entry = {};
    CopyStringW(entry.name, kLoadedNameCapacity, name);
    if (ReadPaper(key, entry)) ++count;
  }
  Adopt(std::move(entries), count);
}

BOOL CCustomPapers::GiveMissingIds() {
  BOOL given = FALSE;
  for (WORD i = 0; i < count_; ++i) {
    if (owned_[i].id != 0) continue;
    owned_[i].id = NextFreeCustomPaperId();
    given = TRUE;
  }
  return given;
}

void CCustomPapers::WriteIds(CCustomPapersAccessManager& lock, RegKey& settings) {
  RegKey papers;
  if (!papers.OpenRW(settings.handle(), kPapersKey) || !lock.Enter(TRUE, kLockTimeout)) return;
  for (WORD i = 0; i < count_; ++i) {
    RegKey key;
    if (key.OpenKey(KEY_READ | KEY_WRITE, papers.handle(), owned_[i].name)) {
      key.SetDword(kIdValue, owned_[i].id);
    }
  }
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

BOOL CCustomPapers::Append(const PaperEntry& paper) {
  if (count_ == kLongestTable) return FALSE;
  auto entries = NewEntries(size_t{count_} + 1);
  if (entries == nullptr) return FALSE;
  std::copy(entries_, entries_ + count_, entries.get());
  PaperEntry& added = entries[count_];
  added = paper;
  if (added.id == 0) added.id = NextFreeCustomPaperId();
  Adopt(std::move(entries), static_cast<WORD>(count_ + 1));
  return TRUE;
}

BOOL CCustomPapers::AddCustomPaper(const PaperEntry& paper) {
  if (paper.name[0] == 0) return FALSE;
  if (PaperEntry* const old = Find(paper.name)) {
    const WORD id = paper.id != 0 ? paper.id : old->id;
    *old = paper;
    old->id = id;
    Store(*old);
    return TRUE;
  }
  if (!Append(paper)) return FALSE;
  Store(owned_[count_ - 1]);
  return TRUE;
}

void CCustomPapers::RemoveCustomPaper(LPCWSTR name) {
  const PaperEntry* const removed = name == nullptr || name[0] == 0 ? nullptr : Find(name);
  if (removed == nullptr) return;
  // The name may be the entry's own.
  const PaperEntry copy = *removed;
  const WORD left = static_cast<WORD>(count_ - 1);
  auto entries = left == 0 ? nullptr : NewEntries(left);
  if (entries == nullptr && left != 0) return;
  PaperEntry* const place = std::copy(entries_, removed, entries.get());
  std::copy(removed + 1, entries_ + count_, place);
  Adopt(std::move(entries), left);
  Unstore(copy.name);
}

WORD CCustomPapers::NextFreeCustomPaperId() const {
  if (count_ == 0) return kFirstCustomPaperId;
  const std::unique_ptr<WORD[]> ids(new (std::nothrow) WORD[count_]);
  if (ids == nullptr) return kFirstCustomPaperId;
  DWORD taken = 0;
  for (WORD i = 0; i < count_; ++i) {
    if (entries_[i].id >= kFirstCustomPaperId) ids[taken++] = entries_[i].id;
  }
  if (taken >= kCustomIdCount) return kFirstCustomPaperId;
  std::sort(ids.get(), ids.get() + taken);
  // Callers may have given several papers the same id.
  const WORD* const end = std::unique(ids.get(), ids.get() + taken);
  WORD free = kFirstCustomPaperId;
  for (const WORD* id = ids.get(); id != end && *id == free; ++id) ++free;
  return free;
}

}  // namespace kv
