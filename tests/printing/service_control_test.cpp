// Services, and the restart of the spooler.
#include "runtime/printing/service_control.h"

#include "platform/control/profiles.h"
#include "platform/control/services.h"
#include "platform/control/spooler.h"
#include "tests/printing/growing_calls.h"
#include "tests/printing/printer_test.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

// The states of Spooler, Fax, Archive and Mail: "4" running, "1" stopped, "3" stop pending.
std::string States() {
  std::string states;
  for (const LPCWSTR name : {TEXT("Spooler"), TEXT("Fax"), TEXT("Archive"), TEXT("Mail")}) {
    states += std::to_string(platform::ServiceState(name));
  }
  return states;
}

// The states behind each order.
std::vector<std::string> stops, starts;

BOOL WINAPI RecordingControl(SC_HANDLE service, DWORD control, LPSERVICE_STATUS status) {
  stops.push_back(States());
  return ControlService(service, control, status);
}

BOOL WINAPI RecordingStart(SC_HANDLE service, DWORD count, LPCWSTR* arguments) {
  starts.push_back(States());
  return StartServiceW(service, count, arguments);
}

DWORD listed_states;

BOOL WINAPI EnumGrowingDependents(SC_HANDLE service, DWORD state, LPENUM_SERVICE_STATUSW list,
                                  DWORD size, LPDWORD needed, LPDWORD count) {
  EXPECT_EQ(state, DWORD{SERVICE_ACTIVE});
  if (growing_times == 0) {
    return EnumDependentServicesW(service, listed_states, list, size, needed, count);
  }
  --growing_times;
  *needed = 8;
  *count = 0;
  SetLastError(ERROR_MORE_DATA);
  return FALSE;
}

class ServiceControlTest : public PrinterTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFactNumber(facts::kUserIsElevated, 1);
  }
  static void SetServiceFact(const std::string& name, const std::string& value) {
    platform::SetFact(facts::kServicePrefix + name, value);
  }
  // Fax needs the spooler, Archive and Mail need Fax.
  static void InstallDependents() {
    platform::InstallService(TEXT("Fax"), {TEXT("Spooler")});
    platform::InstallService(TEXT("Archive"), {TEXT("Fax"), TEXT("RpcSs")});
    platform::InstallService(TEXT("Mail"), {TEXT("FAX")});
    growing_times = 0;
    listed_states = SERVICE_ACTIVE;
    platform::Replace("ControlService", &RecordingControl);
    platform::Replace("StartServiceW", &RecordingStart);
    platform::Replace("EnumDependentServicesW", &EnumGrowingDependents);
  }
  // A restart that fails with a report.
  static void ExpectRestartReport(DWORD error, WideView report) {
    EXPECT_EQ(BoxOf([=] { ExpectRefusal(error, RestartSpooler()); }), report);
  }
};

TEST_F(ServiceControlTest, ARestartTakesTheDependentsAlong) {
  InstallDependents();
  stops.clear();
  starts.clear();
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(stops, (std::vector<std::string>{"4444", "4414", "4411", "4111"}));
  EXPECT_EQ(starts, (std::vector<std::string>{"1111", "4111", "4411", "4414"}));
  EXPECT_EQ(States(), "4444");
  EXPECT_EQ(platform::CallCount("EnumDependentServicesW"), 2u) << "starting does not ask again";
  // What is stopped stays so, unless it was listed all the same.
  platform::SetServiceState(TEXT("Mail"), SERVICE_STOPPED);
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(States(), "4441");
  listed_states = 3;  // SERVICE_STATE_ALL
  stops.clear();
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(stops.size(), 3u) << "not what is recorded as stopped";
  EXPECT_EQ(States(), "4444");
}

TEST_F(ServiceControlTest, DependentsThatStartMeanwhileAreAskedForAgain) {
  InstallDependents();
  growing_times = 4;
  stops.clear();
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(stops.size(), 4u);
  growing_times = 5;
  ExpectRestartReport(ERROR_MORE_DATA,
                      TEXT("EnumDependentServices failed.\n\nMore data is available."));
  growing_times = 0;
  EXPECT_EQ(BoxOf([] {
              CServiceControl spooler(TEXT("Spooler"), ServiceAccess::kFull);
              FailAllocation(1);
              const bool stopped = spooler.StopWithDependents();
              FailAllocation(0);
              ExpectRefusal(ERROR_NOT_ENOUGH_MEMORY, stopped);
            }),
            TEXT("An internal error occurred: could not allocate service list."));
  EXPECT_EQ(States(), "4444");
}

TEST_F(ServiceControlTest, ADependentThatRefusesEndsTheOperation) {
  InstallDependents();
  platform::FailCall("OpenServiceW", 2, ERROR_ACCESS_DENIED);
  ExpectRestartReport(ERROR_ACCESS_DENIED, TEXT("OpenService failed.\n\nAccess is denied."));
  EXPECT_EQ(States(), "4444");
  SetServiceFact("Mail.stop_error", "5");
  ExpectRestartReport(ERROR_ACCESS_DENIED, TEXT("ControlService failed.\n\nAccess is denied."));
  EXPECT_EQ(States(), "4414") << "what was stopped stays stopped";
  SetServiceFact("Mail.stop_error", "0");
  SetServiceFact("Fax.start_error", "5");
  ExpectRestartReport(ERROR_ACCESS_DENIED, TEXT("StartService failed.\n\nAccess is denied."));
  EXPECT_EQ(States(), "4111");
}

// On the virtual clock each question takes 1 ms.
TEST_F(ServiceControlTest, ServicesAreWaitedFor) {
  const auto time = [](auto operation) {
    const uint64_t start = platform::UpTime();
    operation();
    return platform::UpTime() - start;
  };
  CServiceControl spooler(TEXT("Spooler"), ServiceAccess::kFull);
  SetServiceFact("Spooler.stop_time", "20000");
  SetServiceFact("Spooler.start_time", "29000");
  EXPECT_EQ(time([&] { EXPECT_TRUE(spooler.StopWithDependents()); }), 20250u);
  EXPECT_EQ(time([&] { EXPECT_TRUE(spooler.StartWithDependents()); }), 29339u);
  EXPECT_EQ(time([&] { EXPECT_TRUE(spooler.WaitForServiceState(SERVICE_RUNNING, 10)); }), 251u);
  const auto expect_timeout = [&](auto operation, uint64_t milliseconds, LPCWSTR report) {
    EXPECT_EQ(
        time([&] { EXPECT_EQ(BoxOf([&] { ExpectRefusal(ERROR_TIMEOUT, operation()); }), report); }),
        milliseconds);
  };
  constexpr WCHAR kWaiting[] = TEXT("WaitService failed--timed out waiting for service.");
  expect_timeout([&] { return spooler.WaitForServiceState(SERVICE_STOPPED, 10); }, 12, kWaiting);
  SetServiceFact("Spooler.stop_time", "never");
  expect_timeout([&] { return spooler.StopWithDependents(); }, 30001, kWaiting);
  platform::StopSpooler();
  SetServiceFact("Spooler.start_time", "never");
  expect_timeout([&] { return spooler.StartWithDependents(); }, 30099,
                 TEXT("MyStartService failed--timed out waiting for service."));
}

TEST_F(ServiceControlTest, OnlyElevatedAdministratorsRestart) {
  for (const auto& [administrator, elevated] : {std::pair{0, 1}, {1, 0}}) {
    platform::SetFactNumber(facts::kUserIsAdministrator, administrator);
    platform::SetFactNumber(facts::kUserIsElevated, elevated);
    ExpectRefusal(ERROR_ACCESS_DENIED, RestartSpooler());
    EXPECT_TRUE(IsSpoolerRunning()) << "everybody may ask";
  }
  CServiceControl refused(TEXT("spooler"), ServiceAccess::kFull);
  ExpectRefusal(ERROR_ACCESS_DENIED, refused.IsOpen());
  EXPECT_FALSE(refused.OpenServiceManager(ServiceAccess::kFull));
  EXPECT_TRUE(refused.OpenServiceManager(ServiceAccess::kRead));
  EXPECT_TRUE(refused.OpenServiceManager(ServiceAccess::kFull)) << "it is open already";
  EXPECT_TRUE(refused.OpenNamedService(TEXT("spooler"), ServiceAccess::kRead));
  EXPECT_FALSE(refused.OpenNamedService(TEXT("spooler"), ServiceAccess::kFull));
  EXPECT_TRUE(refused.IsServiceRunning()) << "the one that was open";
  EXPECT_EQ(platform::CallCount("ControlService"), 0u);
  platform::FailCall("GetTokenInformation", 1);
  platform::SetFactNumber(facts::kUserIsElevated, 1);
  ExpectRefusal(ERROR_ACCESS_DENIED, RestartSpooler());
  platform::FailCall("OpenServiceW", 1, ERROR_BUSY, 2);
  ExpectRefusal(ERROR_BUSY, RestartSpooler());
  ExpectRefusal(ERROR_BUSY, IsSpoolerRunning());
}

TEST_F(ServiceControlTest, Windows9xHasNoServices) {
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  Restart();
  platform::ResetFaults();
  EXPECT_TRUE(IsSpoolerRunning());
  EXPECT_TRUE(RestartSpooler());
  CServiceControl spooler(TEXT("spooler"), ServiceAccess::kFull);
  ExpectRefusal(ERROR_CALL_NOT_IMPLEMENTED,
                spooler.OpenNamedService(TEXT("spooler"), ServiceAccess::kRead));
  EXPECT_EQ(platform::CallCount("OpenSCManagerW"), 0u);
}

SC_HANDLE WINAPI RecordingCreate(SC_HANDLE manager, LPCWSTR name, LPCWSTR display_name,
                                 DWORD access, DWORD type, DWORD start, DWORD error, LPCWSTR path,
                                 LPCWSTR group, LPDWORD tag, LPCWSTR dependencies, LPCWSTR account,
                                 LPCWSTR password) {
  EXPECT_EQ(WideView(display_name), TEXT("Document converter"));
  EXPECT_EQ(access, DWORD{SERVICE_ALL_ACCESS});
  EXPECT_EQ(type, DWORD{SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS});
  EXPECT_EQ(start, DWORD{SERVICE_AUTO_START});
  EXPECT_EQ(error, DWORD{SERVICE_ERROR_NORMAL});
  EXPECT_EQ(WideView(path), TEXT("C:\\converter.exe"));
  EXPECT_EQ(WideView(group), TEXT("Group"));
  EXPECT_EQ(WideView(dependencies), TEXT("Spooler"));
  return CreateServiceW(manager, name, display_name, access, type, start, error, path, group, tag,
                        dependencies, account, password);
}

TEST_F(ServiceControlTest, ServicesAreMadeAndDeleted) {
  const ServiceSettings settings = {TEXT("Converter"),
                                    TEXT("Document converter"),
                                    TEXT("C:\\converter.exe"),
                                    TEXT("Spooler\0"),
                                    TRUE,
                                    SERVICE_WIN32_OWN_PROCESS,
                                    SERVICE_AUTO_START,
                                    TEXT("Group")};
  platform::Replace("CreateServiceW", &RecordingCreate);
  CServiceControl reader(TEXT("Converter"), ServiceAccess::kRead);
  ExpectRefusal(ERROR_SERVICE_DOES_NOT_EXIST, reader.IsOpen());
  ExpectRefusal(ERROR_ACCESS_DENIED, reader.CreateNamedService(settings));
  for (BOOL (CServiceControl::*operation)() :
       {&CServiceControl::IsServiceRunning, &CServiceControl::StopWithDependents,
        &CServiceControl::StartWithDependents, &CServiceControl::DeleteNamedService}) {
    ExpectRefusal(ERROR_INVALID_HANDLE, (reader.*operation)());
  }
  ExpectRefusal(ERROR_INVALID_HANDLE, reader.WaitForServiceState(SERVICE_RUNNING, 10));
  {
    CServiceControl maker(TEXT("Converter"), ServiceAccess::kFull);
    EXPECT_TRUE(maker.CreateNamedService(settings));
    EXPECT_TRUE(maker.CreateNamedService(settings)) << "it is there";
  }
  CServiceControl maker(TEXT("None"), ServiceAccess::kFull);
  EXPECT_TRUE(maker.CreateNamedService(settings)) << "it is there";
  EXPECT_EQ(platform::CallCount("CreateServiceW"), 2u);
  EXPECT_EQ(platform::ServiceState(TEXT("converter")), DWORD{SERVICE_STOPPED});
  EXPECT_TRUE(maker.StopWithDependents()) << "it does not run";
  EXPECT_FALSE(maker.IsServiceRunning());
  EXPECT_TRUE(maker.StartWithDependents());
  platform::FailCall("DeleteService", 1, ERROR_BUSY);
  ExpectRefusal(ERROR_BUSY, maker.DeleteNamedService());
  EXPECT_EQ(platform::ServiceState(TEXT("Converter")), DWORD{SERVICE_STOPPED}) << "all the same";
  EXPECT_TRUE(maker.DeleteNamedService());
  EXPECT_EQ(platform::ServiceState(TEXT("Converter")), 0u);
  EXPECT_FALSE(maker.IsOpen());
}

TEST_F(ServiceControlTest, AFailedQueryIsReportedOrRepeated) {
  CServiceControl spooler(TEXT("Spooler"), ServiceAccess::kFull);
  for (BOOL (CServiceControl::*operation)() :
       {&CServiceControl::IsServiceRunning, &CServiceControl::StartWithDependents}) {
    platform::FailCall("QueryServiceStatus", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(BoxOf([&] { ExpectRefusal(ERROR_ACCESS_DENIED, (spooler.*operation)()); }),
              TEXT("QueryServiceStatus failed.\n\nAccess is denied."));
  }
  platform::FailCall("QueryServiceStatus", 1);
  EXPECT_TRUE(spooler.WaitForServiceState(SERVICE_RUNNING, 1000)) << "a failed query is repeated";
}

}  // namespace
}  // namespace kv::test
