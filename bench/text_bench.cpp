// How fast names are compared with patterns, beside the C library's fnmatch.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <string>

#include "bench/bench_machine.h"
#include "runtime/text/wildcard.h"

namespace kv::bench {
namespace {

using WideString = std::basic_string<WCHAR>;

struct Pair {
  std::string pattern, text;
};

// A caption, then patterns that make a matcher go back: many stars that almost fit, one long part
// that almost fits everywhere, and stars alone.
Pair PairOf(int64_t kind) {
  switch (kind) {
    case 0:
      return {"Microsoft * - *", "Microsoft Word - Quarterly report (final).doc"};
    case 1:
      return {"*a*a*a*a*a*a*a*a*b", std::string(200, 'a')};
    case 2:
      return {"*" + std::string(500, 'a') + "b*", std::string(1000, 'a')};
    default:
      return {std::string(10000, '*'), std::string(10000, 'a')};
  }
}

WideString Widened(const std::string& text) {
  return WideString(text.begin(), text.end());
}

void Match(benchmark::State& state) {
  const Pair pair = PairOf(state.range(0));
  const WideString pattern = Widened(pair.pattern), text = Widened(pair.text);
  for (auto _ : state) benchmark::DoNotOptimize(MatchWildcard(pattern.c_str(), text.c_str()));
}
BENCHMARK(Match)->DenseRange(0, 3);

void MatchWithFnmatch(benchmark::State& state) {
  const Pair pair = PairOf(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(fnmatch(pair.pattern.c_str(), pair.text.c_str(), FNM_CASEFOLD));
  }
}
BENCHMARK(MatchWithFnmatch)->DenseRange(0, 3);

}  // namespace
}  // namespace kv::bench

int main(int argc, char** argv) {
  const kv::bench::BenchMachine machine;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
