// The module and its port when calls and allocations fail.
#include "monitor/port_monitor.h"
#include "platform/control/message_boxes.h"
#include "platform/control/spooler.h"
#include "tests/monitor/monitor_job.h"
#include "tests/printing/printer_test.h"
#include "tests/support/sweep.h"

namespace kv::test {
namespace {

// The module reports with boxes of its own, which nobody answers.
void ForgetBoxes() {
  platform::ScriptBoxes(true);
}

SWEEP_AREA(Module, JobTest);

SCENARIO(Module, LoadAndUnload) {
  DWORD error = 0;
  const HMODULE module = attempt.Call([&] {
    const HMODULE loaded = LoadLibraryW(TEXT("C:\\Windows\\System32\\kvmon8.dll"));
    error = GetLastError();
    return loaded;
  });
  // Not the test's own call: then it was the resource library that could not be
  // had.
  const bool own = attempt.failed().starts_with("LoadLibraryW (1)");
  attempt.Expect(module != nullptr, true, own || error == ERROR_DLL_INIT_FAILED);
  if (module != nullptr) {
    FreeLibrary(module);
    const LoadedModule again(TEXT("C:\\Windows\\System32\\kvmon8.dll"));
    EXPECT_TRUE(again && WideView(again.PortName()) == TEXT("KVR8:"));
  }
  ForgetBoxes();
}

SCENARIO(Module, RegistrationAndJob) {
  // A monitor, once added, stays until the machine is made anew.
  const std::filesystem::path machine = platform::MachineDirectory();
  platform::CloseMachine();
  std::filesystem::remove_all(machine);
  platform::UseMachine(machine);
  JobTest::PrepareMachine();
  const bool done = attempt.Call([]() -> bool {
    return JobTest::AddMonitor() && JobTest::AddPrinter() && JobTest::Print(3, 5000) == 15000;
  });
  ForgetBoxes();
  attempt.Expect(done, true);
  // The next try on the same machine succeeds.
  JobTest::AddMonitor();
  JobTest::AddPrinter();
  EXPECT_EQ(JobTest::Print(1, 10), 10);
  platform::StopSpooler();
  ForgetBoxes();
}

SWEEP_AREA(Port, PrinterTest);

SCENARIO(Port, Job) {
  MONITOREX* const table = InitializePrintMonitor(nullptr);
  const MONITOR& port = table->Monitor;
  HANDLE handle = nullptr;
  DWORD written = 0;
  WCHAR printer[] = TEXT("Laser");
  const bool done = attempt.Call([&]() -> bool {
    if (!port.pfnOpenPort(nullptr, &handle)) return false;
    const bool started = port.pfnStartDocPort(handle, printer, 7, 1, nullptr);
    BYTE block[5] = {};
    const bool wrote = started && port.pfnWritePort(handle, block, 5, &written);
    if (started) port.pfnEndDocPort(handle);
    return wrote;
  });
  attempt.Expect(done, written == 5);
  EXPECT_EQ(handle == nullptr, attempt.reports() == 1);
  if (handle != nullptr) {
    EXPECT_TRUE(port.pfnClosePort(handle));
  }
}

}  // namespace
}  // namespace kv::test
