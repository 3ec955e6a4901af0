// How fast files are written, encoded, copied and compared.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <vector>

#include "bench/bench_machine.h"
#include "runtime/files/compare_files.h"
#include "runtime/files/file_list.h"
#include "runtime/files/mapped_file.h"
#include "runtime/files/whole_files.h"

namespace kv::bench {
namespace {

constexpr WCHAR kFile[] = TEXT("C:\\bench.bin");
constexpr WCHAR kOther[] = TEXT("C:\\other.bin");
constexpr size_t kLarge = 64 << 20;

std::vector<BYTE> MixedBytes(size_t size) {
  std::vector<BYTE> bytes(size);
  DWORD state = 1;
  for (BYTE& byte : bytes) byte = static_cast<BYTE>((state = state * 1664525 + 1013904223) >> 24);
  return bytes;
}

void WriteSmall(benchmark::State& state) {
  File file(kFile, File::kCreate);
  for (auto _ : state) {
    file.WriteDword(0x12345678);
    if (state.iterations() % 65536 == 0) file.Seek(0, FILE_BEGIN);
  }
}
BENCHMARK(WriteSmall);

// A line of a page description, then one that outgrows the buffer on the stack.
void WriteFormatted(benchmark::State& state) {
  File file(kFile, File::kCreate);
  const std::string filler(state.range(0), 'x');
  for (auto _ : state) {
    file.printf("%d %d moveto (%s) show\n", 100, 200, filler.c_str());
    file.Seek(0, FILE_BEGIN);
  }
}
BENCHMARK(WriteFormatted)->Arg(20)->Arg(1000);

void WriteFormattedWide(benchmark::State& state) {
  File file(kFile, File::kCreate);
  for (auto _ : state) {
    file.printf(TEXT("%d %d moveto (%s) show\n"), 100, 200, TEXT("a line of text"));
    file.Seek(0, FILE_BEGIN);
  }
}
BENCHMARK(WriteFormattedWide);

void EncodeAscii85(benchmark::State& state) {
  // To the null device: what is measured is the encoding.
  File file(TEXT("NUL"), File::kForWriting);
  const std::vector<BYTE> bytes = MixedBytes(1 << 20);
  for (auto _ : state) file.WriteAscii85(bytes.data(), static_cast<DWORD>(bytes.size()), 75);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(EncodeAscii85);

class LargeFiles {
 public:
  LargeFiles() {
    const std::vector<BYTE> bytes = MixedBytes(kLarge);
    WriteEntireFile(kFile, bytes.data(), static_cast<DWORD>(kLarge));
    WriteEntireFile(kOther, bytes.data(), static_cast<DWORD>(kLarge));
  }
  ~LargeFiles() {
    DeleteFileW(kFile);
    DeleteFileW(kOther);
  }
};

void CompareLargeFiles(benchmark::State& state) {
  const LargeFiles files;
  for (auto _ : state) {
    if (CompareFiles(kFile, kOther, CompareContents::kYes) != 1) state.SkipWithError("differ");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLarge));
}
BENCHMARK(CompareLargeFiles)->Unit(benchmark::kMillisecond);

// What comparing the same bytes in memory costs.
void CompareMemory(benchmark::State& state) {
  const std::vector<BYTE> a = MixedBytes(kLarge), b = a;
  for (auto _ : state) benchmark::DoNotOptimize(a == b);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLarge));
}
BENCHMARK(CompareMemory)->Unit(benchmark::kMillisecond);

void AppendLargeFile(benchmark::State& state) {
  const LargeFiles files;
  for (auto _ : state) {
    File target(kOther, File::kCreate);
    target.AppendFile(kFile);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLarge));
}
BENCHMARK(AppendLargeFile)->Unit(benchmark::kMillisecond);

void ReplaceText(benchmark::State& state) {
  const std::string text = [] {
    std::string lines;
    for (int i = 0; i < 200; ++i) lines += "a line of text with a word to replace in it\n";
    return lines;
  }();
  for (auto _ : state) {
    WriteEntireFile(kFile, text.data(), static_cast<DWORD>(text.size()));
    CMappedFile::ReplaceInFile(kFile, "word", "longer word", CMappedFile::Occurrences::kAll);
  }
}
BENCHMARK(ReplaceText);

// A directory of 10,000 small files, and the same work with the standard library on the host's own
// directory.
constexpr int kListFiles = 10'000;

class ManyFiles {
 public:
  ManyFiles() {
    CreateDirectoryW(TEXT("C:\\many"), nullptr);
    CreateDirectoryW(TEXT("C:\\copy"), nullptr);
    for (int i = 0; i < kListFiles; ++i) {
      // Spread, so that sorting has something to do.
      std::ofstream(source() / (std::to_string(i * 7919 % kListFiles) + ".txt")) << i;
    }
  }
  ~ManyFiles() {
    std::filesystem::remove_all(source());
    std::filesystem::remove_all(target());
  }
  static std::filesystem::path source() { return platform::HostPath(TEXT("C:\\many")); }
  static std::filesystem::path target() { return platform::HostPath(TEXT("C:\\copy")); }
};

void ScanList(benchmark::State& state) {
  const ManyFiles files;
  for (auto _ : state) {
    CFileList list;
    if (list.Scan(TEXT("C:\\many"), TRUE, FALSE) != kListFiles) state.SkipWithError("incomplete");
  }
}
BENCHMARK(ScanList)->Unit(benchmark::kMillisecond);

// What a list holds of each file: name, size and time.
struct Entry {
  std::string name;
  uintmax_t size;
  std::filesystem::file_time_type time;
};

std::vector<Entry> StandardScan() {
  std::vector<Entry> entries;
  for (const auto& entry : std::filesystem::directory_iterator(ManyFiles::source())) {
    entries.push_back({entry.path().filename(), entry.file_size(), entry.last_write_time()});
  }
  return entries;
}

void ScanListStandard(benchmark::State& state) {
  const ManyFiles files;
  for (auto _ : state) benchmark::DoNotOptimize(StandardScan());
}
BENCHMARK(ScanListStandard)->Unit(benchmark::kMillisecond);

void SortList(benchmark::State& state) {
  const ManyFiles files;
  CFileList list;
  list.Scan(TEXT("C:\\many"), TRUE, FALSE);
  for (auto _ : state) {
    list.Sort(CFileList::kByName, state.iterations() % 2 == 0);
    list.Sort(CFileList::kByLastWrite, TRUE);
  }
}
BENCHMARK(SortList)->Unit(benchmark::kMillisecond);

void SortListStandard(benchmark::State& state) {
  const ManyFiles files;
  std::vector<Entry> entries = StandardScan();
  for (auto _ : state) {
    const bool ascending = state.iterations() % 2 == 0;
    std::sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
      return ascending ? a.name < b.name : b.name < a.name;
    });
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.time < b.time; });
  }
}
BENCHMARK(SortListStandard)->Unit(benchmark::kMillisecond);

void CopyList(benchmark::State& state) {
  const ManyFiles files;
  for (auto _ : state) {
    CFileList list;
    list.Scan(TEXT("C:\\many"), TRUE, FALSE);
    if (list.CopyTo(TEXT("C:\\copy"), CopyMode::kAlways) != kListFiles) {
      state.SkipWithError("incomplete");
    }
  }
}
BENCHMARK(CopyList)->Unit(benchmark::kMillisecond);

void CopyListStandard(benchmark::State& state) {
  const ManyFiles files;
  for (auto _ : state) {
    for (const auto& entry : std::filesystem::directory_iterator(ManyFiles::source())) {
      std::filesystem::copy_file(entry.path(), ManyFiles::target() / entry.path().filename(),
                                 std::filesystem::copy_options::overwrite_existing);
    }
  }
}
BENCHMARK(CopyListStandard)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kv::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const kv::bench::BenchMachine machine;
  benchmark::RunSpecifiedBenchmarks();
}
