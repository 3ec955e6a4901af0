// Version resources of files.
#include <fstream>

#include "platform/control/pe_writer.h"
#include "tests/support/machine_test.h"

namespace {

using kv::test::WideView;
using platform::HostPath;
using platform::PeWriter;

constexpr LPCWSTR kFile = TEXT("C:\\versioned.dll");
constexpr LPCWSTR kQueries[] = {TEXT("\\"), TEXT("\\VarFileInfo\\Translation"),
                                TEXT("\\StringFileInfo\\040904b0\\ProductName"),
                                TEXT("\\StringFileInfo\\040704e4\\Empty")};

platform::VersionResource Sample() {
  platform::VersionResource version;
  version.file_version = {1, 2, 3, 4};
  version.product_version = {300, 27, 5, 6};
  version.strings.push_back({0x409, 1200, {{TEXT("ProductName"), TEXT("Thing")}}});
  version.strings.push_back(
      {0x407, 1252, {{TEXT("ProductName"), TEXT("Ding")}, {TEXT("Empty"), TEXT("")}}});
  version.translations = {{0x409, 1200}, {0x407, 1252}};
  return version;
}

class VersionTest : public kv::test::MachineTest {
 protected:
  static std::vector<BYTE> ReadBlock(DWORD size) {
    std::vector<BYTE> block(size);
    EXPECT_TRUE(GetFileVersionInfoW(kFile, 0, size, block.data()));
    return block;
  }
  // The text of a query; "-" when there is none.
  static std::basic_string<WCHAR> Text(const std::vector<BYTE>& block, LPCWSTR query) {
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block.data(), query, &value, &length)) return TEXT("-");
    EXPECT_EQ(WideView(static_cast<LPCWSTR>(value)).size() + 1, length);
    return static_cast<LPCWSTR>(value);
  }
};

TEST_F(VersionTest, ValuesAreFoundByTheirPath) {
  PeWriter().AddVersion(Sample()).WriteTo(HostPath(kFile));
  DWORD unused = 1;
  const std::vector<BYTE> block = ReadBlock(GetFileVersionInfoSizeW(kFile, &unused));
  EXPECT_EQ(unused, 0u);
  EXPECT_EQ(Text(block, TEXT("\\StringFileInfo\\040904b0\\ProductName")), TEXT("Thing"));
  EXPECT_EQ(Text(block, TEXT("\\stringfileinfo\\040704E4\\PRODUCTNAME")), TEXT("Ding"));
  EXPECT_EQ(Text(block, TEXT("\\StringFileInfo\\040704e4\\Empty")), TEXT(""));
  EXPECT_EQ(Text(block, TEXT("\\StringFileInfo\\040904b0\\Empty")), TEXT("-"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_TYPE_NOT_FOUND});
  void* value = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueW(block.data(), TEXT("\\"), &value, &length));
  EXPECT_EQ(length, sizeof(VS_FIXEDFILEINFO));
  EXPECT_EQ(static_cast<VS_FIXEDFILEINFO*>(value)->dwProductVersionMS, 300u << 16 | 27);
  EXPECT_EQ(static_cast<VS_FIXEDFILEINFO*>(value)->dwFileVersionLS, 3u << 16 | 4);
  ASSERT_TRUE(VerQueryValueW(block.data(), TEXT("\\VarFileInfo\\Translation"), &value, &length));
  EXPECT_EQ(length, 8u);
  EXPECT_EQ(static_cast<DWORD*>(value)[0], 1200u << 16 | 0x409);
}

TEST_F(VersionTest, FilesWithoutVersionAreRefusedWithTheReason) {
  PeWriter().AddString(0x409, 1, TEXT("x")).WriteTo(HostPath(TEXT("C:\\texts.dll")));
  PeWriter().WriteTo(HostPath(TEXT("C:\\bare.dll")));
  std::ofstream(HostPath(TEXT("C:\\text.txt"))) << "MZ";
  const struct {
    LPCWSTR path;
    DWORD error;
  } cases[] = {
      {TEXT("C:\\texts.dll"), ERROR_RESOURCE_TYPE_NOT_FOUND},
      {TEXT("C:\\bare.dll"), ERROR_RESOURCE_DATA_NOT_FOUND},
      {TEXT("C:\\text.txt"), ERROR_RESOURCE_DATA_NOT_FOUND},
      {TEXT("C:\\missing.dll"), ERROR_FILE_NOT_FOUND},
  };
  BYTE block[64];
  for (const auto& c : cases) {
    EXPECT_EQ(GetFileVersionInfoSizeW(c.path, nullptr), 0u);
    EXPECT_EQ(GetLastError(), c.error);
    EXPECT_FALSE(GetFileVersionInfoW(c.path, 0, sizeof block, block));
  }
}

// Blocks in buffers of exactly their size, so that a step behind them shows.
TEST_F(VersionTest, BrokenBlocksAreReadWithinTheirBytes) {
  const std::vector<BYTE> whole = Sample().Build();
  const auto ask = [](const std::vector<BYTE>& content, size_t size) {
    PeWriter().AddResource(WORD{16}, WORD{1}, 0, content).WriteTo(HostPath(kFile));
    std::vector<BYTE> block(size);
    if (!GetFileVersionInfoW(kFile, 0, static_cast<DWORD>(size), block.data())) return;
    for (LPCWSTR query : kQueries) {
      void* value = nullptr;
      UINT length = 0;
      if (!VerQueryValueW(block.data(), query, &value, &length)) continue;
      const auto* start = static_cast<const BYTE*>(value);
      EXPECT_GE(start, block.data());
      EXPECT_LE(start, block.data() + size);
    }
  };
  for (size_t size = 0; size <= whole.size(); size += 2) ask(whole, size);
  for (size_t at = 0; at + sizeof(WORD) <= whole.size(); at += 2) {
    for (WORD lie : {0, 1, 7, 0x7FFF, 0xFFFF}) {
      std::vector<BYTE> content = whole;
      memcpy(content.data() + at, &lie, sizeof lie);
      ask(content, content.size());
    }
  }
}

}  // namespace
