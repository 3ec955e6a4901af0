// The spooler: monitors, ports, printers, drivers, and a job's way through a port.
#include <winsplp.h>

#include <fstream>
#include <thread>

#include "platform/control/spooler.h"
#include "platform/control/users.h"
#include "platform/spooler/spooler.h"
#include "tests/support/machine_test.h"
#include "tests/support/peer.h"

namespace {

using kv::test::WideView;
using WideString = std::basic_string<WCHAR>;

constexpr bool kNarrow = sizeof(void*) == 4;
constexpr const WCHAR* kEnvironment = kNarrow ? TEXT("Windows NT x86") : TEXT("Windows x64");
constexpr const WCHAR* kDriver = TEXT("Generic / Text Only");
constexpr const WCHAR* kMonitorKey =
    TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\Rec");

LPWSTR Mutable(const WCHAR* text) {
  return const_cast<LPWSTR>(text);
}
LPBYTE AsBytes(void* info) {
  return static_cast<LPBYTE>(info);
}

// 0 or the last error.
DWORD ErrorUnless(bool succeeded) {
  return succeeded ? 0 : GetLastError();
}

DWORD AddMonitor(const WCHAR* name, const WCHAR* file, const WCHAR* environment = kEnvironment) {
  MONITOR_INFO_2W info = {Mutable(name), Mutable(environment), Mutable(file)};
  return ErrorUnless(AddMonitorW(nullptr, 2, AsBytes(&info)));
}

DWORD AddPrinter(const WCHAR* name, const WCHAR* port, const WCHAR* driver = kDriver,
                 const WCHAR* processor = TEXT("winprint"), const WCHAR* datatype = TEXT("RAW")) {
  PRINTER_INFO_2W info = {};
  info.pPrinterName = Mutable(name);
  info.pPortName = Mutable(port);
  info.pDriverName = Mutable(driver);
  info.pPrintProcessor = Mutable(processor);
  info.pDatatype = Mutable(datatype);
  const HANDLE printer = AddPrinterW(nullptr, 2, AsBytes(&info));
  const DWORD error = ErrorUnless(printer != nullptr);
  if (printer != nullptr) {
    EXPECT_TRUE(ClosePrinter(printer));
  }
  return error;
}

DWORD StartDoc(HANDLE printer, const WCHAR* title = TEXT("Title"),
               const WCHAR* datatype = nullptr) {
  DOC_INFO_1W document = {Mutable(title), nullptr, Mutable(datatype)};
  return StartDocPrinterW(printer, 1, AsBytes(&document));
}

DWORD Write(HANDLE printer, DWORD size, DWORD& written) {
  std::vector<BYTE> data(size);
  return ErrorUnless(WritePrinter(printer, data.data(), size, &written));
}

std::vector<WideString> PortNames() {
  DWORD needed = 0, count = 0;
  EnumPortsW(nullptr, 1, nullptr, 0, &needed, &count);
  std::vector<BYTE> buffer(needed);
  std::vector<WideString> names;
  if (EnumPortsW(nullptr, 1, buffer.data(), needed, &needed, &count)) {
    for (DWORD i = 0; i < count; ++i) {
      names.emplace_back(reinterpret_cast<PORT_INFO_1W*>(buffer.data())[i].pName);
    }
  }
  return names;
}

bool HasPort(const WideString& name) {
  const auto names = PortNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

class SpoolerTest : public kv::test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    platform::SetFact(platform::facts::kArchitecture, kNarrow ? "x86" : "x64");
    Elevate(true);
    PutIntoSystem("recording_monitor.dll", TEXT("recmon.dll"));
  }
  static void Elevate(bool on) {
    platform::SetFactNumber(platform::facts::kUserIsElevated, on ? 1 : 0);
  }
  static void PutIntoSystem(const char* built, const WCHAR* name) {
    std::filesystem::copy_file(
        kv::test::TestDirectory() / built,
        platform::HostPath(TEXT("C:\\Windows\\System32\\") + WideString(name)));
  }
  static void AddRecordingPrinter() {
    ASSERT_EQ(AddMonitor(TEXT("Rec"), TEXT("recmon.dll")), 0u);
    ASSERT_EQ(AddPrinter(TEXT("P"), TEXT("REC1:")), 0u);
    TakeRecord();
  }
  static HANDLE Open(ACCESS_MASK access = 0) {
    PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
    HANDLE printer = nullptr;
    EXPECT_TRUE(OpenPrinterW(Mutable(TEXT("P")), &printer, &defaults));
    return printer;
  }
  template <class Function>
  static Function* Export(const char* name) {
    const HMODULE module = GetModuleHandleW(TEXT("C:\\Windows\\System32\\recmon.dll"));
    return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  }
  static std::string TakeRecord() {
    char buffer[4000] = {};
    Export<void WINAPI(char*, DWORD)>("TakeRecord")(buffer, sizeof buffer);
    return buffer;
  }
  static void Fail(const char* operation, DWORD error) {
    Export<void WINAPI(const char*, DWORD)>("FailOperation")(operation, error);
  }
};

TEST_F(SpoolerTest, AJobGoesThroughThePortInOrder) {
  AddRecordingPrinter();
  const HANDLE printer = Open();
  DWORD written = 0;
  EXPECT_EQ(Write(printer, 1, written), DWORD{ERROR_SPL_NO_STARTDOC});
  EXPECT_FALSE(EndDocPrinter(printer));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SPL_NO_STARTDOC});
  EXPECT_EQ(TakeRecord(), "");

  EXPECT_EQ(StartDoc(printer), 1u);
  EXPECT_TRUE(StartPagePrinter(printer));
  EXPECT_EQ(Write(printer, 5, written), 0u);
  EXPECT_EQ(written, 5u);
  // Large data go block by block.
  EXPECT_EQ(Write(printer, 0x10001, written), 0u);
  EXPECT_EQ(written, 0x10001u);
  EXPECT_TRUE(EndPagePrinter(printer));
  const auto job = platform::Spooler::Current().state().Job(1);
  ASSERT_TRUE(job.has_value());
  EXPECT_EQ(job->bytes, 0x10006u);
  EXPECT_EQ(job->pages, 1u);
  EXPECT_EQ(StartDoc(printer), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PRINTER_STATE});
  EXPECT_TRUE(EndDocPrinter(printer));
  EXPECT_EQ(TakeRecord(),
            "Open REC1:;StartDoc 1 P 1 1 Title RAW;Write 1 5;Write 1 65536;Write 1 1;EndDoc 1;"
            "Close 1;");
  EXPECT_FALSE(platform::Spooler::Current().state().Job(1).has_value());

  // An aborted document, and one that the closing of its printer ends.
  EXPECT_EQ(StartDoc(printer), 2u);
  EXPECT_TRUE(AbortPrinter(printer));
  EXPECT_EQ(StartDoc(printer, nullptr, TEXT("TEXT")), 3u);
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_EQ(TakeRecord(),
            "Open REC1:;StartDoc 1 P 2 1 Title RAW;EndDoc 1;Close 1;"
            "Open REC1:;StartDoc 2 P 3 1  TEXT;EndDoc 2;Close 2;");
  EXPECT_FALSE(ClosePrinter(printer));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(SpoolerTest, AFailureOfTheMonitorIsTheCallsFailure) {
  AddRecordingPrinter();
  const HANDLE printer = Open();
  DWORD written = 7;
  Fail("Open", ERROR_BUSY);
  EXPECT_EQ(StartDoc(printer), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_BUSY});
  Fail("StartDoc", ERROR_NOT_READY);
  EXPECT_EQ(StartDoc(printer), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
  EXPECT_EQ(TakeRecord(), "Open REC1:;Open REC1:;StartDoc 1 P 1 1 Title RAW;Close 1;");
  Fail("Write", ERROR_DISK_FULL);
  EXPECT_EQ(StartDoc(printer), 2u);
  EXPECT_EQ(Write(printer, 3, written), DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(written, 0u);
  Fail("EndDoc", ERROR_DEVICE_NOT_CONNECTED);
  EXPECT_FALSE(EndDocPrinter(printer));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DEVICE_NOT_CONNECTED});
  EXPECT_EQ(TakeRecord(), "Open REC1:;StartDoc 1 P 2 1 Title RAW;Write 1 3;EndDoc 1;Close 1;");
  // A monitor that takes less than it is offered gets the rest again; one that takes nothing fails.
  Fail("", 0);
  const auto take_at_most = Export<void WINAPI(DWORD)>("TakeAtMost");
  StartDoc(printer);
  take_at_most(2);
  EXPECT_EQ(Write(printer, 5, written), 0u);
  EXPECT_EQ(written, 5u);
  take_at_most(0);
  EXPECT_EQ(Write(printer, 5, written), DWORD{ERROR_WRITE_FAULT});
  EXPECT_TRUE(AbortPrinter(printer));
  EXPECT_EQ(
      TakeRecord(),
      "Open REC1:;StartDoc 1 P 3 1 Title RAW;Write 1 5;Write 1 3;Write 1 1;Write 1 5;EndDoc 1;"
      "Close 1;");
  EXPECT_TRUE(ClosePrinter(printer));
}

TEST_F(SpoolerTest, MonitorsAreAddedOnceAndDeletedWhenUnused) {
  PutIntoSystem("loadable_module.dll", TEXT("nomonitor.dll"));
  const struct {
    const WCHAR *file, *environment;
    DWORD error;
  } refused[] = {
      {TEXT("recmon.dll"), TEXT("Windows 4.0"), ERROR_INVALID_ENVIRONMENT},
      {TEXT("missing.dll"), kEnvironment, ERROR_MOD_NOT_FOUND},
      {TEXT("nomonitor.dll"), nullptr, ERROR_INVALID_PRINT_MONITOR},
      {TEXT(""), kEnvironment, ERROR_INVALID_PARAMETER},
  };
  for (const auto& c : refused) EXPECT_EQ(AddMonitor(TEXT("Rec"), c.file, c.environment), c.error);
  Elevate(false);
  EXPECT_EQ(AddMonitor(TEXT("Rec"), TEXT("recmon.dll")), DWORD{ERROR_ACCESS_DENIED});
  Elevate(true);
  EXPECT_FALSE(HasPort(TEXT("REC1:")));

  EXPECT_EQ(AddMonitor(TEXT("Rec"), TEXT("recmon.dll")), 0u);
  EXPECT_EQ(TakeRecord(), "Initialize System\\CurrentControlSet\\Control\\Print\\Monitors\\Rec;");
  EXPECT_EQ(AddMonitor(TEXT("rec"), TEXT("recmon.dll")),
            DWORD{ERROR_PRINT_MONITOR_ALREADY_INSTALLED});
  EXPECT_EQ(PortNames(), (std::vector<WideString>{TEXT("LPT1:"), TEXT("FILE:"), TEXT("NUL:"),
                                                  TEXT("REC1:"), TEXT("REC2:")}));

  EXPECT_EQ(AddPrinter(TEXT("P"), TEXT("LPT1:,rec2:")), 0u);
  EXPECT_EQ(ErrorUnless(DeleteMonitorW(nullptr, nullptr, Mutable(TEXT("Rec")))),
            DWORD{ERROR_PRINT_MONITOR_IN_USE});
  const HANDLE printer = Open(PRINTER_ALL_ACCESS);
  EXPECT_TRUE(DeletePrinter(printer));
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_EQ(ErrorUnless(DeleteMonitorW(nullptr, nullptr, Mutable(TEXT("REC")))), 0u);
  EXPECT_FALSE(HasPort(TEXT("REC1:")));
  EXPECT_EQ(GetModuleHandleW(TEXT("C:\\Windows\\System32\\recmon.dll")), nullptr);
  EXPECT_EQ(ErrorUnless(DeleteMonitorW(nullptr, nullptr, Mutable(TEXT("Rec")))),
            DWORD{ERROR_UNKNOWN_PRINT_MONITOR});
}

TEST_F(SpoolerTest, OldSystemsInitialiseMonitorsTheirWay) {
  platform::SetFact(platform::facts::kMajor, "4");
  EXPECT_EQ(AddMonitor(TEXT("Rec"), TEXT("recmon.dll")), 0u);
  EXPECT_EQ(TakeRecord(), "InitializeEx System\\CurrentControlSet\\Control\\Print\\Monitors\\Rec;");
  EXPECT_TRUE(HasPort(TEXT("REC1:")));
}

TEST_F(SpoolerTest, AProcessOfAnotherKindCannotLoadMonitors) {
  if (!kNarrow) GTEST_SKIP() << "only 32-bit processes are guests";
  platform::SetFact(platform::facts::kArchitecture, "x64");
  for (const WCHAR* environment : {TEXT("Windows NT x86"), TEXT("Windows x64")}) {
    EXPECT_EQ(AddMonitor(TEXT("Rec"), TEXT("recmon.dll"), environment),
              DWORD{ERROR_INVALID_ENVIRONMENT});
  }
}

TEST_F(SpoolerTest, PrintersAreCheckedWhenTheyAreAdded) {
  const WideString longest(220, TEXT('n')), too_long(221, TEXT('n'));
  const struct {
    const WCHAR *name, *port, *driver, *processor, *datatype;
    DWORD error;
  } cases[] = {
      {TEXT(""), TEXT("NUL:"), kDriver, TEXT("winprint"), nullptr, ERROR_INVALID_PRINTER_NAME},
      {TEXT("a,b"), TEXT("NUL:"), kDriver, TEXT("winprint"), nullptr, ERROR_INVALID_PRINTER_NAME},
      {TEXT("a\\b"), TEXT("NUL:"), kDriver, TEXT("winprint"), nullptr, ERROR_INVALID_PRINTER_NAME},
      {too_long.c_str(), TEXT("NUL:"), kDriver, TEXT("winprint"), nullptr,
       ERROR_INVALID_PRINTER_NAME},
      {TEXT("a"), TEXT("NUL:"), TEXT("None"), TEXT("winprint"), nullptr,
       ERROR_UNKNOWN_PRINTER_DRIVER},
      {TEXT("a"), TEXT("REC9:"), kDriver, TEXT("winprint"), nullptr, ERROR_UNKNOWN_PORT},
      {TEXT("a"), TEXT("NUL:,REC9:"), kDriver, TEXT("winprint"), nullptr, ERROR_UNKNOWN_PORT},
      {TEXT("a"), TEXT("NUL:"), kDriver, TEXT("other"), nullptr, ERROR_UNKNOWN_PRINTPROCESSOR},
      {TEXT("a"), TEXT("NUL:"), kDriver, TEXT("winprint"), TEXT("ODD"), ERROR_INVALID_DATATYPE},
      {longest.c_str(), TEXT("nul:"), kDriver, TEXT("WinPrint"), TEXT("raw"), 0},
      {longest.c_str(), TEXT("NUL:"), kDriver, TEXT("winprint"), nullptr,
       ERROR_PRINTER_ALREADY_EXISTS},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AddPrinter(c.name, c.port, c.driver, c.processor, c.datatype), c.error);
  }
  Elevate(false);
  EXPECT_EQ(AddPrinter(TEXT("b"), TEXT("NUL:")), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(SpoolerTest, OpeningAPrinterAsksForRights) {
  ASSERT_EQ(AddPrinter(TEXT("P"), TEXT("NUL:")), 0u);
  const auto open = [](const WCHAR* name, ACCESS_MASK access, const WCHAR* datatype = nullptr) {
    PRINTER_DEFAULTSW defaults = {Mutable(datatype), nullptr, access};
    HANDLE printer = nullptr;
    const DWORD error = ErrorUnless(OpenPrinterW(Mutable(name), &printer, &defaults));
    if (printer != nullptr) ClosePrinter(printer);
    return error;
  };
  WCHAR machine[16] = {};
  DWORD size = 16;
  GetComputerNameW(machine, &size);
  EXPECT_EQ(open((WideString(TEXT("\\\\")) + machine + TEXT("\\p")).c_str(), 0), 0u);
  EXPECT_EQ(open(TEXT("\\\\elsewhere\\P"), 0), DWORD{ERROR_INVALID_PRINTER_NAME});
  EXPECT_EQ(open(TEXT("Q"), 0), DWORD{ERROR_INVALID_PRINTER_NAME});
  EXPECT_EQ(open(TEXT("P"), 0, TEXT("ODD")), DWORD{ERROR_INVALID_DATATYPE});
  EXPECT_EQ(open(TEXT("P"), GENERIC_ALL), 0u);
  Elevate(false);
  EXPECT_EQ(open(TEXT("P"), PRINTER_ALL_ACCESS), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(open(TEXT("P"), PRINTER_ACCESS_USE), 0u);
  const HANDLE user = Open(MAXIMUM_ALLOWED);
  EXPECT_FALSE(DeletePrinter(user));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(ClosePrinter(user));
}

TEST_F(SpoolerTest, StructuresArePackedIntoTheCallersBuffer) {
  ASSERT_EQ(AddPrinter(TEXT("P"), TEXT("NUL:")), 0u);
  DWORD needed = 77, count = 77;
  EXPECT_FALSE(EnumPortsW(nullptr, 3, nullptr, 0, &needed, &count));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_LEVEL});
  EXPECT_EQ(needed, 77u);
  EXPECT_FALSE(EnumPortsW(nullptr, 2, nullptr, 0, &needed, &count));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  std::vector<BYTE> buffer(needed, 0xCC);
  EXPECT_FALSE(EnumPortsW(nullptr, 2, buffer.data(), needed - 1, &needed, &count));
  EXPECT_EQ(count, 0u);
  ASSERT_TRUE(EnumPortsW(nullptr, 2, buffer.data(), needed, &needed, &count));
  ASSERT_EQ(count, 3u);
  const auto* ports = reinterpret_cast<PORT_INFO_2W*>(buffer.data());
  EXPECT_EQ(WideView(ports[2].pPortName), TEXT("NUL:"));
  EXPECT_EQ(WideView(ports[2].pMonitorName), TEXT("Local Port"));
  EXPECT_EQ(reinterpret_cast<BYTE*>(ports[0].pPortName), buffer.data() + needed - 12)
      << "the first text ends with the buffer";

  const HANDLE printer = Open();
  for (DWORD level : {1, 2, 4, 5}) {
    SCOPED_TRACE(level);
    EXPECT_FALSE(GetPrinterW(printer, level, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    buffer.assign(needed, 0xCC);
    EXPECT_TRUE(GetPrinterW(printer, level, buffer.data(), needed, &needed));
    EXPECT_TRUE(
        EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, level, buffer.data(), needed, &needed, &count));
    EXPECT_EQ(count, 1u);
  }
  const auto* info5 = reinterpret_cast<PRINTER_INFO_5W*>(buffer.data());
  EXPECT_EQ(WideView(info5->pPortName), TEXT("NUL:"));
  EXPECT_EQ(info5->TransmissionRetryTimeout, 45'000u);
  GetPrinterW(printer, 2, nullptr, 0, &needed);
  buffer.assign(needed, 0xCC);
  ASSERT_TRUE(GetPrinterW(printer, 2, buffer.data(), needed, &needed));
  const auto* info = reinterpret_cast<PRINTER_INFO_2W*>(buffer.data());
  EXPECT_EQ(info->pServerName, nullptr);
  EXPECT_EQ(WideView(info->pShareName), TEXT(""));
  EXPECT_EQ(WideView(info->pPrintProcessor), TEXT("winprint"));
  EXPECT_EQ(info->pDevMode->dmSize, 220);
  EXPECT_EQ(WideView(info->pDevMode->dmDeviceName), TEXT("P"));
  EXPECT_EQ(info->pSecurityDescriptor, nullptr);
  EXPECT_EQ(info->Attributes, DWORD{PRINTER_ATTRIBUTE_LOCAL});
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_FALSE(EnumPrintersW(PRINTER_ENUM_NAME, Mutable(TEXT("\\\\elsewhere")), 2, nullptr, 0,
                             &needed, &count));
  EXPECT_EQ(GetLastError(), DWORD{RPC_S_SERVER_UNAVAILABLE});
}

TEST_F(SpoolerTest, DriversMoveIntoTheirDirectory) {
  DWORD needed = 0, count = 0;
  WCHAR directory[260];
  auto* out = reinterpret_cast<BYTE*>(directory);
  EXPECT_FALSE(GetPrinterDriverDirectoryW(nullptr, Mutable(TEXT("Odd")), 1, out, 520, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_ENVIRONMENT});
  ASSERT_TRUE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, out, 520, &needed));
  EXPECT_EQ(needed, (WideView(directory).size() + 1) * sizeof(WCHAR));
  EXPECT_FALSE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, out, needed - 1, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});

  const auto host = [&](const WideString& name) {
    return platform::HostPath(directory + (TEXT('\\') + name));
  };
  DRIVER_INFO_3W info = {};
  info.cVersion = 3;
  info.pName = Mutable(TEXT("Own"));
  info.pDriverPath = Mutable(TEXT("own.dll"));
  info.pDataFile = info.pConfigFile = info.pDriverPath;
  info.pDependentFiles = Mutable(TEXT("own.dat\0"));
  EXPECT_EQ(ErrorUnless(AddPrinterDriverW(nullptr, 3, AsBytes(&info))),
            DWORD{ERROR_FILE_NOT_FOUND});
  std::ofstream(host(TEXT("own.dll"))) << "driver";
  std::ofstream(host(TEXT("own.dat"))) << "data";
  EXPECT_EQ(ErrorUnless(AddPrinterDriverW(nullptr, 3, AsBytes(&info))), 0u);
  EXPECT_FALSE(std::filesystem::exists(host(TEXT("own.dll"))));
  EXPECT_TRUE(std::filesystem::exists(host(TEXT("3\\own.dll"))));

  ASSERT_EQ(AddPrinter(TEXT("P"), TEXT("NUL:"), TEXT("OWN")), 0u);
  const HANDLE printer = Open();
  EXPECT_FALSE(GetPrinterDriverW(printer, Mutable(TEXT("Windows 4.0")), 3, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_UNKNOWN_PRINTER_DRIVER});
  EXPECT_FALSE(GetPrinterDriverW(printer, nullptr, 3, nullptr, 0, &needed));
  std::vector<BYTE> buffer(needed);
  ASSERT_TRUE(GetPrinterDriverW(printer, nullptr, 3, buffer.data(), needed, &needed));
  const auto* driver = reinterpret_cast<DRIVER_INFO_3W*>(buffer.data());
  EXPECT_EQ(WideView(driver->pDriverPath), directory + WideString(TEXT("\\3\\own.dll")));
  const WideString dependent = directory + WideString(TEXT("\\3\\own.dat"));
  EXPECT_EQ(WideView(driver->pDependentFiles, dependent.size() + 2),
            dependent + WideString(2, TEXT('\0')));
  EXPECT_EQ(driver->pMonitorName, nullptr);
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_FALSE(EnumPrinterDriversW(nullptr, nullptr, 2, nullptr, 0, &needed, &count));
  buffer.resize(needed);
  EXPECT_TRUE(EnumPrinterDriversW(nullptr, nullptr, 2, buffer.data(), needed, &needed, &count));
  EXPECT_EQ(count, 2u);
}

TEST_F(SpoolerTest, AMonitorWrittenIntoTheRegistryWaitsForTheNextStart) {
  EXPECT_FALSE(HasPort(TEXT("REC1:")));
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kMonitorKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &key, nullptr),
            ERROR_SUCCESS);
  const WideView file = TEXT("recmon.dll");
  RegSetValueExW(key, TEXT("Driver"), 0, REG_SZ, reinterpret_cast<const BYTE*>(file.data()),
                 static_cast<DWORD>((file.size() + 1) * sizeof(WCHAR)));
  RegCloseKey(key);
  EXPECT_FALSE(HasPort(TEXT("REC1:")));
  platform::StopSpooler();
  DWORD needed = 0, count = 0;
  EXPECT_FALSE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &count));
  EXPECT_EQ(GetLastError(), DWORD{RPC_S_SERVER_UNAVAILABLE});
  platform::StartSpooler();
  EXPECT_TRUE(HasPort(TEXT("REC1:")));

  // Stopping ends what prints and lets go of the module.
  ASSERT_EQ(AddPrinter(TEXT("P"), TEXT("REC1:")), 0u);
  const HANDLE printer = Open();
  TakeRecord();
  {
    const platform::Impersonation system(TEXT("SYSTEM"));
    StartDoc(printer);
  }
  EXPECT_EQ(platform::Spooler::Current().state().Jobs(TEXT("P")).at(0).user,
            WideView(TEXT("SYSTEM")));
  const HMODULE module = LoadLibraryW(TEXT("C:\\Windows\\System32\\recmon.dll"));
  platform::StopSpooler();
  EXPECT_EQ(TakeRecord(), "Open REC1:;StartDoc 1 P 1 1 Title RAW;EndDoc 1;Close 1;");
  DWORD written = 0;
  EXPECT_EQ(Write(printer, 1, written), DWORD{RPC_S_SERVER_UNAVAILABLE});
  platform::StartSpooler();
  EXPECT_EQ(Write(printer, 1, written), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_TRUE(ClosePrinter(printer));
  platform::StopSpooler();
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(GetModuleHandleW(TEXT("C:\\Windows\\System32\\recmon.dll")), nullptr);
}

TEST_F(SpoolerTest, ProcessesShareMonitorsPrintersAndJobNumbers) {
  platform::UseVirtualClock(false);
  EXPECT_FALSE(HasPort(TEXT("REC1:")));
  EXPECT_EQ(kv::test::RunPeer(directory(),
                              [] {
                                if (AddMonitor(TEXT("Rec"), TEXT("recmon.dll")) != 0) return 1;
                                if (AddPrinter(TEXT("P"), TEXT("REC1:")) != 0) return 2;
                                const HANDLE printer = Open();
                                if (StartDoc(printer) != 1) return 3;
                                // It dies with its job.
                                return 0;
                              }),
            0);
  EXPECT_TRUE(HasPort(TEXT("REC1:")));
  const HANDLE printer = Open();
  EXPECT_EQ(StartDoc(printer), 2u);
  EXPECT_EQ(platform::Spooler::Current().state().Jobs(TEXT("P")).size(), 1u);
  EXPECT_TRUE(EndDocPrinter(printer));
  EXPECT_TRUE(ClosePrinter(printer));
}

TEST_F(SpoolerTest, ThreadsPrintAtTheSameTime) {
  platform::UseVirtualClock(false);
  AddRecordingPrinter();
  std::vector<std::thread> threads;
  std::atomic<int> complete = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      const HANDLE printer = Open();
      for (int i = 0; i < 5; ++i) {
        DWORD written = 0;
        if (StartDoc(printer) != 0 && Write(printer, 100, written) == 0 && EndDocPrinter(printer))
          ++complete;
      }
      ClosePrinter(printer);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(complete, 20);
  const std::string record = TakeRecord();
  EXPECT_NE(record.find("P 20 1 Title"), std::string::npos);
  size_t closed = 0;
  for (size_t at = 0; (at = record.find("Close", at)) != std::string::npos; ++at) ++closed;
  EXPECT_EQ(closed, 20u);
}

}  // namespace
