// The registry's rules for callers, on a key of the test's own.
#include <gtest/gtest.h>
#include <windows.h>

#include <string_view>
#include <vector>

#include "tests/support/test_key.h"

namespace {

using kv::test::Key;
using kv::test::SetText;
using kv::test::WideString;
using WideView = std::basic_string_view<WCHAR>;

constexpr const WCHAR* kTestKey = TEXT("Software\\KvPortableTest");

// Leaves nothing behind, also where an earlier run was stopped.
class RegistryPortableTest : public testing::Test {
 protected:
  void SetUp() override { Remove(); }
  void TearDown() override { Remove(); }

 private:
  static void Remove() {
    WCHAR name[256];
    for (;;) {
      DWORD size = 256;
      const Key key = Key::Open(HKEY_CURRENT_USER, kTestKey);
      if (key.status != ERROR_SUCCESS ||
          RegEnumKeyExW(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
        break;
      }
      RegDeleteKeyW(key, name);
    }
    RegDeleteKeyW(HKEY_CURRENT_USER, kTestKey);
  }
};

TEST_F(RegistryPortableTest, ValuesAreHandedOutByTheRulesOfTheirBuffers) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  EXPECT_EQ(key.disposition, DWORD{REG_CREATED_NEW_KEY});
  EXPECT_EQ(Key::Create(HKEY_CURRENT_USER, kTestKey).disposition, DWORD{REG_OPENED_EXISTING_KEY});
  // Stored without a terminator, the text keeps its size. (A null just behind the bytes may be
  // stored with them.)
  const WCHAR text[] = {TEXT('a'), TEXT('b'), TEXT('c')};
  const auto* bytes = reinterpret_cast<const BYTE*>(text);
  ASSERT_EQ(RegSetValueExW(key, TEXT("Name"), 0, REG_SZ, bytes, 4), ERROR_SUCCESS);

  DWORD type = 0, size = 0;
  EXPECT_EQ(RegQueryValueExW(key, TEXT("NAME"), nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, DWORD{REG_SZ});
  EXPECT_EQ(size, 4u);
  WCHAR buffer[2] = {TEXT('x'), TEXT('x')};
  auto* out = reinterpret_cast<BYTE*>(buffer);
  size = 3;
  EXPECT_EQ(RegQueryValueExW(key, TEXT("Name"), nullptr, &type, out, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(buffer[0], TEXT('x'));
  EXPECT_EQ(RegQueryValueExW(key, TEXT("Name"), nullptr, nullptr, out, &size), ERROR_SUCCESS);
  EXPECT_EQ(WideView(buffer, 2), TEXT("ab"));
  EXPECT_EQ(RegQueryValueExW(key, TEXT("Name"), nullptr, nullptr, out, nullptr),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegQueryValueExW(key, nullptr, nullptr, nullptr, nullptr, nullptr),
            ERROR_FILE_NOT_FOUND);

  WCHAR name[5];
  DWORD name_size = 4;
  EXPECT_EQ(RegEnumValueW(key, 0, name, &name_size, nullptr, &type, nullptr, nullptr),
            ERROR_MORE_DATA);
  name_size = 5;
  size = 1;
  EXPECT_EQ(RegEnumValueW(key, 0, name, &name_size, nullptr, &type, out, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 4u);
  name_size = 5;
  EXPECT_EQ(RegEnumValueW(key, 0, name, &name_size, nullptr, nullptr, out, &size), ERROR_SUCCESS);
  EXPECT_EQ(WideView(name), TEXT("Name"));
  EXPECT_EQ(name_size, 4u);
}

TEST_F(RegistryPortableTest, SubKeysAreSortedAndCounted) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  for (const WCHAR* name : {TEXT("beta"), TEXT("Alpha"), TEXT("gamma!"), TEXT("GAMMA")}) {
    EXPECT_EQ(Key::Create(key, name).status, ERROR_SUCCESS);
    SetText(key, name, TEXT("x"));
  }
  SetText(key, TEXT("ALPHA"), TEXT("longer"));
  EXPECT_EQ(RegDeleteValueW(key, TEXT("beta")), ERROR_SUCCESS);

  WideString keys;
  WCHAR name[20];
  DWORD size;
  for (DWORD i = 0; size = 20, RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr,
                                             nullptr) == ERROR_SUCCESS;
       ++i) {
    keys += WideString(name, size) + TEXT(' ');
  }
  EXPECT_EQ(keys, TEXT("Alpha beta GAMMA gamma! "));

  DWORD figures[5] = {};
  EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &figures[0], &figures[1], nullptr,
                             &figures[2], &figures[3], &figures[4], nullptr, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(std::vector(figures, figures + 5), (std::vector<DWORD>{4, 6, 3, 6, 14}));
}

TEST_F(RegistryPortableTest, NamesAndHandlesAreChecked) {
  const Key key = Key::Create(HKEY_CURRENT_USER, kTestKey);
  EXPECT_EQ(SetText(key, WideString(16383, TEXT('v')), TEXT("")), ERROR_SUCCESS);
  EXPECT_EQ(SetText(key, WideString(16384, TEXT('v')), TEXT("")), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Key::Open(key, TEXT("\\x")).status, ERROR_BAD_PATHNAME);
  EXPECT_EQ(Key::Open(reinterpret_cast<HKEY>(0x1234), TEXT("x")).status, ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
}

}  // namespace
