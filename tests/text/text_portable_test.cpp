#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "runtime/core/startup_context.h"
#include "runtime/text/format.h"
#include "runtime/text/number_text.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

using WideString = std::basic_string<WCHAR>;

TEST(CopyStringTest, NeverSplitsADoubleByteCharacter) {
  startupContext.dbcsEnabled = 1;
  startupContext.guiFontCodePage = 932;
  // Two characters of two bytes; the second byte of the first one would itself be a lead byte.
  const CHAR text[] = "\x83\x83\x82\xA0";
  CHAR out[8];
  const struct {
    int capacity;
    size_t kept;
  } kCases[] = {{2, 0}, {3, 2}, {4, 2}, {5, 4}};
  for (const DWORD dbcs : {0, 1}) {
    startupContext.dbcsEnabled = dbcs;
    for (const auto& c : kCases) {
      CopyStringA(out, c.capacity, text);
      EXPECT_EQ(out, std::string(text, dbcs ? c.kept : c.capacity - 1)) << c.capacity;
    }
  }
  // The code page of a conversion need not be that of the font.
  const struct {
    UINT code_page;
    LPCWSTR text;
    int capacity;
    const char* kept;
  } kConversions[] = {
      {932, TEXT("\u30E3\u3042"), 2, ""},
      {932, TEXT("\u30E3\u3042"), 4, "\x83\x83"},
      {932, TEXT("\u30E3\u3042x"), 5, "\x83\x83\x82\xA0"},
      {1252, TEXT("\u0192\u0192"), 2, "\x83"},
      {CP_UTF8, TEXT("a\u00E4\u3042"), 3, "a"},
      {CP_UTF8, TEXT("a\u00E4\u3042"), 4, "a\xC3\xA4"},
      {CP_UTF8, TEXT("a\u00E4\u3042"), 6, "a\xC3\xA4"},
      {CP_UTF8, TEXT("a\u00E4\u3042"), 7, "a\xC3\xA4\xE3\x81\x82"},
      {CP_UTF8, TEXT("a\xD83D\xDE00z"), 5, "a"},
      {CP_UTF8, TEXT("a\xD83D\xDE00z"), 6, "a\xF0\x9F\x98\x80"},
  };
  for (const UINT font : {1252u, 932u}) {
    startupContext.guiFontCodePage = font;
    for (const auto& c : kConversions) {
      for (char& byte : out) byte = '#';
      WideToAnsi(out, c.capacity, c.text, c.code_page);
      EXPECT_STREQ(out, c.kept) << &c - kConversions << ", font " << font;
      EXPECT_EQ(out[c.capacity], '#');
    }
  }
  const BYTE counted[] = {3, 'x', 0x82, 0xA0, 'z'};
  CopyCountedStringA(out, 3, counted);
  EXPECT_STREQ(out, "x");
  CopyCountedStringA(out, 8, counted);
  EXPECT_STREQ(out, "x\x82\xA0");
  WCHAR wide[8];
  AnsiToWideCounted(wide, 8, counted, 932);
  EXPECT_EQ(WideView(wide), TEXT("x\u3042"));
  const BYTE none[] = {0, 'z'};
  for (const BYTE* empty : {none, static_cast<const BYTE*>(nullptr)}) {
    CopyCountedStringA(out, 8, empty);
    AnsiToWideCounted(wide, 8, empty, 1252);
    EXPECT_TRUE(out[0] == 0 && wide[0] == 0);
    wide[0] = out[0] = '#';
  }
  startupContext.dbcsEnabled = 0;
  startupContext.guiFontCodePage = 0;
}

// Every copy is cut and ended within its capacity, and splits no character of two units.
TEST(CopyStringTest, CutsAndTerminatesAtEveryCapacity) {
  const LPCWSTR text = TEXT("a\xD83D\xDE00z\xDE00\xD83D");
  constexpr char kUtf8[] = "a\xF0\x9F\x98\x80z";
  for (int capacity = -1; capacity <= 8; ++capacity) {
    const size_t room = static_cast<size_t>(std::max(capacity, 0)), kept = room == 3 ? 1 : room - 1;
    const BOOL fits = room > 6;
    // What lies before and behind each of the buffers stays as well.
    WideString wide[4];
    std::string narrow[2];
    for (WideString& out : wide) out = WideString(12, '#');
    for (std::string& out : narrow) out = std::string(12, '#');
    wide[3][1] = 'a';
    wide[3][2] = 0;
    CopyStringW(&wide[0][1], capacity, text);
    AnsiToWide(&wide[1][1], capacity, kUtf8, CP_UTF8);
    EXPECT_EQ(FormatText(&wide[2][1], room, TEXT("%s"), text), fits) << capacity;
    EXPECT_EQ(AppendText(&wide[3][1], room, TEXT("%s"), text + 1), fits) << capacity;
    CopyStringA(&narrow[0][1], capacity, "abcde6");
    EXPECT_EQ(FormatTextA(&narrow[1][1], room, "%s%d", "abcde", 6), fits) << capacity;
    for (const WideString& out : wide) {
      const bool appended = &out == &wide[3];
      const WideView whole(text, &out == &wide[1] ? 4 : 6);
      const WideString untouched = appended ? WideString(TEXT("a")) : WideString(11, '#');
      EXPECT_EQ(WideView(&out[1]), room > appended ? whole.substr(0, kept) : untouched) << capacity;
      EXPECT_TRUE(out[0] == '#' && out[std::max<size_t>(room, 2) + 1] == '#') << capacity;
    }
    for (const std::string& out : narrow) {
      EXPECT_TRUE(out[0] == '#' && out.substr(room + 1) == std::string(11 - room, '#'));
      if (room == 0) continue;
      EXPECT_EQ(&out[1], std::string("abcde6").substr(0, room - 1));
    }
  }
}

TEST(ConversionTest, CutsWhatDoesNotFitAndReportsTheDefaultCharacter) {
  WCHAR wide[16];
  CHAR narrow[16];
  BOOL usedDefault = TRUE;
  WideToAnsi(narrow, 16, TEXT("a\u20ACz"), 1252, &usedDefault);
  EXPECT_STREQ(narrow, "a\x80z");
  EXPECT_FALSE(usedDefault);
  WideToAnsi(narrow, 16, TEXT("a\u4E00b"), 1252, &usedDefault);
  EXPECT_STREQ(narrow, "a?b");
  EXPECT_TRUE(usedDefault);
  WideToAnsi(narrow, 3, TEXT("a\u4E00b"), 1252, &usedDefault);
  EXPECT_STREQ(narrow, "a?");
  EXPECT_FALSE(usedDefault) << "not known for a result that was cut";
  WideToAnsi(narrow, 16, TEXT("\u20AC"), CP_UTF8, &usedDefault);
  EXPECT_STREQ(narrow, "\xE2\x82\xAC");
  EXPECT_FALSE(usedDefault) << "which cannot tell";
  // A code page that does not exist, and no source, leave nothing; no room leaves everything.
  for (const LPCWSTR source : {TEXT("x"), static_cast<LPCWSTR>(nullptr)}) {
    usedDefault = TRUE;
    const UINT code_page = source != nullptr ? 54321 : 1252;
    for (const int capacity : {-1, 0, 16}) {
      narrow[0] = '#';
      wide[0] = '#';
      WideToAnsi(narrow, capacity, source, code_page, &usedDefault);
      AnsiToWide(wide, capacity, source != nullptr ? "x" : nullptr, code_page);
      EXPECT_TRUE(narrow[0] == (capacity > 0 ? 0 : '#') && wide[0] == (capacity > 0 ? 0 : '#'));
      EXPECT_FALSE(usedDefault);
    }
  }
  CopyStringW(wide, 16, nullptr);
  CopyStringA(narrow, 16, nullptr);
  EXPECT_TRUE(narrow[0] == 0 && wide[0] == 0);
  WCHAR tail[] = TEXT("abcdef");
  CopyStringW(tail, 6, tail + 1);
  EXPECT_EQ(WideView(tail), TEXT("bcdef"));
}

TEST(ConversionTest, NewCopiesHoldTheWholeText) {
  const std::unique_ptr<WCHAR[]> wide(AnsiToUnicodeNew("\x82\xA0z", 932));
  EXPECT_EQ(WideView(wide.get()), TEXT("\u3042z"));
  const std::unique_ptr<CHAR[]> narrow(UnicodeToAnsiNew(TEXT("\u3042\u3042"), 932));
  EXPECT_STREQ(narrow.get(), "\x82\xA0\x82\xA0");
  const std::unique_ptr<CHAR[]> utf8(UnicodeToAnsiNew(TEXT("\u3042\u3042\u3042"), CP_UTF8));
  EXPECT_STREQ(utf8.get(), "\xE3\x81\x82\xE3\x81\x82\xE3\x81\x82");
  // Room for what its owner may put there.
  BOOL usedDefault = FALSE;
  const std::unique_ptr<CHAR[]> roomy(UnicodeToAnsiNew(TEXT("a\u4E00"), 1252, &usedDefault));
  EXPECT_STREQ(roomy.get(), "a?");
  EXPECT_TRUE(usedDefault);
  memset(roomy.get(), 'x', 5);
  const std::unique_ptr<WCHAR[]> no_wide(AnsiToUnicodeNew(nullptr, 1252));
  const std::unique_ptr<CHAR[]> no_narrow(UnicodeToAnsiNew(nullptr, 1252));
  EXPECT_TRUE(no_wide[0] == 0 && no_narrow[0] == 0);
  EXPECT_EQ(WideView(CopyOf(TEXT("ab")).get()), TEXT("ab"));
}

TEST(WhiteSpaceTest, KnowsExactlyFourCharacters) {
  for (UINT c = 0; c < 0x300; ++c) {
    const bool space = c == ' ' || c == '\t' || c == '\r' || c == '\n';
    EXPECT_EQ(IsSpaceA(c) != 0, space) << c;
    EXPECT_EQ(IsSpaceW(static_cast<WCHAR>(c)) != 0, space) << c;
  }
  WCHAR text[] = TEXT(" \ta b\r\n\u00A0c ");
  EXPECT_EQ(RemoveSpaceW(text), text + 4);
  EXPECT_EQ(WideView(text), TEXT("ab\u00A0c"));
  EXPECT_EQ(WideView(SkipSpaceW(TEXT("\r\n x "))), TEXT("x "));
  EXPECT_STREQ(SkipSpaceA("\r\n x "), "x ");
}

TEST(ReplaceNoCaseTest, OverwritesInPlace) {
  const LPCWSTR kCases[][3] = {{TEXT("abcABC"), TEXT("Bc"), TEXT("aBcABc")},
                               {TEXT("aaa"), TEXT("AA"), TEXT("AAa")},
                               {TEXT("\u00E4\u00C4"), TEXT("\u00E4"), TEXT("\u00E4\u00E4")},
                               {TEXT("ab"), TEXT("abc"), TEXT("ab")},
                               {TEXT("ab"), TEXT(""), TEXT("ab")}};
  for (const auto& [before, search, after] : kCases) {
    WideString text(before);
    ReplaceNoCase(text.data(), search);
    EXPECT_EQ(text, after);
  }
}

// Some digits of a number are another number.
TEST(NumberTextTest, ADoubleFitsWholeOrNotAtAll) {
  const struct {
    double value;
    int precision;
    const char* expected;
  } kCases[] = {
      {1.5, 6, "1.5"},   {-0.0000001, 6, "0"}, {0, 6, "0"},       {100, 6, "100"},
      {100, 0, "100"},   {-5, 1, "-5"},        {-0.5, 1, "-0.5"}, {0.1234567, 6, "0.123457"},
      {-1.24, 1, "-1.2"}};
  for (const auto& c : kCases) {
    const std::string text = c.expected;
    for (const size_t capacity : {size_t{0}, size_t{1}, text.size(), text.size() + 1}) {
      const bool fits = capacity > text.size();
      CHAR narrow[16] = "##########";
      WCHAR wide[16] = TEXT("##########");
      SetLastError(0);
      EXPECT_EQ(FormatDoubleA(c.value, c.precision, narrow, capacity), narrow);
      EXPECT_EQ(FormatDoubleW(c.value, c.precision, wide, capacity), wide);
      EXPECT_EQ(GetLastError(), fits ? 0 : DWORD{ERROR_INSUFFICIENT_BUFFER});
      EXPECT_TRUE(narrow[capacity] == '#' && wide[capacity] == '#');
      if (capacity == 0) continue;
      EXPECT_EQ(narrow, fits ? text : std::string());
      EXPECT_EQ(WideView(wide), fits ? WideString(text.begin(), text.end()) : WideString());
    }
  }
  CHAR longest[512];
  EXPECT_EQ(strlen(FormatDoubleA(-1.7976931348623157e308, 6, longest, 512)), 310u);
  EXPECT_STREQ(FormatDoubleA(1e300, 400, longest, 512), "") << "more digits than it writes";
}

TEST(NumberTextTest, SizesDurationsAndResolutions) {
  WCHAR text[kNumberTextCapacity];
  const struct {
    ULONGLONG bytes;
    LPCWSTR expected;
  } kSizes[] = {{0, TEXT("0 KB")},         {1, TEXT("1 KB")},
                {1499, TEXT("1 KB")},      {1500, TEXT("2 KB")},
                {499, TEXT("1 KB")},       {1990000, TEXT("1.9 MB")},
                {999499, TEXT("999 KB")},  {999500, TEXT("1.0 MB")},
                {2750000, TEXT("2.7 MB")}, {~0ull, TEXT("18446744073709.5 MB")}};
  for (const auto& c : kSizes) {
    FormatSize(c.bytes, text);
    EXPECT_EQ(WideView(text), c.expected);
  }
  const struct {
    DWORD milliseconds;
    LPCWSTR expected;
  } kDurations[] = {{0, TEXT("0.000 sec")},
                    {999, TEXT("0.999 sec")},
                    {60000, TEXT("1 min 0.000 sec")},
                    {61500, TEXT("1 min 1.500 sec")},
                    {0xFFFFFFFF, TEXT("71582 min 47.295 sec")}};
  for (const auto& c : kDurations) {
    FormatDuration(c.milliseconds, text);
    EXPECT_EQ(WideView(text), c.expected);
  }
  for (const int vertical : {300, 1, 0, -1}) {
    FormatResolution(text, 600, vertical);
    EXPECT_EQ(WideView(text), vertical == 300 ? TEXT("600 x 300 dpi")
                              : vertical == 1 ? TEXT("600 x 1 dpi")
                                              : TEXT("600 dpi"));
  }
}

// The characters around A to Z are no letters.
TEST(CompareTest, LettersOfAsciiOrOfAnyAlphabet) {
  const struct {
    LPCWSTR a, b;
    int order;
    bool any_alphabet;
  } kCases[] = {{TEXT("Az"), TEXT("aZ"), 0, true},   {TEXT("@"), TEXT("`"), -1, false},
                {TEXT("["), TEXT("{"), -1, false},   {TEXT("b"), TEXT("A"), 1, false},
                {TEXT("Ab"), TEXT("aC"), -1, false}, {TEXT("ab"), TEXT("A"), 1, false},
                {TEXT("_"), TEXT("A"), -1, false},   {TEXT("\u00C4"), TEXT("\u00E4"), -1, true}};
  const auto sign = [](int order) { return (order > 0) - (order < 0); };
  for (const auto& c : kCases) {
    EXPECT_EQ(sign(CompareAsciiNoCase(c.a, c.b)), c.order) << &c - kCases;
    EXPECT_EQ(sign(CompareAsciiNoCase(c.b, c.a)), -c.order) << &c - kCases;
    EXPECT_EQ(EqualAsciiNoCase(c.a, c.b), c.order == 0) << &c - kCases;
    EXPECT_EQ(EqualNoCase(c.a, c.b), c.any_alphabet) << &c - kCases;
    EXPECT_EQ(StartsWithAsciiNoCase(c.a, c.b), c.order == 0 || View(c.a) == TEXT("ab"));
  }
  EXPECT_EQ(ToUpper(0x00E4), 0x00C4);
  EXPECT_EQ(WholeLength(TEXT("ab"), 3), 2u);
}

TEST(ParseTest, NumbersAsPeopleWriteThem) {
  const struct {
    LPCWSTR text;
    bool whole;  // nothing but a decimal number
    int decimal;
    DWORD hex;
  } kCases[] = {{TEXT("12"), true, 12, 0x12},
                {TEXT(" -7\t"), true, -7, 0},
                {TEXT(" -7x"), false, -7, 0},
                {TEXT("+0"), true, 0, 0},
                {TEXT("0407"), true, 407, 0x407},
                {TEXT("0x1F"), false, 0, 0x1F},
                {TEXT("0X9aAfFg"), false, 0, 0x9AAFF},
                {TEXT("a@1"), false, 0, 0xA},
                {TEXT("\t\n\v\f\r 9:"), false, 9, 9},
                {TEXT("0/"), false, 0, 0},
                {TEXT("\x08 1"), false, 0, 0},
                {TEXT("\x0E 1"), false, 0, 0},
                {TEXT("1 2"), false, 1, 1},
                {TEXT("-"), false, 0, 0},
                {TEXT(" "), false, 0, 0},
                {TEXT(""), false, 0, 0},
                {nullptr, false, 0, 0},
                {TEXT("FFFFFFFE"), false, 0, 0xFFFFFFFE},
                {TEXT("2147483647"), true, 0x7FFFFFFF, 0xFFFFFFFF},
                {TEXT("2147483648"), false, 0x7FFFFFFF, 0xFFFFFFFF},
                {TEXT("-2147483648"), true, -0x7FFFFFFF - 1, 0},
                {TEXT("-2147483649"), false, -0x7FFFFFFF - 1, 0},
                {TEXT("99999999999999999999999"), false, 0x7FFFFFFF, 0xFFFFFFFF}};
  for (const auto& c : kCases) {
    int number = 4711;
    EXPECT_EQ(ParseWholeDecimal(c.text, number), c.whole) << &c - kCases;
    EXPECT_EQ(number, c.whole ? c.decimal : 0) << &c - kCases;
    EXPECT_EQ(ParseDecimal(c.text), c.decimal) << &c - kCases;
    EXPECT_EQ(ParseHex(c.text), c.hex) << &c - kCases;
  }
}

}  // namespace
}  // namespace kv
