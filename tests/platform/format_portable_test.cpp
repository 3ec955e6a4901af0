// The three formatters: the differences between them, and their limits.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace {

using Wide = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

int Crt(WCHAR* buffer, size_t count, const WCHAR* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = _vsnwprintf(buffer, count, format, arguments);
  va_end(arguments);
  return result;
}
int Crt(char* buffer, size_t count, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = _vsnprintf(buffer, count, format, arguments);
  va_end(arguments);
  return result;
}
int User(WCHAR* buffer, const WCHAR* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = wvsprintfW(buffer, format, arguments);
  va_end(arguments);
  return result;
}

template <class... A>
Wide CrtWide(const WCHAR* format, A... arguments) {
  WCHAR buffer[512];
  const int length = Crt(buffer, std::size(buffer), format, arguments...);
  EXPECT_EQ(WideView(buffer).size(), static_cast<size_t>(length));
  return buffer;
}
template <class... A>
std::string CrtNarrow(const char* format, A... arguments) {
  char buffer[512];
  EXPECT_GE(Crt(buffer, std::size(buffer), format, arguments...), 0);
  return buffer;
}
template <class... A>
Wide UserWide(const WCHAR* format, A... arguments) {
  WCHAR buffer[1024];
  const int length = User(buffer, format, arguments...);
  EXPECT_EQ(WideView(buffer).size(), static_cast<size_t>(length));
  return buffer;
}

TEST(FormatPortableTest, IntegersWithFlagsWidthAndPrecision) {
  EXPECT_EQ(CrtWide(TEXT("%d|%5d|%-5d|%05d|%+d|% d"), 42, 42, 42, -42, 42, 42),
            TEXT("42|   42|42   |-0042|+42| 42"));
  EXPECT_EQ(CrtWide(TEXT("%.3d|%6.3d|%.0d|%*d|%-*d|%*d"), 7, 7, 0, 4, 7, 4, 7, -4, 7),
            TEXT("007|   007||   7|7   |7   "));
  EXPECT_EQ(CrtWide(TEXT("%08X|%#x|%#X|%#x|%o|%#o"), 0xBEEF, 255, 255, 0, 8, 8),
            TEXT("0000BEEF|0xff|0XFF|0|10|010"));
  EXPECT_EQ(CrtWide(TEXT("%i%%|%u|%ld|%lu"), INT32_MIN, UINT32_MAX, -1, UINT32_MAX),
            TEXT("-2147483648%|4294967295|-1|4294967295"));
  EXPECT_EQ(CrtWide(TEXT("%hd|%hu|%I32d"), 0x1FFFF, 0x1FFFF, 5), TEXT("-1|65535|5"));
  EXPECT_EQ(CrtWide(TEXT("%I64d|%lld|%I64x|%d"), INT64_MIN, int64_t{-1}, UINT64_MAX, 3),
            TEXT("-9223372036854775808|-1|ffffffffffffffff|3"));
  EXPECT_EQ(CrtWide(TEXT("%p|%Iu"), reinterpret_cast<void*>(0xABC), size_t{9}),
            sizeof(void*) == 4 ? TEXT("00000ABC|9") : TEXT("0000000000000ABC|9"));
}

TEST(FormatPortableTest, FixedNotation) {
  EXPECT_EQ(CrtNarrow("%f|%.2f|%.0f|%8.3f|%-8.1f|%08.1f|%+.1f", 1.5, 2.675, 0.5, -3.14159, 2.0,
                      -2.5, 1.0),
            "1.500000|2.67|1|  -3.142|2.0     |-00002.5|+1.0");
  EXPECT_EQ(CrtNarrow("%.1f|%d", 1e300, 7).size(), 301u + 2 + 2);
  EXPECT_EQ(CrtWide(TEXT("%.*f|%.2f|%.2f|%.0f"), 3, -0.0004, -0.125, 0.375, 2.5),
            TEXT("-0.000|-0.13|0.38|3"));
}

TEST(FormatPortableTest, TextIsWideOrNarrowByFormatter) {
  EXPECT_EQ(CrtWide(TEXT("%s|%S|%hs|%ls|%ws"), TEXT("w"), "n", "h", TEXT("l"), TEXT("x")),
            TEXT("w|n|h|l|x"));
  EXPECT_EQ(CrtNarrow("%s|%S|%hs|%ls", "n", TEXT("w"), "h", TEXT("l")), "n|w|h|l");
  EXPECT_EQ(UserWide(TEXT("%s|%S|%hs|%ls"), TEXT("w"), "n", "h", TEXT("l")), TEXT("w|n|h|l"));
  EXPECT_EQ(CrtWide(TEXT("%c%C%hc%lc"), 0x4E2D, 'b', 'c', 'd'), TEXT("\u4E2Dbcd"));
  EXPECT_EQ(
      CrtWide(TEXT("[%5s][%-5s][%.2s][%5.1s]"), TEXT("ab"), TEXT("ab"), TEXT("abc"), TEXT("xyz")),
      TEXT("[   ab][ab   ][ab][    x]"));
  EXPECT_EQ(CrtWide(TEXT("%s%S"), nullptr, nullptr), TEXT("(null)(null)"));
}

TEST(FormatPortableTest, NarrowTextKeepsItsNumberInTheLibrary) {
  EXPECT_EQ(CrtWide(TEXT("%S"), "\xC0\x80"), TEXT("\u00C0\u0080"));
  char buffer[16];
  EXPECT_EQ(Crt(buffer, sizeof(buffer), "%S", TEXT("\u00FF")), 1);
  EXPECT_EQ(buffer[0], '\xFF');
  EXPECT_EQ(Crt(buffer, sizeof(buffer), "%S", TEXT("\u0100")), -1);
}

TEST(FormatPortableTest, PrecisionBoundsTheReading) {
  const WCHAR unterminated[] = {TEXT('a'), TEXT('b')};
  EXPECT_EQ(CrtWide(TEXT("%.2s"), unterminated), TEXT("ab"));
}

TEST(FormatPortableTest, TheLibraryTerminatesOnlyWhenThereIsRoom) {
  struct Case {
    size_t count;
    int result;
    WCHAR behind;  // the character after the text or the count
  };
  for (const Case& c :
       {Case{4, 3, 0}, Case{3, 3, TEXT('#')}, Case{2, -1, TEXT('#')}, Case{0, -1, TEXT('#')}}) {
    WCHAR buffer[] = TEXT("######");
    EXPECT_EQ(Crt(buffer, c.count, TEXT("%s"), TEXT("abc")), c.result) << c.count;
    const size_t kept = std::min<size_t>(c.count, 3);
    EXPECT_EQ(WideView(buffer, kept), WideView(TEXT("abc"), kept));
    EXPECT_EQ(buffer[kept], c.behind) << c.count;
  }
}

TEST(FormatPortableTest, User32CutsAt1023Characters) {
  const Wide fits(1023, TEXT('x')), longer(1024, TEXT('x'));
  // Only the text: Wine's result counts the terminator here.
  for (const Wide& text : {fits, longer}) {
    WCHAR buffer[1024];
    User(buffer, TEXT("%s"), text.c_str());
    EXPECT_EQ(WideView(buffer), fits);
  }
}

TEST(FormatPortableTest, UnknownConversionsStandForThemselves) {
  EXPECT_EQ(UserWide(TEXT("%d%% %y %f %"), 50), TEXT("50% y f "));
  EXPECT_EQ(CrtWide(TEXT("%q%"), 0), TEXT("q"));
}

}  // namespace
