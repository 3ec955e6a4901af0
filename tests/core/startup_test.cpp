// What process attach makes of the machine and of the resource library.
#include <map>

#include "resources/string_ids.h"
#include "runtime/core/resource_library.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class StartupTest : public RuntimeTest {
 protected:
  using Strings = std::map<UINT, LPCWSTR>;

  // Begins a new life in which the resource library holds these strings only.
  void RestartWith(Strings strings) {
    strings_ = std::move(strings);
    platform::Replace("LoadStringW", &LoadFromStrings);
    Restart();
    platform::ResetFaults();
  }

 private:
  static int WINAPI LoadFromStrings(HINSTANCE, UINT number, LPWSTR buffer, int capacity) {
    const auto found = strings_.find(number);
    const WideView text = found == strings_.end() ? WideView() : WideView(found->second);
    const size_t length = text.copy(buffer, capacity - 1);
    buffer[length] = 0;
    return static_cast<int>(length);
  }
  static Strings strings_;
};
StartupTest::Strings StartupTest::strings_;

TEST_F(StartupTest, FillsTheRecordOnAPlainMachine) {
  platform::SetFact(facts::kMetricPrefix + std::to_string(SM_MIDEASTENABLED), "3");
  platform::SetFact(facts::kMetricPrefix + std::to_string(SM_DBCSENABLED), "5");
  Restart();
  const StartupContext& context = startupContext;
  const struct {
    LPCWSTR field, text;
  } kTexts[] = {
      {context.productName, TEXT("Folvane")},
      {context.productNameVersion, TEXT("Folvane 8")},
      {context.displayName, TEXT("Folvane")},
      {context.portName, TEXT("KVR8:")},
      {context.companyName, TEXT("Veltmoor Software, LLC")},
      {context.legalNotice, TEXT("Copyright \u00A9 Veltmoor Software, LLC. All rights reserved.")},
      {context.printEnvironment, sizeof(void*) == 4 ? TEXT("Windows NT x86") : TEXT("Windows x64")},
      {context.resourceDllName, TEXT("kvres832.dll")},
      {context.graphicsDriverFile, TEXT("kvgraph8.dll")},
      {context.interfaceFile, TEXT("kvinter8.dll")},
      {context.displayFile, TEXT("kvdspl8.dll")},
      {context.moduleFile, TEXT("kvmon8.dll")},
      {context.monitorFile, TEXT("kvmon8.dll")},
      {context.userInterfaceFile, TEXT("kvui8.dll")},
      {context.dispatcherFile, TEXT("kvdisp8.exe")},
      {context.dispatcherTitle, TEXT("Folvane Dispatcher")},
      {context.webSite, TEXT("http://www.veltmoor.example")},
      {context.webHost, TEXT("www.veltmoor.example")},
      {context.helpUrl, TEXT("http://www.veltmoor.example/help/folvane8")},
      {context.systemLanguageName, TEXT("English")},
      {context.resourceText12003, TEXT(".")},
      {context.resourceText10084, TEXT("Folvane Printer")},
      {context.appDir, TEXT("")},
  };
  for (const auto& text : kTexts) EXPECT_EQ(WideView(text.field), text.text);
  EXPECT_EQ(context.hInstance, GetModuleHandleW(nullptr));
  EXPECT_EQ(context.systemLangId, 0x0409);
  EXPECT_EQ(context.systemAnsiCodePage, 1252);
  EXPECT_EQ(context.defaultUnits, 1u);
  EXPECT_EQ(context.guiFontCodePage, 1252u);
  EXPECT_FALSE(context.guiFontDbcs);
  EXPECT_EQ(context.midEastEnabled, 3);
  EXPECT_EQ(context.dbcsEnabled, 5);
  EXPECT_EQ(context.resourceLangId, 0x0409);
  EXPECT_EQ(context.productKindCode, 109u);
  EXPECT_EQ(context.defaultPaperSize, 1u);
  EXPECT_EQ(context.resourceNumber12004, 8);
  const LPCWSTR kMessages[] = {
      TEXT("AddSpoolFile"),     TEXT("AnnotDeleted"),    TEXT("CtlColorEditThis"),
      TEXT("EditNotifyThis"),   TEXT("EndEdit"),         TEXT("GetNoteInvalidateExtra"),
      TEXT("IdiotProof"),       TEXT("KillRedraw"),      TEXT("NoteCommand"),
      TEXT("PostChangeKvFile"), TEXT("PreChangeKvFile"), TEXT("SaveNote"),
      TEXT("SelectNote"),       TEXT("WaitRedraw")};
  static_assert(std::size(kMessages) * sizeof(UINT) == sizeof(context.messages));
  for (size_t i = 0; i < std::size(kMessages); ++i) {
    const std::basic_string<WCHAR> name = TEXT("Folvane-081B-WM_");
    EXPECT_EQ((&context.messages.addSpoolFile)[i],
              RegisterWindowMessageW((name + kMessages[i]).c_str()));
  }
  const auto format = [](LPCWSTR name) { return LOWORD(RegisterClipboardFormatW(name)); };
  EXPECT_EQ(context.clipboardFormats.kvFile, format(TEXT("VeltmoorSoftware_CF_KvFile")));
  EXPECT_EQ(context.clipboardFormats.kvNote, format(TEXT("VeltmoorSoftware_CF_KvNote")));
  EXPECT_EQ(context.clipboardFormats.metadata, format(TEXT("VeltmoorSoftware_CF_Metadata")));
}

HMODULE searched;
int WINAPI NoteWhoHasTheString(HINSTANCE module, UINT number, LPWSTR buffer, int capacity) {
  searched = module;
  *buffer = 0;
  return number == IDS_RESOURCE_ERROR && capacity == MAX_PATH ? 1 : 0;
}

TEST_F(StartupTest, WithoutALibraryTheModuleMayHaveTheStringsItself) {
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  for (const bool has : {true, false}) {
    ProcessDetach();
    RenewContext();
    startupContext.resourceDllName = nullptr;
    if (has) platform::Replace("LoadStringW", &NoteWhoHasTheString);
    EXPECT_EQ(ProcessAttach(instance), has);
    EXPECT_EQ(startupContext.hResources, has ? instance : nullptr);
    EXPECT_EQ(startupContext.productKindCode, 0u);
    if (has) {
      EXPECT_EQ(searched, instance);
      EXPECT_EQ(WideView(startupContext.resourceText10084), TEXT("Folvane"));
    } else {
      EXPECT_EQ(startupContext.webSite[0], 0) << "nothing goes on";
    }
    platform::ResetFaults();
    ProcessDetach();
    EXPECT_EQ(platform::CallCount("FreeLibrary"), 0u) << "it is not a library of its own";
    EXPECT_EQ(startupContext.hResources, nullptr);
  }
}

TEST_F(StartupTest, TheResourceLibrarysPathFitsWholeOrNotAtAll) {
  WCHAR path[MAX_PATH];
  ASSERT_TRUE(FindResourceLibrary(path, MAX_PATH));
  const int length = static_cast<int>(WideView(path).size());
  EXPECT_TRUE(FindResourceLibrary(path, length + 1));
  EXPECT_FALSE(FindResourceLibrary(path, length));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_EQ(WideView(path), TEXT(""));
}

TEST_F(StartupTest, TheUsersHelpAddressGoesBeforeTheMachines) {
  using Text = std::basic_string<WCHAR>;
  platform::SetFact(facts::kUserIsElevated, "1");
  const auto set = [](HKEY root, const Text& text) {
    const Key key = Key::Create(root, TEXT("Software\\Veltmoor Software\\Folvane8"));
    SetText(key, TEXT("Help"), text);
  };
  const auto help = [&](LPCWSTR machine, const Text& user) {
    set(HKEY_LOCAL_MACHINE, machine);
    set(HKEY_CURRENT_USER, user);
    Restart();
    return Text(startupContext.helpUrl);
  };
  EXPECT_EQ(help(TEXT(""), TEXT("")), TEXT("http://www.veltmoor.example/help/folvane8"));
  EXPECT_EQ(help(TEXT("m"), TEXT("")), TEXT("m"));
  EXPECT_EQ(help(TEXT("m"), TEXT("u")), TEXT("u"));
  EXPECT_EQ(help(TEXT("m"), Text(300, u'u')), Text(259, u'u'));
}

TEST_F(StartupTest, FollowsTheSystemLocaleAndTheDialogFont) {
  platform::SetFact(facts::kSystemLocale, "0x0411");
  Restart();
  EXPECT_EQ(WideView(startupContext.systemLanguageName), TEXT("Japanese"));
  EXPECT_EQ(startupContext.systemLangId, 0x0411);
  EXPECT_EQ(startupContext.systemAnsiCodePage, 932);
  EXPECT_EQ(startupContext.defaultUnits, 2u);
  EXPECT_EQ(startupContext.dbcsEnabled, 1);
  EXPECT_TRUE(startupContext.guiFontDbcs);
  EXPECT_EQ(startupContext.guiFontCodePage, 932u);
}

TEST_F(StartupTest, MapsCharacterSetsToCodePages) {
  const struct {
    int charset;
    UINT codePage;
    BOOL doubleByte;
  } kCases[] = {{0, 1252, FALSE},   {1, 0, FALSE},      {2, 0, FALSE},      {128, 932, TRUE},
                {129, 949, TRUE},   {130, 949, TRUE},   {134, 936, TRUE},   {136, 950, TRUE},
                {161, 1253, FALSE}, {162, 1254, FALSE}, {163, 1258, FALSE}, {177, 1255, FALSE},
                {178, 1256, FALSE}, {186, 1257, FALSE}, {204, 1251, FALSE}, {222, 874, FALSE},
                {238, 1250, FALSE}, {200, 0, FALSE}};
  for (const auto& c : kCases) {
    platform::SetFactNumber(facts::kGuiFontCharset, c.charset);
    Restart();
    EXPECT_EQ(startupContext.guiFontCodePage, c.codePage) << "character set " << c.charset;
    EXPECT_EQ(startupContext.guiFontDbcs, c.doubleByte) << "character set " << c.charset;
  }
}

TEST_F(StartupTest, TakesTheProductFromTheResourceLibrary) {
  RestartWith({{IDS_PRODUCT_KIND, TEXT("108")}, {IDS_PRINTER_TITLE, TEXT("Printer of ^1")}});
  EXPECT_EQ(WideView(startupContext.productName), TEXT("Docklane Pro"));
  EXPECT_EQ(WideView(startupContext.displayName), TEXT("Docklane Pro"));
  EXPECT_EQ(WideView(startupContext.productNameVersion), TEXT("Folvane 8"));
  EXPECT_EQ(WideView(startupContext.dispatcherTitle), TEXT("Docklane Pro Dispatcher"));
  EXPECT_EQ(WideView(startupContext.resourceText10084), TEXT("Printer of Docklane Pro"));
  RestartWith({{IDS_PRODUCT_KIND, TEXT("108 or so")}});
  EXPECT_EQ(startupContext.productKindCode, 0u);
  for (const LPCWSTR kind : {TEXT("64"), TEXT("71"), TEXT("83"), TEXT("92")}) {
    RestartWith({{IDS_PRODUCT_KIND, kind}});
    EXPECT_EQ(WideView(startupContext.dispatcherTitle),
              std::basic_string<WCHAR>(startupContext.productName) + TEXT(" Dispatcher"));
  }
  RestartWith({{IDS_PRODUCT_KIND, TEXT("95")}});
  EXPECT_EQ(startupContext.productKindCode, 95u);
  EXPECT_EQ(WideView(startupContext.productName), TEXT("Folvane"));
  EXPECT_EQ(WideView(startupContext.resourceText10084), TEXT("Folvane"));
}

TEST_F(StartupTest, NumbersOfTheResourceLibraryHaveTheirDefaults) {
  const struct {
    LPCWSTR number12004;
    int expected12004;
    LPCWSTR paper;
    DWORD expectedPaper;
  } kCases[] = {{TEXT("3"), 3, TEXT("9"), 9},
                {TEXT("0"), 8, TEXT("a4"), 9},
                {TEXT("-5"), 8, TEXT("ENVELOPE DL"), 27},
                {TEXT("x"), 8, TEXT("no such paper"), 1},
                {TEXT(""), 8, TEXT("0"), 1},
                // A number is the whole text.
                {TEXT("12pt"), 8, TEXT("11x17"), 17},
                {TEXT(" 12 "), 12, TEXT("9x"), 1},
                {TEXT("+4"), 4, TEXT("-9"), 1},
                {TEXT("99999999999"), 8, TEXT("99999999999"), 1}};
  for (const auto& c : kCases) {
    RestartWith({{IDS_SMALL_TEXT_SIZE, c.number12004}, {IDS_DEFAULT_PAPER, c.paper}});
    EXPECT_EQ(startupContext.resourceNumber12004, c.expected12004);
    EXPECT_EQ(startupContext.defaultPaperSize, c.expectedPaper);
  }
}

RPC_STATUS RPC_ENTRY LocalUuid(UUID* uuid) {
  memset(uuid, 7, sizeof(*uuid));
  return RPC_S_UUID_LOCAL_ONLY;
}

TEST_F(StartupTest, ALocalOnlyUuidGivesATimeBasedName) {
  platform::Replace("UuidCreate", &LocalUuid);
  const InstanceName fallback;
  platform::ResetFaults();
  const UUID zero = {};
  EXPECT_EQ(memcmp(&fallback.guid(), &zero, sizeof(zero)), 0);
  const WideView text = fallback.guidText();
  EXPECT_EQ(text.substr(0, 13), TEXT("Folvane-081B-"));
  EXPECT_EQ(text.size(), 21u);
  EXPECT_EQ(text.find_first_not_of(TEXT("0123456789ABCDEF"), 13), WideView::npos);
  const InstanceName one, two;
  EXPECT_EQ(WideView(one.guidText()).size(), 36u);
  EXPECT_NE(WideView(one.guidText()), WideView(two.guidText()));
  EXPECT_EQ(WideView(one.guidText()).find_first_of(TEXT("abcdef")), WideView::npos) << "upper case";
  const InstanceName copy(&one);
  // "Folvane-081B-" and 242 characters are the longest name.
  const std::basic_string<WCHAR> longest(242, 'n');
  const UINT message = copy.RegisterMessage(longest.c_str());
  EXPECT_GE(message, 0xC000u);
  EXPECT_EQ(copy.RegisterMessage((longest + TEXT("x")).c_str()), 0u) << "cut, it would be the same";
  WCHAR name[64];
  copy.MakeUniqueName(name, 64, TEXT("X"));
  EXPECT_EQ(WideView(name), std::basic_string<WCHAR>(one.guidText()) + TEXT("-X"));
}

}  // namespace
}  // namespace kv::test
