// An open registry key with buffers of its own, so that any value or sub-key name can be read
// without the caller sizing anything.
//
// Results are BOOL unless said otherwise, and nothing is reported. The registry's own error codes
// are not passed on: a call that it refuses leaves the last error alone, while what the class
// itself refuses, and memory that runs out (ERROR_NOT_ENOUGH_MEMORY), sets it. A key that is not
// open has no values and no sub-keys. Sub-key paths and value names are terminated texts; the value
// name null or "" is the unnamed value. Sizes are bytes, capacities of texts are characters with
// the terminator.
//
// Pointers that the class hands out (names, texts and value data) point into its buffers: they stay
// valid until the next operation on the same object. Each may be an argument of that operation, on
// this object or another one; a text of more than 259 characters that was read from a value then
// takes memory. A value read into the object's own buffers is always followed by a terminator,
// whatever was stored; a text of an odd number of bytes loses the last one.
//
// An object belongs to one thread at a time.
#pragma once

#include <memory>

#include "runtime/core/flags.h"
#include "runtime/core/handles.h"
#include "runtime/core/win.h"
#include "runtime/text/format.h"

namespace kv {

// What closing does to the key. Other values close only.
enum class Disposal : int {
  kKeep = 0,
  kDelete = 1,         // deletes the key with its whole tree
  kDeleteIfEmpty = 2,  // deletes it when it has, and gets meanwhile, neither sub-keys nor values
};

// How a key that knows its own place opens itself. Other values leave it closed.
enum class KeyMode : int {
  kRead = 0,   // an existing key, for reading
  kWrite = 1,  // for reading and writing, made when it is missing
};

enum class DeleteIfEmpty : bool { kNo, kYes };

class RegKey {
 public:
  RegKey() = default;
  RegKey(const RegKey&) = delete;
  RegKey& operator=(const RegKey&) = delete;
  // Closes the key without deleting anything.
  virtual ~RegKey();

  BOOL IsOpen() const { return static_cast<bool>(handle_); }
  HKEY handle() const { return handle_.Get(); }
  // As of the last refresh.
  DWORD subKeyCount() const { return subKeyCount_; }
  DWORD valueCount() const { return valueCount_; }
  // The path of the last successful open or create; null before, and after Attach, Connect and a
  // deleting close. `parent` is not owned: it must still be open when a close is to delete the key.
  // It is null for a key that was opened through the object's own handle, and after Attach.
  LPCWSTR path() const { return path_.get(); }
  HKEY parent() const { return parent_; }

  // Whether CreateKey may make keys below `parent`: always, but for a process below High integrity
  // not directly below HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT and HKEY_USERS.
  static BOOL MayCreateBelow(HKEY parent);

  // Open parent\path, taken literally. Whatever was open, `parent` among them, is closed; after a
  // failure nothing is open.
  BOOL OpenKey(REGSAM access, HKEY parent, LPCWSTR path);
  // Makes the key, not volatile, when it is missing; without MayCreateBelow FALSE with
  // ERROR_ACCESS_DENIED, without a registry call.
  BOOL CreateKey(REGSAM access, HKEY parent, LPCWSTR path);

  // The same with a printf-style path of at most 259 characters; a longer one is not opened
  // (ERROR_FILENAME_EXCED_RANGE). The suffixes 32 and 64 choose a view of the registry; View takes
  // its number, 32 or 64, and any other for the process's own view.
  template <class... Arguments>
  BOOL Open(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenFormatted(kRead, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL Open32(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenView(32, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL Open64(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenView(64, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL OpenView(int view, HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenFormatted(kRead | ViewFlag(view), parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL OpenRW(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenFormatted(kReadWrite, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL OpenRW32(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenRWView(32, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL OpenRW64(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenRWView(64, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL OpenRWView(int view, HKEY parent, LPCWSTR format, Arguments... arguments) {
    return OpenFormatted(kReadWrite | ViewFlag(view), parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL Create(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return CreateFormatted(kCreate, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL Create32(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return CreateView(32, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL Create64(HKEY parent, LPCWSTR format, Arguments... arguments) {
    return CreateView(64, parent, format, arguments...);
  }
  template <class... Arguments>
  BOOL CreateView(int view, HKEY parent, LPCWSTR format, Arguments... arguments) {
    return CreateFormatted(kCreate | ViewFlag(view), parent, format, arguments...);
  }

  // Takes over an open key; on failure FALSE, and `key` stays the caller's.
  BOOL Attach(HKEY key);
  // Gives the key to the caller; null when none was open.
  HKEY Detach();
  // Opens a predefined key of another machine.
  BOOL Connect(LPCWSTR machine, HKEY predefined);
  void Close();
  // Does nothing when the key is not open. A deletion that fails is reported as MyDeleteKeyW does;
  // a key that was opened with an empty path, which names its parent, is never deleted.
  void Close(Disposal disposal);
  // TRUE also when no key is open.
  BOOL Flush();
  // Reads how many sub-keys and values there are and how long they are, and grows the buffers.
  // FALSE when that cannot be read, or, with all counts 0 and no buffers, when memory runs out.
  BOOL Refresh();
  BOOL SubKeyExists(LPCWSTR name) const;

  // Reads a value of any type. The places given for the data, its type and its size are zeroed
  // first.
  BOOL QueryValue(LPCWSTR name, const BYTE** data = nullptr, DWORD* type = nullptr,
                  DWORD* size = nullptr);
  // A text (REG_SZ, REG_EXPAND_SZ) as it is stored; null, or `otherwise` (which may be null), for
  // anything else.
  LPCWSTR GetString(LPCWSTR name);
  LPCWSTR GetString(LPCWSTR name, LPCWSTR otherwise);
  LPCWSTR GetDefaultString();
  // The number of a REG_DWORD value; missing bytes count as 0.
  DWORD GetDword(LPCWSTR name, DWORD otherwise);
  // FALSE, with both zeroed, unless the value is REG_BINARY.
  BOOL GetBinary(LPCWSTR name, const BYTE** data, DWORD* size);
  // The strings of a REG_MULTI_SZ value, an empty one behind the last; null for anything else.
  // `size` gets the stored size.
  LPCWSTR GetMultiString(LPCWSTR name, DWORD* size = nullptr);
  // Whether there is a value of exactly this type and these `size` bytes. Neither the name nor the
  // bytes may lie in the key's own buffers.
  BOOL HasValue(LPCWSTR name, DWORD type, const BYTE* data, DWORD size);
  // The value's type when it exists and has the type `required` (0: any), else 0.
  DWORD GetValueType(LPCWSTR name, DWORD required) const;
  // Reads a text into `buffer`; returns its length. The buffer is empty, with the result 0, for any
  // other type and for a text that does not fit with its terminator. Expansion, of REG_EXPAND_SZ
  // only, cuts to fit.
  int ReadString(LPCWSTR name, LPWSTR buffer, int capacity, Expand expand) const;
  int ReadDefaultString(LPWSTR buffer, int capacity, Expand expand) const;
  // Reads up to `size` bytes of a REG_BINARY value; on FALSE the buffer's content is undefined.
  BOOL ReadBinary(LPCWSTR name, void* buffer, DWORD size) const;

  // Writing. Each success refreshes the key.
  BOOL SetBinary(LPCWSTR name, const void* data, DWORD size);
  BOOL SetDword(LPCWSTR name, DWORD number);
  // The unnamed value; null writes the empty text.
  BOOL SetDefaultString(LPCWSTR text);
  // Null, and with kYes also the empty text, deletes the value instead.
  BOOL SetString(LPCWSTR name, LPCWSTR text, DWORD type, DeleteIfEmpty deleteIfEmpty);
  BOOL SetSz(LPCWSTR name, LPCWSTR text);
  // Strings with an empty one behind the last; size 0 measures them. No strings, or null, delete
  // the value.
  BOOL SetMultiString(LPCWSTR name, LPCWSTR strings, DWORD size = 0);
  // FALSE also when there is no such value.
  BOOL DeleteValue(LPCWSTR name);
  // Copies a value of `source` under its name.
  BOOL CopyValueFrom(RegKey& source, LPCWSTR name);
  // Copies a value of `source` under `newName` (null: its own) and deletes it there; FALSE when one
  // of the two steps fails, which leaves it at least in one place. A value moved onto itself (same
  // name but for case, same key whichever objects it is open in) stays as it is, with TRUE. Where
  // the system does not tell whether two keys are one (Windows 9x, a predefined key), a value whose
  // like is there already is not moved: FALSE with ERROR_NOT_SUPPORTED.
  BOOL MoveValueFrom(RegKey& source, LPCWSTR name, LPCWSTR newName);
  // The same within the key; a null `newName` is the unnamed value here.
  BOOL RenameValue(LPCWSTR name, LPCWSTR newName);
  // Copies the values, and with kYes the sub-keys, of `source`. Returns how many values were
  // copied, and 1 for each key that had nothing to copy. 0 with ERROR_INVALID_PARAMETER when the
  // key lies below `source`, whose copy would contain itself without end.
  int CopyTree(RegKey& source, Recurse recurse);
  // Gives the sub-key `name` another name, replacing what has it. FALSE with nothing changed when
  // both are one key or one lies below the other, however their paths are written
  // (ERROR_INVALID_PARAMETER), when there is no such sub-key, and when none may be made in the key
  // (ERROR_ACCESS_DENIED). Otherwise FALSE loses nothing of the sub-key: what could not be copied
  // or deleted stays under the old name, and what others add meanwhile is taken along.
  BOOL RenameSubKey(LPCWSTR name, LPCWSTR newName);

  // Enumeration: a sub-key's or value's name, null when there is none at that position. First and
  // Last refresh the key; Next and Prev go on from the position of the last call of their kind.
  LPCWSTR FirstSubKey();
  LPCWSTR LastSubKey();
  LPCWSTR NextSubKey();
  LPCWSTR PrevSubKey();
  LPCWSTR SubKeyAt(int index);
  // The places given for the value's data, type and size are zeroed first.
  LPCWSTR FirstValue(const BYTE** data = nullptr, DWORD* type = nullptr, DWORD* size = nullptr);
  LPCWSTR LastValue(const BYTE** data = nullptr, DWORD* type = nullptr, DWORD* size = nullptr);
  LPCWSTR NextValue(const BYTE** data = nullptr, DWORD* type = nullptr, DWORD* size = nullptr);
  LPCWSTR PrevValue(const BYTE** data = nullptr, DWORD* type = nullptr, DWORD* size = nullptr);
  LPCWSTR ValueAt(int index, const BYTE** data = nullptr, DWORD* type = nullptr,
                  DWORD* size = nullptr);
  // The next value of type REG_DWORD in that direction, whose number goes to `number` when given;
  // null when there is none.
  LPCWSTR FindFirstDword(DWORD* number);
  LPCWSTR FindNextDword(DWORD* number);
  LPCWSTR FindLastDword(DWORD* number);
  LPCWSTR FindPrevDword(DWORD* number);
  // The same for REG_SZ; `text` becomes null when none is found.
  LPCWSTR FindFirstString(LPCWSTR* text);
  LPCWSTR FindNextString(LPCWSTR* text);
  LPCWSTR FindLastString(LPCWSTR* text);
  LPCWSTR FindPrevString(LPCWSTR* text);

  // The key's name by GetKeyName of key_name.h.
  WCHAR GetKeyName(LPWSTR output, int capacity) const;
  // Gives the key the DACL of `descriptor` when its own says nothing about reading by the built-in
  // Users group. 1 when that succeeded or was not needed, 0 when it failed, -1 without a descriptor
  // and when the key's DACL cannot be read.
  int SetSecurityUnlessUsersCanRead(PSECURITY_DESCRIPTOR descriptor);

 private:
  static constexpr REGSAM kRead = KEY_READ;
  static constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;
  static constexpr REGSAM kCreate = KEY_READ | KEY_WRITE | WRITE_DAC;

  // What a value read may need behind it: a terminator, and another one for multi-strings.
  static constexpr DWORD kTerminatorRoom = 2 * sizeof(WCHAR);

  enum class Walk { kFirst, kNext, kLast, kPrev };

  static REGSAM ViewFlag(int view);
  BOOL OpenFormatted(REGSAM access, HKEY parent, LPCWSTR format, ...);
  BOOL CreateFormatted(REGSAM access, HKEY parent, LPCWSTR format, ...);
  // Takes over a key that was opened with `status`.
  BOOL Adopt(LSTATUS status, UniqueKey key, HKEY parent, LPCWSTR path);
  // FALSE with that last error, and nothing is open.
  BOOL Refuse(DWORD error);
  void FreeBuffers();
  // Whether reading a value changes the text.
  bool IsInValueData(LPCWSTR text) const;
  // Puts terminators behind the `size` bytes in valueData.
  void TerminateData(DWORD size);
  // The text of `size` bytes in valueData, without a half character at its end.
  LPCWSTR TextOfData(DWORD size);
  // Whether there is certainly no value that HasValue would find.
  bool LacksValue(LPCWSTR name, DWORD type, const BYTE* data, DWORD size);
  // Neither of these two refreshes.
  BOOL Write(LPCWSTR name, DWORD type, const void* data, size_t size);
  BOOL Remove(LPCWSTR name);
  BOOL WriteAndRefresh(LPCWSTR name, DWORD type, const void* data, size_t size);
  // `complete` becomes FALSE when something of the tree was not copied; it is not looked at without
  // the sub-keys.
  int CopyTree(RegKey& source, Recurse recurse, BOOL& complete);
  // Copies `source`, the sub-key `name`, to `target` and deletes it.
  BOOL MoveTree(RegKey& source, LPCWSTR name, RegKey& target);
  LPCWSTR ValueOnWalk(Walk walk, const BYTE** data, DWORD* type, DWORD* size);
  LPCWSTR FindValue(DWORD wanted, Walk walk, const BYTE** data, DWORD* size);
  LPCWSTR FindDword(Walk walk, DWORD* number);
  LPCWSTR FindString(Walk walk, LPCWSTR* text);

  std::unique_ptr<WCHAR[]> path_;
  HKEY parent_ = nullptr;
  UniqueKey handle_;
  DWORD subKeyCount_ = 0;
  DWORD subKeyNameCapacity_ = 0;
  DWORD valueCount_ = 0;
  DWORD valueNameCapacity_ = 0;
  DWORD valueDataCapacity_ = 0;
  std::unique_ptr<WCHAR[]> subKeyName_;
  std::unique_ptr<WCHAR[]> valueName_;
  std::unique_ptr<BYTE[]> valueData_;  // with room for a terminator behind its capacity
  int valueIndex_ = 0;
  int subKeyIndex_ = 0;
};

static_assert(sizeof(void*) != 4 || sizeof(RegKey) == 56);

}  // namespace kv
