// The store of custom papers with many papers, and laying device modes over each other.
#include <benchmark/benchmark.h>

#include "bench/bench_machine.h"
#include "runtime/core/startup_context.h"
#include "runtime/papers/custom_papers.h"
#include "runtime/printing/product_devmode.h"
#include "runtime/registry/settings.h"
#include "runtime/text/format.h"

namespace {

constexpr int kPapers = 1000;

kv::PaperEntry Paper(int number) {
  kv::PaperEntry paper = {0, {}, 100'000, 200'000, kv::kPaperMillimetres};
  kv::FormatText(paper.name, TEXT("Paper %d"), number);
  return paper;
}

// A machine whose user has kPapers papers.
class Store {
 public:
  Store() {
    kv::startupContext.silent = 1;
    kv::UserSettingsKey settings(kv::KeyMode::kWrite);
    kv::RegKey papers;
    papers.Create(settings.handle(), TEXT("CustomPapers"));
    for (int i = 0; i < kPapers; ++i) {
      kv::RegKey key;
      key.CreateKey(KEY_READ | KEY_WRITE, papers.handle(), Paper(i).name);
      key.SetDword(TEXT("ID"), static_cast<DWORD>(300 + i));
      key.SetDword(TEXT("Width"), 100'000);
      key.SetDword(TEXT("Height"), 200'000);
    }
  }

 private:
  kv::bench::BenchMachine machine_;
};

void BM_LoadPapers(benchmark::State& state) {
  const Store store;
  for (auto _ : state) {
    const kv::CCustomPapers papers;
    benchmark::DoNotOptimize(papers.count());
  }
}
BENCHMARK(BM_LoadPapers)->Unit(benchmark::kMillisecond);

void BM_FindPaper(benchmark::State& state) {
  const Store store;
  const kv::CCustomPapers papers;
  for (auto _ : state) benchmark::DoNotOptimize(papers.FindPaperByName(TEXT("PAPER 999")));
}
BENCHMARK(BM_FindPaper)->Unit(benchmark::kMicrosecond);

void BM_AddAndRemovePaper(benchmark::State& state) {
  const Store store;
  kv::CCustomPapers papers;
  const kv::PaperEntry paper = Paper(kPapers);
  for (auto _ : state) {
    papers.AddCustomPaper(paper);
    papers.RemoveCustomPaper(paper.name);
  }
}
BENCHMARK(BM_AddAndRemovePaper)->Unit(benchmark::kMicrosecond);

void BM_ValidDevMode(benchmark::State& state) {
  const kv::bench::BenchMachine machine;
  kv::ProductDevMode mode;
  kv::DefaultDevMode(TEXT("Printer"), mode);
  for (auto _ : state) benchmark::DoNotOptimize(kv::IsValidDevMode(&mode.dev));
}
BENCHMARK(BM_ValidDevMode);

void BM_MergeDevMode(benchmark::State& state) {
  const kv::bench::BenchMachine machine;
  kv::ProductDevMode source, target;
  kv::DefaultDevMode(TEXT("Printer"), source);
  target = source;
  for (auto _ : state) kv::MergeDevMode(&source.dev, target);
}
BENCHMARK(BM_MergeDevMode);

}  // namespace

BENCHMARK_MAIN();
