#include <gtest/gtest.h>

#include "runtime/core/product.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

TEST(ProductKindTest, NamesThatPeopleTypeFindTheirRow) {
  const struct {
    LPCWSTR text;
    int code;  // 0: none
  } kCases[] = {
      {TEXT("FOLVANE8"), 109},
      {TEXT("kv8"), 109},
      {TEXT("109"), 109},
      {TEXT("Folvane 8"), 109},
      {TEXT("folvn5"), 98},
      {TEXT("kv9"), 0},
      {TEXT("kv4"), 0},
      {TEXT("dk5pro"), 108},
      {TEXT("DK5"), 107},
      {TEXT("docklane1"), 0},
      {TEXT("Docklane 1"), 96},
      {TEXT("Docklane Pro 1"), 97},
      {TEXT("dockln2Pro"), 100},
      {TEXT("dk9"), 0},
      {TEXT("8x"), 0},
      {TEXT(""), 0},
      {nullptr, 0},
      {TEXT("0"), 0},
      {TEXT("062"), 62},
      {TEXT("99999999999999"), 0},
      {TEXT("Folvane"), 0},
  };
  for (const auto& c : kCases) {
    const ProductKind* kind = ParseProductName(c.text);
    EXPECT_EQ(kind == nullptr ? 0 : kind->code, c.code)
        << (c.text == nullptr ? "null" : "case ") << (&c - kCases);
  }
  EXPECT_EQ(FindProductKindByVersion(kFamilyDocklane, 1, 0)->code, 96);
  EXPECT_EQ(FindProductKindByVersion(kFamilyDocklane, 1, kProEdition)->code, 97);
}

TEST(ProductKindTest, EveryRowCanBeNamedByItsOwnDisplayNameWhichFitsATitle) {
  // The dispatcher's title has 39 characters, " Dispatcher" among them.
  constexpr size_t kLongestName = 39 - 11;
  for (DWORD code = 1; code < 256; ++code) {
    const ProductKind* kind = FindProductKind(code);
    if (kind == nullptr) continue;
    WCHAR name[128];
    ASSERT_NE(GetProductDisplayName(*kind, name, 128, TRUE), 0) << code;
    EXPECT_EQ(ParseProductName(name), kind) << code;
    EXPECT_LE(WideView(name).size(), kLongestName) << code;
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
  EXPECT_EQ(display(109, TRUE, 4), TEXT("Fol"));
  EXPECT_EQ(display(81, TRUE), display(81, FALSE)) << "a fixed name has no version of its own";
  GetProductRegistryRoot(*FindProductKind(105), text, 128);
  EXPECT_EQ(WideView(text), TEXT("Software\\Veltmoor Software\\Docklane4"));
  GetDispatcherObjectName(*FindProductKind(105), text, 128);
  EXPECT_EQ(WideView(text), TEXT("KVP4_Dispatcher"));
  GetDispatcherObjectName(*FindProductKind(109), text, 128);
  EXPECT_EQ(WideView(text), TEXT("KV8_Dispatcher"));
  EXPECT_EQ(GetDispatcherObjectName(*FindProductKind(109), text, 14), 0)
      << "half a name would be another name";
  const ProductKind unknown = {1, 2, 3, 0, nullptr};
  EXPECT_EQ(GetProductDisplayName(unknown, text, 128, TRUE), 0);
  EXPECT_EQ(GetProductRegistryRoot(unknown, text, 128), 0);
}

}  // namespace
}  // namespace kv
