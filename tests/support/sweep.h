// Operations of the library, each run again and again while the first, second, third … fallible
// call of the system, and then allocation, fails, until it runs through. Whatever fails: nothing
// dies, nothing is left open, and the answer is right: the operation did all of its work or says
// that it failed and has lost nothing.
//
// Every scenario is a test with a process of its own, so that one that dies is counted and named
// like any other. The program ends with the sums. KV_EVERY_FAILURE=1 takes each failure of the long
// scenarios too, of which else some are passed over.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <source_location>
#include <string>

#include "tests/support/runtime_test.h"

namespace kv::test {

enum class Failing { kCalls, kAllocations };

// One run of a scenario, in which the n-th call (allocation) of the operation fails; 0: none.
class Attempt {
 public:
  Attempt(Failing failing, uint64_t nth) : failing_(failing), nth_(nth) {}
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  // Runs the operation, of which everything counts; what stands around it is the test's own and
  // never fails. Returns what the operation returns.
  template <class Operation>
  auto Call(Operation operation) {
    const Armed armed(*this);
    return operation();
  }

  // What must hold behind it: an operation that says that it has `done` its work gave the `right`
  // result; one that does not was hit by a failure, and what was there before is `intact`.
  void Expect(bool done, bool right, bool intact = true,
              std::source_location here = std::source_location::current()) const;

  // For an operation whose calls depend on how fast something outside is: the failure need not
  // come.
  void MayMiss() { may_miss_ = true; }
  bool may_miss() const { return may_miss_; }

  // Whether the failure has come.
  bool hit() const { return hit_; }
  // Fallible calls (allocations) of the operation.
  uint64_t count() const { return count_; }
  // Reports to the user of the operation.
  int reports() const { return reports_; }
  // What failed.
  const std::string& failed() const { return failed_; }

 private:
  class Armed {
   public:
    explicit Armed(Attempt& attempt);
    ~Armed();

   private:
    Attempt& attempt_;
  };

  Failing failing_;
  uint64_t nth_;
  uint64_t count_ = 0;
  bool hit_ = false;
  bool may_miss_ = false;
  int reports_ = 0;
  std::string failed_;
};

struct Scenario {
  const char* area;
  const char* name;
  void (*run)(Attempt& attempt);
};

// A fixture without a test.
class SweepMachine {
 public:
  virtual ~SweepMachine() = default;
  virtual void Begin() = 0;
  virtual void End() = 0;
};

template <class Fixture>
class SweepMachineOf : public SweepMachine, private Fixture {
 public:
  void Begin() override { Fixture::SetUp(); }
  void End() override { Fixture::TearDown(); }

 private:
  void TestBody() override {}
};

using MakeSweepMachine = std::unique_ptr<SweepMachine> (*)();

bool RegisterScenario(const Scenario& scenario, MakeSweepMachine make);
template <class Fixture>
bool RegisterScenario(const Scenario& scenario) {
  return RegisterScenario(scenario, []() -> std::unique_ptr<SweepMachine> {
    return std::make_unique<SweepMachineOf<Fixture>>();
  });
}

}  // namespace kv::test

// Scenarios of an area run on the machine of its fixture.
#define SWEEP_AREA(area, Fixture) using area##SweepFixture = Fixture

// Defines a scenario, whose body follows: it brings about the same state each time, calls the
// operation with `attempt`, looks at the result, and ends what it has opened.
#define SCENARIO(area, name)                                                         \
  void area##name(::kv::test::Attempt& attempt);                                     \
  [[maybe_unused]] const bool area##name##IsRegistered =                             \
      ::kv::test::RegisterScenario<area##SweepFixture>({#area, #name, &area##name}); \
  void area##name([[maybe_unused]] ::kv::test::Attempt& attempt)
