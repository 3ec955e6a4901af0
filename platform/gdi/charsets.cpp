#include "platform/gdi/charsets.h"

#include <algorithm>
#include <iterator>

#include "platform/kernel/api_call.h"

namespace platform {
namespace {

struct Charset {
  BYTE number;
  UINT code_page;
  DWORD signature;  // its bit in a font signature
};

constexpr Charset kCharsets[] = {
    {ANSI_CHARSET, 1252, 1u << 0},       {EASTEUROPE_CHARSET, 1250, 1u << 1},
    {RUSSIAN_CHARSET, 1251, 1u << 2},    {GREEK_CHARSET, 1253, 1u << 3},
    {TURKISH_CHARSET, 1254, 1u << 4},    {HEBREW_CHARSET, 1255, 1u << 5},
    {ARABIC_CHARSET, 1256, 1u << 6},     {BALTIC_CHARSET, 1257, 1u << 7},
    {VIETNAMESE_CHARSET, 1258, 1u << 8}, {THAI_CHARSET, 874, 1u << 16},
    {SHIFTJIS_CHARSET, 932, 1u << 17},   {GB2312_CHARSET, 936, 1u << 18},
    {HANGUL_CHARSET, 949, 1u << 19},     {CHINESEBIG5_CHARSET, 950, 1u << 20},
    {JOHAB_CHARSET, 1361, 1u << 21},     {SYMBOL_CHARSET, 42, 1u << 31},
};

}  // namespace

BYTE CharsetOf(UINT code_page) {
  for (const Charset& charset : kCharsets) {
    if (charset.code_page == code_page) return charset.number;
  }
  return DEFAULT_CHARSET;
}

}  // namespace platform

using namespace platform;

BOOL WINAPI TranslateCharsetInfo(LPDWORD source, LPCHARSETINFO info, DWORD flags) {
  KV_API(TranslateCharsetInfo, ERROR_INVALID_PARAMETER, FALSE, source, info, flags);
  if (flags != TCI_SRCCHARSET) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  const auto wanted = reinterpret_cast<ULONG_PTR>(source);
  const auto found = std::find_if(std::begin(kCharsets), std::end(kCharsets),
                                  [&](const Charset& c) { return c.number == wanted; });
  if (found == std::end(kCharsets)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *info = {};
  info->ciCharset = found->number;
  info->ciACP = found->code_page;
  info->fs.fsCsb[0] = found->signature;
  return TRUE;
}
