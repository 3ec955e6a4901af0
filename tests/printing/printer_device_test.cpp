// The printer device: its page, its settings and its bins.
#include "runtime/printing/printer_device.h"

#include <climits>
#include <cstring>
#include <functional>

#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"
#include "tests/support/failing_new.h"

namespace kv::test {
namespace {

using Refresh = CPrinterDevice::Refresh;
using Longs = std::vector<LONG>;

Longs AsLongs(const RECT& r) {
  return {r.left, r.top, r.right, r.bottom};
}
Longs AsLongs(const SIZE& s) {
  return {s.cx, s.cy};
}

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
    RawMode a4(0);
    a4.dev().dmFields = DM_PAPERSIZE;
    a4.dev().dmPaperSize = DMPAPER_A4;
    return std::make_unique<CPrinterDevice>(TEXT("Laser"), mode, a4.get(), context);
  }
  static DEVMODEW ModeOf(DWORD fields) {
    RawMode raw(0);
    raw.dev().dmFields = fields;
    return raw.dev();
  }
  // The address of nothing, with a device mode's alignment.
  static const DEVMODEW* Unreadable() { return reinterpret_cast<const DEVMODEW*>(16); }
  static uint64_t Resets() { return platform::CallCount("ResetDCW"); }
};

BOOL WINAPI MetricsOfText(HDC, LPTEXTMETRICW metrics) {
  metrics->tmHeight = 10;
  metrics->tmExternalLeading = 3;
  return TRUE;
}

TEST_F(PrinterDeviceTest, ThePageInDeviceUnitsAndMicrometres) {
  const auto laser = Laser();
  WORD id = 0;
  SIZE size, micrometres;
  laser->GetPaper(&id, &size, &micrometres);
  EXPECT_EQ(id, DMPAPER_A4);
  EXPECT_EQ(AsLongs(size), (Longs{2480, 3508}));
  EXPECT_EQ(AsLongs(micrometres), (Longs{209973, 297011}));
  EXPECT_EQ(laser->verticalResolution(), 300);
  // Margins of 59, 71, 83 and 94 pixels.
  EXPECT_EQ(AsLongs(laser->GetPaperRect()), (Longs{-59, -71, 2480 - 59, 3508 - 71}));
  EXPECT_EQ(AsLongs(laser->GetPrintableRect()), (Longs{0, 0, 2480 - 142, 3508 - 165}));
  EXPECT_EQ(AsLongs(laser->GetCenteredPrintableRect()),
            (Longs{83 - 59, 94 - 71, 2480 - 83 - 59, 3508 - 94 - 71}));
  laser->SetMarginAdjust(100, 200);
  EXPECT_EQ(AsLongs(laser->GetPrintableRect()), (Longs{0, 0, 2480 - 242, 3508 - 365}));
  platform::Replace("GetTextMetricsW", &MetricsOfText);
  EXPECT_EQ(laser->GetLineHeight(), 13);
  platform::ResetFaults();
  platform::FailCall("GetTextMetricsW", 1);
  EXPECT_EQ(laser->GetLineHeight(), 0);
  EXPECT_TRUE(laser->SupportsClipToPath());
  EXPECT_FALSE(laser->IsPostScript());
  SetDriverFact("escapes", "4115");
  EXPECT_FALSE(laser->SupportsClipToPath());
  EXPECT_TRUE(laser->IsPostScript());
  EXPECT_EQ(laser->trueTypeCapabilities(), 6);
  EXPECT_TRUE(laser->SetPortrait(FALSE, Apply::kYes));
  EXPECT_EQ(laser->physicalSize().cx, 3508);
  EXPECT_EQ(laser->GetOrientation(), DMORIENT_LANDSCAPE);
  EXPECT_TRUE(laser->SetPaperSize(300, Apply::kYes) && laser->SetPortrait(TRUE, Apply::kYes));
  laser->GetPaper(nullptr, nullptr, &micrometres);
  EXPECT_EQ(micrometres.cy, 32000021);
}

// A driver whose device mode is full of 0x11 but for its fields, with so many bytes of its own, and
// one more than it asks room for when it lies. It writes down how it is asked.
WORD driver_extra;
DWORD driver_fields;
bool driver_lies;
LONG driver_size_less;
std::vector<std::pair<HWND, DWORD>> asked;

LONG WINAPI DocumentPropertiesOfAny(HWND owner, HANDLE printer, LPWSTR device, PDEVMODEW out,
                                    PDEVMODEW in, DWORD mode) {
  EXPECT_NE(printer, nullptr);
  EXPECT_EQ(WideView(device), TEXT("Laser"));
  const LONG size = static_cast<LONG>(sizeof(DEVMODEW)) + driver_extra;
  if (mode == 0) return size - driver_size_less;
  asked.emplace_back(owner, mode);
  std::memset(static_cast<void*>(out), 0x11, static_cast<size_t>(size));
  out->dmSize = sizeof(DEVMODEW);
  out->dmDriverExtra = static_cast<WORD>(driver_extra + (driver_lies ? 1 : 0));
  out->dmFields = driver_fields;
  if (in != nullptr) out->dmCopies = in->dmCopies;
  return IDOK;
}

TEST_F(PrinterDeviceTest, AnObjectWithoutItsPartsAnswersZeros) {
  const CPrinterDevice nothing(nullptr, 0, nullptr, nullptr);
  ExpectRefusal(ERROR_INVALID_PRINTER_NAME, nothing.printer() != nullptr);
  EXPECT_FALSE(nothing.SupportsDuplex());
  EXPECT_EQ(nothing.GetMaxCopies(), 1);
  ExpectRefusal(ERROR_INVALID_PRINTER_NAME, IsPrinterUsable(TEXT("None")));
  EXPECT_TRUE(IsPrinterUsable(TEXT("Laser")));
  // A printer whose driver refuses: no settings, no context.
  for (const uint64_t call : {1, 2}) {
    platform::FailCall("DocumentPropertiesW", call, ERROR_BUSY);
    CPrinterDevice silent(TEXT("Laser"), 0, nullptr, nullptr);
    ExpectRefusal(ERROR_BUSY, silent.devMode() != nullptr);
    EXPECT_NE(silent.printer(), nullptr);
    EXPECT_EQ(silent.dc(), nullptr);
    EXPECT_EQ(silent.GetOrientation() * silent.GetDuplex() * silent.GetCopies(), 1);
    EXPECT_EQ(silent.GetTTOption() + silent.GetDefaultSource(), 0);
    WORD id = 7;
    silent.GetPaper(&id, nullptr, nullptr);
    EXPECT_EQ(id, 0);
    ExpectRefusal(ERROR_INVALID_HANDLE, silent.ShowProperties(nullptr, nullptr) != nullptr);
    silent.ApplyPaperFrom(Laser()->devMode());
    platform::FailCall("DocumentPropertiesW", call, ERROR_BUSY);
    ExpectRefusal(ERROR_BUSY, IsPrinterUsable(TEXT("Laser")));
  }
  // Fields without a flag, of which one counts all the same.
  platform::Replace("DocumentPropertiesW", &DocumentPropertiesOfAny);
  driver_extra = 0;
  driver_fields = 0;
  driver_lies = false;
  driver_size_less = 0;
  CPrinterDevice bare(TEXT("Laser"), 0, nullptr, nullptr);
  EXPECT_EQ(bare.GetOrientation() * bare.GetDuplex() * bare.GetCopies(), 1);
  EXPECT_EQ(bare.GetTTOption(), 0);
  EXPECT_EQ(bare.GetDefaultSource(), 0x1111);
  driver_fields = DM_DUPLEX | DM_COPIES | DM_TTOPTION | DM_ORIENTATION;
  CPrinterDevice full(TEXT("Laser"), 0, nullptr, nullptr);
  EXPECT_EQ(full.GetOrientation(), 1) << "neither of the two";
  EXPECT_EQ(full.GetDuplex() + full.GetCopies() + full.GetTTOption(), 3 * 0x1111);
  platform::ResetFaults();
  // Without a context.
  platform::FailCall("CreateDCW", 1, ERROR_BUSY);
  const auto laser = Laser();
  ExpectRefusal(ERROR_BUSY, laser->dc() != nullptr);
  EXPECT_EQ(AsLongs(laser->GetPaperRect()), Longs(4));
  EXPECT_EQ(AsLongs(laser->GetCenteredPrintableRect()), Longs(4));
  EXPECT_EQ(laser->GetLineHeight() + laser->verticalResolution() + laser->SupportsClipToPath(), 0);
  ExpectRefusal(ERROR_INVALID_HANDLE, laser->ApplyDevMode(Refresh::kYes));
}

TEST_F(PrinterDeviceTest, SettersStoreAndApply) {
  struct Setter {
    BOOL (*set)(CPrinterDevice& device);
    DWORD flag;
    size_t offset;
    short value;
    bool maySkip;  // what is so already, and without a context
  };
  const Setter setters[] = {
      {[](auto& d) { return d.SetOrientation(2, Apply::kYes); }, DM_ORIENTATION, 76, 2, true},
      {[](auto& d) { return d.SetDuplex(3, Apply::kYes); }, DM_DUPLEX, 94, 3, true},
      {[](auto& d) { return d.SetPaperSize(5, Apply::kYes); }, DM_PAPERSIZE, 78, 5, true},
      {[](auto& d) { return d.SetDefaultSource(4); }, DM_DEFAULTSOURCE, 88, 4, true},
      {[](auto& d) { return d.SetCollate(1); }, DM_COLLATE, 100, 1, false},
      {[](auto& d) { return d.SetColor(1); }, DM_COLOR, 92, 1, false},
      {[](auto& d) { return d.SetCopies(50); }, DM_COPIES, 86, 50, false},
      {[](auto& d) { return d.SetTTOption(3); }, DM_TTOPTION, 98, 3, false},
  };
  platform::FailCall("CreateDCW", 1);
  const auto blind = Laser();
  platform::FailCall("DocumentPropertiesW", 1);
  CPrinterDevice silent(TEXT("Laser"), 0, nullptr, nullptr);
  driver_extra = 0;
  driver_fields = 0;
  driver_lies = false;
  for (const Setter& row : setters) {
    SCOPED_TRACE(row.offset);
    const auto expect_stored = [&](const CPrinterDevice& device) {
      short value = 0;
      std::memcpy(&value, reinterpret_cast<const BYTE*>(device.devMode()) + row.offset, 2);
      EXPECT_EQ(value, row.value);
      EXPECT_NE(device.devMode()->dmFields & row.flag, 0u);
    };
    SetLastError(0);
    ExpectRefusal(ERROR_INVALID_HANDLE, row.set(silent));
    EXPECT_EQ(row.set(*blind) != FALSE, row.maySkip && row.offset != 88);
    expect_stored(*blind);
    platform::Replace("DocumentPropertiesW", &DocumentPropertiesOfAny);
    const auto laser = Laser();
    platform::ResetFaults();
    EXPECT_TRUE(row.set(*laser));
    EXPECT_EQ(Resets(), 1u);
    expect_stored(*laser);
    EXPECT_TRUE(row.set(*laser));
    EXPECT_EQ(Resets(), row.maySkip ? 1u : 2u);
  }
  const auto laser = Laser();
  platform::ResetFaults();
  EXPECT_TRUE(laser->SetOrientation(2, Apply::kNo) && laser->SetDuplex(2, Apply::kNo));
  EXPECT_TRUE(laser->SetPaperSize(5, Apply::kNo) && laser->SetPortrait(TRUE, Apply::kNo));
  EXPECT_EQ(Resets(), 0u);
  EXPECT_TRUE(laser->SetColor(1));
  EXPECT_EQ(laser->physicalSize().cy, 3508) << "the page is not read again";
  EXPECT_TRUE(laser->ApplyDevMode(Refresh::kYes));
  EXPECT_EQ(laser->physicalSize().cy, 4200);
  platform::ResetFaults();
  ExpectRefusal(ERROR_INVALID_PARAMETER, laser->SetCopies(51));
  EXPECT_TRUE(laser->SetTTOption(0));
  EXPECT_EQ(Resets(), 0u);
  EXPECT_EQ(laser->GetCopies() + laser->GetTTOption(), 1);
  SetDriverFact("copies", "-3");
  EXPECT_EQ(laser->GetMaxCopies(), 1);
  // Papers of the driver's own are set anew, also those with large ids.
  for (const short id : {short{255}, short{256}, short{-5}}) {
    EXPECT_TRUE(laser->SetPaperSize(id, Apply::kNo));
    platform::ResetFaults();
    EXPECT_TRUE(laser->SetPaperSize(id, Apply::kYes));
    EXPECT_EQ(Resets(), id == 255 ? 0u : 1u) << id;
  }
}

TEST_F(PrinterDeviceTest, PapersAreTakenFromOtherSettings) {
  const auto laser = Laser();
  const DEVMODEW& mode = *laser->devMode();
  constexpr DWORD kSides = DM_PAPERWIDTH | DM_PAPERLENGTH;
  // The paper, its sides, the orientation, and whether the context follows.
  const auto take = [&](DWORD fields, short paper, short width, short length, short orientation,
                        WORD size = 220) {
    DEVMODEW source = ModeOf(fields);
    source.dmPaperSize = paper;
    source.dmPaperWidth = width;
    source.dmPaperLength = length;
    source.dmOrientation = orientation;
    source.dmSize = size;
    platform::ResetFaults();
    laser->ApplyPaperFrom(OddCopy(source).get());
    return Longs{mode.dmPaperSize,
                 mode.dmPaperWidth,
                 mode.dmPaperLength,
                 mode.dmOrientation,
                 static_cast<LONG>(mode.dmFields & (kSides | DM_FORMNAME)),
                 static_cast<LONG>(Resets())};
  };
  const LONG old = mode.dmOrientation;
  const Longs before = take(0, 1, 2, 3, 2);
  EXPECT_EQ(before[5], 0);
  EXPECT_EQ(take(DM_PAPERSIZE | kSides, 1, 2, 3, 2, 188), before) << "not valid";
  EXPECT_EQ(take(DM_PAPERSIZE, 300, 2, 3, 2), (Longs{300, 0, 0, old, 0, 1}));
  EXPECT_EQ(take(DM_PAPERWIDTH, 1, 1000, 3, 2), (Longs{300, 1000, 0, old, DM_PAPERWIDTH, 1}));
  EXPECT_EQ(take(DM_PAPERLENGTH, 1, 2, 2000, 2), (Longs{300, 1000, 2000, old, kSides, 1}));
  EXPECT_EQ(AsLongs(laser->physicalSize()), (Longs{1181, 2362})) << "read again";
  EXPECT_EQ(take(DM_ORIENTATION, 1, 2, 3, 2), (Longs{300, 1000, 2000, 2, kSides, 1}));
  EXPECT_EQ(take(DM_PAPERSIZE | DM_ORIENTATION | kSides, 300, 1000, 2000, 2),
            (Longs{300, 1000, 2000, 2, kSides, 0}));
  EXPECT_EQ(take(DM_PAPERSIZE | kSides, 1, 1000, 2000, 2), (Longs{1, 1000, 2000, 2, kSides, 1}));
  EXPECT_EQ(take(DM_PAPERSIZE, 5, 2, 3, 2), (Longs{5, 0, 0, 2, 0, 1}));
  EXPECT_EQ(mode.dmFormName[0], 0);
  platform::ResetFaults();
  laser->ApplyPaperFrom(laser->devMode());
  laser->ApplyPaperFrom(nullptr);
  laser->ApplyPaperFrom(Unreadable());
  EXPECT_EQ(Resets(), 0u);
  laser->AttachDC(nullptr);
  EXPECT_EQ(take(DM_PAPERSIZE, 9, 2, 3, 2), (Longs{9, 0, 0, 2, 0, 0}));
}

TEST_F(PrinterDeviceTest, AContextThatCannotBeResetIsMadeAnewOrLost) {
  auto laser = Laser();
  const HDC first = laser->dc();
  platform::FailCall("ResetDCW", 1);
  EXPECT_TRUE(laser->SetOrientation(2, Apply::kYes));
  EXPECT_NE(laser->dc(), first);
  EXPECT_EQ(laser->physicalSize().cx, 3508);
  platform::FailCall("ResetDCW", 1);
  platform::FailCall("CreateDCW", 1, ERROR_BUSY);
  ExpectRefusal(ERROR_BUSY, laser->ApplyDevMode(Refresh::kYes));
  EXPECT_EQ(laser->dc(), nullptr);
  EXPECT_EQ(laser->physicalSize().cx, 0);

  const HDC theirs = CreateDCW(nullptr, TEXT("Laser"), nullptr, nullptr);
  {
    const auto guest = Laser(theirs);
    EXPECT_EQ(guest->dc(), theirs);
    EXPECT_GT(guest->physicalSize().cx, 0);
    platform::FailCall("ResetDCW", 1, ERROR_BUSY);
    ExpectRefusal(ERROR_BUSY, guest->SetOrientation(2, Apply::kYes));
    EXPECT_EQ(guest->dc(), theirs);
    laser->AttachDC(theirs);
    EXPECT_GT(laser->physicalSize().cx, 0);
    Laser()->AttachDC(theirs);
  }
  laser.reset();
  EXPECT_TRUE(DeleteDC(theirs)) << "it was never theirs to delete";
}

int most_bins;

int WINAPI CapabilitiesOfAny(LPCWSTR device, LPCWSTR port, WORD, LPWSTR, const DEVMODEW* mode) {
  EXPECT_EQ(WideView(device), TEXT("Laser"));
  EXPECT_EQ(WideView(port), TEXT("LPT1:"));
  EXPECT_EQ(mode, nullptr);
  return most_bins;
}

TEST_F(PrinterDeviceTest, BinsHaveIdsAndNamesOfAtMost24Characters) {
  const auto laser = Laser();
  EXPECT_EQ(laser->GetBinCount(), 5u);
  const std::tuple<WORD, WideView, BOOL> kBins[] = {
      {1, TEXT("Upper"), TRUE}, {2, TEXT("Lower"), TRUE},
      {0, TEXT("None"), FALSE}, {4, TEXT("A name with 24 letters!!"), TRUE},
      {5, TEXT(""), FALSE},     {0, TEXT(""), FALSE}};
  DWORD index = 0;
  for (const auto& bin : kBins) {
    WORD id = 99;
    WCHAR name[kBinNameLength + 1];
    std::fill(std::begin(name), std::end(name), TEXT('x'));
    const BOOL valid = laser->GetBin(index++, &id, name);
    EXPECT_EQ(std::tuple(id, WideView(name), valid), bin) << index;
  }
  const uint64_t questions = platform::CallCount("DeviceCapabilitiesW");
  EXPECT_EQ(laser->GetBinCount(), 5u);
  EXPECT_EQ(platform::CallCount("DeviceCapabilitiesW"), questions) << "built once";
  const auto other = Laser();
  for (const uint64_t call : {1, 2}) {
    platform::FailCall("DeviceCapabilitiesW", call);
    EXPECT_EQ(other->GetBinCount(), 0u);
  }
  for (const uint64_t allocation : {1, 2, 3}) {
    FailAllocation(allocation);
    const DWORD count = other->GetBinCount();
    FailAllocation(0);
    EXPECT_EQ(count, 0u);
  }
  EXPECT_EQ(other->GetBinCount(), 5u) << "it is asked again";
  platform::Replace("DeviceCapabilitiesW", &CapabilitiesOfAny);
  for (const auto& [bins, count] : {std::pair(0, 0u), {1, 1u}, {0xFFFF, 0xFFFFu}, {0x10000, 0u}}) {
    most_bins = bins;
    EXPECT_EQ(Laser()->GetBinCount(), count);
  }
  most_bins = -1;
  const auto mute = Laser();
  EXPECT_FALSE(mute->SupportsCollate() || mute->SupportsDuplex() ||
               mute->trueTypeCapabilities() != 0);
  most_bins = 1;
  EXPECT_TRUE(Laser()->SupportsDuplex());
  most_bins = DM_COLLATE;
  EXPECT_TRUE(Laser()->SupportsCollate());
  most_bins = ~DM_COLLATE & 0xFFFF;
  EXPECT_FALSE(Laser()->SupportsCollate());
}

TEST_F(PrinterDeviceTest, NumbersAtTheEdge) {
  platform::Replace("GetDeviceCaps", &CapsOfPage);
  const auto page = [](int dpi, int offset, int size) {
    std::fill(std::begin(caps_of), std::end(caps_of), size);
    caps_of[LOGPIXELSX] = caps_of[LOGPIXELSY] = dpi;
    caps_of[PHYSICALOFFSETX] = offset;
    const auto laser = Laser();
    SIZE micrometres = {7, 7};
    laser->GetPaper(nullptr, nullptr, &micrometres);
    Longs all = AsLongs(micrometres);
    laser->SetMarginAdjust(INT_MIN, -1);
    for (const RECT& r : {laser->GetPaperRect(), laser->GetPrintableRect()}) {
      for (const LONG edge : AsLongs(r)) all.push_back(edge);
    }
    return all;
  };
  EXPECT_EQ(page(0, 0, 100), (Longs{0, 0, 0, -100, 100, 0, 0, 0, INT_MAX, 101})) << "no resolution";
  EXPECT_EQ(page(1, 0, 1), (Longs{25400, 25400, 0, -1, 1, 0, 0, 0, INT_MAX, 2}));
  EXPECT_EQ(page(1, 0, -1), (Longs{0, 0, 0, 1, -1, 0, 0, 0, INT_MAX, 0}));
  EXPECT_EQ(page(1, INT_MIN, INT_MAX),
            (Longs{0, 0, INT_MAX, -INT_MAX, INT_MAX, 0, 0, 0, INT_MAX, INT_MAX}));
  EXPECT_EQ(AsLongs(Laser()->GetCenteredPrintableRect()), (Longs{INT_MAX, 0, INT_MAX, -INT_MAX}));
}

TEST_F(PrinterDeviceTest, WhatTheUserConfirmsBecomesTheDeviceMode) {
  const auto laser = Laser();
  const DEVMODEW* const settings = laser->devMode();
  DEVMODEW other = ModeOf(DM_COPIES);
  other.dmCopies = 7;
  platform::AnswerNextBox(IDCANCEL);
  ExpectRefusal(ERROR_CANCELLED, laser->ShowProperties(nullptr, &other) != nullptr);
  EXPECT_EQ(laser->GetCopies(), 1);
  const DEVMODEW* const own = nullptr;
  for (const DEVMODEW* const shown : {static_cast<const DEVMODEW*>(&other), settings, own}) {
    platform::AnswerNextBox(IDOK);
    EXPECT_EQ(laser->ShowProperties(nullptr, shown), settings) << "where callers know it";
    EXPECT_EQ(laser->GetCopies(), 7);
  }
}

TEST_F(PrinterDeviceTest, TheDriverMayHaveMoreSettingsThanBefore) {
  platform::Replace("DocumentPropertiesW", &DocumentPropertiesOfAny);
  driver_extra = 10;
  driver_fields = DM_COPIES;
  driver_lies = false;
  asked.clear();
  CPrinterDevice laser(TEXT("Laser"), 0, nullptr, nullptr);
  driver_extra = 10'000;
  DEVMODEW other = ModeOf(0);
  other.dmCopies = 7;
  const HWND owner = reinterpret_cast<HWND>(5);
  ASSERT_NE(laser.ShowProperties(owner, OddCopy(other).get()), nullptr);
  EXPECT_EQ(asked,
            (std::vector<std::pair<HWND, DWORD>>{
                {nullptr, DM_OUT_BUFFER}, {owner, DM_IN_BUFFER | DM_IN_PROMPT | DM_OUT_BUFFER}}));
  EXPECT_EQ(laser.devMode()->dmDriverExtra, 10'000);
  EXPECT_EQ(reinterpret_cast<const BYTE*>(laser.devMode())[sizeof(DEVMODEW) + 9'999], 0x11);
  const DEVMODEW* const settings = laser.devMode();
  const auto refused = [&](DWORD error, const DEVMODEW* input) {
    ExpectRefusal(error, laser.ShowProperties(owner, input) != nullptr);
    EXPECT_EQ(laser.devMode(), settings);
    EXPECT_EQ(laser.GetCopies(), 7);
  };
  driver_lies = true;
  refused(ERROR_INVALID_DATA, nullptr);
  driver_lies = false;
  refused(ERROR_INVALID_PARAMETER, Unreadable());
  asked.clear();
  const auto without_memory = [&](uint64_t allocation) {
    FailAllocation(allocation);
    const bool done = laser.ShowProperties(owner, &other) != nullptr;
    FailAllocation(0);
    ExpectRefusal(ERROR_NOT_ENOUGH_MEMORY, done);
  };
  without_memory(1);
  EXPECT_EQ(BoxOf([&] { without_memory(2); }),
            TEXT("An internal error occurred: DuplicateDevmodePtr could not allocate DEVMODE."));
  EXPECT_TRUE(asked.empty()) << "no dialog";
  driver_extra = 0;
  driver_size_less = 120;
  EXPECT_NE(CPrinterDevice(TEXT("Laser"), 0, nullptr, nullptr).devMode(), nullptr)
      << "an older driver";
  driver_size_less = 0;
}

TEST_F(PrinterDeviceTest, SettingsThatCannotBeTakenOverAreNotReplacedByOthers) {
  const CPrinterDevice unreadable(TEXT("Laser"), 0, Unreadable(), nullptr);
  ExpectRefusal(ERROR_INVALID_PARAMETER, unreadable.devMode() != nullptr);
  EXPECT_NE(unreadable.printer(), nullptr);
  EXPECT_EQ(unreadable.dc(), nullptr);
}

TEST_F(PrinterDeviceTest, ForChangesItIsOpenedWithAllRightsIfItMay) {
  for (const auto& [mode, elevated, calls, changes] :
       {std::tuple(0, 1, 1u, false), {1, 1, 1u, false}, {2, 1, 1u, true}, {2, 0, 2u, false}}) {
    platform::SetFactNumber(platform::facts::kUserIsElevated, elevated);
    platform::ResetFaults();
    const auto laser = Laser(nullptr, mode);
    EXPECT_EQ(platform::CallCount("OpenPrinterW"), calls);
    PRINTER_INFO_8W none = {};
    EXPECT_EQ(SetPrinterW(laser->printer(), 8, reinterpret_cast<BYTE*>(&none), 0) != FALSE,
              changes);
  }
}

}  // namespace
}  // namespace kv::test
