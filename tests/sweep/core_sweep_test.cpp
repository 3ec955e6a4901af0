// Process attach, the resource library, reports and versions when calls and allocations fail.
#include "platform/control/message_boxes.h"
#include "platform/control/pe_writer.h"
#include "resources/string_ids.h"
#include "runtime/core/error_text.h"
#include "runtime/core/find_proc.h"
#include "runtime/core/messages.h"
#include "runtime/core/resource_file.h"
#include "runtime/core/resource_library.h"
#include "runtime/core/startup_context.h"
#include "runtime/core/system_description.h"
#include "runtime/core/version_details.h"
#include "runtime/core/version_record.h"
#include "runtime/files/whole_files.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"
#include "tests/support/sweep.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kLibrary[] = TEXT("C:\\Windows\\some.dll");

class CoreMachine : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::VersionResource version;
    version.file_version = version.product_version = {8, 27, 0, 0};
    version.translations = {{0x0409, 1200}};
    platform::PeWriter library;
    library.AddVersion(version).AddString(0x0409, 1, TEXT("text"));
    library.WriteTo(platform::HostPath(kLibrary));
    library.WriteTo(platform::HostPath(TEXT("C:\\Windows\\kvdisp8.exe")));
  }
};

SWEEP_AREA(Core, CoreMachine);

SCENARIO(Core, ProcessAttach) {
  const HINSTANCE instance = startupContext.hInstance;
  ProcessDetach();
  RenewContext();
  platform::ScriptBoxes(true);
  const BOOL attached = attempt.Call([&] { return ProcessAttach(instance); });
  const bool filled =
      WideView(startupContext.portName) == TEXT("KVR8:") && startupContext.hResources != nullptr;
  attempt.Expect(attached, filled);
  ProcessDetach();
  RenewContext();
  platform::ScriptBoxes(true);
  EXPECT_TRUE(ProcessAttach(instance)) << "the next life";
}

SCENARIO(Core, Reports) {
  SetMessageSink(nullptr);
  platform::ScriptBoxes(true);
  for (int i = 0; i < 6; ++i) platform::AnswerNextBox(IDOK);
  int answer = 0;
  attempt.Call([&] {
    ShowError(IDS_CALL_FAILED, TEXT("x"), TEXT(""));
    ShowInfoF(TEXT("%d"), 1);
    ShowInternalError(TEXT("x"));
    ShowResourceError();
    ShowErrorCode(TEXT("x"), 5);
    ShowLastError(TEXT("x"));
    answer = AskYesNoF(TEXT(""));
  });
  attempt.Expect(platform::ShownBoxes().size() == 6, true);
  EXPECT_EQ(answer, IDYES);
  platform::ScriptBoxes(true);
}

SCENARIO(Core, ErrorTexts) {
  WCHAR text[kErrorTextCapacity], suffix[kErrorTextCapacity], last[kErrorTextCapacity],
      last_suffix[kErrorTextCapacity];
  attempt.Call([&] {
    GetSystemErrorText(5, text, kErrorTextCapacity);
    GetErrorSuffix(5, suffix, kErrorTextCapacity);
    SetLastError(5);
    GetLastErrorText(last, kErrorTextCapacity);
    SetLastError(5);
    GetLastErrorSuffix(last_suffix, kErrorTextCapacity);
  });
  for (const LPCWSTR shown : {text, last}) {
    attempt.Expect(shown[0] != 0, WideView(shown).starts_with(TEXT("Access is denied.")));
  }
  for (const LPCWSTR shown : {suffix, last_suffix}) {
    attempt.Expect(shown[0] != 0, WideView(shown).ends_with(TEXT("Access is denied")));
  }
}

SCENARIO(Core, InstanceName) {
  WCHAR name[80], unique[80];
  UINT message = 0;
  attempt.Call([&] {
    const InstanceName made;
    const InstanceName copy(&made);
    copy.MakeMessageName(name, 80, TEXT("x"));
    copy.MakeUniqueName(unique, 80, TEXT("y"));
    message = copy.RegisterMessage(TEXT("WM_X"));
  });
  EXPECT_TRUE(WideView(name).ends_with(TEXT("-x")) && WideView(unique).size() > 10);
  attempt.Expect(message != 0, message >= 0xC000);
}

SCENARIO(Core, LoadedLibrary) {
  DLLVERSIONINFO version;
  BOOL has_version = TRUE;
  WideString path;
  const BOOL loaded = attempt.Call([&]() -> BOOL {
    LoadedLibrary library;
    if (!library.Load(kLibrary, Quiet::kNo)) return FALSE;
    has_version = library.GetDllVersion(version);
    const platform::OutsideTest copying;
    path = View(library.modulePath());
    return library.IsLoaded() && View(library.fileTitle()) == TEXT("some.dll");
  });
  attempt.Expect(loaded, EqualNoCase(path, kLibrary) || attempt.hit());
  EXPECT_TRUE(!loaded || !has_version);
}

SCENARIO(Core, Detach) {
  HMODULE module = nullptr;
  attempt.Call([&] { module = LoadedLibrary(kLibrary, Quiet::kYes).Detach(); });
  attempt.Expect(module != nullptr, true);
  if (module != nullptr) {
    EXPECT_EQ(GetResourceLanguage(module), 0x0409);
    FreeLibrary(module);
  }
}

SCENARIO(Core, FindProc) {
  const auto found = attempt.Call(
      [] { return FindProc<decltype(&::SetDllDirectoryW)>(TEXT("kernel32"), "SetDllDirectoryW"); });
  attempt.Expect(found != nullptr, true);
}

SCENARIO(Core, ResourceLibrary) {
  WCHAR path[MAX_PATH];
  const HMODULE module = startupContext.hResources;
  LANGID language = 0, loaded = 0;
  const BOOL found = attempt.Call([&] {
    language = GetFileLanguage(kLibrary);
    loaded = GetResourceLanguage(module);
    return FindResourceLibrary(path, MAX_PATH);
  });
  attempt.Expect(found, path[0] != 0, path[0] == 0);
  attempt.Expect(language != 0, language == 0x0409);
  attempt.Expect(loaded != 0, loaded == 0x0409);
}

SCENARIO(Core, ResourceTexts) {
  WCHAR text[200], filled[80] = TEXT("^1 and ^2"), two[80];
  attempt.Call([&] {
    LoadResourceString(text, 200, IDS_CALL_FAILED, TEXT("Call"), TEXT(": x"));
    FillInsertsInPlace(filled, 80, TEXT("a"), TEXT("b"));
    FillTwoInserts(TEXT("^2^1"), two, 80, TEXT("1"), TEXT("2"));
  });
  attempt.Expect(text[0] != 0, WideView(text) == TEXT("Call failed: x."));
  attempt.Expect(filled[0] != 0, WideView(filled) == TEXT("a and b"));
  EXPECT_EQ(WideView(two), TEXT("21"));
}

SCENARIO(Core, Versions) {
  VersionDetails details;
  VersionRecord record;
  BOOL read_module = FALSE, read_record = FALSE;
  CopyStringW(startupContext.appDir, TEXT("C:\\Windows"));
  DWORD dispatcher = 0;
  WCHAR type[257] = {};
  const BOOL read = attempt.Call([&] {
    dispatcher = GetDispatcherVersion();
    read_record = ReadVersionRecord(record);
    ReadProductType(type);
    VersionDetails other;
    read_module = GetModuleVersionDetails(GetModuleHandleW(TEXT("kernel32")), other);
    return GetFileVersionDetails(kLibrary, details);
  });
  attempt.Expect(read, details.packedProductVersion == 0x081B || attempt.hit(),
                 details.productMajor == 0);
  attempt.Expect(dispatcher != 0, dispatcher == 8 * 65536 + 27);
  attempt.Expect(read_record, record.version() == 0x0A00 || attempt.hit());
  attempt.Expect(read_module, true);
  attempt.Expect(type[0] != 0, WideView(type) == TEXT("WinNT"));
}

SCENARIO(Core, PlatformFacts) {
  PlatformFacts facts;
  DWORD architecture = 1;
  attempt.Call([&] {
    ReadPlatformFacts(facts);
    architecture = GetWow64Arch();
  });
  attempt.Expect(facts.ntKind == kWindows10, facts.osMajor == 10 || attempt.hit(),
                 facts.ntKind == 0 || facts.ntKind == kWindows8);
  attempt.Expect(architecture == startupContext.platform.wow64Arch, true,
                 architecture == 0 || architecture == 0xFFFF);
}

SCENARIO(Core, SystemDescription) {
  WCHAR text[kSystemDescriptionCapacity];
  attempt.Call([&] { DescribeSystem(text, kFullDetail); });
  EXPECT_TRUE(WideView(text).starts_with(TEXT("computer "))) << "something true is left";
}

SCENARIO(Core, ShowSystemDescription) {
  platform::ScriptBoxes(true);
  platform::AnswerNextBox(IDOK);
  attempt.Call([] { ShowSystemDescription(kShortDetail, nullptr); });
  attempt.Expect(platform::ShownBoxes().size() == 1, true);
  platform::ScriptBoxes(true);
}

}  // namespace
}  // namespace kv::test
