// Print jobs through the layer's spooler and the real module.
#include <thread>

#include "platform/control/message_boxes.h"
#include "platform/control/spooler.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/handles.h"
#include "runtime/core/product.h"
#include "tests/monitor/monitor_job.h"

namespace kv::test {
namespace {

TEST_F(JobTest, EightThreadsPrintAtOnce) {
  ASSERT_TRUE(AddMonitor() && AddPrinter());
  LONGLONG accepted[8] = {};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&accepted, i] {
      for (int job = 0; job < 5; ++job) accepted[i] += Print(20 + i, 1000 + i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < 8; ++i) EXPECT_EQ(accepted[i], 5ll * (20 + i) * (1000 + i));
}

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
  WCHAR printer[] = TEXT("Folvane");
  HANDLE port = nullptr;
  ASSERT_TRUE(monitor.pfnOpenPort(nullptr, &port));
  UniquePrinter forgotten, leftOpen;
  ASSERT_TRUE(monitor.pfnStartDocPort(port, printer, 1, 1, nullptr));
  forgotten.Reset(static_cast<PortInfo*>(port)->hPrinter);
  ASSERT_TRUE(monitor.pfnStartDocPort(port, printer, 2, 1, nullptr));
  leftOpen.Reset(static_cast<PortInfo*>(port)->hPrinter);
  EXPECT_NE(forgotten.Get(), leftOpen.Get());
  EXPECT_TRUE(monitor.pfnClosePort(port));
  // Both are still good: their owner here closes them, and the fixture would notice a handle closed
  // twice.
  for (const UniquePrinter* handle : {&forgotten, &leftOpen}) {
    DWORD needed = 0;
    EXPECT_FALSE(GetPrinterW(handle->Get(), 2, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  }
}

TEST_F(JobTest, RegistrationDemandsRightsAndALoadableModule) {
  platform::SetFact(platform::facts::kUserIsElevated, "0");
  EXPECT_FALSE(AddMonitor());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_FALSE(AddPrinter());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  std::filesystem::remove(platform::HostPath(kFolder) / "kvres832.dll");
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(AddMonitor());
  EXPECT_EQ(WideView(platform::ShownBoxes().back().text),
            TEXT("Could not find resource DLL kvres832.dll."));
  InstallModule(kFolder);
  EXPECT_TRUE(AddMonitor());
  EXPECT_FALSE(AddMonitor());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PRINT_MONITOR_ALREADY_INSTALLED));
}

}  // namespace
}  // namespace kv::test
