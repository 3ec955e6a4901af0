// Services, and the restart of the spooler.
#include "runtime/printing/service_control.h"

#include "platform/control/message_boxes.h"
#include "platform/control/profiles.h"
#include "platform/control/services.h"
#include "platform/control/spooler.h"
#include "tests/printing/growing_calls.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class ServiceControlTest : public RuntimeTest {
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
  }
  // The states of Spooler, Fax, Archive and Mail: "4" running, "1" stopped.
  static std::string States() {
    std::string states;
    for (const LPCWSTR name : {TEXT("Spooler"), TEXT("Fax"), TEXT("Archive"), TEXT("Mail")}) {
      states += std::to_string(platform::ServiceState(name));
    }
    return states;
  }
  static void ExpectBox(WideView text) {
    ASSERT_FALSE(platform::ShownBoxes().empty());
    const auto box = platform::ShownBoxes().back();
    EXPECT_TRUE(WideView(box.text).starts_with(text))
        << std::string(box.text.begin(), box.text.end());
  }
};

TEST_F(ServiceControlTest, ARestartTakesTheDependentsAlong) {
  InstallDependents();
  EXPECT_TRUE(IsSpoolerRunning());
  platform::RecordCalls(true);
  EXPECT_TRUE(RestartSpooler());
  platform::RecordCalls(false);
  EXPECT_EQ(States(), "4444");
  EXPECT_TRUE(platform::SpoolerRuns());
  EXPECT_EQ(platform::CallCount("ControlService"), 4u);
  EXPECT_EQ(platform::CallCount("StartServiceW"), 4u);
  EXPECT_EQ(platform::CallCount("EnumDependentServicesW"), 2u) << "starting does not ask again";
}

TEST_F(ServiceControlTest, WithoutDependentsOnlyTheServiceItself) {
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(platform::CallCount("ControlService"), 1u);
  EXPECT_EQ(platform::CallCount("StartServiceW"), 1u);
}

BOOL WINAPI EnumGrowingDependents(SC_HANDLE service, DWORD state, LPENUM_SERVICE_STATUSW list,
                                  DWORD size, LPDWORD needed, LPDWORD count) {
  if (growing_times == 0) return EnumDependentServicesW(service, state, list, size, needed, count);
  --growing_times;
  *needed = 8;
  *count = 0;
  SetLastError(ERROR_MORE_DATA);
  return FALSE;
}

TEST_F(ServiceControlTest, DependentsThatStartMeanwhileAreAskedForAgain) {
  InstallDependents();
  platform::Replace("EnumDependentServicesW", &EnumGrowingDependents);
  growing_times = 4;
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(platform::CallCount("ControlService"), 4u);
  growing_times = 5;
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(RestartSpooler());
  ExpectBox(TEXT("EnumDependentServices failed"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MORE_DATA}) << "behind the box, too";
  EXPECT_EQ(States(), "4444");
}

TEST_F(ServiceControlTest, StoppedDependentsStayStopped) {
  InstallDependents();
  platform::SetServiceState(TEXT("Mail"), SERVICE_STOPPED);
  EXPECT_TRUE(RestartSpooler());
  EXPECT_EQ(States(), "4441");
}

TEST_F(ServiceControlTest, ADependentThatRefusesEndsTheOperation) {
  InstallDependents();
  SetServiceFact("Mail.stop_error", "1052");
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(RestartSpooler());
  ExpectBox(TEXT("ControlService failed"));
  EXPECT_EQ(States(), "4414") << "what was stopped stays stopped";
  SetServiceFact("Mail.stop_error", "0");
  SetServiceFact("Fax.start_error", "1053");
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(RestartSpooler());
  ExpectBox(TEXT("StartService failed"));
  EXPECT_EQ(States(), "4111");
}

TEST_F(ServiceControlTest, AServiceThatHangsHasThirtySeconds) {
  InstallDependents();
  SetServiceFact("Archive.stop_time", "never");
  uint64_t start = platform::UpTime();
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(RestartSpooler());
  ExpectBox(TEXT("WaitService failed--timed out waiting for service"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_TIMEOUT});
  EXPECT_GE(platform::UpTime() - start, 30000u);
  EXPECT_EQ(States(), "4434") << "stop pending";

  SetServiceFact("Spooler.start_time", "never");
  platform::SetServiceState(TEXT("Archive"), SERVICE_STOPPED);
  start = platform::UpTime();
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(RestartSpooler());
  ExpectBox(TEXT("MyStartService failed--timed out waiting for service"));
  EXPECT_GE(platform::UpTime() - start, 30000u);
  EXPECT_LT(platform::CallCount("Sleep"), 320u) << "a poll every 100 ms";
  EXPECT_FALSE(platform::SpoolerRuns());
}

TEST_F(ServiceControlTest, SlowServicesAreWaitedFor) {
  SetServiceFact("Spooler.stop_time", "20000");
  SetServiceFact("Spooler.start_time", "29000");
  const uint64_t start = platform::UpTime();
  EXPECT_TRUE(RestartSpooler());
  EXPECT_GE(platform::UpTime() - start, 49000u + 2 * 250);
}

TEST_F(ServiceControlTest, StoppingWhatDoesNotRunSucceeds) {
  platform::StopSpooler();
  EXPECT_FALSE(IsSpoolerRunning());
  CServiceControl spooler(TEXT("spooler"), ServiceAccess::kFull);
  EXPECT_TRUE(spooler.StopWithDependents());
  EXPECT_TRUE(spooler.StartWithDependents());
  EXPECT_TRUE(IsSpoolerRunning());
  EXPECT_TRUE(spooler.WaitForServiceState(SERVICE_RUNNING, 30000));
}

TEST_F(ServiceControlTest, OnlyElevatedAdministratorsRestart) {
  for (const auto& [administrator, elevated] : {std::pair{0, 1}, {1, 0}}) {
    platform::SetFactNumber(facts::kUserIsAdministrator, administrator);
    platform::SetFactNumber(facts::kUserIsElevated, elevated);
    SetLastError(0);
    EXPECT_FALSE(RestartSpooler());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_TRUE(IsSpoolerRunning()) << "everybody may ask";
  }
  EXPECT_EQ(platform::CallCount("ControlService"), 0u);
  const CServiceControl refused(TEXT("spooler"), ServiceAccess::kFull);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  platform::FailCall("GetTokenInformation", 1);
  platform::SetFactNumber(facts::kUserIsElevated, 1);
  EXPECT_FALSE(RestartSpooler()) << "a failed test is no yes";
}

TEST_F(ServiceControlTest, Windows9xHasNoServices) {
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  Restart();
  platform::ResetFaults();
  EXPECT_TRUE(IsSpoolerRunning());
  EXPECT_TRUE(RestartSpooler());
  CServiceControl spooler(TEXT("spooler"), ServiceAccess::kFull);
  EXPECT_FALSE(spooler.OpenServiceManager(ServiceAccess::kRead));
  EXPECT_FALSE(spooler.StopWithDependents());
  EXPECT_EQ(platform::CallCount("OpenSCManagerW"), 0u);
}

TEST_F(ServiceControlTest, ServicesAreMadeAndDeleted) {
  CServiceControl created(TEXT("Converter"), ServiceAccess::kRead);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  EXPECT_FALSE(created.IsOpen());
  for (BOOL (CServiceControl::*operation)() :
       {&CServiceControl::IsServiceRunning, &CServiceControl::StopWithDependents,
        &CServiceControl::StartWithDependents, &CServiceControl::DeleteNamedService}) {
    SetLastError(0);
    EXPECT_FALSE((created.*operation)());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  }
  const ServiceSettings settings = {TEXT("Converter"),
                                    TEXT("Document converter"),
                                    TEXT("C:\\converter.exe"),
                                    TEXT("Spooler\0"),
                                    TRUE,
                                    SERVICE_WIN32_OWN_PROCESS,
                                    SERVICE_DEMAND_START,
                                    nullptr};
  CServiceControl maker(TEXT("Converter"), ServiceAccess::kFull);
  ASSERT_TRUE(maker.CreateNamedService(settings));
  EXPECT_TRUE(maker.CreateNamedService(settings)) << "it is there";
  EXPECT_EQ(platform::CallCount("CreateServiceW"), 1u);
  EXPECT_EQ(platform::ServiceState(TEXT("converter")), static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_TRUE(maker.StartWithDependents());
  platform::FailCall("DeleteService", 1);
  EXPECT_FALSE(maker.DeleteNamedService());
  EXPECT_EQ(platform::ServiceState(TEXT("Converter")), static_cast<DWORD>(SERVICE_STOPPED))
      << "stopped all the same";
  EXPECT_TRUE(maker.DeleteNamedService());
  EXPECT_EQ(platform::ServiceState(TEXT("Converter")), 0u);
  EXPECT_FALSE(maker.DeleteNamedService()) << "nothing is open";
}

TEST_F(ServiceControlTest, AFailedQueryIsReportedOrRepeated) {
  CServiceControl spooler(TEXT("Spooler"), ServiceAccess::kFull);
  platform::FailCall("QueryServiceStatus", 1);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(spooler.IsServiceRunning());
  ExpectBox(TEXT("QueryServiceStatus failed"));
  platform::FailCall("QueryServiceStatus", 1);
  platform::StartSpooler();
  EXPECT_TRUE(spooler.WaitForServiceState(SERVICE_RUNNING, 1000)) << "a failed query is repeated";
}

}  // namespace
}  // namespace kv::test
