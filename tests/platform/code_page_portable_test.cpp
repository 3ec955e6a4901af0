// Conversions between UTF-16 and code pages.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace {

using WideView = std::basic_string_view<WCHAR>;
using Wide = std::basic_string<WCHAR>;

Wide ToWide(UINT code_page, std::string_view bytes) {
  WCHAR buffer[64] = {};
  return {buffer, static_cast<size_t>(MultiByteToWideChar(
                      code_page, 0, bytes.data(), static_cast<int>(bytes.size()), buffer, 64))};
}

std::string ToBytes(UINT code_page, WideView text) {
  char buffer[64] = {};
  return {buffer, static_cast<size_t>(WideCharToMultiByte(code_page, 0, text.data(),
                                                          static_cast<int>(text.size()), buffer, 64,
                                                          nullptr, nullptr))};
}

// Counts the characters of a code page that do not survive the way there and back.
int LostCharacters(UINT code_page, int& defined) {
  int lost = 0;
  for (unsigned lead = 0; lead < 0x100; ++lead) {
    const bool pairs = IsDBCSLeadByteEx(code_page, static_cast<BYTE>(lead));
    for (unsigned trail = pairs ? 0x40 : 0; trail < (pairs ? 0xFFu : 1u); ++trail) {
      const char bytes[2] = {static_cast<char>(lead), static_cast<char>(trail)};
      WCHAR wide[2];
      const int length =
          MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, bytes, pairs ? 2 : 1, wide, 2);
      if (length == 0) continue;
      ++defined;
      lost += length != 1 || ToWide(code_page, ToBytes(code_page, {wide, 1})) != Wide(wide, 1);
    }
  }
  return lost;
}

TEST(CodePagePortableTest, EveryCharacterOfAnAnsiCodePageComesBack) {
  for (UINT page :
       {874, 932, 936, 949, 950, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258}) {
    int defined = 0;
    EXPECT_EQ(LostCharacters(page, defined), 0) << page;
    // Some systems leave up to ten bytes of a page undefined.
    EXPECT_GE(defined, page <= 874 || page > 1000 ? 246 : 7000) << page;
  }
}

TEST(CodePagePortableTest, KnownBytes) {
  struct Case {
    UINT code_page;
    const char* bytes;
    const WCHAR* text;
  };
  const Case cases[] = {
      {1252, "\x80\x81\xE4", TEXT("\u20AC\u0081\u00E4")},
      {1251, "\xCF\x98", TEXT("\u041F\u0098")},
      {1258, "\xC2\xCC", TEXT("\u00C2\u0300")},
      {932, "\\\x8A\xBF\xB1\x81\x5F", TEXT("\\\u6F22\uFF71\uFF3C")},
      {936, "\x80\xBA\xBA", TEXT("\u20AC\u6C49")},
      {949, "\xC7\xD1", TEXT("\uD55C")},
      {950, "\xBA\x7E", TEXT("\u6F22")},
      {CP_UTF8, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x96\xA8", TEXT("a\u00E4\u20AC\U0001F5A8")},
      {CP_ACP, "\x93", TEXT("\u201C")},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToWide(c.code_page, c.bytes), c.text) << c.code_page;
    EXPECT_EQ(ToBytes(c.code_page, c.text), c.bytes) << c.code_page;
  }
  // Two pairs for one character: the first is written.
  EXPECT_EQ(ToBytes(932, ToWide(932, "\xEE\xEF")), "\xFA\x40");
}

TEST(CodePagePortableTest, InvalidBytes) {
  struct Case {
    UINT code_page;
    std::string_view bytes;
    const WCHAR* text;
  };
  const Case cases[] = {
      {CP_UTF8, "a\x80z", TEXT("a\uFFFDz")},       {CP_UTF8, "\xC0\xAF", TEXT("\uFFFD\uFFFD")},
      {CP_UTF8, "\xE2\x82", TEXT("\uFFFD")},       {CP_UTF8, "\xE2\x82z", TEXT("\uFFFDz")},
      {CP_UTF8, "\xF5\x80", TEXT("\uFFFD\uFFFD")}, {932, "\x81", TEXT("\u30FB")},
      {932, "\x85\x40z", TEXT("\u30FBz")},         {949, "\xC9\xA0", TEXT("?")},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToWide(c.code_page, c.bytes), c.text) << c.code_page;
    WCHAR buffer[8];
    EXPECT_EQ(MultiByteToWideChar(c.code_page, MB_ERR_INVALID_CHARS, c.bytes.data(),
                                  static_cast<int>(c.bytes.size()), buffer, 8),
              0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
  }
  EXPECT_EQ(ToBytes(CP_UTF8, TEXT("a\xD800z")), "a\xEF\xBF\xBDz");
}

TEST(CodePagePortableTest, DefaultCharacter) {
  BOOL used = 7;
  char bytes[8] = {};
  EXPECT_EQ(WideCharToMultiByte(1252, 0, TEXT("\u4E2D"), 1, bytes, 8, nullptr, &used), 1);
  EXPECT_EQ(bytes[0], '?');
  EXPECT_EQ(used, TRUE);
  EXPECT_EQ(
      WideCharToMultiByte(1252, WC_NO_BEST_FIT_CHARS, TEXT("\u20AC"), 1, bytes, 8, "_", &used), 1);
  EXPECT_EQ(used, FALSE);
  EXPECT_EQ(WideCharToMultiByte(1252, 0, TEXT("\u4E2D"), 1, bytes, 8, "_", nullptr), 1);
  EXPECT_EQ(bytes[0], '_');
}

TEST(CodePagePortableTest, BufferRules) {
  WCHAR wide[8];
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, nullptr, 0), 4);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, wide, 4), 4);
  EXPECT_EQ(wide[3], 0);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, wide, 3), 3);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, wide, 3), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  char bytes[8] = "#######";
  EXPECT_EQ(WideCharToMultiByte(932, 0, TEXT("a\u6F22"), -1, nullptr, 0, nullptr, nullptr), 4);
  EXPECT_EQ(WideCharToMultiByte(932, 0, TEXT("a\u6F22"), -1, bytes, 2, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(bytes[2], '#');

  struct Refused {
    UINT code_page;
    DWORD flags;
    int length;
    int capacity;
    DWORD error;
  };
  for (const Refused& r : {Refused{1252, 0, 0, 8, ERROR_INVALID_PARAMETER},
                           Refused{1252, 0, 1, -1, ERROR_INVALID_PARAMETER},
                           Refused{4711, 0, 1, 8, ERROR_INVALID_PARAMETER},
                           Refused{1252, 0x40000000, 1, 8, ERROR_INVALID_FLAGS}}) {
    EXPECT_EQ(MultiByteToWideChar(r.code_page, r.flags, "a", r.length, wide, r.capacity), 0);
    EXPECT_EQ(GetLastError(), r.error);
    EXPECT_EQ(WideCharToMultiByte(r.code_page, r.flags, TEXT("a"), r.length, bytes, r.capacity,
                                  nullptr, nullptr),
              0);
    EXPECT_EQ(GetLastError(), r.error);
  }
}

TEST(CodePagePortableTest, LeadBytes) {
  const auto leads = [](UINT page) {
    int count = 0;
    for (int byte = 0; byte < 256; ++byte) count += IsDBCSLeadByteEx(page, static_cast<BYTE>(byte));
    return count;
  };
  EXPECT_EQ(leads(932), 31 + 29);
  EXPECT_EQ(leads(936), 126);
  EXPECT_EQ(leads(1252), 0);
  EXPECT_EQ(leads(CP_UTF8), 0);
}

TEST(CodePagePortableTest, CaseOfStringsAndSingleCharacters) {
  // The last four have no capital that would lead back.
  WCHAR text[] = TEXT("aZ\u00E4\u0451\u00DF\u0131\u017F\u00B5\u03C2");
  EXPECT_EQ(WideView(CharUpperW(text)), TEXT("AZ\u00C4\u0401\u00DF\u0131\u017F\u00B5\u03C2"));
  EXPECT_EQ(WideView(CharLowerW(text)), TEXT("az\u00E4\u0451\u00DF\u0131\u017F\u00B5\u03C2"));
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(CharUpperW(MAKEINTRESOURCEW(TEXT('\u00E9')))), 0xC9u);
}

}  // namespace
