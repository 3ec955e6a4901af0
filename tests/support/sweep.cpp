#include "tests/support/sweep.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "platform/control/faults.h"
#include "platform/control/leaks.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

// Failures of one kind that a scenario is swept with unless all are asked for.
constexpr uint64_t kMostFailures = 40;

// How far a scenario's process has come.
enum class Progress { kRunning, kFailed, kSucceeded };

struct Totals {
  int scenarios, failures, crashes, leaks, wrong_answers;
  Progress progress;
};

// The processes of the scenarios write it.
Totals& totals() {
  static Totals* const shared = static_cast<Totals*>(
      mmap(nullptr, sizeof(Totals), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return *shared;
}

class Summary : public testing::Environment {
 public:
  void TearDown() override {
    const Totals& all = totals();
    std::printf("%d scenarios, %d failures injected, %d crashes, %d leaks, %d wrong answers\n",
                all.scenarios, all.failures, all.crashes, all.leaks, all.wrong_answers);
  }
};

int reports_shown;

// The user whose answers end everything.
int Refuse(LPCWSTR, LPCWSTR, UINT style) {
  ++reports_shown;
  switch (style & MB_TYPEMASK) {
    case MB_OK:
      return IDOK;
    case MB_ABORTRETRYIGNORE:
      return IDABORT;
    case MB_YESNO:
      return IDNO;
    default:
      return IDCANCEL;
  }
}

int FailedParts() {
  return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

// Runs the scenario once; returns how many calls (allocations) could have failed.
uint64_t RunOnce(const Scenario& scenario, Failing failing, uint64_t nth) {
  const platform::ResourceCounts live = platform::LiveResources();
  const int failed_before = FailedParts();
  Attempt attempt(failing, nth);
  SetMessageSink(&Refuse);
  scenario.run(attempt);
  if (!attempt.may_miss()) {
    EXPECT_EQ(attempt.hit(), nth != 0) << "other calls than the last time";
  }
  if (FailedParts() != failed_before) ++totals().wrong_answers;
  const std::string left = platform::DescribeDifference(live, platform::LiveResources());
  if (left != "") {
    ++totals().leaks;
    ADD_FAILURE() << left;
  }
  if (attempt.hit()) ++totals().failures;
  if (FailedParts() != failed_before) {
    std::printf("  %s: %s failed\n", scenario.name,
                nth == 0 ? "nothing" : attempt.failed().c_str());
  }
  return attempt.count();
}

void Sweep(const Scenario& scenario, Failing failing) {
  // What is bound on first use makes the first run longer than the others.
  RunOnce(scenario, failing, 0);
  const uint64_t count = RunOnce(scenario, failing, 0);
  const uint64_t step =
      getenv("KV_EVERY_FAILURE") != nullptr ? 1 : (count + kMostFailures - 1) / kMostFailures;
  for (uint64_t n = 1; n <= count; n += step) RunOnce(scenario, failing, n);
}

class ScenarioTest : public testing::Test {
 public:
  ScenarioTest(const Scenario& scenario, MakeSweepMachine make)
      : scenario_(scenario), make_(make) {}

 private:
  void TestBody() override {
    ++totals().scenarios;
    totals().progress = Progress::kRunning;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) RunAndExit();
    int status = 0;
    waitpid(child, &status, 0);
    const bool died = totals().progress == Progress::kRunning;
    if (died) ++totals().crashes;
    EXPECT_FALSE(died) << "it died";
    EXPECT_FALSE(totals().progress == Progress::kFailed) << "see above";
    // What the sanitizer says at the end of a process is about memory that nobody frees.
    const bool leaked = !died && status != 0;
    if (leaked) ++totals().leaks;
    EXPECT_FALSE(leaked) << "memory is left";
  }

  // An exception that leaves an operation ends the process.
  [[noreturn]] void RunAndExit() noexcept {
    const std::unique_ptr<SweepMachine> machine = make_();
    machine->Begin();
    Sweep(scenario_, Failing::kCalls);
    Sweep(scenario_, Failing::kAllocations);
    SetMessageSink(nullptr);
    machine->End();
    totals().progress = HasFailure() ? Progress::kFailed : Progress::kSucceeded;
    std::exit(EXIT_SUCCESS);
  }

  Scenario scenario_;
  MakeSweepMachine make_;
};

}  // namespace

Attempt::Armed::Armed(Attempt& attempt) : attempt_(attempt) {
  reports_shown = 0;
  platform::ResetFaults();
  FailAllocation(attempt.failing_ == Failing::kAllocations
                     ? (attempt.nth_ == 0 ? UINT64_MAX : attempt.nth_)
                     : 0);
  if (attempt.failing_ == Failing::kCalls) platform::FailAnyCall(attempt.nth_);
}

Attempt::Armed::~Armed() {
  const bool calls = attempt_.failing_ == Failing::kCalls;
  attempt_.hit_ = calls ? platform::InjectedFailures() != 0 : AllocationFailed();
  attempt_.count_ = calls ? platform::FallibleCallCount() : ProductAllocations();
  attempt_.failed_ = (calls ? platform::LastInjectedFunction() : std::string("allocation")) + " (" +
                     std::to_string(attempt_.nth_) + ")";
  attempt_.reports_ = reports_shown;
  platform::ResetFaults();
  FailAllocation(0);
}

void Attempt::Expect(bool done, bool right, bool intact, std::source_location here) const {
  const char* wrong = nullptr;
  if (!done && !hit_) wrong = "it failed although nothing else did";
  if (done && !right) wrong = "the result is not the right one";
  if (!done && !intact) wrong = "what was there before is lost";
  if (wrong != nullptr) ADD_FAILURE_AT(here.file_name(), static_cast<int>(here.line())) << wrong;
}

bool RegisterScenario(const Scenario& scenario, MakeSweepMachine make) {
  static testing::Environment* const summary = testing::AddGlobalTestEnvironment(new Summary);
  testing::RegisterTest(
      scenario.area, scenario.name, nullptr, nullptr, __FILE__, __LINE__,
      [scenario, make]() -> testing::Test* { return new ScenarioTest(scenario, make); });
  return summary != nullptr;
}

}  // namespace kv::test
