#include "runtime/core/platform_info.h"

#include "runtime/core/find_proc.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/version_record.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kNotNtFamily = 0x80000000;
constexpr DWORD kUnknownArchitecture = 0xFFFF;

constexpr WORD Version(int major, int minor) {
  return VersionRecord::MakeVersion(major, minor);
}

DWORD Win9xKindOf(WORD version) {
  if (version == Version(4, 0)) return 1;
  if (version == Version(4, 10)) return 2;
  return 3;
}

DWORD NtKindOf(WORD version, bool workstation) {
  switch (version) {
    case Version(5, 0):
      return kWindows2000;
    case Version(5, 1):
      return kWindowsXp;
    case Version(5, 2):
      return workstation ? kWindowsXp : kServer2003;
    case Version(6, 0):
      return workstation ? kWindowsVista : kServer2008;
    case Version(6, 1):
      return workstation ? kWindows7 : kServer2008;
    case Version(6, 2):
      return workstation ? kWindows8 : kServer2012;
    case Version(6, 3):
      return kWindows81;
    case Version(6, 4):
    case Version(10, 0):
      return kWindows10;
    default:
      return HIBYTE(version) <= 4 ? kNt4 : kNewerNt;
  }
}

BOOL IsServerByRegistry() {
  WCHAR type[257];
  ReadProductType(type);
  return EqualAsciiNoCase(type, TEXT("ServerNt"));
}

WORD ReadComctlMajor() {
  const LoadedLibrary comctl32(TEXT("comctl32.dll"), Quiet::kYes);
  DLLVERSIONINFO version;
  return comctl32.GetDllVersion(version) ? static_cast<WORD>(version.dwMajorVersion) : 0;
}

PlatformFacts FindOutPlatformFacts(bool wantServer, bool wantComctl) {
  PlatformFacts facts = {};
  const DWORD reported = GetVersion();
  if ((reported & kNotNtFamily) != 0) {
    facts.win9xKind = LOWORD(reported) == 0x0A04 ? 2 : 1;
    return facts;
  }
  VersionRecord record;
  if (!ReadVersionRecord(record)) return facts;
  const WORD version = record.version();
  if (record.info.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS)
    facts.win9xKind = Win9xKindOf(version);
  if (record.info.dwPlatformId == VER_PLATFORM_WIN32_NT) {
    facts.ntKind = NtKindOf(version, record.IsWorkstation());
    if (wantServer) {
      facts.isServer = record.extended ? record.IsServer() : IsServerByRegistry();
    }
  }
  facts.osMajor = static_cast<WORD>(record.info.dwMajorVersion);
  facts.osMinor = static_cast<WORD>(record.info.dwMinorVersion);
  if (record.extended) facts.servicePackMajor = record.info.wServicePackMajor;
  facts.wow64Arch = GetWow64Arch();
  if (wantComctl) facts.comctlMajor = ReadComctlMajor();
  return facts;
}

template <class Number>
void Store(Number* out, Number value) {
  if (out != nullptr) *out = value;
}

}  // namespace

void GetPlatformInfo(DWORD* win9xKind, DWORD* ntKind, DWORD* wow64Arch, DWORD* isServer,
                     WORD* osMajor, WORD* osMinor, WORD* servicePackMajor, WORD* comctlMajor) {
  const PlatformFacts facts = FindOutPlatformFacts(isServer != nullptr, comctlMajor != nullptr);
  Store(win9xKind, facts.win9xKind);
  Store(ntKind, facts.ntKind);
  Store(wow64Arch, facts.wow64Arch);
  Store(isServer, facts.isServer);
  Store(osMajor, facts.osMajor);
  Store(osMinor, facts.osMinor);
  Store(servicePackMajor, facts.servicePackMajor);
  Store(comctlMajor, facts.comctlMajor);
}

void ReadPlatformFacts(PlatformFacts& facts) {
  GetPlatformInfo(&facts.win9xKind, &facts.ntKind, &facts.wow64Arch, &facts.isServer,
                  &facts.osMajor, &facts.osMinor, &facts.servicePackMajor, &facts.comctlMajor);
}

DWORD GetWow64Arch() {
  const auto isWow64Process =
      FindProc<BOOL(WINAPI*)(HANDLE, BOOL*)>(TEXT("kernel32"), "IsWow64Process");
  BOOL wow64 = FALSE;
  if (isWow64Process == nullptr || !isWow64Process(GetCurrentProcess(), &wow64) || !wow64) return 0;
  const auto getNativeSystemInfo =
      FindProc<void(WINAPI*)(SYSTEM_INFO*)>(TEXT("kernel32"), "GetNativeSystemInfo");
  if (getNativeSystemInfo == nullptr) return kUnknownArchitecture;
  SYSTEM_INFO info = {};
  getNativeSystemInfo(&info);
  return info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64 ? PROCESSOR_ARCHITECTURE_AMD64
                                                                     : kUnknownArchitecture;
}

}  // namespace kv
