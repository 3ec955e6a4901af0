// Code pages, locales and single-character case.
#pragma once

#include <winnt.h>

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_UTF8 65001

#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400

#define LCID_SUPPORTED 0x00000002

#define LOCALE_ILANGUAGE 0x00000001
#define LOCALE_SABBREVLANGNAME 0x00000003
#define LOCALE_SABBREVCTRYNAME 0x00000007
#define LOCALE_IDEFAULTLANGUAGE 0x00000009
#define LOCALE_SNAME 0x0000005c
#define LOCALE_SENGLANGUAGE 0x00001001
#define LOCALE_SENGCOUNTRY 0x00001002
#define LOCALE_IDEFAULTANSICODEPAGE 0x00001004
#define LOCALE_IPAPERSIZE 0x0000100A

extern "C" {
typedef BOOL(CALLBACK* LOCALE_ENUMPROCW)(LPWSTR);

// Converts `length` bytes (-1: to the terminator, which is then converted too) of a code page
// (CP_ACP and CP_OEMCP: the machine's) to UTF-16. Returns the characters written, or those needed
// when `capacity` is 0. 0 on failure: ERROR_INSUFFICIENT_BUFFER (as many as fit are written),
// ERROR_INVALID_PARAMETER (no text, length 0, unknown code page), ERROR_INVALID_FLAGS (flags other
// than MB_ERR_INVALID_CHARS), ERROR_NO_UNICODE_TRANSLATION (invalid bytes with
// MB_ERR_INVALID_CHARS; without, they become the code page's default character, U+FFFD in UTF-8).
int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCCH text, int length, LPWSTR buffer,
                               int capacity);
// The way back; `capacity` in bytes. A character without a form in the code page becomes
// `default_char` (null: "?") and sets `*used_default`; both must be null for CP_UTF8. Best-fit
// replacements are not made, with or without WC_NO_BEST_FIT_CHARS, which CP_UTF8 does not take.
int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWCH text, int length, LPSTR buffer,
                               int capacity, LPCCH default_char, LPBOOL used_default);
// TRUE for a byte that begins a character of two bytes; FALSE also for an unknown code page
// (ERROR_INVALID_PARAMETER).
BOOL WINAPI IsDBCSLeadByteEx(UINT code_page, BYTE byte);

// Reads a fact of a locale into a buffer of `capacity` characters. Returns the characters written
// with the terminator, or those needed when `capacity` is 0. 0 on failure: ERROR_INVALID_PARAMETER
// (unknown locale, no buffer), ERROR_INVALID_FLAGS (a fact that this version of the system does not
// know), ERROR_INSUFFICIENT_BUFFER.
int WINAPI GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int capacity);
// Calls `callback` with the identifier of each locale as eight hexadecimal digits, until it answers
// FALSE. Flags: LCID_SUPPORTED only.
BOOL WINAPI EnumSystemLocalesW(LOCALE_ENUMPROCW callback, DWORD flags);
}
