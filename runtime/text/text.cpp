#include "runtime/text/text.h"

#include <string.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

#include "runtime/core/messages.h"
#include "runtime/core/startup_context.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kCountedStringCapacity = 256;

int LengthA(LPCSTR text) {
  return text == nullptr ? 0 : static_cast<int>(strlen(text));
}

// The length of `text` without a last byte that begins a double-byte character.
int WithoutHalfCharacter(LPCSTR text, int length) {
  int position = 0;
  while (position < length) {
    const bool lead =
        IsDBCSLeadByteEx(startupContext.guiFontCodePage, static_cast<BYTE>(text[position]));
    if (lead && position + 1 == length) return position;
    position += lead ? 2 : 1;
  }
  return length;
}

// Some code pages, UTF-8 among them, cannot tell whether they used a default character, and refuse
// to convert when they are asked.
BOOL ConvertWhole(LPSTR output, int capacity, LPCWSTR source, UINT codePage, BOOL* usedDefault) {
  if (WideCharToMultiByte(codePage, 0, source, -1, output, capacity, nullptr, usedDefault) != 0) {
    return TRUE;
  }
  return usedDefault != nullptr &&
         WideCharToMultiByte(codePage, 0, source, -1, output, capacity, nullptr, nullptr) != 0;
}

// How many units of `source`, none of its characters split, take at most `room` bytes; fewer than
// all do. 0 when the system cannot tell.
int CountFitting(WideView source, UINT codePage, int room) {
  size_t fitting = 0, tooMany = source.size();
  while (tooMany - fitting > 1) {
    const size_t tried = fitting + (tooMany - fitting) / 2;
    const int units = static_cast<int>(WholeLength(source, tried));
    const int bytes = units == 0 ? 0
                                 : WideCharToMultiByte(codePage, 0, source.data(), units, nullptr,
                                                       0, nullptr, nullptr);
    if (units != 0 && bytes == 0) return 0;
    (bytes <= room ? fitting : tooMany) = tried;
  }
  return static_cast<int>(WholeLength(source, fitting));
}

// Makes a counted string a terminated one.
void Terminate(CHAR (&output)[kCountedStringCapacity], const BYTE* counted) {
  const int length = counted == nullptr ? 0 : counted[0];
  if (length > 0) memcpy(output, counted + 1, length);
  output[length] = 0;
}

}  // namespace

void CopyStringW(LPWSTR output, int capacity, LPCWSTR source) {
  if (capacity <= 0) return;
  WideView text = View(source);
  text = text.substr(0, WholeLength(text, static_cast<size_t>(capacity) - 1));
  // The source may be a part of the output.
  if (!text.empty()) memmove(output, text.data(), text.size() * sizeof(WCHAR));
  output[text.size()] = 0;
}

std::unique_ptr<WCHAR[]> CopyOf(LPCWSTR source) {
  const int capacity = static_cast<int>(View(source).size()) + 1;
  std::unique_ptr<WCHAR[]> copy(new (std::nothrow) WCHAR[capacity]);
  CopyStringW(copy.get(), copy == nullptr ? 0 : capacity, source);
  return copy;
}

void CopyStringA(LPSTR output, int capacity, LPCSTR source) {
  if (capacity <= 0) return;
  const int whole = LengthA(source);
  int length = std::min(whole, capacity - 1);
  if (length < whole && startupContext.dbcsEnabled) length = WithoutHalfCharacter(source, length);
  if (length > 0) memmove(output, source, length);
  output[length] = 0;
}

void CopyCountedStringA(LPSTR output, int capacity, const BYTE* counted) {
  CHAR terminated[kCountedStringCapacity];
  Terminate(terminated, counted);
  CopyStringA(output, capacity, terminated);
}

void AnsiToWide(LPWSTR output, int capacity, LPCSTR source, UINT codePage) {
  if (capacity <= 0) return;
  // The system refuses to convert null.
  output[0] = 0;
  const int needed = MultiByteToWideChar(codePage, 0, source, -1, nullptr, 0);
  if (needed <= capacity) {
    if (needed == 0 || MultiByteToWideChar(codePage, 0, source, -1, output, capacity) == 0)
      output[0] = 0;
    return;
  }
  const std::unique_ptr<WCHAR[]> whole(new (std::nothrow) WCHAR[needed]);
  if (whole != nullptr && MultiByteToWideChar(codePage, 0, source, -1, whole.get(), needed) != 0)
    CopyStringW(output, capacity, whole.get());
}

void AnsiToWideCounted(LPWSTR output, int capacity, const BYTE* counted, UINT codePage) {
  CHAR terminated[kCountedStringCapacity];
  Terminate(terminated, counted);
  AnsiToWide(output, capacity, terminated, codePage);
}

void WideToAnsi(LPSTR output, int capacity, LPCWSTR source, UINT codePage, BOOL* usedDefault) {
  if (usedDefault != nullptr) *usedDefault = FALSE;
  if (capacity <= 0) return;
  output[0] = 0;
  const int needed = WideCharToMultiByte(codePage, 0, source, -1, nullptr, 0, nullptr, nullptr);
  if (needed <= capacity) {
    if (needed == 0 || !ConvertWhole(output, capacity, source, codePage, usedDefault))
      output[0] = 0;
    return;
  }
  const int units = CountFitting(View(source), codePage, capacity - 1);
  const int size =
      WideCharToMultiByte(codePage, 0, source, units, output, capacity - 1, nullptr, nullptr);
  output[size] = 0;
}

LPWSTR AnsiToUnicodeNew(LPCSTR source, UINT codePage) {
  const int capacity = LengthA(source) + 1;
  LPWSTR copy = new (std::nothrow) WCHAR[capacity];
  if (copy == nullptr) {
    ShowInternalError(TEXT("AnsiToUnicodeNew new char"));
    return nullptr;
  }
  AnsiToWide(copy, capacity, source, codePage);
  return copy;
}

LPSTR UnicodeToAnsiNew(LPCWSTR source, UINT codePage, BOOL* usedDefault) {
  const int needed = source == nullptr ? 0
                                       : WideCharToMultiByte(codePage, 0, source, -1, nullptr, 0,
                                                             nullptr, nullptr);
  // Two bytes a unit are enough for most code pages.
  const int capacity = std::max(2 * static_cast<int>(View(source).size()) + 1, needed);
  LPSTR copy = new (std::nothrow) CHAR[capacity];
  if (copy == nullptr) {
    ShowInternalError(TEXT("UnicodeToAnsiNew new char"));
    return nullptr;
  }
  WideToAnsi(copy, capacity, source, codePage, usedDefault);
  return copy;
}

BOOL IsSpaceA(UINT character) {
  return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

BOOL IsSpaceW(WCHAR character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

LPSTR SkipSpaceA(LPCSTR text) {
  while (IsSpaceA(static_cast<BYTE>(*text))) ++text;
  return const_cast<LPSTR>(text);
}

LPWSTR SkipSpaceW(LPCWSTR text) {
  while (IsSpaceW(*text)) ++text;
  return const_cast<LPWSTR>(text);
}

LPWSTR RemoveSpaceW(LPWSTR text) {
  LPWSTR end = text;
  for (LPCWSTR from = text; *from != 0; ++from) {
    if (!IsSpaceW(*from)) *end++ = *from;
  }
  *end = 0;
  return end;
}

void ReplaceNoCase(LPWSTR text, LPCWSTR search) {
  const size_t textLength = View(text).size();
  const size_t searchLength = View(search).size();
  if (searchLength == 0 || searchLength > textLength) return;
  const std::unique_ptr<WCHAR[]> upperText(new (std::nothrow) WCHAR[textLength + 1]);
  const std::unique_ptr<WCHAR[]> upperSearch(new (std::nothrow) WCHAR[searchLength + 1]);
  if (upperText == nullptr || upperSearch == nullptr) return;
  memcpy(upperText.get(), text, (textLength + 1) * sizeof(WCHAR));
  memcpy(upperSearch.get(), search, (searchLength + 1) * sizeof(WCHAR));
  CharUpperW(upperText.get());
  CharUpperW(upperSearch.get());
  const WideView haystack(upperText.get(), textLength);
  const WideView needle(upperSearch.get(), searchLength);
  for (size_t at = 0; (at = haystack.find(needle, at)) != WideView::npos; at += searchLength) {
    memcpy(text + at, search, searchLength * sizeof(WCHAR));
  }
}

}  // namespace kv
