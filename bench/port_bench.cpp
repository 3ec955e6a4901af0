// How much the port costs: writing a block beside an empty call, a whole job, and loading the
// module.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <vector>

#include "bench/bench_machine.h"
#include "platform/control/facts.h"
#include "platform/control/faults.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/handles.h"
#include "runtime/core/product.h"

namespace {

constexpr WCHAR kModule[] = TEXT("C:\\Windows\\System32\\kvmon8.dll");
// A copy that the spooler does not keep loaded.
constexpr WCHAR kOtherModule[] = TEXT("C:\\Other\\kvmon8.dll");

// A fresh machine with the module in its system directory, for the life of the program.
class PortMachine {
 public:
  PortMachine() {
    platform::SetFact(platform::facts::kArchitecture, "x64");
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    const std::filesystem::path bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const LPCWSTR module : {kModule, kOtherModule}) {
      const std::filesystem::path folder = platform::HostPath(module).parent_path();
      std::filesystem::create_directories(folder);
      for (const char* file : {"kvmon8.dll", "kvres832.dll"})
        std::filesystem::copy_file(bin / file, folder / file);
    }
  }

 private:
  kv::bench::BenchMachine machine_;
};

const MONITOR& Operations(HMODULE module) {
  return kv::FindProc<LPMONITOREX(WINAPI*)(LPWSTR)>(module, "InitializePrintMonitor")(nullptr)
      ->Monitor;
}

// The same table and signature, and nothing else.
BOOL WINAPI EmptyOperation(HANDLE, LPBYTE, DWORD, LPDWORD) {
  return TRUE;
}

void WritePort(benchmark::State& state) {
  const kv::UniqueModule module(LoadLibraryW(kModule));
  const MONITOR& monitor = Operations(module.Get());
  std::vector<BYTE> block(state.range(0));
  HANDLE port = nullptr;
  monitor.pfnOpenPort(nullptr, &port);
  for (auto _ : state) {
    DWORD written = 0;
    monitor.pfnWritePort(port, block.data(), static_cast<DWORD>(block.size()), &written);
    benchmark::DoNotOptimize(written);
  }
  monitor.pfnClosePort(port);
}
BENCHMARK(WritePort)->Arg(1)->Arg(64 << 10)->Arg(16 << 20);

void EmptyCall(benchmark::State& state) {
  MONITOR monitor = {};
  monitor.pfnWritePort = EmptyOperation;
  benchmark::DoNotOptimize(monitor);
  for (auto _ : state) {
    DWORD written = 0;
    monitor.pfnWritePort(nullptr, nullptr, 0, &written);
    benchmark::DoNotOptimize(written);
  }
}
BENCHMARK(EmptyCall);

void WholeJob(benchmark::State& state) {
  WCHAR name[] = TEXT("KVR8:"), file[] = TEXT("kvmon8.dll"), printerName[] = TEXT("Folvane");
  WCHAR driver[] = TEXT("Generic / Text Only"), processor[] = TEXT("winprint"),
        dataType[] = TEXT("RAW");
  MONITOR_INFO_2W monitor = {name, const_cast<LPWSTR>(kv::GetPrintEnvironment()), file};
  AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&monitor));
  PRINTER_INFO_2W info = {};
  info.pPrinterName = printerName;
  info.pPortName = name;
  info.pDriverName = driver;
  info.pPrintProcessor = processor;
  info.pDatatype = dataType;
  kv::UniquePrinter(AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info)));
  std::vector<BYTE> block(64 << 10);
  for (auto _ : state) {
    kv::UniquePrinter printer;
    DOC_INFO_1W document = {name, nullptr, dataType};
    if (!OpenPrinterW(printerName, printer.Receive(), nullptr) ||
        StartDocPrinterW(printer.Get(), 1, reinterpret_cast<BYTE*>(&document)) == 0) {
      state.SkipWithError("the job does not start");
      break;
    }
    for (int i = 0; i < 16; ++i) {
      DWORD written = 0;
      WritePrinter(printer.Get(), block.data(), static_cast<DWORD>(block.size()), &written);
    }
    EndDocPrinter(printer.Get());
  }
  state.SetBytesProcessed(state.iterations() * 16 * block.size());
}
BENCHMARK(WholeJob);

void AttachAndDetach(benchmark::State& state) {
  platform::ResetFaults();
  for (auto _ : state) kv::UniqueModule(LoadLibraryW(kOtherModule));
  // Less the load and the release that this loop makes itself.
  state.counters["platform calls"] =
      static_cast<double>(platform::TotalCallCount()) / state.iterations() - 2;
}
BENCHMARK(AttachAndDetach);

}  // namespace

int main(int argc, char** argv) {
  const PortMachine machine;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
