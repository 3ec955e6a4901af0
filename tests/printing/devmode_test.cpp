// The product's device mode: the private part in all its layouts, merging, defaults.
#include "runtime/printing/product_devmode.h"

#include <cstddef>
#include <cstring>
#include <random>
#include <vector>

#include "runtime/papers/custom_papers.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"
#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"

namespace kv::test {
namespace {

using Bytes = std::vector<BYTE>;

class DevModeTest : public PrinterTest {
 protected:
  static ProductDevMode Defaults() {
    ProductDevMode mode;
    DefaultDevMode(TEXT("Laser"), mode);
    return mode;
  }
  static bool Same(const ProductDevMode& a, const ProductDevMode& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
  }
};

// Where a form of the private part keeps what; 0 for what it does not have.
struct Form {
  int number;
  WORD version;
  WORD size;
  bool wide;
  WORD application, flags, resolution, margins, dialog, compression, font, escapes, em, units,
      printer_em, resampling, jpeg, mono, action;
};
constexpr Form kForms[] = {
    {0, 1065, 158, true, 2, 66, 70, 72, 80, 0, 92, 0, 84, 0, 0, 0, 0, 0, 0},
    {1, 1066, 156, true, 4, 68, 72, 74, 82, 86, 88, 152, 154, 0, 0, 0, 0, 0, 0},
    {2, 1100, 680, true, 4, 68, 72, 74, 82, 86, 88, 152, 154, 156, 158, 0, 0, 0, 0},
    {3, 1100, 356, false, 4, 36, 40, 42, 50, 54, 56, 88, 90, 92, 94, 354, 0, 0, 0},
    {3, 1100, 680, true, 4, 68, 72, 74, 82, 86, 88, 152, 154, 156, 158, 678, 0, 0, 0},
    {4, 1100, 356, false, 4, 36, 40, 42, 50, 54, 56, 88, 90, 92, 94, 354, 0, 0, 0},
    {5, 1100, 360, false, 4, 36, 40, 42, 50, 54, 56, 88, 90, 92, 94, 354, 356, 0, 0},
    {6, 1100, 360, false, 4, 36, 40, 42, 50, 54, 56, 88, 90, 92, 94, 354, 356, 358, 0},
    {7, 1100, 364, false, 4, 36, 40, 42, 50, 54, 56, 88, 90, 92, 94, 354, 356, 358, 360},
    {8, 2075, 364, false, 4, 36, 40, 42, 50, 54, 56, 88, 90, 92, 94, 354, 356, 358, 360},
};

// A 16-bit setting of a form and of the product's device mode.
struct Setting {
  WORD Form::*place;
  size_t more;  // bytes behind the place
  DWORD flag;
  size_t offset;  // in today's private part
};
const Setting kSettings[] = {
    {&Form::resolution, 0, 0x1, 40},    {&Form::margins, 0, 0x2, 42},
    {&Form::margins, 2, 0x4, 44},       {&Form::margins, 4, 0x8, 46},
    {&Form::margins, 6, 0x10, 48},      {&Form::dialog, 0, 0x20, 50},
    {&Form::units, 0, 0x40, 92},        {&Form::em, 0, 0x80, 90},
    {&Form::compression, 0, 0x200, 54}, {&Form::resampling, 0, 0x400, 354},
    {&Form::escapes, 0, 0x1000, 88},    {&Form::jpeg, 0, 0x2000, 356},
    {&Form::mono, 0, 0x10000, 358},     {&Form::action, 0, 0x20000, 360},
};

TEST_F(DevModeTest, AllTenFormsAreReadSettingBySetting) {
  for (const Form& form : kForms) {
    SCOPED_TRACE(testing::Message() << form.number << " " << form.size);
    RawMode raw(form.size, form.version);
    raw.Sign(form.version > 1065 ? form.number : -1);
    raw.PutText(form.application, "writer", form.wide);
    raw.PutText(form.font, "Arial", form.wide);
    if (form.printer_em != 0) raw.PutText(form.printer_em, "em", form.wide);
    for (size_t i = 0; i < std::size(kSettings); ++i) {
      const WORD place = form.*kSettings[i].place;
      if (place != 0) raw.Put16(place + kSettings[i].more, static_cast<WORD>(1001 + i));
    }
    WORD size = 0;
    int layout = 0;
    EXPECT_TRUE(RecogniseProductDevMode(raw.get(), &size, &layout));
    EXPECT_EQ(size, form.size);
    EXPECT_EQ(layout, form.number);

    // With one flag at a time just that setting is taken over.
    for (size_t i = 0; i < std::size(kSettings); ++i) {
      const Setting& setting = kSettings[i];
      raw.Put32(form.flags, setting.flag);
      ProductDevMode merged = {}, expected = {};
      MergeDevMode(raw.get(), merged);
      CopyStringA(expected.settings.applicationName, 32, "writer");
      if (form.printer_em != 0) CopyStringA(expected.settings.printerEm, 260, "em");
      if (form.*setting.place != 0) {
        expected.settings.flags = setting.flag;
        const WORD number = static_cast<WORD>(1001 + i);
        std::memcpy(reinterpret_cast<BYTE*>(&expected.settings) + setting.offset, &number, 2);
      }
      EXPECT_TRUE(Same(merged, expected)) << std::hex << setting.flag;
      ProductDevMode from_odd = {};
      MergeDevMode(OddCopy(raw.dev()).get(), from_odd);
      EXPECT_TRUE(Same(from_odd, merged)) << "at an odd address";
    }
    raw.Put32(form.flags, 0x800);
    ProductDevMode merged = {};
    MergeDevMode(raw.get(), merged);
    EXPECT_STREQ(merged.settings.defaultFont, "Arial");
    EXPECT_EQ(merged.settings.flags, 0x800u);
    raw.Put32(form.flags, 0x100);
    merged = {};
    MergeDevMode(raw.get(), merged);
    EXPECT_EQ(merged.settings.flags, 0u);
  }
}

TEST_F(DevModeTest, OtherPrivatePartsAreForeign) {
  const auto layout_of = [](const RawMode& raw) {
    int layout = 0;
    WORD size = 1;
    EXPECT_TRUE(RecogniseProductDevMode(raw.get(), &size, &layout));
    EXPECT_EQ(size == 0, layout == -1);
    return layout;
  };
  struct Case {
    int number;
    WORD version;
    size_t size;
    int layout;
  };
  for (const Case& c : {Case{-1, 1050, 158, 0}, Case{-1, 1050, 160, -1}, Case{-1, 1040, 158, -1},
                        Case{-1, 1041, 158, 0}, Case{8, 1065, 364, -1}, Case{8, 1066, 364, 8},
                        Case{0, 1066, 158, 0}, Case{9, 2075, 364, -1}, Case{8, 2075, 363, -1},
                        Case{3, 2075, 358, -1}, Case{-1, 2075, 4, -1}}) {
    RawMode raw(c.size, c.version);
    raw.Sign(c.number);
    EXPECT_EQ(layout_of(raw), c.layout) << c.number << " " << c.version << " " << c.size;
  }
  RawMode small(2);
  small.Sign(-1);
  EXPECT_EQ(layout_of(small), -1);
  RawMode unsigned_mode(364);
  EXPECT_EQ(layout_of(unsigned_mode), -1);
  RawMode old(364);
  old.dev().dmSize = 188;
  EXPECT_FALSE(RecogniseProductDevMode(old.get(), nullptr, nullptr));
  EXPECT_FALSE(RecogniseProductDevMode(nullptr, nullptr, nullptr));
}

TEST_F(DevModeTest, TextsWithoutTerminatorsAndNamesOfTheSystem) {
  RawMode raw(364);
  raw.Sign(8);
  raw.PutText(4, std::string(32, 'a'), false);
  raw.PutText(56, std::string(32, 'f'), false);
  raw.PutText(94, std::string(260, 'e'), false);
  raw.Put32(36, 0x800);
  ProductDevMode merged = Defaults();
  MergeDevMode(raw.get(), merged);
  EXPECT_EQ(merged.settings.applicationName, std::string(31, 'a'));
  EXPECT_EQ(merged.settings.defaultFont, std::string(31, 'f'));
  EXPECT_EQ(merged.settings.printerEm, std::string(259, 'e'));
  for (const char* name : {"explorer", "EXPLORER", "Kvdisp5A", ""}) {
    std::memset(raw.At(4), 0, 32);
    raw.PutText(4, name, false);
    MergeDevMode(raw.get(), merged);
    EXPECT_EQ(merged.settings.applicationName, std::string(31, 'a')) << name;
  }
  EXPECT_TRUE(IsSystemProcessName(TEXT("SpoolSV")));
  EXPECT_FALSE(IsSystemProcessName("explorer2"));
}

TEST_F(DevModeTest, PublicSettingsAreTakenByTheirFlags) {
  struct Field {
    DWORD flag;
    size_t offset;
    size_t size;
    bool merged;
    bool flagged;
  };
#define KV_FIELD(name, flag, merged, flagged) \
  { flag, offsetof(DEVMODEW, name), sizeof(DEVMODEW::name), merged, flagged }
  const Field kFields[] = {
      KV_FIELD(dmOrientation, DM_ORIENTATION, true, true),
      KV_FIELD(dmDefaultSource, DM_DEFAULTSOURCE, true, true),
      KV_FIELD(dmPrintQuality, DM_PRINTQUALITY, true, true),
      KV_FIELD(dmYResolution, DM_YRESOLUTION, true, true),
      KV_FIELD(dmCopies, DM_COPIES, true, true),
      KV_FIELD(dmColor, DM_COLOR, true, true),
      KV_FIELD(dmBitsPerPel, DM_BITSPERPEL, true, true),
      KV_FIELD(dmScale, DM_SCALE, true, false),
      KV_FIELD(dmDuplex, DM_DUPLEX, false, false),
      KV_FIELD(dmTTOption, DM_TTOPTION, false, false),
      KV_FIELD(dmCollate, DM_COLLATE, false, false),
      KV_FIELD(dmPaperLength, DM_PAPERLENGTH, false, false),
      KV_FIELD(dmFormName, DM_FORMNAME, false, false),
  };
#undef KV_FIELD
  for (const Field& field : kFields) {
    RawMode source(0);
    std::memset(reinterpret_cast<BYTE*>(&source.dev()) + field.offset, 0, field.size);
    reinterpret_cast<BYTE*>(&source.dev())[field.offset] = 2;
    ProductDevMode target = {}, expected = {};
    MergeDevMode(source.get(), target);
    EXPECT_TRUE(Same(target, expected)) << "without its flag " << std::hex << field.flag;
    source.dev().dmFields = field.flag;
    MergeDevMode(source.get(), target);
    if (field.merged) reinterpret_cast<BYTE*>(&expected.dev)[field.offset] = 2;
    if (field.flagged) expected.dev.dmFields = field.flag;
    EXPECT_TRUE(Same(target, expected)) << std::hex << field.flag;
  }
  for (const auto& [orientation, size] :
       {std::pair(0, 220), std::pair(3, 220), std::pair(2, 188)}) {
    RawMode source(0);
    source.dev().dmFields = DM_ORIENTATION;
    source.dev().dmOrientation = static_cast<short>(orientation);
    source.dev().dmSize = static_cast<WORD>(size);
    ProductDevMode target = Defaults();
    MergeDevMode(source.get(), target);
    EXPECT_TRUE(Same(target, Defaults())) << orientation << " " << size;
  }
}

TEST_F(DevModeTest, PapersAreTakenByIdByNameOrByTheirSides) {
  {
    UserSettingsKey make_place(KeyMode::kWrite);
    CCustomPapers papers;
    for (const PaperEntry& paper :
         {PaperEntry{333, TEXT("Poster"), 500'000, 700'000, kPaperMillimetres},
          PaperEntry{334, TEXT("Longest"), 3'276'799, 3'276'799, kPaperMillimetres},
          PaperEntry{335, TEXT("Too long"), 100'000, 3'276'800, kPaperMillimetres}}) {
      EXPECT_TRUE(papers.AddCustomPaper(paper));
    }
  }
  constexpr DWORD kSides = DM_PAPERWIDTH | DM_PAPERLENGTH;
  struct Case {
    short id;
    DWORD fields;
    WideView name;
    short expected_id;  // 1 with "Letter": nothing was taken
    short expected_width;
    WideView expected_name;
  };
  const Case cases[] = {
      {9, DM_PAPERSIZE, {}, 9, 0, TEXT("A4")},
      {9, DM_PAPERSIZE | DM_FORMNAME | kSides, TEXT("Legal"), 9, 0, TEXT("A4")},
      {200, DM_PAPERSIZE, {}, 200, 0, TEXT("")},
      {0, DM_PAPERSIZE, {}, 1, 0, TEXT("Letter")},
      {9, 0, {}, 1, 0, TEXT("Letter")},
      {300, DM_PAPERSIZE | DM_FORMNAME, TEXT("poster"), 333, 5000, TEXT("Poster")},
      {333, DM_PAPERSIZE, {}, 333, 5000, TEXT("Poster")},
      {333, DM_PAPERSIZE | DM_FORMNAME | kSides, TEXT("Other"), 333, 5000, TEXT("Poster")},
      {300, DM_PAPERSIZE | kSides, {}, 300, 1234, TEXT("Letter")},
      {300, DM_PAPERSIZE | kSides | DM_FORMNAME, TEXT("Mine"), 300, 1234, TEXT("Mine")},
      {300, DM_PAPERSIZE | kSides | DM_FORMNAME, TEXT("letter"), 300, 1234, TEXT("")},
      {334, DM_PAPERSIZE, {}, 334, 32767, TEXT("Longest")},
      {335, DM_PAPERSIZE, {}, 1, 0, TEXT("Letter")},
      {335, DM_PAPERSIZE | kSides, {}, 335, 1234, TEXT("Letter")},
      {300, DM_PAPERSIZE | DM_PAPERWIDTH, {}, 1, 0, TEXT("Letter")},
      {300, DM_PAPERSIZE | DM_PAPERLENGTH | DM_FORMNAME, TEXT("Mine"), 1, 0, TEXT("Letter")},
  };
  for (const Case& c : cases) {
    RawMode source(0);
    source.dev().dmPaperSize = c.id;
    source.dev().dmFields = c.fields;
    source.dev().dmPaperWidth = 1234;
    source.dev().dmPaperLength = 2345;
    c.name.copy(source.dev().dmFormName, 31);
    ProductDevMode target = Defaults();
    MergeDevMode(source.get(), target);
    EXPECT_EQ(target.dev.dmPaperSize, c.expected_id) << c.id << std::hex << c.fields;
    EXPECT_EQ(target.dev.dmPaperWidth, c.expected_width);
    EXPECT_EQ(WideView(target.dev.dmFormName), c.expected_name);
    EXPECT_EQ((target.dev.dmFields & DM_FORMNAME) != 0, !c.expected_name.empty());
    EXPECT_EQ((target.dev.dmFields & kSides) == kSides, c.expected_width != 0);
    const ProductDevMode once = target;
    MergeDevMode(source.get(), target);
    EXPECT_TRUE(Same(target, once)) << "again changes nothing";
  }
  // Custom papers that cannot be read are none.
  RawMode source(0);
  source.dev().dmPaperSize = 333;
  source.dev().dmFields = DM_PAPERSIZE | kSides;
  source.dev().dmPaperWidth = 1234;
  ProductDevMode target = Defaults();
  platform::FailCall("RegEnumKeyExW", 1);
  MergeDevMode(source.get(), target);
  EXPECT_EQ(target.dev.dmPaperSize, 333);
  EXPECT_EQ(target.dev.dmPaperWidth, 1234);
}

TEST_F(DevModeTest, MergingAgainChangesNothingAndDefaultsMergedTakeEverything) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    RawMode source(364);
    for (size_t i = 0; i < source.extra(); ++i) *source.At(i) = static_cast<BYTE>(random());
    source.Sign(static_cast<int>(random() % 10));
    auto* bytes = reinterpret_cast<BYTE*>(&source.dev());
    for (size_t i = offsetof(DEVMODEW, dmFields); i < sizeof(DEVMODEW); ++i) {
      bytes[i] = static_cast<BYTE>(random());
    }
    ProductDevMode target = Defaults();
    MergeDevMode(source.get(), target);
    const ProductDevMode once = target;
    MergeDevMode(source.get(), target);
    EXPECT_TRUE(Same(target, once)) << round;
  }
  ProductDevMode target = {};
  target.settings.printerEm[0] = 'e';
  ProductDevMode source = Defaults();
  source.settings.resolution = 1200;
  source.dev.dmOrientation = 2;
  MergeDevMode(&source.dev, target);
  ProductDevMode own = Defaults();
  MergeDevMode(&own.dev, own);
  EXPECT_TRUE(Same(own, Defaults())) << "with itself";
  EXPECT_EQ(target.settings.flags, DWORD{kAllPrivateFlags});
  EXPECT_EQ(target.settings.resolution, 1200);
  EXPECT_STREQ(target.settings.printerEm, "e") << "an empty one is not taken";
  EXPECT_EQ(target.dev.dmOrientation, 2);
}

TEST_F(DevModeTest, DefaultsByteByByte) {
  ProductDevMode mode = Defaults();
  const Bytes whole(reinterpret_cast<BYTE*>(&mode), reinterpret_cast<BYTE*>(&mode + 1));
  const auto word = [&](size_t offset) { return whole[offset] | whole[offset + 1] << 8; };
  EXPECT_EQ(WideView(mode.dev.dmDeviceName), TEXT("Laser"));
  EXPECT_EQ(WideView(mode.dev.dmFormName), TEXT("Letter"));
  EXPECT_EQ(mode.dev.dmFields, 0x76E03u);
  // dmSpecVersion, dmDriverVersion, dmSize, dmDriverExtra
  EXPECT_EQ(word(64), 0x401);
  EXPECT_EQ(word(66), 2075);
  EXPECT_EQ(word(68), 220);
  EXPECT_EQ(word(70), 364);
  EXPECT_EQ(whole[220], 'K');
  EXPECT_EQ(whole[221], 'V');
  EXPECT_EQ(word(222), 8);
  EXPECT_STREQ(mode.settings.applicationName, "printing_test");
  EXPECT_EQ(mode.settings.flags, 0x33EFFu);
  const std::pair<size_t, int> kNumbers[] = {
      {40, 600}, {42, 250}, {48, 250}, {50, 1},   {52, 0},    {54, 49},      {88, 1},
      {90, 1},   {92, 1},   {354, 96}, {356, 75}, {358, 300}, {360, 0x8000}, {362, 0}};
  for (const auto& [offset, value] : kNumbers) EXPECT_EQ(word(220 + offset), value) << offset;
  DefaultDevMode(TEXT("\\\\ALPHA\\HP Laser"), mode);
  EXPECT_EQ(WideView(mode.dev.dmDeviceName), TEXT("HP Laser"));
  DefaultDevMode(mode.dev.dmDeviceName, mode);
  EXPECT_EQ(WideView(mode.dev.dmDeviceName), TEXT("HP Laser")) << "its own name";
  const WideString long_name(100, TEXT('n'));
  DefaultDevMode(long_name.c_str(), mode);
  EXPECT_EQ(WideView(mode.dev.dmDeviceName).size(), 31u);
  platform::SetFact(platform::facts::kSystemLocale, "0x0407");
  DefaultDevMode(TEXT("Laser"), mode);
  EXPECT_EQ(mode.settings.units, kPaperMillimetres);
  startupContext.platform.ntKind = kNt4;
  DefaultDevMode(TEXT("Laser"), mode);
  EXPECT_EQ(mode.settings.units, kPaperInches);

  mode.dev.dmFields |= DM_PAPERWIDTH | DM_PAPERLENGTH;
  mode.dev.dmPaperSize = 300;
  mode.dev.dmPaperWidth = mode.dev.dmPaperLength = 10;
  ResetUserPaperSize(mode);
  EXPECT_EQ(mode.dev.dmPaperSize, 1);
  EXPECT_EQ(mode.dev.dmPaperWidth | mode.dev.dmPaperLength, 0);
  EXPECT_EQ(mode.dev.dmFields, 0x76E03u);
}

}  // namespace
}  // namespace kv::test
