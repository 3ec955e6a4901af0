// How fast keys are opened, read, walked and copied.
#include <benchmark/benchmark.h>

#include "bench/bench_machine.h"
#include "runtime/registry/delete_key.h"
#include "runtime/registry/reg_key.h"

namespace kv::bench {
namespace {

constexpr const WCHAR* kValues = TEXT("Software\\Bench\\Values");
constexpr const WCHAR* kTree = TEXT("Software\\Bench\\Tree");
constexpr int kValueCount = 1000;
constexpr int kSubKeys = 20, kValuesEach = 20;

void FillKeys() {
  RegKey values, child;
  values.Create(HKEY_CURRENT_USER, kValues);
  for (int i = 0; i < kValueCount; ++i) {
    WCHAR name[16];
    FormatText(name, TEXT("value %d"), i);
    values.SetDword(name, i);
  }
  for (int key = 0; key < kSubKeys; ++key) {
    child.Create(HKEY_CURRENT_USER, TEXT("%s\\%d\\below"), kTree, key);
    for (int i = 0; i < kValuesEach; ++i) {
      WCHAR name[16];
      FormatText(name, TEXT("%d"), i);
      child.SetSz(name, TEXT("the text of a value"));
    }
  }
}

void BM_Open(benchmark::State& state) {
  RegKey key;
  for (auto _ : state) benchmark::DoNotOptimize(key.Open(HKEY_CURRENT_USER, kTree));
}
BENCHMARK(BM_Open);

void BM_TypedRead(benchmark::State& state) {
  RegKey key;
  key.Open(HKEY_CURRENT_USER, kValues);
  for (auto _ : state) benchmark::DoNotOptimize(key.GetDword(TEXT("value 500"), 0));
}
BENCHMARK(BM_TypedRead);

void BM_EnumerateThousandValues(benchmark::State& state) {
  RegKey key;
  key.Open(HKEY_CURRENT_USER, kValues);
  for (auto _ : state) {
    int count = 0;
    for (LPCWSTR name = key.FirstValue(); name != nullptr; name = key.NextValue()) ++count;
    if (count != kValueCount) state.SkipWithError("values are missing");
  }
  state.SetItemsProcessed(state.iterations() * kValueCount);
}
BENCHMARK(BM_EnumerateThousandValues);

void BM_CopyTree(benchmark::State& state) {
  RegKey source, target;
  source.Open(HKEY_CURRENT_USER, kTree);
  for (auto _ : state) {
    target.Create(HKEY_CURRENT_USER, TEXT("Software\\Bench\\Copy"));
    if (target.CopyTree(source, Recurse::kYes) != kSubKeys * kValuesEach)
      state.SkipWithError("values are missing");
    state.PauseTiming();
    target.Close(Disposal::kDelete);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kSubKeys * kValuesEach);
}
BENCHMARK(BM_CopyTree);

}  // namespace
}  // namespace kv::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const kv::bench::BenchMachine machine;
  kv::bench::FillKeys();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
