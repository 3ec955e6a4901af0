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
  EXPECT_EQ(slots.pfnEnumPorts, EnumPorts);
  EXPECT_EQ(slots.pfnOpenPort, OpenPort);
  EXPECT_EQ(slots.pfnOpenPortEx, nullptr);
  EXPECT_EQ(slots.pfnStartDocPort, StartDocPort);
  EXPECT_EQ(slots.pfnWritePort, WritePort);
  EXPECT_EQ(slots.pfnReadPort, ReadPort);
  EXPECT_EQ(slots.pfnEndDocPort, EndDocPort);
  EXPECT_EQ(slots.pfnClosePort, ClosePort);
  EXPECT_EQ(slots.pfnAddPort, AddPort);
  EXPECT_EQ(slots.pfnAddPortEx, AddPortEx);
  EXPECT_EQ(slots.pfnConfigurePort, ConfigurePort);
  EXPECT_EQ(slots.pfnDeletePort, DeletePort);
  EXPECT_EQ(slots.pfnGetPrinterDataFromPort, nullptr);
  EXPECT_EQ(slots.pfnSetPortTimeOuts, nullptr);
  EXPECT_EQ(slots.pfnXcvOpenPort, nullptr);
  EXPECT_EQ(slots.pfnXcvDataPort, nullptr);
  EXPECT_EQ(slots.pfnXcvClosePort, nullptr);
  MONITOR copy;
  memset(&copy, 0xFF, sizeof(copy));
  EXPECT_TRUE(InitializeMonitorEx(nullptr, &copy));
  EXPECT_EQ(memcmp(&copy, &slots, sizeof(copy)), 0);
}

// The bytes of `text` with its terminator.
std::vector<BYTE> Bytes(WideView text) {
  const auto begin = reinterpret_cast<const BYTE*>(text.data());
  std::vector<BYTE> bytes(begin, begin + text.size() * sizeof(WCHAR));
  bytes.insert(bytes.end(), sizeof(WCHAR), 0);
  return bytes;
}

struct LevelCase {
  DWORD level;
  DWORD needed32;  // what a 32-bit spooler must offer
  DWORD recordSize;
  std::vector<WideView> strings;  // in the order in which they lie at the end of the buffer
};

TEST_F(PortMonitorTest, EnumPortsPacksItsStringsAtTheBuffersEnd) {
  const LevelCase cases[] = {
      {1, 16, sizeof(PORT_INFO_1W), {TEXT("KVR8:")}},
      {2, 64, sizeof(PORT_INFO_2W), {TEXT("Folvane"), TEXT("Folvane"), TEXT("KVR8:")}},
  };
  for (const LevelCase& c : cases) {
    std::vector<BYTE> tail;
    for (const WideView text : c.strings) {
      const std::vector<BYTE> bytes = Bytes(text);
      tail.insert(tail.end(), bytes.begin(), bytes.end());
    }
    const DWORD size = c.recordSize + static_cast<DWORD>(tail.size());
    if (sizeof(void*) == 4) {
      EXPECT_EQ(size, c.needed32);
    }
    DWORD needed = 7, returned = 7;
    EXPECT_FALSE(EnumPorts(nullptr, c.level, nullptr, 0, &needed, &returned));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(needed, size);
    EXPECT_EQ(returned, 0u);
    for (const DWORD offered : {size - 1, size, size + 10}) {
      alignas(void*) BYTE buffer[128];
      memset(buffer, 0xCC, sizeof(buffer));
      needed = returned = 7;
      const BOOL done = EnumPorts(nullptr, c.level, buffer, offered, &needed, &returned);
      EXPECT_EQ(needed, size);
      EXPECT_EQ(done, offered >= size);
      EXPECT_EQ(returned, done ? 1u : 0u);
      EXPECT_EQ(buffer[offered], 0xCC) << "wrote behind the buffer";
      if (!done) {
        EXPECT_EQ(buffer[0], 0xCC) << "wrote although it does not fit";
        continue;
      }
      const BYTE* const strings = buffer + offered - tail.size();
      EXPECT_EQ(memcmp(strings, tail.data(), tail.size()), 0);
      if (c.level == 1) {
        EXPECT_EQ(reinterpret_cast<BYTE*>(reinterpret_cast<PORT_INFO_1W*>(buffer)->pName), strings);
      } else {
        const auto& port = *reinterpret_cast<PORT_INFO_2W*>(buffer);
        const size_t product = Bytes(TEXT("Folvane")).size();
        EXPECT_EQ(reinterpret_cast<BYTE*>(port.pDescription), strings);
        EXPECT_EQ(reinterpret_cast<BYTE*>(port.pMonitorName), strings + product);
        EXPECT_EQ(reinterpret_cast<BYTE*>(port.pPortName), strings + 2 * product);
        EXPECT_EQ(port.fPortType, static_cast<DWORD>(PORT_TYPE_WRITE));
        EXPECT_EQ(port.Reserved, 0u);
      }
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
  EXPECT_EQ(info.hPrinter, nullptr);
  EXPECT_EQ(info.jobId, 0u);
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
  EXPECT_EQ(info.hPrinter, nullptr);
  EXPECT_EQ(info.jobId, 0u);
  EXPECT_TRUE(AddPort(nullptr, nullptr, nullptr));
  EXPECT_TRUE(AddPortEx(nullptr, 1, nullptr, nullptr));
  EXPECT_TRUE(ConfigurePort(nullptr, nullptr, nullptr));
  EXPECT_TRUE(DeletePort(nullptr, nullptr, anyName));
  EXPECT_TRUE(EndDocPort(port));
  EXPECT_TRUE(ClosePort(port));
}

}  // namespace
}  // namespace kv
