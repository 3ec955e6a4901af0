// The fixture of tests with printers: an elevated administrator's machine with the printer "Laser".
#pragma once

#include <source_location>
#include <string>

#include "platform/control/message_boxes.h"
#include "runtime/core/flags.h"
#include "runtime/core/handles.h"
#include "runtime/text/wide_text.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {

// What GetDeviceCaps answers when CapsOfPage takes its place.
inline int caps_of[200];
inline int WINAPI CapsOfPage(HDC, int index) {
  return caps_of[index];
}

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
  static Key PrinterKey(const WideString& name) {
    return Key::Open(HKEY_LOCAL_MACHINE,
                     TEXT("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\") + name,
                     KEY_ALL_ACCESS);
  }
  // The text of the one box that `call` shows; it is answered with OK.
  template <class Call>
  static WideString BoxOf(Call call) {
    const size_t before = platform::ShownBoxes().size();
    platform::AnswerNextBox(IDOK);
    call();
    const auto boxes = platform::ShownBoxes();
    EXPECT_EQ(boxes.size(), before + 1);
    return boxes.empty() ? WideString() : boxes.back().text;
  }
  // The call has failed with that last error; the next one begins without.
  static void ExpectRefusal(DWORD error, bool result,
                            std::source_location here = std::source_location::current()) {
    const DWORD last = GetLastError();
    const testing::ScopedTrace trace(here.file_name(), static_cast<int>(here.line()), "");
    EXPECT_FALSE(result);
    EXPECT_EQ(last, error);
    SetLastError(ERROR_SUCCESS);
  }
  // The operation fails with that last error, quietly and then with a report.
  template <class Operation>
  static void ExpectReport(DWORD error, WideView report, Operation operation) {
    ExpectRefusal(error, operation(Quiet::kYes));
    EXPECT_EQ(BoxOf([&] { ExpectRefusal(error, operation(Quiet::kNo)); }), report);
  }
};

}  // namespace kv::test
