// The fixture of tests that print through the monitor: its registration, its printer, and jobs.
#pragma once

#include <vector>

#include "runtime/core/handles.h"
#include "runtime/core/product.h"
#include "tests/support/module_test.h"

namespace kv::test {

class JobTest : public ModuleTest {
 public:
  static BOOL AddMonitor() {
    WCHAR name[] = TEXT("KVR8:"), file[] = TEXT("kvmon8.dll");
    MONITOR_INFO_2W monitor = {name, const_cast<LPWSTR>(GetPrintEnvironment()), file};
    return AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&monitor));
  }

  static BOOL AddPrinter() {
    WCHAR name[] = TEXT("Folvane"), port[] = TEXT("KVR8:"), driver[] = TEXT("Generic / Text Only");
    WCHAR processor[] = TEXT("winprint"), dataType[] = TEXT("RAW");
    PRINTER_INFO_2W printer = {};
    printer.pPrinterName = name;
    printer.pPortName = port;
    printer.pDriverName = driver;
    printer.pPrintProcessor = processor;
    printer.pDatatype = dataType;
    return static_cast<bool>(
        UniquePrinter(AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&printer))));
  }

  // Sends `blocks` blocks of `size` bytes (at most 10,000) as one job; the bytes accepted, or -1
  // when a call failed.
  static LONGLONG Print(int blocks, DWORD size) {
    WCHAR name[] = TEXT("Folvane"), title[] = TEXT("job"), dataType[] = TEXT("RAW");
    UniquePrinter printer;
    if (!OpenPrinterW(name, printer.Receive(), nullptr)) return -1;
    DOC_INFO_1W info = {title, nullptr, dataType};
    if (StartDocPrinterW(printer.Get(), 1, reinterpret_cast<BYTE*>(&info)) == 0) return -1;
    static std::vector<BYTE> block(10'000, 0x5A);
    LONGLONG accepted = 0;
    BOOL done = TRUE;
    for (int i = 0; i < blocks && done; ++i) {
      DWORD written = 0;
      done = WritePrinter(printer.Get(), block.data(), size, &written);
      accepted += written;
    }
    return EndDocPrinter(printer.Get()) && done ? accepted : -1;
  }
};

}  // namespace kv::test
