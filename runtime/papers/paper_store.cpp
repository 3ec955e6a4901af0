#include "runtime/papers/paper_store.h"

#include "runtime/core/product.h"
#include "runtime/core/startup_context.h"
#include "runtime/ipc/object_names.h"
#include "runtime/registry/delete_key.h"
#include "runtime/text/format.h"
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

struct StorePath {
  WCHAR text[MAX_PATH];
  StorePath() { FormatText(text, TEXT("%s\\%s"), kSettingsRoot, kPapersKey); }
};

DWORD Code(LSTATUS status) {
  return static_cast<DWORD>(status);
}

// The last error, or `otherwise` where the system gave none.
DWORD LastErrorOr(DWORD otherwise) {
  const DWORD error = GetLastError();
  return error == ERROR_SUCCESS ? otherwise : error;
}

bool IsGone(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_KEY_DELETED;
}

// Leaves `number` as it is when the value is missing or is no number.
DWORD ReadNumber(HKEY key, LPCWSTR name, DWORD& number) {
  DWORD type = 0, data = 0, size = sizeof data;
  const DWORD error =
      Code(RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size));
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_MORE_DATA) return ERROR_SUCCESS;
  if (error == ERROR_SUCCESS && type == REG_DWORD) number = data;
  return error;
}

// Reads all but the name into an entry that has no sides yet.
DWORD ReadEntry(HKEY key, PaperEntry& paper) {
  DWORD id = 0, units = startupContext.defaultUnits;
  DWORD error = ReadNumber(key, kIdValue, id);
  if (error == ERROR_SUCCESS) error = ReadNumber(key, kWidthValue, paper.width);
  if (error == ERROR_SUCCESS) error = ReadNumber(key, kHeightValue, paper.height);
  if (error == ERROR_SUCCESS) error = ReadNumber(key, kUnitsValue, units);
  // A larger number would become another paper's id.
  paper.id = id > 0xFFFF ? WORD{0} : static_cast<WORD>(id);
  paper.units = units >= 3 ? WORD{kPaperInches} : static_cast<WORD>(units);
  return error;
}

DWORD WriteNumber(HKEY key, LPCWSTR name, DWORD number) {
  return Code(RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                             sizeof number));
}

DWORD WriteEntry(HKEY key, const PaperEntry& paper) {
  DWORD error = ERROR_SUCCESS;
  if (paper.id != 0) error = WriteNumber(key, kIdValue, paper.id);
  if (error == ERROR_SUCCESS) error = WriteNumber(key, kWidthValue, paper.width);
  if (error == ERROR_SUCCESS) error = WriteNumber(key, kHeightValue, paper.height);
  if (error == ERROR_SUCCESS) error = WriteNumber(key, kUnitsValue, paper.units);
  return error;
}

}  // namespace

CCustomPapersAccessManager::CCustomPapersAccessManager()
    : CSharedAccessLock(CMutexName(ObjectScopeLocal, kLockName),
                        CSharedMemoryName(ObjectScopeLocal, kLockName),
                        CMutexName(ObjectScopeLocal, kCountLockName)) {}

PaperStore::PaperStore()
    : lockError_(lock_.IsInitialised() ? ERROR_SUCCESS : LastErrorOr(ERROR_INVALID_HANDLE)) {}

// A lock that could not be made lets everybody in, writers as well.
DWORD PaperStore::EnterLock(BOOL exclusive) {
  if (exclusive && lockError_ != ERROR_SUCCESS) return lockError_;
  SetLastError(ERROR_SUCCESS);
  return lock_.Enter(exclusive, kLockTimeout) ? ERROR_SUCCESS : LastErrorOr(ERROR_TIMEOUT);
}

DWORD PaperStore::Open(REGSAM access) {
  return Code(RegOpenKeyExW(HKEY_CURRENT_USER, StorePath().text, 0, access, key_.Receive()));
}

DWORD PaperStore::OpenForReading() {
  const DWORD error = EnterLock(FALSE);
  return error == ERROR_SUCCESS ? Open(KEY_READ) : error;
}

DWORD PaperStore::OpenForWriting() {
  const DWORD error = EnterLock(TRUE);
  return error == ERROR_SUCCESS ? Open(KEY_READ | KEY_WRITE) : error;
}

DWORD PaperStore::MakeForWriting() {
  const DWORD error = EnterLock(TRUE);
  if (error != ERROR_SUCCESS) return error;
  return Code(RegCreateKeyExW(HKEY_CURRENT_USER, StorePath().text, 0, nullptr,
                              REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr,
                              key_.Receive(), nullptr));
}

DWORD PaperStore::EnterAsWriter() {
  return EnterLock(TRUE);
}

DWORD PaperStore::Count(DWORD& count) const {
  return Code(RegQueryInfoKeyW(key_.Get(), nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr));
}

DWORD PaperStore::Read(DWORD index, StoredPaper& paper) const {
  paper.entry = {};
  DWORD length = static_cast<DWORD>(std::size(paper.keyName));
  DWORD error = Code(
      RegEnumKeyExW(key_.Get(), index, paper.keyName, &length, nullptr, nullptr, nullptr, nullptr));
  if (error != ERROR_SUCCESS) return error;
  CopyStringW(paper.entry.name, kLongestPaperName + 1, paper.keyName);
  UniqueKey key;
  error = Code(RegOpenKeyExW(key_.Get(), paper.keyName, 0, KEY_READ, key.Receive()));
  if (error == ERROR_SUCCESS) error = ReadEntry(key.Get(), paper.entry);
  return IsGone(error) ? ERROR_SUCCESS : error;
}

DWORD PaperStore::Write(LPCWSTR keyName, const PaperEntry& paper) {
  UniqueKey key;
  DWORD made = 0;
  DWORD error = Code(RegCreateKeyExW(key_.Get(), keyName, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_READ | KEY_WRITE, nullptr, key.Receive(), &made));
  if (error != ERROR_SUCCESS) return error;
  StoredPaper old = {};
  if (made == REG_OPENED_EXISTING_KEY) error = ReadEntry(key.Get(), old.entry);
  if (error == ERROR_SUCCESS) error = WriteEntry(key.Get(), paper);
  if (error == ERROR_SUCCESS) return error;
  // The width of one paper with the height of another would be a third one.
  if (old.IsPaper()) WriteEntry(key.Get(), old.entry);
  key.Reset();
  if (made == REG_CREATED_NEW_KEY) RegDeleteKeyW(key_.Get(), keyName);
  return error;
}

DWORD PaperStore::WriteId(LPCWSTR keyName, WORD id) {
  UniqueKey key;
  const DWORD error =
      Code(RegOpenKeyExW(key_.Get(), keyName, 0, KEY_READ | KEY_WRITE, key.Receive()));
  return error == ERROR_SUCCESS ? WriteNumber(key.Get(), kIdValue, id) : error;
}

DWORD PaperStore::Delete(LPCWSTR keyName) {
  SetLastError(ERROR_SUCCESS);
  return MyDeleteKeyW(key_.Get(), keyName) ? ERROR_SUCCESS : LastErrorOr(ERROR_CANTWRITE);
}

}  // namespace kv
