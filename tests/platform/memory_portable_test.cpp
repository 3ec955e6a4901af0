// Heap, global, local and virtual memory.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string_view>

namespace {

TEST(MemoryPortableTest, MovableBlocksAreReachedThroughLocks) {
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 10);
  ASSERT_NE(memory, nullptr);
  BYTE* data = static_cast<BYTE*>(GlobalLock(memory));
  ASSERT_NE(data, nullptr);
  EXPECT_NE(static_cast<void*>(data), memory);
  EXPECT_EQ(data[9], 0);
  data[9] = 7;
  EXPECT_EQ(GlobalLock(memory), data);
  EXPECT_EQ(GlobalFlags(memory) & GMEM_LOCKCOUNT, 2u);
  EXPECT_TRUE(GlobalUnlock(memory));
  SetLastError(ERROR_GEN_FAILURE);
  EXPECT_FALSE(GlobalUnlock(memory));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(NO_ERROR));
  EXPECT_FALSE(GlobalUnlock(memory));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_LOCKED));

  EXPECT_EQ(GlobalReAlloc(memory, 100'000, GMEM_MOVEABLE | GMEM_ZEROINIT), memory);
  EXPECT_GE(GlobalSize(memory), 100'000u);
  data = static_cast<BYTE*>(GlobalLock(memory));
  EXPECT_EQ(data[9], 7);
  EXPECT_EQ(data[99'999], 0);
  GlobalUnlock(memory);
  EXPECT_EQ(GlobalFree(memory), nullptr);
}

TEST(MemoryPortableTest, MovableMemoryOfNoSizeIsDiscarded) {
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, 0);
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(GlobalLock(memory), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DISCARDED));
  EXPECT_EQ(GlobalSize(memory), 0u);
  EXPECT_EQ(GlobalFree(memory), nullptr);
}

TEST(MemoryPortableTest, FixedBlocksAreTheirOwnAddress) {
  const HGLOBAL memory = GlobalAlloc(GPTR, 16);
  EXPECT_EQ(GlobalLock(memory), memory);
  EXPECT_EQ(GlobalSize(memory), 16u);
  EXPECT_EQ(GlobalFree(memory), nullptr);
  const HLOCAL local = LocalAlloc(LPTR, 16);
  EXPECT_EQ(static_cast<BYTE*>(local)[15], 0);
  EXPECT_EQ(LocalFree(local), nullptr);
  EXPECT_EQ(LocalFree(nullptr), nullptr);
  void* block = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 16);
  EXPECT_EQ(static_cast<BYTE*>(block)[15], 0);
  EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, block));
}

TEST(MemoryPortableTest, PagesChangeTheirProtection) {
  BYTE* pages = static_cast<BYTE*>(VirtualAlloc(nullptr, 5000, MEM_COMMIT, PAGE_READWRITE));
  ASSERT_NE(pages, nullptr);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(pages) % 65536, 0u);
  // mov eax, 42; ret: the same on both processors.
  const BYTE code[] = {0xB8, 42, 0, 0, 0, 0xC3};
  std::memcpy(pages + 4096, code, sizeof code);
  DWORD old_protection = 0;
  EXPECT_TRUE(VirtualProtect(pages + 4096, sizeof code, PAGE_EXECUTE, &old_protection));
  EXPECT_EQ(old_protection, static_cast<DWORD>(PAGE_READWRITE));
  EXPECT_TRUE(FlushInstructionCache(GetCurrentProcess(), pages + 4096, sizeof code));
  EXPECT_EQ(reinterpret_cast<int (*)()>(reinterpret_cast<ULONG_PTR>(pages + 4096))(), 42);
  EXPECT_TRUE(VirtualProtect(pages, 8192, PAGE_READONLY, &old_protection));
  EXPECT_EQ(old_protection, static_cast<DWORD>(PAGE_READWRITE));
  EXPECT_TRUE(VirtualProtect(pages + 4096, 1, PAGE_READWRITE, &old_protection));
  EXPECT_EQ(old_protection, static_cast<DWORD>(PAGE_READONLY));
  EXPECT_TRUE(VirtualFree(pages, 0, MEM_RELEASE));
  EXPECT_FALSE(VirtualFree(pages, 0, MEM_RELEASE));
}

TEST(UuidPortableTest, IdentifiersDifferAndHaveATextForm) {
  UUID first, second;
  EXPECT_EQ(UuidCreate(&first), RPC_S_OK);
  EXPECT_EQ(UuidCreate(&second), RPC_S_OK);
  EXPECT_NE(std::memcmp(&first, &second, sizeof first), 0);
  UUID known = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 0xFF}};
  RPC_WSTR text = nullptr;
  ASSERT_EQ(UuidToStringW(&known, &text), RPC_S_OK);
  EXPECT_EQ(std::basic_string_view<WCHAR>(reinterpret_cast<const WCHAR*>(text)),
            TEXT("12345678-9abc-def0-0102-0304050607ff"));
  EXPECT_EQ(RpcStringFreeW(&text), RPC_S_OK);
}

}  // namespace
