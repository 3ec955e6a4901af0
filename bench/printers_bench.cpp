// How fast the printers of a large print server are listed, beside a plain walk over EnumPrintersW.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/bench_machine.h"
#include "platform/control/facts.h"
#include "platform/control/profiles.h"
#include "runtime/core/startup_context.h"
#include "runtime/printing/product_printer_lists.h"
#include "runtime/registry/reg_key.h"

namespace kv::bench {
namespace {

constexpr int kPrinters = 2000;
constexpr DWORD kFlags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;

// Printers as the spooler finds them in its registry; ten drivers share them.
void AddPrinters() {
  for (int i = 0; i < kPrinters; ++i) {
    WCHAR driver[32];
    FormatText(driver, TEXT("Driver %d"), i % 10);
    RegKey key;
    key.Create(HKEY_LOCAL_MACHINE,
               TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\P%04d"), i);
    WCHAR name[16];
    FormatText(name, TEXT("P%04d"), i);
    key.SetSz(TEXT("Name"), name);
    key.SetSz(TEXT("Printer Driver"), driver);
    key.SetSz(TEXT("Port"), TEXT("LPT1:"));
    key.SetDword(TEXT("Attributes"), PRINTER_ATTRIBUTE_LOCAL);
  }
}

void AddDrivers() {
  for (int i = 0; i < 10; ++i) {
    RegKey key;
    key.Create(HKEY_LOCAL_MACHINE,
               TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Environments\\%s\\Drivers\\")
                   TEXT("Version-3\\Driver %d"),
               startupContext.printEnvironment, i);
    key.SetSz(TEXT("Driver"), i == 0 ? TEXT("kvgraph8.dll") : TEXT("other.dll"));
  }
}

// A machine of that Windows with the printers, and the runtime attached to it.
class PrintServer {
 public:
  explicit PrintServer(const char* profile) {
    platform::UseProfile(profile, "x64");
    platform::SetFactNumber(platform::facts::kUserIsElevated, 1);
    ProcessAttach(GetModuleHandleW(nullptr));
    AddDrivers();
    AddPrinters();
  }
  ~PrintServer() { ProcessDetach(); }

 private:
  BenchMachine machine_;
};

void BM_PlainWalk(benchmark::State& state, const char* profile) {
  const PrintServer server(profile);
  for (auto _ : state) {
    DWORD size = 0, count = 0;
    EnumPrintersW(kFlags, nullptr, 2, nullptr, 0, &size, &count);
    std::vector<BYTE> buffer(size);
    EnumPrintersW(kFlags, nullptr, 2, buffer.data(), size, &size, &count);
    if (count < kPrinters) state.SkipWithError("printers are missing");
  }
}
BENCHMARK_CAPTURE(BM_PlainWalk, Xp, "windows-xp")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlainWalk, Windows10, "windows-10")->Unit(benchmark::kMillisecond);

void BM_PrinterList(benchmark::State& state, const char* profile) {
  const PrintServer server(profile);
  for (auto _ : state) {
    CPrinterList list;
    if (list.Count() < kPrinters) state.SkipWithError("printers are missing");
  }
}
BENCHMARK_CAPTURE(BM_PrinterList, Xp, "windows-xp")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PrinterList, Windows10, "windows-10")->Unit(benchmark::kMillisecond);

void BM_SortedProductPrinters(benchmark::State& state) {
  const PrintServer server("windows-10");
  for (auto _ : state) {
    CProductPrinterList list;
    list.SortByName();
    if (list.Count() != kPrinters / 10) state.SkipWithError("printers are missing");
  }
}
BENCHMARK(BM_SortedProductPrinters)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kv::bench

BENCHMARK_MAIN();
