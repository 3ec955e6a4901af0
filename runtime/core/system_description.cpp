#include "runtime/core/system_description.h"

#include <iterator>

#include "runtime/core/find_proc.h"
#include "runtime/core/handles.h"
#include "runtime/core/platform_info.h"
#include "runtime/core/startup_context.h"
#include "runtime/core/version_record.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/administrator.h"
#include "runtime/text/format.h"
#include "runtime/text/locale_list.h"
#include "runtime/text/wide_text.h"
// Builds on windows.h.
#include "runtime/ipc/terminal_sessions.h"

namespace kv {
namespace {

constexpr LPCWSTR kArchitectures[] = {
    TEXT("x86"),  TEXT("MIPS"),    TEXT("ALPHA"), TEXT("PPC"),   TEXT("SHX"),          TEXT("ARM"),
    TEXT("IA64"), TEXT("ALPHA64"), TEXT("MSIL"),  TEXT("AMD64"), TEXT("IA32_ON_WIN64")};
constexpr LPCWSTR kProductTypes[] = {TEXT("unknown"), TEXT("VER_NT_WORKSTATION"),
                                     TEXT("VER_NT_DOMAIN_CONTROLLER"), TEXT("VER_NT_SERVER")};

constexpr WORD kWindows95Version = VersionRecord::MakeVersion(4, 0);
constexpr WORD kWindows98Version = VersionRecord::MakeVersion(4, 10);
constexpr WORD kWindowsMeVersion = VersionRecord::MakeVersion(4, 90);
constexpr WORD k2000Version = VersionRecord::MakeVersion(5, 0);
constexpr WORD kXpVersion = VersionRecord::MakeVersion(5, 1);
constexpr WORD k2003Version = VersionRecord::MakeVersion(5, 2);
constexpr WORD kVistaVersion = VersionRecord::MakeVersion(6, 0);
constexpr WORD k7Version = VersionRecord::MakeVersion(6, 1);
constexpr WORD k8Version = VersionRecord::MakeVersion(6, 2);
constexpr WORD k81Version = VersionRecord::MakeVersion(6, 3);
constexpr WORD kPreview10Version = VersionRecord::MakeVersion(6, 4);
constexpr WORD k10Version = VersionRecord::MakeVersion(10, 0);

constexpr DWORD kWin32s = 0;
constexpr int kUnknownProtocol = -1;

// Builds the text piece by piece from what is read once.
class SystemDescription {
 public:
  SystemDescription(WCHAR (&output)[kSystemDescriptionCapacity], int detail)
      : output_(output), detail_(detail) {
    output_[0] = 0;
  }

  void Write();

 private:
  template <class... Arguments>
  void Add(LPCWSTR format, Arguments... arguments) {
    AppendText(output_, kSystemDescriptionCapacity, format, arguments...);
  }
  bool IsNt() const { return record_.info.dwPlatformId == VER_PLATFORM_WIN32_NT; }
  bool Is8To10() const {
    return version_ == k8Version || version_ == k81Version || version_ == kPreview10Version ||
           version_ == k10Version;
  }
  bool IsSuite(WORD flag) const { return record_.HasSuite(flag); }
  bool HasServicePackText() const {
    const WideView text = record_.info.szCSDVersion;
    return !text.empty() && text != TEXT(" ");
  }

  BOOL Read();
  void AddComputerAndUser();
  void Add9xName();
  void AddNtName();
  void AddEdition();
  void AddEditionByRegistry();
  void AddWorkstationEdition();
  void AddServerEdition();
  void AddProcessor();
  void AddServicePack();
  void AddLanguage();
  void AddArchitectures();
  void AddSpecialEditions();
  void AddSessions();
  void AddSession(const CTerminalServices& services, const WTS_SESSION_INFOW& session);
  void AddUserRights();
  void AddIntegrityLevel();
  void AddRecord();

  WCHAR (&output_)[kSystemDescriptionCapacity];
  const int detail_;
  VersionRecord record_;
  WORD version_ = 0;
  bool isServer_ = false;
  bool isGenericName_ = false;
  int serverR2_ = 0;
  SYSTEM_INFO reported_ = {};
  SYSTEM_INFO native_ = {};
  bool nativeIsKnown_ = false;
  DWORD wow64Arch_ = 0;
};

BOOL SystemDescription::Read() {
  serverR2_ = GetSystemMetrics(SM_SERVERR2);
  GetSystemInfo(&reported_);
  const auto getNativeSystemInfo =
      FindProc<void(WINAPI*)(SYSTEM_INFO*)>(TEXT("kernel32"), "GetNativeSystemInfo");
  nativeIsKnown_ = getNativeSystemInfo != nullptr;
  if (nativeIsKnown_) getNativeSystemInfo(&native_);
  wow64Arch_ = GetWow64Arch();
  if (!ReadVersionRecord(record_)) return FALSE;
  version_ = record_.version();
  isServer_ = record_.IsServer();
  return TRUE;
}

void SystemDescription::AddComputerAndUser() {
  WCHAR computer[kComputerNameCapacity], user[kUserNameCapacity];
  ReadComputerName(computer);
  ReadUserName(user);
  Add(TEXT("computer %s, user %s\n"), computer, user);
}

void SystemDescription::Add9xName() {
  const WideView servicePack = record_.info.szCSDVersion;
  const WCHAR release = servicePack.size() > 1 ? servicePack[1] : 0;
  if (record_.info.dwPlatformId == kWin32s) {
    Add(TEXT("Win32s"));
  } else if (version_ == kWindows95Version) {
    Add(release == 'B' ? TEXT("Windows 95 OSR2") : TEXT("Windows 95"));
  } else if (version_ == kWindows98Version) {
    Add(release == 'A' ? TEXT("Windows 98 SE") : TEXT("Windows 98"));
  } else if (version_ == kWindowsMeVersion) {
    Add(TEXT("Windows Me"));
  } else {
    Add(TEXT("Windows 9x/Me v%d.%02d"), record_.info.dwMajorVersion, record_.info.dwMinorVersion);
  }
}

void SystemDescription::AddNtName() {
  switch (version_) {
    case k2000Version:
      return Add(TEXT("Windows 2000"));
    case kXpVersion:
      return Add(TEXT("Windows XP"));
    case k2003Version:
      if (!isServer_) return Add(TEXT("Windows XP"));
      return Add(serverR2_ ? TEXT("Windows Server 2003 R2") : TEXT("Windows Server 2003"));
    case kVistaVersion:
      if (!isServer_) return Add(TEXT("Windows Vista"));
      return Add(serverR2_ ? TEXT("Windows Server 2008 R2") : TEXT("Windows Server 2008"));
    case k7Version:
      return Add(record_.IsWorkstation() ? TEXT("Windows 7") : TEXT("Windows Server 2008 R2"));
    case k8Version:
      return Add(isServer_ ? TEXT("Windows Server 2012") : TEXT("Windows 8"));
    case k81Version:
      return Add(TEXT("Windows 8.1"));
    case kPreview10Version:
    case k10Version:
      return Add(TEXT("Windows 10"));
    default:
      isGenericName_ = true;
      return Add(isServer_ ? TEXT("Windows Server") : TEXT("Windows NT"));
  }
}

void SystemDescription::AddEdition() {
  if (!record_.extended) {
    AddEditionByRegistry();
  } else if (isServer_) {
    AddServerEdition();
  } else {
    AddWorkstationEdition();
  }
}

void SystemDescription::AddEditionByRegistry() {
  WCHAR type[257];
  ReadProductType(type);
  if (EqualAsciiNoCase(type, TEXT("WinNt"))) Add(TEXT(" Workstation"));
  if (EqualAsciiNoCase(type, TEXT("ServerNt"))) Add(TEXT(" Server"));
}

void SystemDescription::AddWorkstationEdition() {
  const bool mediaCenter = GetSystemMetrics(SM_MEDIACENTER) != 0;
  const bool vista = version_ == kVistaVersion, seven = version_ == k7Version;
  if (IsSuite(VER_SUITE_PERSONAL)) {
    Add(TEXT(" Home"));
    if (vista || seven) Add(mediaCenter ? TEXT(" Premium") : TEXT(" Basic"));
  } else if (record_.info.dwMajorVersion == 4) {
    Add(TEXT(" Workstation"));
  } else if (record_.info.dwMajorVersion == 5) {
    Add(TEXT(" Professional"));
  } else if (vista) {
    Add(mediaCenter ? TEXT(" Ultimate") : TEXT(" Business"));
  } else if (seven) {
    Add(GetSystemMetrics(SM_STARTER) != 0 ? TEXT(" Starter")
        : mediaCenter                     ? TEXT(" Ultimate")
                                          : TEXT(" Professional"));
  }
}

void SystemDescription::AddServerEdition() {
  const bool enterprise = IsSuite(VER_SUITE_ENTERPRISE), datacenter = IsSuite(VER_SUITE_DATACENTER);
  if (record_.info.dwMajorVersion == 4) {
    Add(enterprise ? TEXT(" Server Enterprise Edition") : TEXT(" Server"));
    return;
  }
  switch (version_) {
    case k2000Version:
      return Add(datacenter   ? TEXT(" Datacenter Server")
                 : enterprise ? TEXT(" Advanced Server")
                              : TEXT(" Server"));
    case k2003Version:
      return Add(IsSuite(VER_SUITE_BLADE) ? TEXT(" Web Edition")
                 : datacenter             ? TEXT(" Datacenter Edition")
                 : enterprise             ? TEXT(" Enterprise Edition")
                                          : TEXT(" Standard Edition"));
    case kVistaVersion:
    case k7Version:
      return Add(datacenter ? TEXT(" Datacenter") : enterprise ? TEXT(" Enterprise") : TEXT(""));
    case k8Version:
    case k81Version:
      return Add(datacenter ? TEXT(" Datacenter") : TEXT(""));
  }
}

void SystemDescription::AddProcessor() {
  // The module is a 32-bit one; a 64-bit program is never below WOW64 and needs no more telling.
  constexpr bool kIs64Bit = sizeof(void*) == 8;
  if (wow64Arch_ == PROCESSOR_ARCHITECTURE_AMD64 || kIs64Bit) {
    Add(TEXT(" x64"));
  } else if (wow64Arch_ == 0) {
    Add(TEXT(" x86"));
  }
  if (isGenericName_) {
    Add(TEXT(" %d.%02d"), record_.info.dwMajorVersion, record_.info.dwMinorVersion);
  }
}

void SystemDescription::AddServicePack() {
  if (detail_ == kShortDetail) return;
  const OSVERSIONINFOEXW& info = record_.info;
  if (!record_.extended) {
    if (HasServicePackText()) Add(TEXT(" %s"), info.szCSDVersion);
  } else if (info.wServicePackMajor != 0) {
    if (info.wServicePackMinor != 0) {
      Add(TEXT(" SP%d.%02d"), info.wServicePackMajor, info.wServicePackMinor);
    } else {
      Add(TEXT(" SP%d"), info.wServicePackMajor);
    }
  }
}

void SystemDescription::AddLanguage() {
  constexpr int kNameCapacity = 80;
  WCHAR number[16] = {};
  GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTLANGUAGE, number,
                 static_cast<int>(std::size(number)));
  const auto language = static_cast<LANGID>(ParseHex(number));
  if (PRIMARYLANGID(language) == LANG_ENGLISH) return;
  WCHAR name[kNameCapacity];
  const CLocaleList locales;
  if (locales.GetLanguageName(language, detail_ != kShortDetail, name, kNameCapacity)) {
    Add(TEXT(" %s"), name);
  }
}

// The name of a processor architecture, or its number.
void NameArchitecture(WORD architecture, WCHAR (&name)[16]) {
  if (architecture < std::size(kArchitectures)) {
    FormatText(name, TEXT("%s"), kArchitectures[architecture]);
  } else {
    FormatText(name, TEXT("%u"), architecture);
  }
}

void SystemDescription::AddArchitectures() {
  WCHAR reported[16], actual[16];
  NameArchitecture(reported_.wProcessorArchitecture, reported);
  NameArchitecture(native_.wProcessorArchitecture, actual);
  if (nativeIsKnown_ && native_.wProcessorArchitecture != reported_.wProcessorArchitecture) {
    Add(TEXT("\nArchitecture: %s (reported), %s (actual)"), reported, actual);
  } else if (reported_.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL) {
    Add(TEXT("\nArchitecture: %s"), reported);
  }
}

// What the edition's name has not told already.
void SystemDescription::AddSpecialEditions() {
  const bool workstation = IsNt() && record_.extended && !isServer_;
  const bool personal = IsSuite(VER_SUITE_PERSONAL);
  if (workstation && Is8To10() && !personal) return;
  const bool vista = workstation && version_ == kVistaVersion;
  const bool seven = workstation && version_ == k7Version;
  if (GetSystemMetrics(SM_MEDIACENTER) != 0 && !vista && !seven) {
    Add(TEXT("\nMedia Center Edition"));
  }
  if (GetSystemMetrics(SM_STARTER) != 0 && !(seven && !personal)) Add(TEXT("\nStarter Edition"));
  if (GetSystemMetrics(SM_TABLETPC) != 0) Add(TEXT("\nTablet PC Edition"));
}

void SystemDescription::AddSession(const CTerminalServices& services,
                                   const WTS_SESSION_INFOW& session) {
  WCHAR text[kUserNameCapacity];
  const LPCWSTR station = session.pWinStationName;
  Add(TEXT("\nsession %d"), session.SessionId);
  Add(TEXT(" [%s]"), View(station).empty() ? TEXT("no name") : station);
  const bool hasUser = services.QueryUserName(session.SessionId, text, kUserNameCapacity) != 0;
  Add(TEXT(" - %s"), hasUser ? text : TEXT("no user"));
  if (services.QueryClientName(session.SessionId, text, kUserNameCapacity)) {
    Add(TEXT(", client %s"), text);
  }
  const int protocol = services.QueryClientProtocol(session.SessionId);
  if (protocol > kUnknownProtocol) Add(TEXT(", protocol %d"), protocol);
  const UniqueHandle token(services.QueryUserToken(session.SessionId));
  Add(TEXT(", token %08x"), static_cast<DWORD>(reinterpret_cast<DWORD_PTR>(token.Get())));
}

void SystemDescription::AddSessions() {
  if (!IsTerminalServicesAvailable()) return;
  Add(TEXT("\n"));
  if (IsSuite(VER_SUITE_TERMINAL)) {
    Add(TEXT("\nTerminal Server"));
  } else if (IsSuite(VER_SUITE_SINGLEUSERTS)) {
    Add(TEXT("\nTerminal Server (single user)"));
  }
  CTerminalServices services;
  Add(TEXT("\ncurrent session ID = %d, active console session ID = %d"), services.GetSessionId(),
      services.GetConsoleSessionId());
  if (IsRemoteSession()) {
    WCHAR client[kUserNameCapacity];
    Add(TEXT("\nremote session"));
    if (services.IsAvailable() &&
        services.QueryClientName(static_cast<DWORD>(services.GetSessionId()), client,
                                 kUserNameCapacity)) {
      Add(TEXT(" from client %s"), client);
    }
  }
  Add(TEXT("\n"));
  if (services.IsAvailable()) {
    for (auto* session = services.FirstSession(); session != nullptr;
         session = services.NextSession()) {
      AddSession(services, *session);
    }
  }
  Add(TEXT("\n"));
}

void SystemDescription::AddUserRights() {
  DWORD elevated = 0;
  const bool administrator = IsAdministrator(&elevated) > 0;
  Add(administrator ? TEXT("\nadministrative user") : TEXT("\nnon-administrative user"));
  if (administrator && startupContext.platform.ntKind >= kWindowsVista) {
    Add(elevated ? TEXT(" (elevated)") : TEXT(" (not elevated)"));
  }
}

void SystemDescription::AddIntegrityLevel() {
  constexpr DWORD kProtectedIntegrity = 0x5000;
  if (startupContext.platform.ntKind < kWindowsVista) return;
  const DWORD level = GetIntegrityLevel();
  Add(TEXT("\nprocess integrity level: %s"), level < kLowIntegrity          ? TEXT("untrusted")
                                             : level < kMediumIntegrity     ? TEXT("low")
                                             : level < kHighIntegrity       ? TEXT("medium")
                                             : level < kSystemIntegrity     ? TEXT("high")
                                             : level >= kProtectedIntegrity ? TEXT("protected")
                                                                            : TEXT("system"));
}

void SystemDescription::AddRecord() {
  const OSVERSIONINFOEXW& info = record_.info;
  if (HasServicePackText()) Add(TEXT("\nszCSDVersion = \"%s\""), info.szCSDVersion);
  const size_t type = info.wProductType < std::size(kProductTypes) ? info.wProductType : 0;
  Add(TEXT("\nWindows %d.%02d Build %d\n%s\nwSuiteMask=%04x"), info.dwMajorVersion,
      info.dwMinorVersion, LOWORD(info.dwBuildNumber), kProductTypes[type], info.wSuiteMask);
}

void SystemDescription::Write() {
  if (detail_ == kFullDetail) AddComputerAndUser();
  if (!Read()) return;
  if (IsNt()) {
    AddNtName();
    AddEdition();
    AddProcessor();
    AddServicePack();
  } else {
    Add9xName();
  }
  AddLanguage();
  if (detail_ != kFullDetail) return;
  AddArchitectures();
  AddSpecialEditions();
  if (IsNt()) {
    AddSessions();
    AddUserRights();
    AddIntegrityLevel();
  }
  AddRecord();
}

}  // namespace

WCHAR DescribeSystem(WCHAR (&output)[kSystemDescriptionCapacity], int detail) {
  SystemDescription(output, detail).Write();
  return output[0];
}

void ShowSystemDescription(int detail, LPCWSTR title) {
  if (startupContext.silent) return;
  WCHAR text[kSystemDescriptionCapacity];
  DescribeSystem(text, detail);
  MessageBoxW(nullptr, text, View(title).empty() ? TEXT("System Version") : title,
              MB_ICONINFORMATION);
}

}  // namespace kv
