#include "runtime/files/global_block.h"

#include <string.h>

#include <algorithm>
#include <functional>

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/messages.h"
#include "runtime/files/file_report.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kLargestSize = 0xFFFFFFFF;

}  // namespace

CGlobalBlock::CGlobalBlock(const CGlobalBlock& other) {
  if (other.handle_ == nullptr || !Alloc(other.size_, other.flags_, other.growStep_)) return;
  // The other may be unlocked.
  const GlobalLockScope source(other.handle_);
  if (source.Data() == nullptr) {
    Free();
    return;
  }
  memcpy(data_, source.Data(), size_);
  position_ = other.position_;
}

CGlobalBlock::~CGlobalBlock() {
  Free();
}

BOOL CGlobalBlock::Alloc(DWORD size, UINT flags, DWORD growStep) {
  if (handle_ != nullptr) return Reserve(size) != FALSE;
  handle_ = GlobalAlloc(flags, size);
  if (handle_ == nullptr) {
    return ReportNoMemory(TEXT("GlobalAlloc failed"));
  }
  if (!Lock()) {
    Free();
    return FALSE;
  }
  size_ = size;
  growStep_ = growStep;
  flags_ = flags;
  position_ = 0;
  return TRUE;
}

int CGlobalBlock::Reserve(DWORD total) {
  if (total <= size_) return TRUE;
  const DWORD step = std::min<DWORD>(growStep_, kLargestSize - size_);
  return Grow(std::max<DWORD>(total - size_, step)) ? 2 : FALSE;
}

BOOL CGlobalBlock::Grow(DWORD extra) {
  if (handle_ == nullptr) return Alloc(extra, GMEM_MOVEABLE, 0);
  HGLOBAL grown = nullptr;
  if (extra <= kLargestSize - size_) {
    Unlock();
    grown = GlobalReAlloc(handle_, size_ + extra, flags_);
  }
  if (grown == nullptr) {
    Lock();
    return ReportNoMemory(TEXT("GlobalReAlloc failed"));
  }
  handle_ = grown;
  size_ += extra;
  return Lock();
}

BOOL CGlobalBlock::Attach(HGLOBAL block) {
  // The present block may be the one that is given back.
  if (block == handle_) Detach();
  Free();
  handle_ = block;
  if (!Lock()) {
    Forget();
    return FALSE;
  }
  flags_ = data_ != block ? GMEM_MOVEABLE : 0;
  const ULONGLONG size = GlobalSize(block);
  size_ = static_cast<DWORD>(size);
  if (size != 0 && size <= kLargestSize) return TRUE;
  // Growing a block whose size is not known here would cut it.
  Unlock();
  Forget();
  return FALSE;
}

HGLOBAL CGlobalBlock::Detach() {
  Unlock();
  const HGLOBAL block = handle_;
  Forget();
  return block;
}

void CGlobalBlock::Free() {
  const HGLOBAL block = Detach();
  if (block != nullptr) GlobalFree(block);
}

BOOL CGlobalBlock::Lock() {
  if (handle_ == nullptr) return FALSE;
  if (data_ != nullptr) return TRUE;
  data_ = static_cast<BYTE*>(GlobalLock(handle_));
  if (data_ == nullptr) ShowError(IDS_ROUTINE_FAILED, TEXT("GlobalLock failed"));
  return data_ != nullptr;
}

void CGlobalBlock::Unlock() {
  if (data_ != nullptr) GlobalUnlock(handle_);
  data_ = nullptr;
}

BOOL CGlobalBlock::SetPosition(DWORD offset) {
  if (offset > size_) return FALSE;
  position_ = offset;
  return TRUE;
}

BOOL CGlobalBlock::Append(const void* bytes, DWORD count) {
  if (count == 0) return TRUE;
  const BYTE* source = static_cast<const BYTE*>(bytes);
  // What lies in the block moves with it.
  const bool isOwn = data_ != nullptr && std::less_equal<>()(data_, source) &&
                     std::less<>()(source, data_ + size_);
  const size_t offset = isOwn ? source - data_ : 0;
  // More than a block can hold fails as growing by it does.
  const bool fits = count <= kLargestSize - position_;
  if (!(fits ? Reserve(position_ + count) != FALSE : Grow(count) != FALSE) || data_ == nullptr) {
    return FALSE;
  }
  memmove(data_ + position_, isOwn ? data_ + offset : source, count);
  position_ += count;
  return TRUE;
}

BOOL CGlobalBlock::AppendBytes(const void* bytes, size_t count) {
  return count <= kLargestSize ? Append(bytes, static_cast<DWORD>(count))
                               : ReportNoMemory(TEXT("GlobalReAlloc failed"));
}

BOOL CGlobalBlock::AppendStringA(LPCSTR text, Terminator terminator) {
  if (text == nullptr) text = "";
  return AppendBytes(text, strlen(text) + (terminator == Terminator::kYes ? 1 : 0));
}

BOOL CGlobalBlock::AppendStringW(LPCWSTR text, Terminator terminator) {
  if (text == nullptr) text = TEXT("");
  const size_t length = View(text).size() + (terminator == Terminator::kYes ? 1 : 0);
  return AppendBytes(text, length * sizeof(WCHAR));
}

DWORD CGlobalBlock::Read(void* destination, DWORD count) {
  const DWORD copied = data_ == nullptr ? 0 : std::min<DWORD>(count, size_ - position_);
  if (copied > 0) memmove(destination, data_ + position_, copied);
  position_ += copied;
  return copied;
}

BOOL CGlobalBlock::PutOnClipboard(UINT format, EmptyFirst emptyFirst) {
  if (!OpenClipboard(nullptr)) return ReportFailedCall(TEXT("OpenClipboard"));
  if (emptyFirst == EmptyFirst::kYes) EmptyClipboard();
  BOOL taken = FALSE;
  if (handle_ != nullptr) {
    Unlock();
    taken = SetClipboardData(format, handle_) != nullptr;
    if (taken) {
      Detach();
    } else {
      ReportFailedCall(TEXT("SetClipboardData"));
      Lock();
    }
  }
  if (!CloseClipboard()) ReportFailedCall(TEXT("CloseClipboard"));
  return taken;
}

void CGlobalBlock::Forget() {
  handle_ = nullptr;
  data_ = nullptr;
  size_ = 0;
  growStep_ = 0;
  flags_ = 0;
  position_ = 0;
}

}  // namespace kv
