// The product's device mode: the private part in all its layouts, merging, defaults.
#include "runtime/printing/product_devmode.h"

#include <cstddef>
#include <cstring>
#include <vector>

#include "runtime/papers/custom_papers.h"
#include "runtime/registry/settings.h"
#include "runtime/text/text.h"
#include "tests/printing/printer_test.h"
#include "tests/printing/raw_mode.h"

namespace kv::test {
namespace {

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
  struct Case {
    int number;  // -1: none is written
    WORD version;
    WORD size;
    int layout;
  };
  for (const Case& c : {Case{-1, 1050, 158, 0}, Case{-1, 1050, 160, -1}, Case{-1, 1040, 158, -1},
                        Case{-1, 1041, 158, 0}, Case{8, 1065, 364, -1}, Case{8, 1066, 364, 8},
                        Case{0, 1066, 158, 0}, Case{9, 2075, 364, -1}, Case{8, 2075, 363, -1},
                        Case{3, 2075, 358, -1}, Case{-1, 2075, 4, -1}, Case{-1, 2075, 2, -1}}) {
    RawMode raw(c.size, c.version);
    raw.Sign(c.number);
    WORD size = 1;
    int layout = 99;
    EXPECT_TRUE(RecogniseProductDevMode(raw.get(), &size, &layout));
    EXPECT_EQ(layout, c.layout) << c.number << " " << c.version << " " << c.size;
    EXPECT_EQ(size, c.layout == -1 ? 0 : c.size);
    raw.At(0)[1] = 'v';
    EXPECT_TRUE(RecogniseProductDevMode(raw.get(), nullptr, &layout));
    EXPECT_EQ(layout, -1) << "without the signature";
    raw.dev().dmSize = 188;
    EXPECT_FALSE(RecogniseProductDevMode(raw.get(), &size, nullptr));
    EXPECT_EQ(size, 0);
  }
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
  for (const char* name : {"csrss", "EXPLORER", "rundll32", "spoolss", "SpoolSV", "kvdisp4",
                           "kvdisp4a", "Kvdisp5A", "kvdisp6", "kvdisp7", ""}) {
    std::memset(raw.At(4), 0, 32);
    raw.PutText(4, name, false);
    MergeDevMode(raw.get(), merged);
    EXPECT_EQ(merged.settings.applicationName, std::string(31, 'a')) << name;
  }
  raw.PutText(4, "b", false);
  MergeDevMode(raw.get(), merged);
  EXPECT_EQ(std::string(merged.settings.applicationName, 32), "b" + std::string(31, 0));
  EXPECT_TRUE(IsSystemProcessName(TEXT("SpoolSV")));
  EXPECT_FALSE(IsSystemProcessName("explorer2"));
}

TEST_F(DevModeTest, PublicSettingsAreTakenByTheirFlags) {
  struct Field {
    DWORD flag;
    size_t offset, size;
    bool merged, flagged;
  };
  static constexpr Field kFields[] = {
      {DM_ORIENTATION, 76, 2, true, true},  {DM_DEFAULTSOURCE, 88, 2, true, true},
      {DM_PRINTQUALITY, 90, 2, true, true}, {DM_YRESOLUTION, 96, 2, true, true},
      {DM_COPIES, 86, 2, true, true},       {DM_COLOR, 92, 2, true, true},
      {DM_BITSPERPEL, 168, 4, true, true},  {DM_SCALE, 84, 2, true, false},
      {DM_DUPLEX, 94, 2, false, false},     {DM_TTOPTION, 98, 2, false, false},
      {DM_COLLATE, 100, 2, false, false},   {DM_PAPERLENGTH, 80, 2, false, false},
      {DM_FORMNAME, 102, 64, false, false}};
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
  for (const auto& [orientation, size] : {std::pair(0, 220), {3, 220}, {2, 188}}) {
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
  const WideString unended(32, TEXT('x'));
  {
    UserSettingsKey make_place(KeyMode::kWrite);
    CCustomPapers papers;
    PaperEntry paper = {332, {}, 110'099, 220'000, kPaperMillimetres};
    unended.copy(paper.name, 32);
    EXPECT_TRUE(papers.AddCustomPaper(paper));
    for (const PaperEntry& entry :
         {PaperEntry{333, TEXT("Poster"), 500'000, 700'000, kPaperMillimetres},
          PaperEntry{334, TEXT("Longest"), 3'276'799, 3'276'799, kPaperMillimetres},
          PaperEntry{335, TEXT("Too long"), 100'000, 3'276'800, kPaperMillimetres},
          PaperEntry{336, TEXT("Too wide"), 3'276'800, 100'000, kPaperMillimetres}}) {
      EXPECT_TRUE(papers.AddCustomPaper(entry));
    }
  }
  constexpr DWORD kId = DM_PAPERSIZE, kName = DM_FORMNAME, kSides = DM_PAPERWIDTH | DM_PAPERLENGTH;
  struct Case {
    short id;
    DWORD fields;
    WideString name;
    short expected_id, width, length;
    WideString expected_name;
  };
  const Case cases[] = {
      {9, kId, {}, 9, 0, 0, TEXT("A4")},
      {9, kId | kName | kSides, TEXT("Legal"), 9, 0, 0, TEXT("A4")},
      {255, kId | kSides, {}, 255, 0, 0, {}},
      {-1, kId | kSides, {}, -1, 0, 0, {}},
      {0, kId, {}, 1, 0, 0, TEXT("Letter")},
      {9, kName | kSides, TEXT("Mine"), 1, 0, 0, TEXT("Letter")},
      {333, kId, TEXT("Longest"), 333, 5000, 7000, TEXT("Poster")},
      {333, kId | kName, TEXT("longest"), 334, 32767, 32767, TEXT("Longest")},
      {300, kId | kName | kSides, TEXT("poster"), 333, 5000, 7000, TEXT("Poster")},
      {333, kId | kName, TEXT("Unknown"), 333, 5000, 7000, TEXT("Poster")},
      {300, kId | kName, unended, 332, 1100, 2200, unended.substr(1)},
      {256, kId | kSides, TEXT("Mine"), 256, 1234, 2345, TEXT("Letter")},
      {300, kId | kSides | kName, TEXT("Mine"), 300, 1234, 2345, TEXT("Mine")},
      {300, kId | kSides | kName, TEXT("letter"), 300, 1234, 2345, {}},
      {335, kId, {}, 1, 0, 0, TEXT("Letter")},
      {335, kId | kSides, {}, 335, 1234, 2345, TEXT("Letter")},
      {336, kId, {}, 1, 0, 0, TEXT("Letter")},
      {300, kId | DM_PAPERWIDTH, {}, 1, 0, 0, TEXT("Letter")},
      {300, kId | DM_PAPERLENGTH | kName, TEXT("Mine"), 1, 0, 0, TEXT("Letter")},
  };
  const auto merge = [](const Case& c, ProductDevMode& target) {
    RawMode source(0);
    source.dev().dmPaperSize = c.id;
    source.dev().dmFields = c.fields;
    source.dev().dmPaperWidth = 1234;
    source.dev().dmPaperLength = 2345;
    c.name.copy(source.dev().dmFormName, 32);
    MergeDevMode(source.get(), target);
  };
  for (const Case& c : cases) {
    ProductDevMode target = Defaults(), expected = target;
    expected.dev.dmPaperSize = c.expected_id;
    expected.dev.dmPaperWidth = c.width;
    expected.dev.dmPaperLength = c.length;
    if (c.width != 0) expected.dev.dmFields |= kSides;
    if (c.expected_name.empty()) expected.dev.dmFields &= ~kName;
    std::memset(expected.dev.dmFormName, 0, sizeof expected.dev.dmFormName);
    c.expected_name.copy(expected.dev.dmFormName, 31);
    for (int i = 0; i < 2; ++i) {
      merge(c, target);
      EXPECT_TRUE(Same(target, expected)) << c.id << " " << std::hex << c.fields;
    }
  }
  ProductDevMode bare = {};
  merge(cases[0], bare);
  EXPECT_EQ(bare.dev.dmFields, kId | kName);
  bare = {};
  merge(cases[6], bare);
  EXPECT_EQ(bare.dev.dmFields, kId | kName | kSides);
  bare = {};
  merge({256, kId | kSides, {}, 0, 0, 0, {}}, bare);
  EXPECT_EQ(bare.dev.dmFields, kId | kSides);
  ProductDevMode target = Defaults();
  platform::FailCall("RegEnumKeyExW", 1);
  merge({333, kId | kSides, {}, 0, 0, 0, {}}, target);
  EXPECT_EQ(target.dev.dmPaperWidth, 1234) << "custom papers that cannot be read are none";
}

TEST_F(DevModeTest, DefaultsMergedTakeEverything) {
  ProductDevMode target = {};
  target.settings.printerEm[0] = 'e';
  ProductDevMode expected = Defaults();
  MergeDevMode(&expected.dev, target);
  EXPECT_STREQ(target.settings.printerEm, "e") << "an empty one is not taken";
  target.settings.printerEm[0] = 0;
  EXPECT_EQ(std::memcmp(&target.settings.flags, &expected.settings.flags,
                        sizeof(ProductSettings) - offsetof(ProductSettings, flags)),
            0);
  ProductDevMode own = Defaults();
  MergeDevMode(&own.dev, own);
  EXPECT_TRUE(Same(own, expected)) << "with itself";
}

WideString program, paper_of_locale;

DWORD WINAPI ProgramName(HMODULE, LPWSTR path, DWORD size) {
  const size_t length = program.copy(path, size - 1);
  path[length] = 0;
  return length < program.size() ? size : static_cast<DWORD>(length);
}

int WINAPI PaperOfLocale(LCID locale, LCTYPE type, LPWSTR text, int size) {
  EXPECT_EQ(locale, LOCALE_SYSTEM_DEFAULT);
  EXPECT_EQ(type, LCTYPE{LOCALE_IPAPERSIZE});
  text[paper_of_locale.copy(text, size - 1)] = 0;
  return static_cast<int>(paper_of_locale.size() + 1);
}

TEST_F(DevModeTest, DefaultsByteByByte) {
  startupContext.defaultPaperSize = 5;
  ProductDevMode mode = Defaults(), expected = {};
  // All that is not 0: 16-bit numbers by their offsets, and the texts.
  static constexpr std::pair<size_t, int> kNumbers[] = {
      {64, 0x401},   {66, 2075}, {68, 220},     {70, 364}, {72, 0x6E03}, {74, 7},
      {76, 1},       {78, 5},    {84, 100},     {86, 1},   {88, 1},      {90, 600},
      {92, 2},       {94, 1},    {96, 600},     {98, 3},   {166, 600},   {168, 24},
      {220, 0x564B}, {222, 8},   {256, 0x3EFF}, {258, 3},  {260, 600},   {262, 250},
      {264, 250},    {266, 250}, {268, 250},    {270, 1},  {274, 49},    {308, 1},
      {310, 1},      {312, 1},   {574, 96},     {576, 75}, {578, 300},   {580, 0x8000}};
  for (const auto& [offset, value] : kNumbers) {
    const WORD number = static_cast<WORD>(value);
    std::memcpy(reinterpret_cast<BYTE*>(&expected) + offset, &number, 2);
  }
  CopyStringW(expected.dev.dmDeviceName, TEXT("Laser"));
  CopyStringW(expected.dev.dmFormName, TEXT("Legal"));
  CopyStringA(expected.settings.applicationName, 32, "printing_test");
  CopyStringA(expected.settings.defaultFont, 32, "Courier New");
  EXPECT_TRUE(Same(mode, expected));

  const WideString name(252, TEXT('a'));
  for (const auto& [path, title] :
       {std::pair(TEXT("C:\\") + name + TEXT(".exe"), std::string(31, 'a')),
        {TEXT("C:\\") + name + TEXT("a.exe"), ""},
        {{}, ""},
        {TEXT("C:\\Explorer.exe"), ""}}) {
    program = path;
    platform::Replace("GetModuleFileNameW", &ProgramName);
    EXPECT_EQ(Defaults().settings.applicationName, title);
  }
  platform::Replace("GetLocaleInfoW", &PaperOfLocale);
  for (const auto& [paper, kind, units] : {std::tuple(TEXT("9"), kWindows2000, 2),
                                           {TEXT("8"), kWindows10, 2},
                                           {TEXT("7"), kWindows10, 1},
                                           {TEXT("10"), kWindows10, 1},
                                           {TEXT(""), kWindows10, 1},
                                           {TEXT("9"), kNt4, 1}}) {
    paper_of_locale = paper;
    startupContext.platform.ntKind = kind;
    EXPECT_EQ(Defaults().settings.units, units);
  }
  for (const auto& [printer, device] :
       {std::pair(WideString(TEXT("\\\\ALPHA\\HP Laser")), WideString(TEXT("HP Laser"))),
        {WideString(100, TEXT('n')), WideString(31, TEXT('n'))}}) {
    DefaultDevMode(printer.c_str(), mode);
    DefaultDevMode(mode.dev.dmDeviceName, mode);
    EXPECT_EQ(WideView(mode.dev.dmDeviceName), device) << "again by its own name";
  }
}

TEST_F(DevModeTest, PapersOfUsersAreTakenAway) {
  startupContext.defaultPaperSize = 5;
  constexpr DWORD kSides = DM_PAPERWIDTH | DM_PAPERLENGTH;
  struct Case {
    short id;
    DWORD fields;
    short expected_id;
    WideView name;
  };
  for (const Case& c :
       {Case{300, DM_PAPERSIZE, 5, TEXT("Legal")}, Case{256, DM_PAPERSIZE, 5, TEXT("Legal")},
        Case{255, DM_PAPERSIZE, 255, {}}, Case{9, DM_PAPERSIZE, 9, TEXT("A4")},
        Case{300, 0, 300, {}}, Case{9, 0, 9, {}}}) {
    ProductDevMode mode = Defaults(), expected = mode;
    mode.dev.dmFields = c.fields | kSides | DM_COLOR | DM_FORMNAME;
    mode.dev.dmPaperSize = c.id;
    mode.dev.dmPaperWidth = mode.dev.dmPaperLength = 10;
    ResetUserPaperSize(mode);
    expected.dev.dmFields = c.fields | DM_COLOR | (c.name.empty() ? 0 : DM_FORMNAME);
    expected.dev.dmPaperSize = c.expected_id;
    std::memset(expected.dev.dmFormName, 0, sizeof expected.dev.dmFormName);
    c.name.copy(expected.dev.dmFormName, 31);
    EXPECT_TRUE(Same(mode, expected)) << c.id << " " << c.fields;
  }
}

}  // namespace
}  // namespace kv::test
