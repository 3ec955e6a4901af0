// RegKey on a key of the test's own below HKEY_CURRENT_USER.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "runtime/registry/delete_key.h"
#include "runtime/registry/expand_environment.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"
#include "tests/registry/error_of.h"

namespace kv {
namespace {

using test::ErrorOf;

using WideString = std::basic_string<WCHAR>;
using Bytes = std::vector<BYTE>;

constexpr const WCHAR* kRoot = TEXT("Software\\KvRegKeyTest");

class RegKeyPortableTest : public testing::Test {
 protected:
  void SetUp() override {
    MyDeleteKeyW(HKEY_CURRENT_USER, kRoot);
    ASSERT_TRUE(key_.Create(HKEY_CURRENT_USER, TEXT("%s"), kRoot));
  }
  void TearDown() override {
    key_.Close();
    EXPECT_TRUE(MyDeleteKeyW(HKEY_CURRENT_USER, kRoot));
  }
  void SetRaw(LPCWSTR name, DWORD type, Bytes data) {
    const DWORD size = static_cast<DWORD>(data.size());
    // Some systems also store a terminator that happens to follow.
    data.insert(data.end(), 2, 0xEE);
    ASSERT_EQ(RegSetValueExW(key_.handle(), name, 0, type, data.data(), size), ERROR_SUCCESS);
    ASSERT_TRUE(key_.Refresh());
  }
  static bool Exists(const WideString& path) {
    return RegKey().Open(HKEY_CURRENT_USER, TEXT("%s"), path.c_str());
  }
  // "name:type=bytes " for every value, then the names of the sub-keys.
  static WideString Content(RegKey& key) {
    // The system lists them in any order.
    std::set<WideString> values, keys;
    const BYTE* data;
    DWORD type, size;
    for (LPCWSTR name = key.FirstValue(&data, &type, &size); name != nullptr;
         name = key.NextValue(&data, &type, &size)) {
      WideString value = WideString(name) + TEXT(":") + static_cast<WCHAR>('0' + type) + TEXT("=");
      for (DWORD i = 0; i < size; ++i) value += static_cast<WCHAR>(data[i] == 0 ? '.' : data[i]);
      values.insert(value);
    }
    for (LPCWSTR name = key.FirstSubKey(); name != nullptr; name = key.NextSubKey())
      keys.insert(name);
    WideString content;
    for (const auto& items : {values, keys}) {
      for (const WideString& item : items) content += item + TEXT(" ");
    }
    return content;
  }
  WideString Content(LPCWSTR subKey) {
    RegKey key;
    EXPECT_TRUE(key.OpenKey(KEY_READ, key_.handle(), subKey));
    return Content(key);
  }

  RegKey key_;
};

TEST_F(RegKeyPortableTest, EachReaderTakesItsOwnTypesAndEndsWhatWasStoredWithoutAnEnd) {
  const struct {
    DWORD type;
    Bytes data;
    LPCWSTR text;  // null: no text
    DWORD number;  // 99: none
  } kCases[] = {
      {REG_SZ, {'a', 0, 'b', 0, 0, 0}, TEXT("ab"), 99},
      {REG_SZ, {'a', 0, 'b', 0}, TEXT("ab"), 99},
      {REG_SZ, {'a', 0, 'b'}, TEXT("a"), 99},
      {REG_SZ, {'a'}, TEXT(""), 99},
      {REG_SZ, {}, TEXT(""), 99},
      {REG_EXPAND_SZ, {'%', 0, 'a', 0, '%', 0, 0, 0}, TEXT("%a%"), 99},
      {REG_DWORD, {4, 3, 2, 1}, nullptr, 0x01020304},
      {REG_DWORD, {4, 3}, nullptr, 0x0304},
      {REG_DWORD, {}, nullptr, 0},
      {REG_BINARY, {4, 3, 2, 1}, nullptr, 99},
      {REG_MULTI_SZ, {'a', 0, 'b', 0, 'c'}, nullptr, 99},
      {77, {'a', 0, 0, 0}, nullptr, 99},
  };
  // Long rests of other values must not show through.
  SetRaw(TEXT("rest"), REG_BINARY, Bytes(40, 0xEE));
  for (const auto& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    SetRaw(TEXT("v"), c.type, c.data);
    const BYTE* data;
    DWORD type, size;
    ASSERT_TRUE(key_.QueryValue(TEXT("rest")));
    ASSERT_TRUE(key_.QueryValue(TEXT("v"), &data, &type, &size));
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(Bytes(data, data + size), c.data);
    key_.QueryValue(TEXT("rest"));
    const LPCWSTR text = key_.GetString(TEXT("v"));
    ASSERT_EQ(text != nullptr, c.text != nullptr);
    EXPECT_EQ(View(text), View(c.text));
    key_.QueryValue(TEXT("rest"));
    EXPECT_EQ(key_.GetDword(TEXT("v"), 99), c.number);
    EXPECT_EQ(key_.GetBinary(TEXT("v"), &data, &size), c.type == REG_BINARY);
    EXPECT_EQ(size, c.type == REG_BINARY ? c.data.size() : 0u);
    EXPECT_EQ(data != nullptr, c.type == REG_BINARY);
    EXPECT_EQ(key_.GetValueType(TEXT("v"), 0), c.type);
    EXPECT_EQ(key_.GetValueType(TEXT("v"), REG_BINARY), c.type == REG_BINARY ? REG_BINARY : 0u);
    WCHAR buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(key_.ReadString(TEXT("v"), buffer, 4, Expand::kNo),
              static_cast<int>(View(c.text).size()));
    EXPECT_EQ(WideView(buffer), View(c.text));
    BYTE bytes[5] = {};
    EXPECT_EQ(key_.ReadBinary(TEXT("v"), bytes, 5), c.type == REG_BINARY);
    EXPECT_TRUE(c.type != REG_BINARY || Bytes(bytes, bytes + 4) == c.data);
    EXPECT_FALSE(key_.ReadBinary(TEXT("v"), bytes, 3) && c.data.size() > 3);
  }
  const BYTE some = 1, *data = &some;
  DWORD type = 1, size = 1;
  EXPECT_FALSE(key_.QueryValue(TEXT("none"), &data, &type, &size));
  EXPECT_TRUE(data == nullptr && type == 0 && size == 0);
  SetRaw(TEXT("v"), REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 'c'});
  const LPCWSTR strings = key_.GetMultiString(TEXT("v"), &size);
  ASSERT_NE(strings, nullptr);
  EXPECT_EQ(WideView(strings, 5), WideView(TEXT("a\0b\0"), 5));
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(key_.GetMultiString(TEXT("none"), &size), nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(View(key_.GetString(TEXT("none"), TEXT("otherwise"))), TEXT("otherwise"));
}

TEST_F(RegKeyPortableTest, AStringReadIntoTheCallersBufferFitsWholeOrNotAtAll) {
  key_.SetSz(TEXT("ended"), TEXT("abc"));
  SetRaw(TEXT("open"), REG_SZ, {'a', 0, 'b', 0, 'c', 0});
  for (const LPCWSTR name : {TEXT("ended"), TEXT("open")}) {
    for (int capacity = 0; capacity <= 5; ++capacity) {
      WCHAR buffer[6] = {'#', '#', '#', '#', '#', '#'};
      const bool fits = capacity > 3;
      EXPECT_EQ(key_.ReadString(name, buffer, capacity, Expand::kYes), fits ? 3 : 0) << capacity;
      if (capacity > 0) {
        EXPECT_EQ(WideView(buffer), fits ? TEXT("abc") : TEXT("")) << capacity;
      }
      EXPECT_EQ(buffer[capacity], '#');
    }
  }
  EXPECT_EQ(key_.ReadString(TEXT("ended"), nullptr, 4, Expand::kYes), 0);
  key_.SetDefaultString(TEXT("x"));
  WCHAR buffer[8];
  EXPECT_EQ(key_.ReadDefaultString(buffer, 8, Expand::kNo), 1);
  EXPECT_EQ(View(key_.GetDefaultString()), TEXT("x"));
  key_.SetDefaultString(nullptr);
  EXPECT_EQ(Content(key_), TEXT(":1=.. ended:1=a.b.c... open:1=a.b.c. "));
}

TEST_F(RegKeyPortableTest, ExpansionIsForExpandableTextsAndIsCutToTheBuffer) {
  WCHAR root[MAX_PATH];
  const int length = static_cast<int>(GetWindowsDirectoryW(root, MAX_PATH));
  WCHAR buffer[MAX_PATH];
  const auto read = [&](DWORD type, Expand expand, int capacity) {
    key_.SetString(TEXT("v"), TEXT("%SystemRoot%"), type, DeleteIfEmpty::kNo);
    key_.ReadString(TEXT("v"), buffer, capacity, expand);
    return WideView(buffer);
  };
  EXPECT_EQ(read(REG_SZ, Expand::kYes, MAX_PATH), TEXT("%SystemRoot%"));
  EXPECT_EQ(read(REG_EXPAND_SZ, Expand::kNo, MAX_PATH), TEXT("%SystemRoot%"));
  EXPECT_TRUE(EqualNoCase(read(REG_EXPAND_SZ, Expand::kYes, MAX_PATH), root));

  const WideString twice = TEXT("%none%%SystemRoot%%SystemRoot%");
  twice.copy(buffer, twice.size());
  buffer[twice.size()] = 0;
  EXPECT_TRUE(ExpandInPlace(buffer, MAX_PATH));
  EXPECT_TRUE(EqualNoCase(buffer, WideString(TEXT("%none%")) + root + root));
  twice.copy(buffer, twice.size());
  buffer[twice.size()] = 0;
  EXPECT_TRUE(ExpandInPlace(buffer, length));
  EXPECT_EQ(View(buffer).size(), static_cast<size_t>(length) - 1);
  buffer[0] = 0;
  EXPECT_FALSE(ExpandInPlace(buffer, MAX_PATH));
}

TEST_F(RegKeyPortableTest, EmptyAndNullTextsDeleteWhereTheyShould) {
  key_.SetSz(TEXT("a"), TEXT("x"));
  EXPECT_TRUE(key_.SetString(TEXT("a"), TEXT(""), REG_EXPAND_SZ, DeleteIfEmpty::kNo));
  EXPECT_EQ(key_.valueCount(), 1u);
  EXPECT_EQ(Content(key_), TEXT("a:2=.. "));
  EXPECT_TRUE(key_.SetSz(TEXT("a"), TEXT("")));
  EXPECT_EQ(key_.valueCount(), 0u);
  EXPECT_FALSE(key_.SetSz(TEXT("a"), nullptr)) << "there is none to delete";
  EXPECT_TRUE(key_.SetMultiString(TEXT("m"), TEXT("ab\0c\0")));
  EXPECT_EQ(Content(key_), TEXT("m:7=a.b...c..... "));
  EXPECT_TRUE(key_.SetMultiString(TEXT("m"), TEXT("ab\0c\0"), 6));
  EXPECT_TRUE(key_.SetBinary(TEXT("b"), "xyz", 2));
  EXPECT_TRUE(key_.SetDword(TEXT("d"), 'w'));
  EXPECT_EQ(Content(key_), TEXT("b:3=xy d:4=w... m:7=a.b... "));
  for (const LPCWSTR strings : {TEXT(""), static_cast<LPCWSTR>(nullptr)}) {
    key_.SetSz(TEXT("m"), TEXT("x"));
    EXPECT_TRUE(key_.SetMultiString(TEXT("m"), strings));
    EXPECT_EQ(key_.valueCount(), 2u);
  }
}

TEST_F(RegKeyPortableTest, WalksGoBothWaysAndFindTheirTypes) {
  const Bytes other = {1};
  SetRaw(TEXT("a1"), REG_BINARY, other);
  key_.SetSz(TEXT("b1"), TEXT("one"));
  key_.SetDword(TEXT("c1"), 1);
  key_.SetString(TEXT("d1"), TEXT("%x%"), REG_EXPAND_SZ, DeleteIfEmpty::kNo);
  key_.SetDword(TEXT("e1"), 2);
  SetRaw(TEXT("f1"), REG_SZ, {'t', 0, 'w'});

  DWORD number = 7;
  LPCWSTR text;
  EXPECT_EQ(View(key_.FindFirstDword(&number)), TEXT("c1"));
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(View(key_.FindNextDword(&number)), TEXT("e1"));
  EXPECT_EQ(number, 2u);
  EXPECT_EQ(key_.FindNextDword(&number), nullptr);
  EXPECT_EQ(number, 2u) << "nothing was found";
  EXPECT_EQ(View(key_.FindLastDword(nullptr)), TEXT("e1"));
  EXPECT_EQ(View(key_.FindPrevDword(&number)), TEXT("c1"));
  EXPECT_EQ(number, 1u);
  EXPECT_EQ(key_.FindPrevDword(&number), nullptr);
  EXPECT_EQ(View(key_.FindFirstString(&text)), TEXT("b1"));
  EXPECT_EQ(View(key_.FindNextString(&text)), TEXT("f1"));
  EXPECT_EQ(View(text), TEXT("t")) << "half a character is none";
  EXPECT_EQ(key_.FindNextString(&text), nullptr);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(View(key_.FindLastString(&text)), TEXT("f1"));
  EXPECT_EQ(View(key_.FindPrevString(&text)), TEXT("b1"));
  EXPECT_EQ(View(key_.LastValue()), TEXT("f1"));
  EXPECT_EQ(View(key_.PrevValue()), TEXT("e1"));
  EXPECT_EQ(View(key_.ValueAt(0)), TEXT("a1"));
  EXPECT_EQ(View(key_.NextValue()), TEXT("f1")) << "a look at one place is no step";
  const BYTE* data = other.data();
  DWORD type = 1, size = 1;
  EXPECT_EQ(key_.NextValue(&data, &type, &size), nullptr);
  EXPECT_TRUE(data == nullptr && type == 0 && size == 0);
  EXPECT_EQ(View(key_.PrevValue()), TEXT("f1")) << "on from behind the end";
  EXPECT_EQ(key_.ValueAt(-1), nullptr);

  RegKey child;
  for (const LPCWSTR name : {TEXT("k1"), TEXT("k2")}) child.Create(key_.handle(), name);
  EXPECT_EQ(key_.SubKeyAt(0), nullptr) << "not known before a refresh";
  EXPECT_EQ(View(key_.LastSubKey()), TEXT("k2"));
  EXPECT_EQ(View(key_.PrevSubKey()), TEXT("k1"));
  EXPECT_EQ(key_.PrevSubKey(), nullptr);
  EXPECT_EQ(View(key_.NextSubKey()), TEXT("k1"));
  EXPECT_TRUE(key_.SubKeyExists(TEXT("K2")));
  EXPECT_FALSE(key_.SubKeyExists(TEXT("k3")));
}

TEST_F(RegKeyPortableTest, NamesOfEveryLengthAreRead) {
  const WideString value(16383, 'v'), subKey(255, 'k');
  EXPECT_TRUE(key_.SetSz(value.c_str(), TEXT("x")));
  EXPECT_FALSE(key_.SetSz((value + TEXT("v")).c_str(), TEXT("x")));
  RegKey child;
  EXPECT_TRUE(child.Create(key_.handle(), subKey.c_str()));
  EXPECT_EQ(View(key_.FirstValue()), value);
  EXPECT_EQ(View(key_.FirstSubKey()), subKey);
}

TEST_F(RegKeyPortableTest, AFormattedPathHasAtMost259Characters) {
  WideString path(kRoot);
  path += TEXT("\\") + WideString(100, 'a') + TEXT("\\");
  path.resize(259, 'b');
  RegKey key;
  EXPECT_TRUE(key.Create(HKEY_CURRENT_USER, TEXT("%s"), path.c_str()));
  EXPECT_EQ(View(key.path()), path);
  EXPECT_TRUE(
      key.Open(HKEY_CURRENT_USER, TEXT("%s%s"), path.substr(0, 9).c_str(), path.c_str() + 9));
  EXPECT_EQ(ErrorOf([&] { return key.Create(HKEY_CURRENT_USER, TEXT("%sb"), path.c_str()); }),
            DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_FALSE(key.IsOpen());
  EXPECT_FALSE(key.Open(HKEY_CURRENT_USER, TEXT("%s\\"), path.c_str())) << "cut, it would exist";
  // The literal forms know no such limit and no formats.
  path += TEXT("%s");
  EXPECT_TRUE(key.CreateKey(KEY_READ, HKEY_CURRENT_USER, path.c_str()));
  EXPECT_EQ(View(key.path()), path);
}

TEST_F(RegKeyPortableTest, ClosingDeletesAsAsked) {
  const WideString path = WideString(kRoot) + TEXT("\\a");
  const struct {
    Disposal disposal;
    LPCWSTR content;  // null: empty
    bool stays;
  } kCases[] = {
      {Disposal::kKeep, nullptr, true},           {Disposal::kDelete, TEXT("sub\\deep"), false},
      {Disposal::kDeleteIfEmpty, nullptr, false}, {Disposal::kDeleteIfEmpty, TEXT("sub"), true},
      {Disposal::kDeleteIfEmpty, TEXT(""), true}, {static_cast<Disposal>(3), nullptr, true},
      {static_cast<Disposal>(-1), nullptr, true},
  };
  for (const auto& c : kCases) {
    RegKey key, content;
    ASSERT_TRUE(key.Create(HKEY_CURRENT_USER, TEXT("%s"), path.c_str()));
    // Made behind the key's back, it counts all the same; "" is a value.
    if (c.content != nullptr) content.CreateKey(KEY_ALL_ACCESS, key.handle(), c.content);
    if (c.content != nullptr && c.content[0] == 0) content.SetDword(TEXT("v"), 1);
    key.Close(c.disposal);
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(Exists(path), c.stays) << &c - kCases;
    EXPECT_TRUE((key.path() != nullptr) == c.stays && (key.parent() != nullptr) == c.stays);
    key.Close(Disposal::kDelete);
    EXPECT_EQ(Exists(path), c.stays) << "nothing is open";
    content.Close();
    MyDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
  }
  RegKey key;
  key.Create(HKEY_CURRENT_USER, TEXT("%s"), path.c_str());
  const HKEY taken = key.Detach();
  key.Close(Disposal::kDelete);
  ASSERT_TRUE(key.Attach(taken));
  EXPECT_TRUE(key.path() == nullptr && key.parent() == nullptr);
  EXPECT_TRUE(key.Attach(key.handle()) && key.SetDword(TEXT("v"), 1));
  key.Close(Disposal::kDelete);
  EXPECT_TRUE(Exists(path)) << "an attached key has no known place";
  EXPECT_FALSE(key.Attach(reinterpret_cast<HKEY>(0x12345678)));
  EXPECT_EQ(key.Detach(), nullptr);
  // A root stays a parent, whoever holds it.
  ASSERT_TRUE(key.Attach(HKEY_CURRENT_USER) && key.Open(HKEY_CURRENT_USER, kRoot));
  EXPECT_EQ(key.parent(), HKEY_CURRENT_USER);
}

TEST_F(RegKeyPortableTest, ValuesAreCopiedMovedAndRenamedWhole) {
  RegKey target;
  ASSERT_TRUE(target.Create(key_.handle(), TEXT("target")));
  SetRaw(TEXT("odd"), REG_SZ, {'a', 0, 'b'});
  SetRaw(TEXT("strange"), 77, {'1', '2', '3', '4', '5'});
  EXPECT_TRUE(target.CopyValueFrom(key_, TEXT("odd")));
  EXPECT_FALSE(target.CopyValueFrom(key_, TEXT("none")));
  EXPECT_TRUE(target.MoveValueFrom(key_, TEXT("strange"), TEXT("unmoved")));
  EXPECT_TRUE(target.valueCount() == 2 && key_.valueCount() == 1);
  EXPECT_EQ(Content(target), TEXT("odd:1=a.b unmoved:}=12345 "));
  EXPECT_EQ(Content(key_), TEXT("odd:1=a.b target "));
  // A name of the key's own, which a larger buffer will replace.
  const WideString longer(300, 'n');
  EXPECT_TRUE(key_.RenameValue(key_.FirstValue(), longer.c_str()));
  EXPECT_EQ(View(key_.FirstValue()), longer);
  EXPECT_TRUE(key_.RenameValue(longer.c_str(), WideString(300, 'N').c_str()));
  EXPECT_FALSE(key_.RenameValue(TEXT("none"), TEXT("x")));
  EXPECT_EQ(Content(key_), longer + TEXT(":1=a.b target ")) << "the same name in other letters";
}

// Each of the key's own texts is gone once the operation has read a value or grown a buffer.
TEST_F(RegKeyPortableTest, ArgumentsMayBeTheKeysOwnTexts) {
  const WideString longName(300, 'n');
  for (const WideString& pointed : {WideString(TEXT("x")), longName}) {
    RegKey source, target, path;
    ASSERT_TRUE(source.Create(key_.handle(), TEXT("source")));
    ASSERT_TRUE(target.Create(key_.handle(), TEXT("target")));
    const auto fill = [&] {
      source.SetSz(TEXT("which"), pointed.c_str());
      source.SetSz(pointed.c_str(), TEXT("victim"));
      source.SetSz(TEXT("victim"), TEXT("something else"));
    };
    fill();
    EXPECT_EQ(View(source.GetString(source.GetString(TEXT("which")))), TEXT("victim"));
    EXPECT_TRUE(target.CopyValueFrom(source, source.GetString(TEXT("which"))));
    EXPECT_EQ(View(target.GetString(pointed.c_str())), TEXT("victim"));
    EXPECT_TRUE(target.MoveValueFrom(source, source.GetString(TEXT("which")), nullptr));
    EXPECT_EQ(source.valueCount(), 2u);
    EXPECT_EQ(View(source.GetString(TEXT("victim"))), TEXT("something else"));
    fill();
    EXPECT_TRUE(source.RenameValue(source.GetString(TEXT("which")), TEXT("y")));
    EXPECT_EQ(View(source.GetString(TEXT("y"))), TEXT("victim"));
    EXPECT_EQ(View(source.GetString(TEXT("victim"))), TEXT("something else"));
    EXPECT_TRUE(source.RenameValue(TEXT("y"), source.GetString(TEXT("which"))));
    EXPECT_EQ(View(source.GetString(pointed.c_str())), TEXT("victim"));
    EXPECT_EQ(source.valueCount(), 3u);

    source.SetDword(TEXT("number"), 5);
    EXPECT_EQ(View(source.GetString(TEXT("none"), source.GetString(TEXT("which")))), pointed);
    EXPECT_EQ(View(source.GetString(TEXT("number"), source.GetString(TEXT("which")))), pointed);
    // The buffers grow, which makes them others.
    EXPECT_TRUE(source.SetSz(source.GetString(TEXT("which")), WideString(900, 'v').c_str()));
    EXPECT_EQ(View(source.GetString(pointed.c_str())).size(), 900u);
    EXPECT_TRUE(source.DeleteValue(source.GetString(TEXT("which"))));
    EXPECT_EQ(source.GetValueType(pointed.c_str(), 0), 0u);

    EXPECT_TRUE(path.OpenKey(KEY_READ, key_.handle(), TEXT("source")));
    EXPECT_TRUE(path.OpenKey(KEY_READ, path.parent(), path.path()));
    EXPECT_EQ(View(path.path()), TEXT("source"));
    source.Close(Disposal::kDelete);
    target.Close(Disposal::kDelete);
  }
  RegKey child;
  child.Create(key_.handle(), TEXT("old"));
  EXPECT_TRUE(key_.SetSz(TEXT("to"), TEXT("new")));
  EXPECT_TRUE(key_.RenameSubKey(key_.FirstSubKey(), key_.GetString(TEXT("to"))));
  EXPECT_EQ(Content(key_), TEXT("to:1=n.e.w... new "));
}

TEST_F(RegKeyPortableTest, AKeyOpensOneBelowItself) {
  RegKey child, key;
  ASSERT_TRUE(child.Create(key_.handle(), TEXT("a\\b")));
  ASSERT_TRUE(key.Open(key_.handle(), TEXT("a")));
  EXPECT_TRUE(key.OpenKey(KEY_READ, key.handle(), TEXT("b")));
  EXPECT_EQ(key.parent(), nullptr) << "which is closed";
  key.Close(Disposal::kDelete);
  EXPECT_EQ(Content(TEXT("a")), TEXT("b ")) << "its place is not known";
  ASSERT_TRUE(key.Open(key_.handle(), TEXT("a")));
  EXPECT_TRUE(key.Create(key.handle(), TEXT("c")));
  EXPECT_EQ(Content(TEXT("a")), TEXT("b c "));
}

// Two objects on the same key are no two keys.
TEST_F(RegKeyPortableTest, AValueMovedOntoItselfStays) {
  RegKey again, other;
  key_.SetSz(TEXT("v"), TEXT("a"));
  key_.SetSz(TEXT("w"), TEXT("d"));
  ASSERT_TRUE(again.OpenRW(HKEY_CURRENT_USER, kRoot) && other.Create(key_.handle(), TEXT("other")));
  EXPECT_TRUE(again.MoveValueFrom(key_, TEXT("v"), nullptr));
  EXPECT_TRUE(again.MoveValueFrom(key_, TEXT("v"), TEXT("V")));
  EXPECT_TRUE(again.MoveValueFrom(key_, TEXT("w"), TEXT("x")));
  EXPECT_TRUE(again.RenameValue(TEXT("x"), nullptr)) << "the unnamed value";
  EXPECT_EQ(Content(key_), TEXT(":1=d... v:1=a... other "));
  EXPECT_TRUE(other.CopyValueFrom(key_, TEXT("v")));
  EXPECT_TRUE(other.MoveValueFrom(key_, TEXT("v"), nullptr)) << "the same value of another key";
  EXPECT_EQ(Content(key_) + Content(other), TEXT(":1=d... other v:1=a... "));
}

TEST_F(RegKeyPortableTest, TreesAreCopiedAndRenamed) {
  RegKey source, child, target;
  ASSERT_TRUE(source.Create(key_.handle(), TEXT("source")));
  ASSERT_TRUE(target.Create(key_.handle(), TEXT("target")));
  EXPECT_EQ(target.CopyTree(source, Recurse::kYes), 1) << "an empty one counts as one";
  source.SetDword(TEXT("a"), '1');
  source.SetDword(TEXT("b"), '2');
  EXPECT_EQ(target.CopyTree(source, Recurse::kYes), 2);
  child.CreateKey(KEY_ALL_ACCESS, source.handle(), TEXT("50%s\\deep"));
  child.SetDword(TEXT("c"), '3');
  source.Refresh();
  EXPECT_EQ(target.CopyTree(source, Recurse::kNo), 2);
  EXPECT_FALSE(target.SubKeyExists(TEXT("50%s")));
  EXPECT_EQ(target.CopyTree(source, Recurse::kYes), 3);
  EXPECT_EQ(Content(TEXT("target\\50%s\\deep")), TEXT("c:4=3... "));
  EXPECT_EQ(ErrorOf([&] { return child.CopyTree(source, Recurse::kYes); }),
            DWORD{ERROR_INVALID_PARAMETER})
      << "into itself";
  EXPECT_EQ(Content(child), TEXT("c:4=3... "));

  const struct {
    LPCWSTR name, newName;
  } kSameOrBelow[] = {
      {TEXT("source"), TEXT("SOURCE")},
      {TEXT("source"), TEXT("source\\50%s")},
      {TEXT("source"), TEXT("")},
      {TEXT("source"), nullptr},
      {TEXT("source"), TEXT("Source\\")},
      {TEXT("source\\\\"), TEXT("source\\new")},
      {TEXT("source\\50%s"), TEXT("source")},
      {TEXT("source\\50%s"), TEXT("source\\\\50%S")},
      {TEXT("source\\\\50%s\\"), TEXT("source\\50%s\\deep\\x")},
  };
  for (const auto& c : kSameOrBelow) {
    EXPECT_EQ(ErrorOf([&] { return key_.RenameSubKey(c.name, c.newName); }),
              DWORD{ERROR_INVALID_PARAMETER})
        << &c - kSameOrBelow;
  }
  EXPECT_FALSE(key_.RenameSubKey(TEXT("none"), TEXT("target")));
  for (const LPCWSTR copy : {TEXT("source"), TEXT("target")})
    EXPECT_EQ(Content(copy), TEXT("a:4=1... b:4=2... 50%s "));

  child.Create(key_.handle(), TEXT("source2"));
  child.SetDword(TEXT("d"), '4');
  EXPECT_EQ(Content(key_), TEXT("source source2 target "));
  EXPECT_TRUE(key_.RenameSubKey(TEXT("source2"), TEXT("target")));
  EXPECT_EQ(key_.subKeyCount(), 2u);
  EXPECT_EQ(Content(key_), TEXT("source target "));
  EXPECT_EQ(Content(TEXT("target")), TEXT("d:4=4... "));
}

TEST_F(RegKeyPortableTest, KeysAreDeletedByTheirWholePathsOnly) {
  RegKey child;
  child.Create(key_.handle(), TEXT("child\\deep"));
  std::string path = "n";
  while (path.size() < 511) path += "\\n";
  EXPECT_TRUE(MyDeleteKeyW(key_.handle(), TEXT("none\\none")));
  EXPECT_TRUE(MyDeleteKeyA(key_.handle(), path.c_str()));
  EXPECT_EQ(ErrorOf([&] { return MyDeleteKeyA(key_.handle(), (path + "n").c_str()); }),
            DWORD{ERROR_INSUFFICIENT_BUFFER});
  const DWORD refused = ERROR_INVALID_PARAMETER;
  for (const HKEY parent : {HKEY_CURRENT_USER, key_.handle()}) {
    for (const LPCWSTR empty : {static_cast<LPCWSTR>(nullptr), TEXT("")}) {
      const LPCSTR narrow = empty == nullptr ? nullptr : "";
      EXPECT_EQ(ErrorOf([&] { return MyDeleteKeyW(parent, empty); }), refused);
      EXPECT_EQ(ErrorOf([&] { return MyDeleteKeyA(parent, narrow); }), refused);
      SetLastError(0);
      EXPECT_EQ(DeleteCopiedKey(parent, empty, nullptr), CopiedKey::kFailed);
      EXPECT_EQ(GetLastError(), refused);
    }
  }
  EXPECT_EQ(Content(key_), TEXT("child "));
  EXPECT_TRUE(MyDeleteKeyA(key_.handle(), "child"));
  EXPECT_EQ(Content(key_), TEXT(""));
}

TEST_F(RegKeyPortableTest, ACopiedKeyIsDeletedAsFarAsItsCopyGoes) {
  // A value "v" of that type and these bytes, the sub-key "s", and another value "w".
  const auto make = [&](LPCWSTR path, DWORD type, Bytes data, bool sub_key, bool other) {
    RegKey made, sub;
    made.Create(key_.handle(), path);
    if (type != 0) RegSetValueExW(made.handle(), TEXT("v"), 0, type, data.data(), data.size());
    if (other) made.SetDword(TEXT("w"), 1);
    if (sub_key) sub.Create(made.handle(), TEXT("s"));
  };
  const struct {
    DWORD type;
    Bytes data;
    bool sub_key, other, gone;
  } kCopies[] = {
      {REG_BINARY, {1, 2}, true, false, true},  {REG_BINARY, {1, 2}, true, true, true},
      {REG_BINARY, {1, 3}, true, false, false}, {REG_BINARY, {1, 2, 3}, true, false, false},
      {REG_SZ, {1, 2}, true, false, false},     {0, {}, true, true, false},
      {REG_BINARY, {1, 2}, false, true, false}};
  for (const auto& c : kCopies) {
    RegKey copy;
    make(TEXT("key"), REG_BINARY, {1, 2}, true, false);
    make(TEXT("copy"), c.type, c.data, c.sub_key, c.other);
    ASSERT_TRUE(copy.Open(key_.handle(), TEXT("copy")));
    EXPECT_EQ(DeleteCopiedKey(key_.handle(), TEXT("key"), copy.handle()),
              c.gone ? CopiedKey::kDeleted : CopiedKey::kNotWhollyCopied)
        << &c - kCopies;
    EXPECT_EQ(key_.SubKeyExists(TEXT("key")), !c.gone) << &c - kCopies;
    EXPECT_EQ(key_.SubKeyExists(TEXT("key\\s")), !c.gone && !c.sub_key) << &c - kCopies;
    MyDeleteKeyW(key_.handle(), TEXT("copy"));
  }
  // Without a copy, only what is empty.
  MyDeleteKeyW(key_.handle(), TEXT("key"));
  for (const DWORD type : {DWORD{REG_BINARY}, DWORD{0}}) {
    for (const bool sub_key : {true, false}) {
      make(TEXT("key"), type, {1}, sub_key, false);
      EXPECT_EQ(DeleteCopiedKey(key_.handle(), TEXT("key"), nullptr),
                type == 0 && !sub_key ? CopiedKey::kDeleted : CopiedKey::kNotWhollyCopied);
      MyDeleteKeyW(key_.handle(), TEXT("key"));
    }
  }
  EXPECT_EQ(DeleteCopiedKey(key_.handle(), TEXT("none"), nullptr), CopiedKey::kDeleted);
}

}  // namespace
}  // namespace kv
