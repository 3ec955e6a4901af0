// The formatters of the Microsoft C library. On Windows they come with <stdio.h>.
#pragma once

#include <windef.h>

extern "C" {
// Format into a buffer of `count` characters (bytes in the narrow one) by the C library's rules of
// Windows: in the wide one %s and %c take wide text and %S and %C narrow, in the narrow one the
// other way round; %h and %l (%w) force narrow and wide; %I64 and %ll are 64 bits wide, %I is as
// wide as a pointer, %l is 32 bits wide; %f is the only floating conversion. Between narrow and
// wide a character keeps its number. Return the characters written without the terminator; -1 when
// they do not fit, the buffer then holds the first `count` without a terminator, or when a wide
// character has no narrow form. A result of exactly `count` characters fits and is not terminated.
int CDECL _vsnwprintf(WCHAR* buffer, size_t count, const WCHAR* format, va_list arguments);
int CDECL _vsnprintf(char* buffer, size_t count, const char* format, va_list arguments);
}
