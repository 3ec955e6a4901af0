// Whatever bytes an initialisation file consists of, it is read without harm, and what is written
// to it is found again.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <fstream>

#include "fuzz/fuzz_machine.h"
#include "runtime/registry/profile.h"
#include "runtime/text/wide_text.h"

namespace kv::fuzz {
namespace {

constexpr WCHAR kFile[] = TEXT("C:\\fuzz.ini");
constexpr WCHAR kSection[] = TEXT("rename");

void Require(bool holds) {
  if (!holds) abort();
}

void ReadAll(CPrivateProfile& profile) {
  for (LPCWSTR key = profile.FirstKey(kSection); key != nullptr; key = profile.NextKey()) {
    const std::basic_string<WCHAR> name = key;
    WCHAR value[20];
    Require(profile.GetString(kSection, name.c_str(), value, 20) < 20);
    profile.GetInt(kSection, name.c_str(), 0);
  }
  if (const auto lines = profile.GetSection(kSection)) {
    LPCWSTR line = lines.get();
    while (*line != 0) line += View(line).size() + 1;
  }
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
  static const std::filesystem::path file = platform::HostPath(kFile);
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
  CPrivateProfile profile(kFile);
  ReadAll(profile);
  // "NUL" marks what is deleted: one entry gives way to the next.
  profile.RenameKey(kSection, TEXT("NUL"), TEXT("x"));
  ReadAll(profile);
  Require(profile.WriteString(kSection, TEXT("fuzzed"), TEXT("C:\\a.tmp")));
  WCHAR value[20];
  profile.GetString(kSection, TEXT("fuzzed"), value, 20);
  Require(WideView(value) == TEXT("C:\\a.tmp"));
  ReadAll(profile);
  return 0;
}
