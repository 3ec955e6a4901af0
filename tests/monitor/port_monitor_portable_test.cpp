// The port operations, called as the spooler calls them.
#include "monitor/port_monitor.h"

#include <gtest/gtest.h>
#include <string.h>

#include <vector>

#include "runtime/core/startup_context.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

class PortMonitorTest : public testing::Test {
 protected:
  void SetUp() override {
    CopyStringW(startupContext.portName, TEXT("KVR8:"));
    CopyStringW(startupContext.productName, TEXT("Folvane"));
  }
};

TEST_F(PortMonitorTest, BothInitialisationExportsHandOutTheSameSlots) {
  MONITOREX* const first = InitializePrintMonitor(nullptr);
  first->dwMonitorSize = 1;
  WCHAR root[] = TEXT("ignored");
  ASSERT_EQ(InitializePrintMonitor(root), first);
  EXPECT_EQ(first->dwMonitorSize, sizeof(void*) == 4 ? 72u : sizeof(MONITOREX));
  const MONITOR& slots = first->Monitor;
  const MONITOR expected = {EnumPorts,  OpenPort,  nullptr, StartDocPort, WritePort,     ReadPort,
                            EndDocPort, ClosePort, AddPort, AddPortEx,    ConfigurePort, DeletePort,
                            nullptr,    nullptr,   nullptr, nullptr,      nullptr};
  EXPECT_EQ(memcmp(&slots, &expected, sizeof(slots)), 0);
  MONITOR copy;
  memset(&copy, 0xFF, sizeof(copy));
  EXPECT_TRUE(InitializeMonitorEx(nullptr, &copy));
  EXPECT_EQ(memcmp(&copy, &slots, sizeof(copy)), 0);
}

// A buffer with the record at its beginning, the texts at its end, each with its terminator, and
// 0xCC between and behind them.
std::vector<BYTE> Packed(const void* record, size_t record_size, WideView texts, DWORD offered) {
  std::vector<BYTE> buffer(128, 0xCC);
  memcpy(buffer.data(), record, record_size);
  memcpy(buffer.data() + offered - texts.size() * sizeof(WCHAR), texts.data(),
         texts.size() * sizeof(WCHAR));
  return buffer;
}

TEST_F(PortMonitorTest, EnumPortsPacksItsStringsAtTheBuffersEnd) {
  constexpr WCHAR kTexts[] = TEXT("Folvane\0Folvane\0KVR8:");
  for (const DWORD level : {1, 2}) {
    const WideView texts = level == 1 ? WideView(kTexts + 16, 6) : WideView(kTexts, 22);
    const size_t record_size = level == 1 ? sizeof(PORT_INFO_1W) : sizeof(PORT_INFO_2W);
    const DWORD size = static_cast<DWORD>(record_size + texts.size() * sizeof(WCHAR));
    if (sizeof(void*) == 4) {
      EXPECT_EQ(size, level == 1 ? 16u : 64u);
    }
    for (const DWORD offered : {DWORD{0}, size - 1, size, size + 10}) {
      alignas(void*) BYTE buffer[128];
      memset(buffer, 0xCC, sizeof(buffer));
      DWORD needed = 7, returned = 7;
      SetLastError(0);
      const BOOL done = EnumPorts(nullptr, level, buffer, offered, &needed, &returned);
      EXPECT_EQ(done, offered >= size);
      EXPECT_EQ(GetLastError(), done ? 0u : DWORD{ERROR_INSUFFICIENT_BUFFER});
      EXPECT_EQ(needed, size);
      EXPECT_EQ(returned, done ? 1u : 0u);
      const auto place = reinterpret_cast<LPWSTR>(buffer + offered);
      PORT_INFO_1W one = {place - 6};
      PORT_INFO_2W two = {place - 6, place - 14, place - 22, PORT_TYPE_WRITE, 0};
      const void* const record = level == 1 ? static_cast<void*>(&one) : &two;
      EXPECT_EQ(std::vector<BYTE>(buffer, buffer + 128),
                done ? Packed(record, record_size, texts, offered) : std::vector<BYTE>(128, 0xCC));
    }
  }
}

TEST_F(PortMonitorTest, OtherLevelsLeaveTheCallersNumbersAlone) {
  for (const DWORD level : {0u, 3u, 0xFFFFFFFFu}) {
    DWORD needed = 7, returned = 8;
    BYTE buffer[256];
    SetLastError(0);
    EXPECT_FALSE(EnumPorts(nullptr, level, buffer, sizeof(buffer), &needed, &returned));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_LEVEL));
    EXPECT_EQ(needed, 7u);
    EXPECT_EQ(returned, 8u);
  }
}

TEST_F(PortMonitorTest, APortTakesWhateverItIsGiven) {
  WCHAR anyName[] = TEXT("never seen before");
  HANDLE port = nullptr;
  ASSERT_TRUE(OpenPort(anyName, &port));
  const auto& info = *static_cast<PortInfo*>(port);
  EXPECT_TRUE(info.hPrinter == nullptr && info.jobId == 0);
  EXPECT_TRUE(EndDocPort(port)) << "without a document";
  DWORD count = 7;
  EXPECT_TRUE(WritePort(port, nullptr, 0, &count));
  EXPECT_EQ(count, 0u);
  // No byte is looked at: there is none behind this address.
  EXPECT_TRUE(WritePort(port, nullptr, 0xFFFFFFFF, &count));
  EXPECT_EQ(count, 0xFFFFFFFFu);
  SetLastError(1234);
  EXPECT_FALSE(ReadPort(port, nullptr, 10, &count));
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(GetLastError(), 1234u);
  WCHAR noPrinter[] = TEXT("no such printer");
  EXPECT_FALSE(StartDocPort(port, noPrinter, 5, 1, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PRINTER_NAME));
  EXPECT_TRUE(info.hPrinter == nullptr && info.jobId == 0);
  EXPECT_TRUE(AddPort(nullptr, nullptr, nullptr) && AddPortEx(nullptr, 1, nullptr, nullptr));
  EXPECT_TRUE(ConfigurePort(nullptr, nullptr, nullptr) && DeletePort(nullptr, nullptr, anyName));
  EXPECT_TRUE(ClosePort(port));
}

}  // namespace
}  // namespace kv
