// How fast bitmaps are turned, beside a plain copy of the same bytes, and regions made.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "bench/bench_machine.h"
#include "runtime/core/handles.h"
#include "runtime/graphics/regions.h"
#include "runtime/graphics/turn_bits.h"

namespace kv::bench {
namespace {

constexpr int kSide = 4096;

struct Image {
  explicit Image(int bitsPerPixel)
      : bits(static_cast<size_t>(DibStride(kSide, bitsPerPixel)) * kSide) {
    DWORD state = 1;
    for (BYTE& byte : bits) byte = static_cast<BYTE>((state = state * 1664525 + 1013904223) >> 24);
  }
  std::vector<BYTE> bits;
};

void ReportPixels(benchmark::State& state, const Image& image) {
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(image.bits.size()));
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void Copy(benchmark::State& state) {
  const Image source(static_cast<int>(state.range(0)));
  Image target = source;
  for (auto _ : state) {
    std::memcpy(target.bits.data(), source.bits.data(), source.bits.size());
    benchmark::ClobberMemory();
  }
  ReportPixels(state, source);
}

void HalfTurn(benchmark::State& state) {
  const int depth = static_cast<int>(state.range(0));
  Image image(depth);
  for (auto _ : state) {
    TurnBitsHalf(image.bits.data(), kSide, kSide, depth);
    benchmark::ClobberMemory();
  }
  ReportPixels(state, image);
}

void QuarterTurn(benchmark::State& state) {
  const int depth = static_cast<int>(state.range(0));
  const Image source(depth);
  Image target = source;
  for (auto _ : state) {
    TurnBitsQuarter(source.bits.data(), target.bits.data(), kSide, kSide, depth);
    benchmark::ClobberMemory();
  }
  ReportPixels(state, source);
}

void EveryDepth(benchmark::internal::Benchmark* benchmark) {
  for (int depth : {1, 2, 4, 8, 16, 24, 32}) benchmark->Arg(depth);
}
BENCHMARK(Copy)->Apply(EveryDepth);
BENCHMARK(HalfTurn)->Apply(EveryDepth);
BENCHMARK(QuarterTurn)->Apply(EveryDepth);

// A curve that winds over a page of 2000 by 2000 and crosses itself.
std::vector<POINT> Curve(int count) {
  std::vector<POINT> points(count);
  for (int i = 0; i < count; ++i) {
    const double t = i * 0.01;
    points[i] = {1000 + static_cast<LONG>(std::lround(900 * std::sin(t))),
                 1000 + static_cast<LONG>(std::lround(900 * std::cos(t * 1.37)))};
  }
  return points;
}

void PolygonOfPoints(benchmark::State& state) {
  const std::vector<POINT> points = Curve(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const UniqueRegion region(
        CreatePolygonRgn(points.data(), static_cast<int>(points.size()), WINDING));
    benchmark::DoNotOptimize(region.Get());
  }
}
BENCHMARK(PolygonOfPoints)->Arg(100)->Arg(10000)->Unit(benchmark::kMillisecond);

void ThickPolylineOfPoints(benchmark::State& state) {
  const std::vector<POINT> points = Curve(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const UniqueRegion region(
        ThickPolylineRegion(points.data(), static_cast<int>(points.size()), 9));
    benchmark::DoNotOptimize(region.Get());
  }
}
BENCHMARK(ThickPolylineOfPoints)->Arg(100)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kv::bench

int main(int argc, char** argv) {
  const kv::bench::BenchMachine machine;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
