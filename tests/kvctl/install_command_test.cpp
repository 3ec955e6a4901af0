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
#include "tests/kvctl/spoilt_module.h"
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
    messages.clear();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = RunCommand(*kvctl::FindCommand(name), words);
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
    WriteSpoiltModule(platform::HostPath(SystemFile(TEXT("kvmon8.dll"))), kVersionMark,
                      [&](char* mark) {
                        for (const size_t offset : {8, 16}) mark[offset] = static_cast<char>(minor);
                      });
  }
  static void WriteResources() {
    std::filesystem::copy_file(TestDirectory() / "kvres832.dll",
                               platform::HostPath(SystemFile(TEXT("kvres832.dll"))));
  }
  // The paths of the port's files on the machine.
  static std::vector<std::string> FilesLeft() {
    std::vector<std::string> left;
    for (const WideString& directory : {kvctl::SystemDirectory(), kvctl::DriverDirectory()}) {
      for (const auto& entry : std::filesystem::directory_iterator(platform::HostPath(directory))) {
        const std::string name = entry.path().filename();
        if (name.starts_with("kvmon8") || name.starts_with("kvres832")) left.push_back(name);
      }
    }
    return left;
  }
  // "": the port works; "nothing": nothing of it is there; else what is wrong.
  static std::string State() {
    const PortStatus status = kvctl::ReadPortStatus();
    const std::vector<std::string> files = FilesLeft();
    size_t needed = 0;
    for (const std::string& name : files) {
      needed += name == "kvmon8.dll" || name == "kvres832.dll";
      const bool goes = std::ranges::any_of(status.pending, [&](const auto& operation) {
        return platform::HostPath(operation.source).filename() == name;
      });
      if (!goes && (name.ends_with(".new") || name.ends_with(".old"))) return "left over: " + name;
    }
    if (!status.spoolerRuns) return "the spooler stands still";
    for (const auto& operation : status.pending) {
      if (operation.source.ends_with(TEXT(".dll"))) return "operations at the next restart";
    }
    if (status.registeredFile.empty()) return files.empty() ? "nothing" : "files without a monitor";
    if (!status.portIsListed) return "a monitor without its port";
    return needed == 4 ? "" : "files are missing";
  }

  // What stands in the way of `command` doing all of it once the n-th call has failed, for every
  // 29th n; all of the several hundred calls take minutes: KV_EVERY_FAILURE=1 asks for them.
  template <class Prepare, class Command, class Look>
  void SweepCalls(Prepare prepare, Command command, Look look) {
    const uint64_t stride = getenv("KV_EVERY_FAILURE") != nullptr ? 1 : 29;
    bool hit = true;
    for (uint64_t n = 1; hit; n += stride) {
      prepare();
      platform::ResetFaults();
      platform::FailAnyCall(n);
      const int status = command();
      hit = platform::InjectedFailures() != 0;
      SCOPED_TRACE(std::to_string(n) + " " + platform::LastInjectedFunction() + " status " +
                   std::to_string(status) + "\n" + output_);
      platform::ResetFaults();
      // The module itself reports when it cannot be loaded.
      platform::ScriptBoxes(true);
      EXPECT_TRUE(status == 0 || !output_.empty());
      look(status, State());
      if (State() != "nothing") {
        ASSERT_EQ(Remove(), 0) << output_;
        ASSERT_EQ(State(), "nothing") << output_;
      }
    }
  }
  template <class Prepare>
  void SweepInstallation(Prepare prepare, const std::string& before) {
    SweepCalls(
        prepare, [&] { return Install(); },
        [&](int status, const std::string& state) {
          EXPECT_TRUE(state.empty() || (status != 0 && state == before)) << state;
          const bool works = Run(TEXT("status")) != 1;
          EXPECT_EQ(works, state.empty()) << output_;
          EXPECT_EQ(Says("The port KVR8: works"), works) << output_;
          ASSERT_EQ(Install(), 0) << output_;
          ASSERT_EQ(State(), "");
        });
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
  UniqueModule user(LoadLibraryW(SystemFile(TEXT("kvmon8.dll")).c_str()));
  platform::FailCall("AddPrinterW", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Install(), 3) << output_;
  EXPECT_TRUE(kvctl::ReadPortStatus().pending.empty()) << "put back";
  EXPECT_EQ(FilesLeft().size(), 2u);
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
  for (const LPCWSTR command : {TEXT("install"), TEXT("remove")}) {
    platform::FailCall("GetSystemDirectoryW", 1, ERROR_ACCESS_DENIED, 1000);
    EXPECT_EQ(Run(command), 1);
    EXPECT_EQ(output_, "kvctl: the system does not say where its directory is: Access is denied\n");
    platform::ResetFaults();
    EXPECT_EQ(State(), "") << "nothing has changed";
  }
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
  EXPECT_TRUE(RegKey().Create32(HKEY_LOCAL_MACHINE, TEXT("Software\\Veltmoor Software\\Folvane8")));
  EXPECT_EQ(Run(TEXT("remove"), {TEXT("--purge")}), 0);
  EXPECT_FALSE(RegKey().Open(HKEY_CURRENT_USER, TEXT("Software\\Veltmoor Software")));
  EXPECT_TRUE(Says("Removed: the settings in HKEY_CURRENT_USER\\Software")) << output_;
  EXPECT_FALSE(Says("There was nothing to remove.")) << output_;
  EXPECT_EQ(Remove(), 0);
  EXPECT_EQ(output_, "There was nothing to remove.\n");
}

TEST_F(InstallCommandTest, NamesThatNoPrinterCanHave) {
  const WideString longest(220, 'x');
  for (const WideString& name : {WideString(TEXT("a,b")), WideString(TEXT("a\\b")),
                                 WideString(TEXT("a!")), WideString(), longest + TEXT('x')}) {
    EXPECT_EQ(Install({TEXT("--printer"), name}), 2) << output_;
    EXPECT_TRUE(Says("a name has 1 to 220 characters and no backslash, comma or exclamation mark"));
  }
  EXPECT_EQ(Install({TEXT("--printer"), TEXT("\\\\srv\\x")}), 2);
  EXPECT_TRUE(Says("is a printer of another computer")) << output_;
  EXPECT_EQ(State(), "nothing");
  EXPECT_EQ(Install({TEXT("--printer"), longest}), 0) << output_;
}

TEST_F(InstallCommandTest, APrinterThatWasThereIsChangedOrStays) {
  const auto printer = [] {
    const auto printers = kvctl::ReadPortStatus().printers;
    return printers.size() == 1 ? printers[0].driver : TEXT("none");
  };
  ASSERT_EQ(Install(), 0) << output_;
  // Whatever is not known of it.
  for (int n = 1; n <= 12; ++n) {
    platform::FailCall("EnumPrintersW", n, ERROR_ACCESS_DENIED);
    const int status = Install();
    platform::ResetFaults();
    EXPECT_EQ(printer(), TEXT("Generic / Text Only")) << n << output_;
    EXPECT_EQ(State(), "") << n;
    EXPECT_EQ(status == 0, Says("is ready")) << n << output_;
  }
  EXPECT_EQ(Install({TEXT("--driver"), TEXT("Nobody")}), 1);
  EXPECT_TRUE(
      Says("keeps its driver \"Generic / Text Only\" and did not get \"Nobody\": "
           "The printer driver is unknown; \"kvctl drivers\""))
      << output_;
  WCHAR directory[MAX_PATH];
  DWORD needed;
  ASSERT_TRUE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(directory),
                                         sizeof directory, &needed));
  std::ofstream(platform::HostPath(WideString(directory) + TEXT("\\own.dll"))) << "driver";
  DRIVER_INFO_3W info = {};
  info.cVersion = 3;
  info.pName = const_cast<LPWSTR>(TEXT("Own"));
  info.pDriverPath = info.pDataFile = info.pConfigFile = const_cast<LPWSTR>(TEXT("own.dll"));
  ASSERT_TRUE(AddPrinterDriverW(nullptr, 3, reinterpret_cast<BYTE*>(&info)));
  EXPECT_EQ(Run(TEXT("drivers")), 0);
  EXPECT_TRUE(Says("Own                                     3")) << output_;
  for (const char* call : {"SetPrinterW", "GetPrinterW"}) {
    platform::FailCall(call, 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Install({TEXT("--driver"), TEXT("Own")}), 1);
    EXPECT_TRUE(Says("did not get \"Own\": Access is denied")) << call << output_;
  }
  EXPECT_EQ(Install({TEXT("--driver"), TEXT("Own")}), 0);
  EXPECT_TRUE(Says("is ready on port KVR8: (driver \"Own\")")) << output_;
  EXPECT_EQ(printer(), TEXT("Own"));
  EXPECT_EQ(Run(TEXT("install")), 0) << "no driver is asked for";
  EXPECT_EQ(printer(), TEXT("Own"));
}

TEST_F(InstallCommandTest, ThePortAlone) {
  EXPECT_EQ(Run(TEXT("install"), {TEXT("--no-printer")}), 0);
  EXPECT_EQ(output_, "The port KVR8: is installed.\n");
  EXPECT_TRUE(kvctl::ReadPortStatus().printers.empty());
  EXPECT_EQ(Install({TEXT("--no-printer")}), 2) << "a driver for no printer";
  EXPECT_EQ(Run(TEXT("status")), 0);
  EXPECT_TRUE(output_.starts_with("The port KVR8: works; no printer prints to it.\n"));
  EXPECT_TRUE(output_.ends_with("lists the drivers.\n")) << output_;
  EXPECT_EQ(Run(TEXT("status"), {TEXT("--json")}), 0);
  EXPECT_TRUE(output_.starts_with("{\"verdict\": \"no-printer\", ")) << output_;
}

TEST_F(InstallCommandTest, VerdictsAndWhatHelps) {
  const auto verdict = [&] {
    Run(TEXT("status"), {TEXT("--json")});
    return output_.substr(0, output_.find("\", \"message\""));
  };
  EXPECT_EQ(verdict(), "{\"verdict\": \"not-installed");
  ASSERT_EQ(Install(), 0);
  EXPECT_EQ(verdict(), "{\"verdict\": \"works");
  const auto hide = [&](LPCWSTR file, const WideString& suffix) {
    const auto path = platform::HostPath(SystemFile(file));
    std::filesystem::rename(suffix.empty() ? path.string() + ".hidden" : path.string(),
                            suffix.empty() ? path.string() : path.string() + ".hidden");
  };
  hide(TEXT("kvres832.dll"), TEXT("."));
  EXPECT_EQ(verdict(), "{\"verdict\": \"works-until-stopped");
  Run(TEXT("status"));
  EXPECT_TRUE(Says("kvres832.dll is missing\n")) << output_;
  platform::StopSpooler();
  EXPECT_EQ(verdict(), "{\"verdict\": \"texts-missing");
  hide(TEXT("kvres832.dll"), {});
  EXPECT_EQ(verdict(), "{\"verdict\": \"spooler-stopped");
  WriteSpoiltModule(platform::HostPath(SystemFile(TEXT("kvmon8.dll"))), kMonitorEntry,
                    [](char* name) { ++*name; });
  platform::StartSpooler();
  EXPECT_EQ(verdict(), "{\"verdict\": \"not-listed");
  hide(TEXT("kvmon8.dll"), TEXT("."));
  EXPECT_EQ(verdict(), "{\"verdict\": \"module-missing");
  EXPECT_EQ(Run(TEXT("status")), 1);
  EXPECT_TRUE(output_.ends_with("To do: \"kvctl install\" puts the port in place.\n")) << output_;
  EXPECT_EQ(Install(), 0) << output_;
  EXPECT_EQ(State(), "");
}

TEST_F(InstallCommandTest, RemovalLooksEverywhere) {
  ASSERT_EQ(Install(), 0) << output_;
  platform::FailCall("DeletePrinter", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Remove(), 3);
  EXPECT_TRUE(Says("kvctl: cannot delete the printer \"Folvane\": Access is denied\n")) << output_;
  EXPECT_FALSE(Says("Removed: the printer")) << output_;
  EXPECT_EQ(State(), "");
  HANDLE handle;
  ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(TEXT("Folvane")), &handle, nullptr));
  DOC_INFO_1W document = {const_cast<LPWSTR>(TEXT("x")), nullptr, nullptr};
  ASSERT_NE(StartDocPrinterW(handle, 1, reinterpret_cast<BYTE*>(&document)), 0u);
  EXPECT_EQ(Remove(), 1);
  EXPECT_EQ(output_,
            "kvctl: jobs wait on the printer \"Folvane\" (1); nothing was removed "
            "(--cancel-jobs cancels them)\n");
  EXPECT_EQ(State(), "");
  EXPECT_EQ(Run(TEXT("remove"), {TEXT("--cancel-jobs")}), 4) << "this process still prints";
  EXPECT_TRUE(Says("Removed: the printer \"Folvane\".\n")) << output_;
  ClosePrinter(handle);
  EXPECT_EQ(Remove(), 0) << output_;
  EXPECT_EQ(State(), "nothing");
  for (const LPCWSTR left : {TEXT("kvmon8.dll.old"), TEXT("kvres832.dll.new")}) {
    std::ofstream(platform::HostPath(SystemFile(left))) << "left";
  }
  platform::ResetFaults();
  platform::FailCall("FindFirstFileW", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Remove(), 3);
  EXPECT_EQ(output_, "kvctl: cannot read \"C:\\Windows\\System32\": Access is denied\n");
  EXPECT_EQ(Remove(), 0);
  EXPECT_TRUE(Says("kvmon8.dll.old") && Says("kvres832.dll.new")) << output_;
  EXPECT_EQ(State(), "nothing");
}

TEST_F(InstallCommandTest, AFailureLeavesAWorkingPortOrNothing) {
  SweepInstallation([] {}, "nothing");
}

TEST_F(InstallCommandTest, AFailedUpgradeLeavesAWorkingPort) {
  SweepInstallation(
      [&] {
        ASSERT_EQ(Install(), 0) << output_;
        platform::StopSpooler();
        WriteModule(26);
        platform::StartSpooler();
      },
      "");
}

TEST_F(InstallCommandTest, AFailedRemovalNamesWhatIsLeft) {
  SweepCalls(
      [&] { ASSERT_EQ(Install(), 0) << output_; }, [&] { return Remove(); },
      [&](int status, const std::string& state) {
        EXPECT_TRUE(status != 0 || state == "nothing") << state;
        // Without its monitor nothing but files may be left, and each is named.
        EXPECT_TRUE(state.empty() || state == "nothing" || state == "files without a monitor")
            << state;
        for (const std::string& file : FilesLeft()) {
          EXPECT_TRUE(state.empty() || Says(file)) << file;
        }
      });
}

}  // namespace
}  // namespace kv::test
