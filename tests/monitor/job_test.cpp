// Print jobs through the layer's spooler and the real module.
#include <thread>

#include "platform/control/message_boxes.h"
#include "tests/monitor/monitor_job.h"
#include "tests/support/failing_new.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

TEST_F(JobTest, ThePortsOwnOperationsRunFromEightThreads) {
  const LoadedModule module(kModule);
  ASSERT_TRUE(module && AddMonitor() && AddPrinter());
  const MONITOR& monitor = module.Operations();
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (DWORD i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      WCHAR printer[] = TEXT("Folvane");
      for (DWORD round = 0; round < 50; ++round) {
        HANDLE port = nullptr;
        DWORD written = 0, needed = 0, returned = 0;
        alignas(void*) BYTE buffer[256];
        failures += !monitor.pfnOpenPort(nullptr, &port);
        failures += !monitor.pfnStartDocPort(port, printer, i * 100 + round, 1, nullptr);
        failures += static_cast<PortInfo*>(port)->jobId != i * 100 + round;
        failures += !monitor.pfnEnumPorts(nullptr, 2, buffer, sizeof(buffer), &needed, &returned);
        failures +=
            !monitor.pfnWritePort(port, buffer, i + round, &written) || written != i + round;
        failures += !monitor.pfnEndDocPort(port);
        failures += !monitor.pfnClosePort(port);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

TEST_F(JobTest, WhatAPortForgetsStaysOpen) {
  const LoadedModule module(kModule);
  ASSERT_TRUE(module && AddMonitor() && AddPrinter());
  const MONITOR& monitor = module.Operations();
  WCHAR printer[] = TEXT("Folvane"), none[] = TEXT("no such printer");
  HANDLE port = nullptr;
  ASSERT_TRUE(monitor.pfnOpenPort(nullptr, &port));
  const PortInfo& info = *static_cast<PortInfo*>(port);
  UniquePrinter opened[3];
  for (DWORD job = 0; job < 3; ++job) {
    ASSERT_TRUE(monitor.pfnStartDocPort(port, printer, job + 1, 1, nullptr));
    EXPECT_EQ(info.jobId, job + 1);
    opened[job].Reset(info.hPrinter);
  }
  EXPECT_FALSE(monitor.pfnStartDocPort(port, none, 9, 1, nullptr));
  EXPECT_TRUE(info.hPrinter == nullptr && info.jobId == 0);
  ASSERT_TRUE(monitor.pfnStartDocPort(port, printer, 4, 1, nullptr));
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(monitor.pfnEndDocPort(port)) << "the second time without a document";
    EXPECT_EQ(info.hPrinter, nullptr);
  }
  EXPECT_TRUE(monitor.pfnClosePort(port));
  // The others are still good: their owner here closes them, and the fixture would notice a handle
  // closed twice.
  for (const UniquePrinter& handle : opened) {
    DWORD needed = 0;
    EXPECT_FALSE(GetPrinterW(handle.Get(), 2, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  }
}

using PortTest = RuntimeTest;

TEST_F(PortTest, WithoutMemoryThereIsNoPort) {
  HANDLE port = nullptr;
  platform::AnswerNextBox(IDOK);
  FailAllocation(1);
  const BOOL opened = OpenPort(nullptr, &port);
  FailAllocation(0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
  EXPECT_TRUE(!opened && port == nullptr);
  EXPECT_EQ(WideView(platform::ShownBoxes().back().text),
            TEXT("An internal error occurred: new PortInfo failed."));
}

TEST_F(JobTest, RegistrationDemandsRightsAndALoadableModule) {
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  EXPECT_FALSE(AddMonitor());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  std::filesystem::remove(platform::HostPath(kFolder) / "kvres832.dll");
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(AddMonitor());
  EXPECT_EQ(WideView(platform::ShownBoxes().back().text),
            TEXT("Could not find resource DLL kvres832.dll."));
  InstallModule(kFolder);
  EXPECT_TRUE(AddMonitor() && AddPrinter());
  EXPECT_EQ(Print(5, 1000), 5000);
  EXPECT_FALSE(AddMonitor());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PRINT_MONITOR_ALREADY_INSTALLED));
}

}  // namespace
}  // namespace kv::test
