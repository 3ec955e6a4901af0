// Copies into buffers of fixed capacity, conversions between UTF-16 and code pages, white space.
//
// Capacities count characters of the buffer's own kind (UTF-16 units or bytes) with the terminator.
// Every copy and conversion leaves a terminated buffer when the capacity is at least 1 and does
// nothing when it is 0 or negative. A null source counts as empty.
#pragma once

#include <memory>

#include "runtime/core/win.h"

namespace kv {

// Copies `source`, which may be a part of the output, cut to capacity - 1 characters; one of two
// units that the cut would split goes as a whole.
void CopyStringW(LPWSTR output, int capacity, LPCWSTR source);
template <size_t kCapacity>
void CopyStringW(WCHAR (&output)[kCapacity], LPCWSTR source) {
  CopyStringW(output, static_cast<int>(kCapacity), source);
}
// A copy of its own; null when memory runs out.
std::unique_ptr<WCHAR[]> CopyOf(LPCWSTR source);
// Copies `source`, cut to capacity - 1 bytes; where the system uses double-byte character sets, a
// double-byte character of the GUI font's code page whose second byte was cut off goes as a whole.
void CopyStringA(LPSTR output, int capacity, LPCSTR source);
// The same for a source that is a length byte followed by that many bytes.
void CopyCountedStringA(LPSTR output, int capacity, const BYTE* counted);

// Converts with MultiByteToWideChar. A result that does not fit is converted elsewhere and cut;
// without memory for that, or with a code page that the system does not have, the output is empty.
void AnsiToWide(LPWSTR output, int capacity, LPCSTR source, UINT codePage);
void AnsiToWideCounted(LPWSTR output, int capacity, const BYTE* counted, UINT codePage);
// Converts with WideCharToMultiByte. A result that does not fit ends with the last character that
// fits whole, whatever the code page. `usedDefault`, when given, tells whether a character had no
// counterpart in the code page; it stays 0 when the result had to be cut, and for code pages that
// cannot tell (UTF-8). With a code page that the system does not have the output is empty.
void WideToAnsi(LPSTR output, int capacity, LPCWSTR source, UINT codePage,
                BOOL* usedDefault = nullptr);

// New copies, freed by the caller with delete[]; null after the report "AnsiToUnicodeNew new char"
// or "UnicodeToAnsiNew new char" when memory runs out. They hold the whole text; the narrow one has
// at least 2 * length + 1 bytes.
LPWSTR AnsiToUnicodeNew(LPCSTR source, UINT codePage);
LPSTR UnicodeToAnsiNew(LPCWSTR source, UINT codePage, BOOL* usedDefault = nullptr);

// Non-zero for blank, tab, carriage return and line feed; 0 for the terminator and for any value of
// 256 or more.
BOOL IsSpaceA(UINT character);
BOOL IsSpaceW(WCHAR character);
// The first character that is not white space.
LPSTR SkipSpaceA(LPCSTR text);
LPWSTR SkipSpaceW(LPCWSTR text);
// Deletes every white-space character in place; returns the address of the new terminator.
LPWSTR RemoveSpaceW(LPWSTR text);
// Overwrites each occurrence of `search`, found without regard to case, by `search` as it is
// written; `search` may not lie in `text`. The length of `text` does not change. Nothing happens
// for an empty search text or when memory runs out.
void ReplaceNoCase(LPWSTR text, LPCWSTR search);

}  // namespace kv
