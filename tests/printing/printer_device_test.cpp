// The printer device: its page, its settings and its bins.
#include "runtime/printing/printer_device.h"

#include <climits>
#include <cstring>

#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

using Refresh = CPrinterDevice::Refresh;

class PrinterDeviceTest : public PrinterTest {
 protected:
  void SetUp() override {
    PrinterTest::SetUp();
    SetDriverFact("margins", "5000,6000,7000,8000");
    SetDriverFact("bins", "1:   Upper,2:Lower,0:None,4:A name with 24 letters!!,5:");
    SetDriverFact("copies", "50");
    SetDriverFact("truetype", "6");
    SetDriverFact("escapes", "4097");
    SetDriverFact("papers", "300:Banner:100000x32000000,301:Stamp:25400x25400");
  }
  // One that opens, asks the driver and gives an A4 sheet at 300 dpi.
  static std::unique_ptr<CPrinterDevice> Laser(HDC context = nullptr, int mode = 0) {
    RawA4 a4;
    return std::make_unique<CPrinterDevice>(TEXT("Laser"), mode, &a4.mode, context);
  }
  struct RawA4 {
    DEVMODEW mode = {};
    RawA4() {
      mode.dmSize = sizeof mode;
      mode.dmFields = DM_PAPERSIZE;
      mode.dmPaperSize = DMPAPER_A4;
    }
  };
  // The address of nothing, with a device mode's alignment.
  static const DEVMODEW* Unreadable() { return reinterpret_cast<const DEVMODEW*>(16); }
  static void ExpectRect(const RECT& r, LONG left, LONG top, LONG right, LONG bottom) {
    EXPECT_EQ(r.left, left);
    EXPECT_EQ(r.top, top);
    EXPECT_EQ(r.right, right);
    EXPECT_EQ(r.bottom, bottom);
  }
};

TEST_F(PrinterDeviceTest, ThePageInDeviceUnitsAndMicrometres) {
  const auto laser = Laser();
  WORD id = 0;
  SIZE size, micrometres;
  laser->GetPaper(&id, &size, &micrometres);
  EXPECT_EQ(id, DMPAPER_A4);
  EXPECT_EQ(size.cx, 2480);
  EXPECT_EQ(size.cy, 3508);
  EXPECT_EQ(micrometres.cx, 209973);
  EXPECT_EQ(micrometres.cy, 297011);
  EXPECT_EQ(laser->verticalResolution(), 300);
  // Margins of 59, 71, 83 and 94 pixels.
  ExpectRect(laser->GetPaperRect(), -59, -71, 2480 - 59, 3508 - 71);
  ExpectRect(laser->GetPrintableRect(), 0, 0, 2480 - 59 - 83, 3508 - 71 - 94);
  ExpectRect(laser->GetCenteredPrintableRect(), 83 - 59, 94 - 71, 2480 - 83 - 59, 3508 - 94 - 71);
  laser->SetMarginAdjust(100, 200);
  ExpectRect(laser->GetPrintableRect(), 0, 0, 2480 - 142 - 100, 3508 - 165 - 200);
  EXPECT_GT(laser->GetLineHeight(), 0);
  EXPECT_TRUE(laser->SupportsClipToPath());
  EXPECT_FALSE(laser->IsPostScript());
  EXPECT_TRUE(laser->SetPortrait(FALSE, Apply::kYes));
  EXPECT_EQ(laser->physicalSize().cx, 3508);
  EXPECT_EQ(laser->GetOrientation(), DMORIENT_LANDSCAPE);
  EXPECT_EQ(laser->trueTypeCapabilities(), 6);
  EXPECT_TRUE(laser->SetPaperSize(301, Apply::kYes) && laser->SetPortrait(TRUE, Apply::kYes));
  EXPECT_EQ(laser->physicalSize().cx, 300);
  EXPECT_TRUE(laser->SetPaperSize(300, Apply::kYes));
  laser->GetPaper(nullptr, nullptr, &micrometres);
  EXPECT_EQ(micrometres.cy, 32000021);
}

TEST_F(PrinterDeviceTest, AnObjectWithoutItsPartsAnswersZeros) {
  const CPrinterDevice nothing(nullptr, 0, nullptr, nullptr);
  EXPECT_EQ(nothing.printer(), nullptr);
  EXPECT_FALSE(nothing.SupportsDuplex());
  EXPECT_EQ(nothing.GetMaxCopies(), 1);
  EXPECT_EQ(CPrinterDevice(TEXT("None"), 2, nullptr, nullptr).printer(), nullptr);
  // A printer whose driver refuses: no settings, no context.
  for (const uint64_t call : {1, 2}) {
    platform::ResetFaults();
    platform::FailCall("DocumentPropertiesW", call);
    CPrinterDevice silent(TEXT("Laser"), 0, nullptr, nullptr);
    EXPECT_NE(silent.printer(), nullptr);
    EXPECT_EQ(silent.devMode(), nullptr);
    EXPECT_EQ(silent.dc(), nullptr);
    EXPECT_EQ(silent.GetOrientation() * silent.GetDuplex() * silent.GetCopies(), 1);
    EXPECT_EQ(silent.GetTTOption() + silent.GetDefaultSource(), 0);
    EXPECT_FALSE(silent.SetDuplex(2, Apply::kYes));
    EXPECT_FALSE(silent.SetPaperSize(9, Apply::kYes));
    EXPECT_EQ(silent.ShowProperties(nullptr, nullptr), nullptr);
    platform::FailCall("DocumentPropertiesW", 1);
    EXPECT_FALSE(IsPrinterUsable(TEXT("Laser")));
  }
  EXPECT_TRUE(IsPrinterUsable(TEXT("Laser")));
  EXPECT_FALSE(IsPrinterUsable(TEXT("None")));
  // Without a context.
  platform::FailCall("CreateDCW", 1);
  const auto laser = Laser();
  ASSERT_NE(laser->devMode(), nullptr);
  EXPECT_EQ(laser->dc(), nullptr);
  ExpectRect(laser->GetPaperRect(), 0, 0, 0, 0);
  ExpectRect(laser->GetCenteredPrintableRect(), 0, 0, 0, 0);
  EXPECT_EQ(laser->GetLineHeight() + laser->verticalResolution() + laser->SupportsClipToPath(), 0);
  EXPECT_TRUE(laser->SetPaperSize(5, Apply::kYes) && laser->SetOrientation(2, Apply::kYes) &&
              laser->SetDuplex(2, Apply::kYes));
  EXPECT_FALSE(laser->SetCollate(1) || laser->SetColor(2) || laser->SetCopies(2) ||
               laser->SetTTOption(2) || laser->SetDefaultSource(3));
  EXPECT_EQ(laser->GetDuplex(), 2);
  EXPECT_EQ(laser->GetDefaultSource(), 3) << "stored all the same";
}

TEST_F(PrinterDeviceTest, SettersStoreAndApply) {
  const auto laser = Laser();
  const DEVMODEW& mode = *laser->devMode();
  const auto resets = [] { return platform::CallCount("ResetDCW"); };
  platform::ResetFaults();
  EXPECT_TRUE(laser->SetPaperSize(DMPAPER_A4, Apply::kYes));
  EXPECT_EQ(resets(), 0u) << "it is so already";
  EXPECT_TRUE(laser->SetPaperSize(5, Apply::kNo));
  EXPECT_EQ(resets(), 0u);
  EXPECT_EQ(laser->physicalSize().cy, 3508) << "read with the context only";
  EXPECT_TRUE(laser->SetPaperSize(300, Apply::kYes));
  DEVMODEW named = {};
  named.dmSize = sizeof named;
  named.dmFields = DM_PAPERWIDTH | DM_PAPERLENGTH | DM_ORIENTATION;
  named.dmPaperWidth = 1000;
  named.dmPaperLength = 2000;
  named.dmOrientation = 2;
  laser->ApplyPaperFrom(&named);
  EXPECT_EQ(laser->physicalSize().cx, 2362);
  EXPECT_EQ(resets(), 2u);
  laser->ApplyPaperFrom(&named);
  EXPECT_EQ(resets(), 2u) << "nothing new";
  laser->ApplyPaperFrom(nullptr);
  named.dmFields |= DM_PAPERSIZE;
  named.dmPaperSize = 1;
  named.dmSize = 188;
  laser->ApplyPaperFrom(&named);
  laser->ApplyPaperFrom(Unreadable());
  EXPECT_EQ(mode.dmPaperSize, 300) << "of one that is not valid";
  named.dmSize = sizeof named;
  laser->ApplyPaperFrom(laser->devMode());
  EXPECT_EQ(resets(), 2u) << "its own";
  laser->ApplyPaperFrom(OddCopy(named).get());
  EXPECT_EQ(mode.dmPaperSize, 1);
  EXPECT_EQ(mode.dmPaperWidth, 1000) << "set again behind the paper's id";
  EXPECT_TRUE(laser->SetPaperSize(300, Apply::kYes));
  EXPECT_EQ(mode.dmPaperWidth | mode.dmPaperLength | mode.dmFormName[0], 0);
  EXPECT_EQ(mode.dmFields & (DM_PAPERWIDTH | DM_PAPERLENGTH | DM_FORMNAME), 0u);

  EXPECT_FALSE(laser->SetCopies(51));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(laser->GetCopies(), 1);
  EXPECT_TRUE(laser->SetCopies(50));
  EXPECT_EQ(laser->GetCopies(), 50);
  EXPECT_TRUE(laser->SetTTOption(0));
  EXPECT_EQ(mode.dmFields & DM_TTOPTION, 0u);
  EXPECT_TRUE(laser->SetTTOption(3) && laser->SetCollate(1) && laser->SetColor(1));
  EXPECT_EQ(mode.dmTTOption * 100 + mode.dmCollate * 10 + mode.dmColor, 311);
  SetDriverFact("copies", "-3");
  EXPECT_EQ(laser->GetMaxCopies(), 1);
}

TEST_F(PrinterDeviceTest, AContextThatCannotBeResetIsMadeAnewOrLost) {
  auto laser = Laser();
  const HDC first = laser->dc();
  platform::FailCall("ResetDCW", 1);
  EXPECT_TRUE(laser->SetOrientation(2, Apply::kYes));
  EXPECT_NE(laser->dc(), first);
  EXPECT_EQ(laser->physicalSize().cx, 3508);
  platform::FailCall("ResetDCW", 1);
  platform::FailCall("CreateDCW", 1);
  EXPECT_FALSE(laser->ApplyDevMode(Refresh::kYes));
  EXPECT_EQ(laser->dc(), nullptr);
  EXPECT_EQ(laser->physicalSize().cx, 0);

  const HDC theirs = CreateDCW(nullptr, TEXT("Laser"), nullptr, nullptr);
  {
    const auto guest = Laser(theirs);
    EXPECT_EQ(guest->dc(), theirs);
    platform::ResetFaults();
    platform::FailCall("ResetDCW", 1);
    EXPECT_FALSE(guest->SetOrientation(2, Apply::kYes));
    EXPECT_EQ(guest->dc(), theirs);
    laser->AttachDC(theirs);
    EXPECT_GT(laser->physicalSize().cx, 0);
  }
  laser.reset();
  EXPECT_TRUE(DeleteDC(theirs)) << "it was never theirs to delete";
}

TEST_F(PrinterDeviceTest, BinsHaveIdsAndNamesOfAtMost24Characters) {
  const auto laser = Laser();
  EXPECT_EQ(laser->GetBinCount(), 5u);
  struct Bin {
    WORD id;
    WideView name;
    BOOL valid;
  };
  const Bin bins[] = {{1, TEXT("Upper"), TRUE}, {2, TEXT("Lower"), TRUE},
                      {0, TEXT("None"), FALSE}, {4, TEXT("A name with 24 letters!!"), TRUE},
                      {5, TEXT(""), FALSE},     {0, TEXT(""), FALSE}};
  for (DWORD i = 0; i < std::size(bins); ++i) {
    WORD id = 99;
    WCHAR name[kBinNameLength + 1];
    EXPECT_EQ(laser->GetBin(i, &id, name), bins[i].valid) << i;
    EXPECT_EQ(id, bins[i].id);
    EXPECT_EQ(WideView(name), bins[i].name);
  }
  const uint64_t asked = platform::CallCount("DeviceCapabilitiesW");
  laser->GetBinCount();
  EXPECT_EQ(platform::CallCount("DeviceCapabilitiesW"), asked) << "built once";
  const auto other = Laser();
  platform::FailCall("DeviceCapabilitiesW", 1);
  EXPECT_EQ(other->GetBinCount(), 0u);
  EXPECT_EQ(other->GetBinCount(), 5u) << "it is asked again";
}

LONG WINAPI LyingDocumentProperties(HWND owner, HANDLE printer, LPWSTR device, PDEVMODEW out,
                                    PDEVMODEW in, DWORD mode) {
  if (mode == 0) return 100;
  const LONG answer = DocumentPropertiesW(owner, printer, device, out, in, mode);
  if (out != nullptr) out->dmDriverExtra = 60'000;
  return answer;
}

TEST_F(PrinterDeviceTest, DriversThatAnswerNonsense) {
  platform::Replace("DocumentPropertiesW", &LyingDocumentProperties);
  EXPECT_EQ(CPrinterDevice(TEXT("Laser"), 0, nullptr, nullptr).devMode(), nullptr)
      << "longer than it asked room for";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_DATA});
  platform::ResetFaults();
  platform::Replace("GetDeviceCaps",
                    static_cast<int(WINAPI*)(HDC, int)>([](HDC, int) CALLBACK { return 0; }));
  const auto laser = Laser();
  SIZE micrometres = {7, 7};
  laser->GetPaper(nullptr, nullptr, &micrometres);
  EXPECT_EQ(micrometres.cx, 0) << "no resolution";
  EXPECT_EQ(micrometres.cy, 0);
  ExpectRect(laser->GetCenteredPrintableRect(), 0, 0, 0, 0);
  platform::ResetFaults();
  platform::FailCall("DeviceCapabilitiesW", 1, 0, 100);
  const auto mute = Laser();
  EXPECT_FALSE(mute->SupportsCollate());
  EXPECT_EQ(mute->trueTypeCapabilities(), 0);
  EXPECT_FALSE(mute->SupportsDuplex());
  EXPECT_EQ(mute->GetMaxCopies(), 1);
}

TEST_F(PrinterDeviceTest, NumbersAtTheEdge) {
  platform::Replace("GetDeviceCaps",
                    static_cast<int(WINAPI*)(HDC, int)>([](HDC, int index) CALLBACK {
                      return index == LOGPIXELSX || index == LOGPIXELSY ? 1
                             : index == PHYSICALOFFSETX                 ? INT_MIN
                                                                        : INT_MAX;
                    }));
  const auto laser = Laser();
  SIZE micrometres;
  laser->GetPaper(nullptr, nullptr, &micrometres);
  EXPECT_EQ(micrometres.cx, 0) << "more than 31 bits";
  ExpectRect(laser->GetPaperRect(), INT_MAX, -INT_MAX, INT_MAX, 0);
  ExpectRect(laser->GetCenteredPrintableRect(), INT_MAX, 0, INT_MAX, -INT_MAX);
  laser->SetMarginAdjust(INT_MIN, -1);
  ExpectRect(laser->GetPrintableRect(), 0, 0, INT_MAX, INT_MAX);
  platform::Replace("DeviceCapabilitiesW", static_cast<decltype(&DeviceCapabilitiesW)>(
                                               [](LPCWSTR, LPCWSTR, WORD, LPWSTR, const DEVMODEW*)
                                                   CALLBACK -> int { return 0x20000000; }));
  EXPECT_EQ(laser->GetBinCount(), 0u) << "more bins than ids";
}

TEST_F(PrinterDeviceTest, WhatTheUserConfirmsBecomesTheDeviceMode) {
  const auto laser = Laser();
  const DEVMODEW* const settings = laser->devMode();
  RawA4 other;
  other.mode.dmFields = DM_COPIES;
  other.mode.dmCopies = 7;
  platform::AnswerNextBox(IDCANCEL);
  EXPECT_EQ(laser->ShowProperties(nullptr, &other.mode), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CANCELLED});
  EXPECT_EQ(laser->GetCopies(), 1);
  platform::AnswerNextBox(IDOK);
  EXPECT_EQ(laser->ShowProperties(nullptr, &other.mode), settings);
  EXPECT_EQ(laser->devMode(), settings) << "where callers know it";
  EXPECT_EQ(laser->GetCopies(), 7);
  platform::AnswerNextBox(IDOK);
  EXPECT_NE(laser->ShowProperties(nullptr, nullptr), nullptr);
  EXPECT_EQ(laser->GetCopies(), 7) << "its own";
}

// A driver with so many bytes of its own, and in the dialog one more than it asks room for when it
// lies.
WORD driver_extra;
bool driver_lies;

LONG WINAPI DocumentPropertiesOfGrowing(HWND, HANDLE, LPWSTR, PDEVMODEW out, PDEVMODEW in,
                                        DWORD mode) {
  const LONG size = static_cast<LONG>(sizeof(DEVMODEW)) + driver_extra;
  if (mode == 0) return size;
  std::memset(static_cast<void*>(out), 0x11, static_cast<size_t>(size));
  out->dmSize = sizeof(DEVMODEW);
  out->dmDriverExtra = static_cast<WORD>(driver_extra + (driver_lies ? 1 : 0));
  out->dmCopies = in == nullptr ? short{1} : in->dmCopies;
  return IDOK;
}

TEST_F(PrinterDeviceTest, TheDriverMayHaveMoreSettingsThanBefore) {
  platform::Replace("DocumentPropertiesW", &DocumentPropertiesOfGrowing);
  driver_extra = 10;
  driver_lies = false;
  CPrinterDevice laser(TEXT("Laser"), 0, nullptr, nullptr);
  driver_extra = 10'000;
  RawA4 other;
  other.mode.dmCopies = 7;
  ASSERT_NE(laser.ShowProperties(nullptr, OddCopy(other.mode).get()), nullptr);
  EXPECT_EQ(laser.devMode()->dmDriverExtra, 10'000);
  EXPECT_EQ(laser.devMode()->dmCopies, 7);
  EXPECT_EQ(reinterpret_cast<const BYTE*>(laser.devMode())[sizeof(DEVMODEW) + 9'999], 0x11);
  const DEVMODEW* const settings = laser.devMode();
  const auto expect_kept = [&](DWORD error) {
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(laser.devMode(), settings);
    EXPECT_EQ(settings->dmCopies, 7);
  };
  driver_lies = true;
  EXPECT_EQ(laser.ShowProperties(nullptr, nullptr), nullptr);
  expect_kept(ERROR_INVALID_DATA);
  driver_lies = false;
  EXPECT_EQ(laser.ShowProperties(nullptr, Unreadable()), nullptr);
  expect_kept(ERROR_INVALID_PARAMETER);
  other.mode.dmCopies = 8;
  const uint64_t calls = platform::CallCount("DocumentPropertiesW");
  platform::AnswerNextBox(IDOK);
  FailAllocation(2);
  EXPECT_EQ(laser.ShowProperties(nullptr, &other.mode), nullptr);
  FailAllocation(0);
  expect_kept(ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(platform::CallCount("DocumentPropertiesW"), calls + 1) << "no dialog";
  EXPECT_NE(LastBox().find(TEXT("DuplicateDevmodePtr could not allocate DEVMODE")),
            WideString::npos);
}

TEST_F(PrinterDeviceTest, SettingsThatCannotBeTakenOverAreNotReplacedByOthers) {
  const CPrinterDevice unreadable(TEXT("Laser"), 0, Unreadable(), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_NE(unreadable.printer(), nullptr);
  EXPECT_EQ(unreadable.devMode(), nullptr);
  EXPECT_EQ(unreadable.dc(), nullptr);
  RawA4 a4;
  const CPrinterDevice odd(TEXT("Laser"), 0, OddCopy(a4.mode).get(), nullptr);
  ASSERT_NE(odd.devMode(), nullptr);
  EXPECT_EQ(odd.devMode()->dmPaperSize, DMPAPER_A4);
}

TEST_F(PrinterDeviceTest, WithoutRightsItOpensWithDefaultOnes) {
  platform::SetFactNumber(platform::facts::kUserIsElevated, 0);
  EXPECT_NE(Laser(nullptr, CPrinterDevice::kOpenForChange)->printer(), nullptr)
      << "with default rights then";
}

}  // namespace
}  // namespace kv::test
