// A block of global memory that grows and is written and read like a stream.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Owns one GlobalAlloc block, which stays locked while the object holds it. Sizes, offsets and
// counts are bytes. Used by one thread.
class CGlobalBlock {
 public:
  enum class Terminator : bool { kNo, kYes };
  enum class EmptyFirst : bool { kNo, kYes };

  CGlobalBlock() = default;
  // Copies the whole block, locked or not, and takes over the position; empty when memory runs out,
  // which is reported, or the other cannot be locked.
  CGlobalBlock(const CGlobalBlock& other);
  CGlobalBlock& operator=(const CGlobalBlock&) = delete;
  ~CGlobalBlock();

  // Without a block: allocates one of `size` bytes with the GlobalAlloc flags `flags`, and locks
  // it. `growStep` is the smallest growth when the block must grow. Failures are reported
  // ("GlobalAlloc failed", "GlobalLock failed") and leave the object empty. With a block: Reserve.
  BOOL Alloc(DWORD size, UINT flags, DWORD growStep);
  // TRUE (1) when the block already holds `total` bytes, 2 when it has been made to, FALSE when it
  // cannot grow.
  int Reserve(DWORD total);
  // Adds `extra` bytes at the end; without a block as Alloc (GMEM_MOVEABLE). A failure is reported
  // ("GlobalReAlloc failed") and leaves the old block; one to lock the grown block ("GlobalLock
  // failed") leaves it unlocked.
  BOOL Grow(DWORD extra);
  // Takes over a block of the caller's in place of the present one, from its beginning. FALSE, with
  // the object empty and the block still the caller's, when it is null, cannot be locked, does not
  // tell its size or has 4 GB or more.
  BOOL Attach(HGLOBAL block);
  // Gives the block up, unlocked, to the caller.
  HGLOBAL Detach();
  void Free();

  // For the moments in which the system needs the block unlocked. FALSE when there is no block, or
  // after the report "GlobalLock failed".
  BOOL Lock();
  void Unlock();

  // FALSE, with the position unchanged, for offsets behind the end.
  BOOL SetPosition(DWORD offset);
  // Copies to the position and advances it, growing the block as needed; FALSE when it cannot grow.
  // What is copied may lie in the block itself. Numbers are little-endian. Strings (null counts as
  // empty) leave the terminator out unless it is asked for.
  BOOL Append(const void* bytes, DWORD count);
  BOOL AppendByte(BYTE value) { return Append(&value, sizeof value); }
  BOOL AppendWord(WORD value) { return Append(&value, sizeof value); }
  BOOL AppendDword(DWORD value) { return Append(&value, sizeof value); }
  BOOL AppendStringA(LPCSTR text, Terminator terminator);
  BOOL AppendStringW(LPCWSTR text, Terminator terminator);
  // Copies at most `count` bytes from the position and advances it; returns the bytes copied, 0
  // while the block is unlocked.
  DWORD Read(void* destination, DWORD count);

  // Gives the block to the clipboard, which is emptied before when asked for; then the object is
  // empty. FALSE, with the block still here and locked, when there is none or the clipboard does
  // not take it; the failures of its calls are reported.
  BOOL PutOnClipboard(UINT format, EmptyFirst emptyFirst);

  // Null when the object is empty or the block unlocked.
  void* data() const { return data_; }
  DWORD size() const { return size_; }
  DWORD position() const { return position_; }

 private:
  BOOL AppendBytes(const void* bytes, size_t count);
  void Forget();

  HGLOBAL handle_ = nullptr;
  BYTE* data_ = nullptr;
  DWORD size_ = 0;
  DWORD growStep_ = 0;
  UINT flags_ = 0;
  DWORD position_ = 0;
};

}  // namespace kv
