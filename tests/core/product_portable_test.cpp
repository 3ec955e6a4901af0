#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "runtime/core/product.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// The version and the flags of a row, by which it is found.
std::string Row(DWORD code) {
  const ProductKind* kind = FindProductKind(code);
  if (kind == nullptr) return "";
  EXPECT_EQ(kind->code, code);
  return std::string(kind->family == 0   ? "Folvane "
                     : kind->family == 1 ? "Docklane "
                                         : "?") +
         std::to_string(kind->version) + " " + std::to_string(kind->flags);
}

TEST(ProductKindTest, EveryKindHasItsRow) {
  const LPCWSTR kThird[] = {TEXT("English"), TEXT("German"),    TEXT("Japanese"), TEXT("Korean"),
                            TEXT("Swedish"), TEXT("Turkish"),   TEXT("Italian"),  TEXT("Danish"),
                            TEXT("Dutch"),   TEXT("Portuguese")};
  const LPCWSTR kFourth[] = {TEXT("English"),   TEXT("German"),  TEXT("French"),  TEXT("Japanese"),
                             TEXT("Russian"),   TEXT("Swedish"), TEXT("Danish"),  TEXT("Dutch"),
                             TEXT("Turkish"),   TEXT("Korean"),  TEXT("Spanish"), TEXT("Czech"),
                             TEXT("Slovakian"), TEXT("Italian")};
  std::map<DWORD, std::string> rows = {
      {98, "Folvane 5 0"},   {101, "Folvane 6 0"},  {106, "Folvane 7 0"},  {109, "Folvane 8 0"},
      {96, "Docklane 1 2"},  {97, "Docklane 1 3"},  {99, "Docklane 2 0"},  {100, "Docklane 2 1"},
      {102, "Docklane 3 0"}, {103, "Docklane 3 1"}, {104, "Docklane 4 0"}, {105, "Docklane 4 1"},
      {107, "Docklane 5 0"}, {108, "Docklane 5 1"}};
  const auto named = [&](DWORD code, const std::string& row, LPCWSTR start, LPCWSTR language) {
    rows[code] = row;
    const std::basic_string<WCHAR> name = std::basic_string<WCHAR>(start) + language + TEXT(")");
    for (const BOOL withVersion : {FALSE, TRUE}) {
      WCHAR text[128];
      EXPECT_EQ(GetProductDisplayName(*FindProductKind(code), text, 128, withVersion), 'F');
      EXPECT_EQ(WideView(text), name);
    }
    EXPECT_EQ(ParseProductName(name.c_str()), FindProductKind(code));
  };
  for (DWORD i = 0; i < std::size(kThird); ++i)
    named(62 + i, "Folvane 3 2", TEXT("Folvane 3 Basic ("), kThird[i]);
  for (DWORD i = 0; i < std::size(kFourth); ++i)
    named(80 + i, "Folvane 4 2", TEXT("Folvane 4 Basic ("), kFourth[i]);
  for (DWORD code = 0; code < 300; ++code) EXPECT_EQ(Row(code), rows[code]) << code;
}

TEST(ProductKindTest, ShortNamesKnowTheVersionsThatHaveThem) {
  const struct {
    std::vector<LPCWSTR> before;
    LPCWSTR after;
    int codes[10];  // by version
  } kNames[] = {
      {{TEXT("kv"), TEXT("FOLVANE"), TEXT("folvn")}, TEXT(""), {0, 0, 0, 0, 0, 98, 101, 106, 109}},
      {{TEXT("dk"), TEXT("dkl"), TEXT("Dockln"), TEXT("docklane")},
       TEXT(""),
       {0, 0, 99, 102, 104, 107}},
      {{TEXT("dk"), TEXT("dkl"), TEXT("dockln"), TEXT("docklane")},
       TEXT("Pro"),
       {0, 0, 100, 103, 105, 108}},
  };
  for (const auto& names : kNames) {
    for (const LPCWSTR before : names.before) {
      for (int version = 0; version < 10; ++version) {
        const WCHAR digit[] = {static_cast<WCHAR>('0' + version), 0};
        const auto name = std::basic_string<WCHAR>(before) + digit + names.after;
        const ProductKind* kind = ParseProductName(name.c_str());
        EXPECT_EQ(kind == nullptr ? 0 : kind->code, names.codes[version]) << version;
      }
    }
  }
  EXPECT_EQ(FindProductKindByVersion(1, 1, 0)->code, 96);
  EXPECT_EQ(FindProductKindByVersion(1, 1, 1)->code, 97);
  EXPECT_EQ(FindProductKindByVersion(0, 8, 1), nullptr);
}

TEST(ProductKindTest, NamesThatPeopleTypeFindTheirRow) {
  const struct {
    LPCWSTR text;
    int code;  // 0: none
  } kCases[] = {
      {TEXT("109"), 109},
      {TEXT("062"), 62},
      {TEXT("FOLVANE 8"), 109},
      {TEXT("Folvane"), 0},
      {TEXT("Docklane 1"), 96},
      {TEXT("Docklane Pro 1"), 97},
      {TEXT("109/"), 0},
      {TEXT("109:"), 0},
      {TEXT("/109"), 0},
      {TEXT("0"), 0},
      {TEXT(""), 0},
      {nullptr, 0},
      {TEXT("99999999999999"), 0},
  };
  for (const auto& c : kCases) {
    const ProductKind* kind = ParseProductName(c.text);
    EXPECT_EQ(kind == nullptr ? 0 : kind->code, c.code) << (&c - kCases);
  }
}

TEST(ProductKindTest, EveryNameFitsATitle) {
  // The dispatcher's title has 39 characters, " Dispatcher" among them.
  for (DWORD code = 1; code < 256; ++code) {
    WCHAR name[128] = {};
    if (const ProductKind* kind = FindProductKind(code))
      GetProductDisplayName(*kind, name, 128, TRUE);
    EXPECT_LE(WideView(name).size(), 39u - 11) << code;
  }
}

TEST(ProductKindTest, NamesFollowFamilyVersionAndCapacity) {
  WCHAR text[128];
  const auto display = [&](int code, BOOL withVersion, int capacity = 128) {
    GetProductDisplayName(*FindProductKind(code), text, capacity, withVersion);
    return WideView(text);
  };
  EXPECT_EQ(display(109, FALSE), TEXT("Folvane"));
  EXPECT_EQ(display(109, TRUE), TEXT("Folvane 8"));
  EXPECT_EQ(display(108, TRUE), TEXT("Docklane Pro 5"));
  EXPECT_EQ(display(107, TRUE), TEXT("Docklane 5"));
  EXPECT_EQ(display(109, TRUE, 10), TEXT("Folvane 8"));
  EXPECT_EQ(display(109, TRUE, 4), TEXT("Fol"));
  EXPECT_EQ(display(81, FALSE, 4), TEXT("Fol"));
  EXPECT_EQ(GetProductRegistryRoot(*FindProductKind(109), text, 128), 'S');
  EXPECT_EQ(WideView(text), TEXT("Software\\Veltmoor Software\\Folvane8"));
  GetProductRegistryRoot(*FindProductKind(105), text, 128);
  EXPECT_EQ(WideView(text), TEXT("Software\\Veltmoor Software\\Docklane4"));
  GetDispatcherObjectName(*FindProductKind(105), text, 128);
  EXPECT_EQ(WideView(text), TEXT("KVP4_Dispatcher"));
  EXPECT_EQ(GetDispatcherObjectName(*FindProductKind(109), text, 15), 'K');
  EXPECT_EQ(WideView(text), TEXT("KV8_Dispatcher"));
  EXPECT_EQ(GetDispatcherObjectName(*FindProductKind(109), text, 14), 0)
      << "half a name would be another name";
  EXPECT_EQ(WideView(text), TEXT(""));
  for (const auto name : {GetDispatcherObjectName, GetProductRegistryRoot}) {
    text[0] = 'x';
    EXPECT_EQ(name(*FindProductKind(109), text, 1), 0);
    EXPECT_EQ(text[0], 0);
  }
  text[0] = 'x';
  EXPECT_EQ(GetProductDisplayName(*FindProductKind(109), text, 1, TRUE), 0);
  EXPECT_EQ(text[0], 0);
  text[0] = 'x';
  EXPECT_EQ(GetDispatcherObjectName(*FindProductKind(109), text, 0), 0);
  EXPECT_EQ(GetProductDisplayName(*FindProductKind(109), text, 0, TRUE), 0);
  EXPECT_EQ(text[0], 'x') << "there is no room at all";
  const ProductKind unknown = {1, 2, 3, 0, nullptr};
  EXPECT_EQ(GetProductDisplayName(unknown, text, 128, TRUE), 0);
  EXPECT_EQ(GetProductRegistryRoot(unknown, text, 128), 0);
}

}  // namespace
}  // namespace kv
