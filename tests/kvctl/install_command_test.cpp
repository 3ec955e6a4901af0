// kvctl install, remove and status, run in this process, where calls can be made to fail.
#include <algorithm>
#include <fstream>
#include <iterator>

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "platform/control/spooler.h"
#include "runtime/core/handles.h"
#include "runtime/printing/monitor_installation.h"
#include "runtime/printing/printer_settings.h"
#include "runtime/registry/reg_key.h"
#include "tests/support/runtime_test.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/port_files.h"
#include "tools/kvctl/port_status.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;
using kvctl::PortStatus;
using kvctl::WideString;

std::string messages;

int KeepMessage(LPCWSTR text, LPCWSTR, UINT) {
  for (; *text != 0; ++text) messages += static_cast<char>(*text);
  return IDCANCEL;
}

class InstallCommandTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
    platform::SetFactNumber(facts::kUserIsElevated, 1);
    // The spooler installs its driver for the architecture that it finds when it starts.
    platform::UseMachine(directory());
    Begin();
  }
  void Begin() {
    Restart();
    SetMessageSink(KeepMessage);
    platform::ResetFaults();
  }

  // Runs "kvctl NAME words…"; what it prints, and the product's messages, stand in output_.
  int Run(LPCWSTR name, const std::vector<WideString>& words = {}) {
    const kvctl::Command& command = *kvctl::FindCommand(name);
    kvctl::Arguments arguments;
    EXPECT_TRUE(arguments.Parse(words, command.options, 0, 0));
    messages.clear();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = command.run(arguments);
    output_ = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    output_ += messages;
    return status;
  }
  int Install(const std::vector<WideString>& more = {}) {
    std::vector<WideString> words = {TEXT("--driver"), TEXT("Generic / Text Only")};
    words.insert(words.end(), more.begin(), more.end());
    return Run(TEXT("install"), words);
  }
  int Remove() { return Run(TEXT("remove")); }
  bool Says(std::string_view text) const { return output_.find(text) != std::string::npos; }

  static WideString SystemFile(LPCWSTR name) {
    return kvctl::PathIn(kvctl::SystemDirectory(), name);
  }
  // The module with another version, 8.`minor`.
  static void WriteModule(BYTE minor) {
    std::ifstream file(TestDirectory() / "kvmon8.dll", std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const size_t fixed = bytes.find("\xBD\x04\xEF\xFE");
    for (const size_t offset : {8, 16}) bytes[fixed + offset] = static_cast<char>(minor);
    std::ofstream(platform::HostPath(SystemFile(kMonitorFile)), std::ios::binary) << bytes;
  }
  static void WriteResources() {
    std::filesystem::copy_file(TestDirectory() / "kvres832.dll",
                               platform::HostPath(SystemFile(kResourceDllName)));
  }
  // "": the port works; "nothing": nothing of it is there; else what is wrong.
  static std::string State() {
    const PortStatus status = kvctl::ReadPortStatus();
    size_t files = 0, needed = 0;
    for (const WideString& directory : {kvctl::SystemDirectory(), kvctl::DriverDirectory()}) {
      for (const auto& entry : std::filesystem::directory_iterator(platform::HostPath(directory))) {
        const std::string name = entry.path().filename();
        files += name.starts_with("kvmon8") || name.starts_with("kvres832");
        needed += name == "kvmon8.dll" || name == "kvres832.dll";
        // A backup that cannot be deleted goes at the next restart.
        const bool goes = name.ends_with(".old") && status.pending.size() == 1;
        if (!goes && (name.ends_with(".new") || name.ends_with(".old")))
          return "left over: " + name;
      }
    }
    if (!status.spoolerRuns) return "the spooler stands still";
    for (const auto& operation : status.pending) {
      if (!operation.source.ends_with(TEXT(".old"))) return "operations at the next restart";
    }
    if (status.registeredFile.empty()) return files == 0 ? "nothing" : "files without a monitor";
    if (!status.portIsListed) return "a monitor without its port";
    return needed == 4 ? "" : "files are missing";
  }

  // Whatever fails, the port works afterwards or nothing of it is there, and doing it again helps.
  // All of the several hundred calls take minutes: KV_EVERY_FAILURE=1 asks for them.
  template <class Prepare>
  void SweepInstallation(Prepare prepare) {
    const uint64_t stride = getenv("KV_EVERY_FAILURE") != nullptr ? 1 : 29;
    bool hit = true;
    for (uint64_t n = 1; hit; n += stride) {
      prepare();
      platform::ResetFaults();
      platform::FailAnyCall(n);
      const int status = Install();
      hit = platform::InjectedFailures() != 0;
      const std::string where =
          std::to_string(n) + " " + platform::LastInjectedFunction() + "\n" + output_;
      platform::ResetFaults();
      // The module itself reports when it cannot be loaded.
      platform::ScriptBoxes(true);
      if (status != 0) {
        EXPECT_NE(output_, "") << where;
        ASSERT_EQ(Install(), 0) << where;
      }
      ASSERT_EQ(State(), "") << where;
      ASSERT_EQ(Remove(), 0) << where << output_;
      ASSERT_EQ(State(), "nothing") << where << output_;
    }
  }

  std::string output_;
};

TEST_F(InstallCommandTest, AnOlderModuleThatTheSpoolerUses) {
  WriteModule(26);
  WriteResources();
  ASSERT_TRUE(InstallPortMonitor());
  platform::ResetFaults();
  EXPECT_EQ(Install(), 0) << output_;
  EXPECT_TRUE(Says("kvmon8.dll\": version 8.26 was replaced by 8.27.")) << output_;
  EXPECT_EQ(platform::CallCount("ControlService"), 1u) << "the spooler was stopped for it";
  EXPECT_EQ(State(), "");
  platform::ResetFaults();
  EXPECT_EQ(Install(), 0) << "there is nothing to do";
  EXPECT_EQ(platform::CallCount("CopyFileW") + platform::CallCount("ControlService"), 0u);
}

TEST_F(InstallCommandTest, ANewerModuleStays) {
  WriteModule(28);
  EXPECT_EQ(Install(), 0);
  EXPECT_TRUE(Says("version 8.28 is newer than that of the package and was kept")) << output_;
  EXPECT_EQ(State(), "");
}

TEST_F(InstallCommandTest, FilesThatOthersUseGoAtTheNextRestart) {
  WriteModule(26);
  WriteResources();
  UniqueModule user(LoadLibraryW(SystemFile(kMonitorFile).c_str()));
  EXPECT_EQ(Install(), 4) << output_;
  EXPECT_TRUE(Says("is in use; the next restart of the computer replaces it"));
  EXPECT_EQ(Install(), 4);
  EXPECT_EQ(kvctl::ReadPortStatus().pending.size(), 1u) << "once";
  EXPECT_EQ(Run(TEXT("status"), {TEXT("--json")}), 4);
  EXPECT_TRUE(Says("\"portListed\": true") && Says("kvmon8.dll.new\", \"target\": \"")) << output_;
  EXPECT_EQ(Remove(), 4);
  const auto pending = kvctl::ReadPortStatus().pending;
  ASSERT_EQ(pending.size(), 2u) << "the module and its texts";
  for (const auto& operation : pending) EXPECT_TRUE(operation.target.empty()) << "not replaced now";
  user.Reset();
  EXPECT_EQ(Install(), 0) << "nobody wants it deleted now";
  EXPECT_EQ(State(), "");
  EXPECT_EQ(Run(TEXT("status")), 0);
  EXPECT_TRUE(Says("kvres832-0407.dll (version 8.27), language 0407")) << output_;
}

TEST_F(InstallCommandTest, WhatMachineAndSpoolerRefuse) {
  static constexpr struct {
    const char* function;
    DWORD error;
    int status;
    const char* text;
    const char* state;
  } kRows[] = {
      {"AddMonitorW", ERROR_ACCESS_DENIED, 0, "is ready", ""},  // the registry does it
      {"AddMonitorW", ERROR_PRINT_MONITOR_ALREADY_INSTALLED, 0, "is ready", ""},
      {"AddPrinterW", ERROR_ACCESS_DENIED, 3, "Only an administrator can do this", "nothing"},
      {"AddPrinterW", ERROR_UNKNOWN_PRINTER_DRIVER, 1, "is not on this computer", ""},
      {"AddPrinterW", ERROR_PRINTER_ALREADY_EXISTS, 1, "cannot create the printer", "nothing"},
      {"AddPrinterW", ERROR_INVALID_PRINTER_NAME, 1, "could not be created", "nothing"},
  };
  for (const auto& row : kRows) {
    platform::ResetFaults();
    platform::FailCall(row.function, 1, row.error);
    EXPECT_EQ(Install(), row.status) << row.function << row.error;
    EXPECT_TRUE(Says(row.text)) << output_;
    EXPECT_EQ(State(), row.state) << row.function << row.error;
    EXPECT_EQ(Remove(), 0) << output_;
  }
  startupContext.silent = 1;
  platform::FailCall("AddPrinterW", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Install(), 3);
  EXPECT_TRUE(Says("kvctl: cannot create the printer \"Folvane\": Access is denied")) << output_;
  startupContext.silent = 0;
  EXPECT_EQ(Run(TEXT("install")), 1) << "the product's driver is not on the machine";
  EXPECT_EQ(State(), "");
  EXPECT_EQ(Install({TEXT("--printer"), TEXT("a,b")}), 1);
  EXPECT_EQ(State(), "") << "what was there before stays";
  EXPECT_EQ(Remove(), 0);
  startupContext.platform.wow64Arch = 9;
  EXPECT_EQ(Install(), 1);
  EXPECT_TRUE(Says("use the 64-bit package"));
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  Begin();
  EXPECT_EQ(Install(), 1);
  EXPECT_TRUE(Says("Windows 95, 98 and Me cannot load port monitors of this kind"));
}

TEST_F(InstallCommandTest, AForeignPrinterStaysAsItIs) {
  EXPECT_EQ(Install(), 0);
  HANDLE handle;
  ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(TEXT("Folvane")), &handle, nullptr));
  ClosePrinter(handle);
  UniqueKey key;
  RegOpenKeyExW(HKEY_LOCAL_MACHINE,
                TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Folvane"), 0, KEY_WRITE,
                key.Receive());
  constexpr WCHAR kOther[] = TEXT("LPT1:");
  RegSetValueExW(key.Get(), TEXT("Port"), 0, REG_SZ, reinterpret_cast<const BYTE*>(kOther),
                 sizeof kOther);
  EXPECT_EQ(Install(), 1);
  EXPECT_TRUE(Says("there is a printer \"Folvane\" already, on port LPT1:")) << output_;
  EXPECT_EQ(Remove(), 0);
  EXPECT_FALSE(Says("printer"));
}

TEST_F(InstallCommandTest, PaperAndSettings) {
  EXPECT_EQ(Install({TEXT("--paper"), TEXT("Papyrus")}), 2);
  for (const LPCWSTR paper : {TEXT("9x"), TEXT("65545"), TEXT("-1")}) {
    EXPECT_EQ(Install({TEXT("--paper"), paper}), 2);
  }
  EXPECT_EQ(Install({TEXT("--paper"), TEXT("a4")}), 0);
  ProductDevMode settings;
  ReadUserPrinterSettings(nullptr, TEXT("Folvane"), kStoredOnly, settings);
  EXPECT_EQ(settings.dev.dmPaperSize, DMPAPER_A4);
  EXPECT_EQ(Remove(), 0);
  EXPECT_TRUE(Says("Kept: the settings in HKEY_CURRENT_USER\\Software")) << output_;
  EXPECT_TRUE(RegKey().Create32(HKEY_LOCAL_MACHINE, kSettingsRoot));
  EXPECT_EQ(Run(TEXT("remove"), {TEXT("--purge")}), 0);
  EXPECT_FALSE(RegKey().Open(HKEY_CURRENT_USER, TEXT("Software\\Veltmoor Software")));
  EXPECT_TRUE(Says("Removed: the settings in HKEY_CURRENT_USER\\Software")) << output_;
  EXPECT_EQ(Remove(), 0);
  EXPECT_EQ(output_, "There was nothing to remove.\n");
}

TEST_F(InstallCommandTest, AFailureLeavesAWorkingPortOrNothing) {
  SweepInstallation([] {});
}

TEST_F(InstallCommandTest, AFailedUpgradeLeavesAWorkingPort) {
  SweepInstallation([] {
    WriteModule(26);
    WriteResources();
    ASSERT_TRUE(InstallPortMonitor());
  });
}

}  // namespace
}  // namespace kv::test
