// The fixture of tests with printers: an elevated administrator's machine with the printer "Laser".
#pragma once

#include <string>

#include "platform/control/message_boxes.h"
#include "runtime/core/handles.h"
#include "runtime/text/wide_text.h"
#include "tests/support/runtime_test.h"

namespace kv::test {

using WideString = std::basic_string<WCHAR>;

class PrinterTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
    platform::SetFactNumber(platform::facts::kUserIsElevated, 1);
    // The spooler installs its driver for the architecture that it finds when it starts.
    platform::UseMachine(directory());
    Restart();
    AddPrinter(TEXT("Laser"));
    platform::ResetFaults();
  }

  static void SetDriverFact(const std::string& name, const std::string& value) {
    platform::SetFact(platform::facts::kDriverPrefix + std::string("Generic / Text Only.") + name,
                      value);
  }
  static void AddPrinter(LPCWSTR name) {
    PRINTER_INFO_2W info = {};
    info.pPrinterName = const_cast<LPWSTR>(name);
    info.pPortName = const_cast<LPWSTR>(TEXT("LPT1:"));
    info.pDriverName = const_cast<LPWSTR>(TEXT("Generic / Text Only"));
    info.pPrintProcessor = const_cast<LPWSTR>(TEXT("winprint"));
    info.pDatatype = const_cast<LPWSTR>(TEXT("RAW"));
    UniquePrinter(AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info)));
  }
  static UniquePrinter Open(LPCWSTR name = TEXT("Laser"), ACCESS_MASK access = PRINTER_ALL_ACCESS) {
    PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
    UniquePrinter printer;
    EXPECT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name), printer.Receive(), &defaults));
    return printer;
  }
  // The text of the last box shown.
  static WideString LastBox() {
    const auto boxes = platform::ShownBoxes();
    return boxes.empty() ? WideString() : boxes.back().text;
  }
};

}  // namespace kv::test
