// Whatever bytes a value of whatever type holds, RegKey reads it within its buffers, ends its texts
// and copies it unchanged.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_machine.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"

namespace kv::fuzz {
namespace {

constexpr const WCHAR* kKey = TEXT("Software\\Fuzz");
constexpr const WCHAR* kValue = TEXT("v");

void Require(bool holds) {
  if (!holds) abort();
}

void ReadInEachWay(RegKey& key, const std::vector<BYTE>& data, int capacity) {
  const size_t characters = data.size() / sizeof(WCHAR);
  if (const LPCWSTR text = key.GetString(kValue)) Require(View(text).size() <= characters);
  DWORD size;
  if (const LPCWSTR strings = key.GetMultiString(kValue, &size)) {
    LPCWSTR end = strings;
    while (*end != 0) end += View(end).size() + 1;
    Require(static_cast<size_t>(end - strings) <= characters + 1 && size == data.size());
  }
  LPCWSTR text;
  if (key.FindFirstString(&text) != nullptr) Require(View(text).size() <= characters);
  DWORD number;
  key.FindLastDword(&number);
  key.GetDword(kValue, 0);
  std::vector<WCHAR> buffer(static_cast<size_t>(capacity));
  const int length = key.ReadString(kValue, buffer.data(), capacity, Expand::kYes);
  Require(length < capacity || (length == 0 && capacity == 0));
  if (capacity > 0) Require(View(buffer.data()).size() == static_cast<size_t>(length));
  key.ReadBinary(kValue, buffer.data(), static_cast<DWORD>(buffer.size() * sizeof(WCHAR)));
}

}  // namespace
}  // namespace kv::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  kv::fuzz::UseTemporaryMachine();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  using namespace kv;
  using namespace kv::fuzz;
  FuzzedDataProvider input(bytes, count);
  const DWORD type = input.ConsumeIntegralInRange<DWORD>(0, 12);
  const int capacity = input.ConsumeIntegralInRange<int>(0, 40);
  const bool grows_behind_the_back = input.ConsumeBool();
  const std::vector<BYTE> data = input.ConsumeRemainingBytes<BYTE>();

  RegKey key;
  Require(key.Create(HKEY_CURRENT_USER, kKey));
  Require(RegSetValueExW(key.handle(), kValue, 0, type, data.data(),
                         static_cast<DWORD>(data.size())) == ERROR_SUCCESS);
  if (!grows_behind_the_back) Require(key.Refresh());
  ReadInEachWay(key, data, capacity);

  RegKey copy;
  Require(copy.Create(key.handle(), TEXT("copy")));
  key.Refresh();
  Require(copy.CopyValueFrom(key, kValue));
  const BYTE* copied;
  DWORD copiedType, copiedSize;
  Require(copy.QueryValue(kValue, &copied, &copiedType, &copiedSize));
  Require(copiedType == type && std::vector<BYTE>(copied, copied + copiedSize) == data);
  key.Close(Disposal::kDelete);
  return 0;
}
