#include "platform/kernel/system_modules.h"

#include <dlfcn.h>
#include <shlwapi.h>

#include <cstdlib>
#include <iterator>
#include <string>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"

namespace platform {
namespace {

constexpr Availability kNtOnly = {0, kNever9x};

constexpr SystemFunction kKernel32[] = {
    {"CtxGetIniMapping", kNtOnly},
    {"CtxSetIniMapping", kNtOnly},
    {"GetDllDirectoryW", {Nt(5, 1, 1), kNever9x}},
    {"GetNativeSystemInfo", {Nt(5, 1), kNever9x}},
    {"IsWow64Process", {Nt(5, 1, 2), kNever9x}},
    {"ProcessIdToSessionId", {Nt(5, 0), kNever9x}},
    {"SetDllDirectoryW", {Nt(5, 1, 1), kNever9x}},
    {"SetTermsrvAppInstallMode", {Nt(5, 0), kNever9x}},
    {"TermsrvAppInstallMode", {Nt(5, 0), kNever9x}},
    {"WTSGetActiveConsoleSessionId", {Nt(5, 1), kNever9x}},
    {"Wow64DisableWow64FsRedirection", {Nt(5, 2), kNever9x}},
    {"Wow64RevertWow64FsRedirection", {Nt(5, 2), kNever9x}},
};

constexpr SystemFunction kNtdll[] = {{"NtQueryObject", {}}};

constexpr SystemFunction kAdvapi32[] = {
    {"CreateProcessWithTokenW", {Nt(5, 2), kNever9x}},
    {"ConvertStringSecurityDescriptorToSecurityDescriptorW", {Nt(5, 0), kNever9x}},
    {"DuplicateTokenEx", kNtOnly},
    {"RegDeleteKeyExW", {Nt(5, 2), kNever9x}},
    {"SetNamedSecurityInfoW", kNtOnly},
};

constexpr SystemFunction kUser32[] = {{"GetShellWindow", {}}};

constexpr SystemFunction kComctl32[] = {{"DllGetVersion", {}, "ComctlDllGetVersion"}};

constexpr SystemFunction kNetapi32[] = {{"NetApiBufferFree", {}}, {"NetUserModalsGet", {}}};

constexpr SystemFunction kWtsapi32[] = {
    {"WTSEnumerateProcessesW", {}},
    {"WTSEnumerateSessionsW", {}},
    {"WTSFreeMemory", {}},
    // No release has had it here; a machine may say otherwise.
    {"WTSGetActiveConsoleSessionId", {0xFFFFFFFF, kNever9x}},
    {"WTSQuerySessionInformationW", {}},
    {"WTSQueryUserToken", {Nt(5, 1), kNever9x}},
    {"WTSSendMessageW", {}},
};

constexpr SystemFunction kMsimg32[] = {
    {"AlphaBlend", {}}, {"GradientFill", {}}, {"TransparentBlt", {}}};

constexpr SystemFunction kWinspool[] = {{"GetDefaultPrinterW", {Nt(5, 0), kNever9x}},
                                        {"SetDefaultPrinterW", {Nt(5, 0), kNever9x}}};

template <size_t N>
constexpr SystemModule Module(const char* file_name, bool always_loaded, Availability since,
                              const SystemFunction (&functions)[N]) {
  return {file_name, always_loaded, since, functions, N};
}
constexpr SystemModule Module(const char* file_name, bool always_loaded, Availability since) {
  return {file_name, always_loaded, since, nullptr, 0};
}

constexpr SystemModule kModules[] = {
    Module("kernel32.dll", true, {}, kKernel32),
    Module("ntdll.dll", true, kNtOnly, kNtdll),
    Module("advapi32.dll", true, {}, kAdvapi32),
    Module("user32.dll", true, {}, kUser32),
    Module("gdi32.dll", true, {}),
    Module("ole32.dll", true, {}),
    Module("shell32.dll", true, {}),
    Module("winspool.drv", true, {}, kWinspool),
    Module("comctl32.dll", false, {}, kComctl32),
    Module("gdiplus.dll", false, {Nt(5, 1), kNever9x}),
    Module("mpr.dll", false, {}),
    Module("msimg32.dll", false, {Nt(5, 0), 10}, kMsimg32),
    Module("netapi32.dll", false, {}, kNetapi32),
    Module("version.dll", false, {}),
    Module("wtsapi32.dll", false, {Nt(5, 0), kNever9x}, kWtsapi32),
};

std::string Stem(const SystemModule& module) {
  const std::string name = module.file_name;
  return name.substr(0, name.rfind('.'));
}

// The machine's own word on a function: -1 when it says nothing.
long EntryFact(const SystemModule& module, const char* name) {
  return FactNumber(facts::kEntryPrefix + Stem(module) + "." + name, -1);
}

void* LayerSymbol(const char* symbol) {
  static void* const layer = [] {
    Dl_info info = {};
    dladdr(reinterpret_cast<const void*>(&FindSystemModule), &info);
    return dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
  }();
  return dlsym(layer, symbol);
}

}  // namespace

const SystemModule* SystemModulesBegin() {
  return std::begin(kModules);
}
const SystemModule* SystemModulesEnd() {
  return std::end(kModules);
}

bool IsInstalled(const SystemModule& module) {
  const long said = FactNumber(facts::kModulePrefix + Stem(module), -1);
  return said < 0 ? IsAvailable(module.since) : said != 0;
}

const SystemModule* FindSystemModule(WideView base_name) {
  WideString wanted(base_name);
  if (base_name.find('.') == WideView::npos) wanted += TEXT(".dll");
  for (const SystemModule& module : kModules) {
    if (EqualNoCase(wanted, ToWide(module.file_name))) {
      return IsInstalled(module) ? &module : nullptr;
    }
  }
  return nullptr;
}

FARPROC FindSystemFunction(const SystemModule& module, const char* name) {
  for (size_t i = 0; i < module.function_count; ++i) {
    const SystemFunction& function = module.functions[i];
    if (std::string_view(function.name) != name) continue;
    const long said = EntryFact(module, name);
    if (said == 0 || (said < 0 && !IsAvailable(function.since))) return nullptr;
    void* address = LayerSymbol(function.symbol != nullptr ? function.symbol : name);
    return reinterpret_cast<FARPROC>(reinterpret_cast<UINT_PTR>(address));
  }
  return nullptr;
}

}  // namespace platform

extern "C" HRESULT WINAPI ComctlDllGetVersion(DLLVERSIONINFO* version);

// The common controls' DllGetVersion; other libraries have one of their own.
HRESULT WINAPI ComctlDllGetVersion(DLLVERSIONINFO* version) {
  KV_API_STATUS(ComctlDllGetVersion, static_cast<DWORD>(E_FAIL), version);
  if (version->cbSize != sizeof(DLLVERSIONINFO)) return E_INVALIDARG;
  const std::string text = platform::Fact(platform::facts::kComctlVersion, "5.82");
  char* end = nullptr;
  version->dwMajorVersion = static_cast<DWORD>(std::strtoul(text.c_str(), &end, 10));
  version->dwMinorVersion =
      *end == '.' ? static_cast<DWORD>(std::strtoul(end + 1, nullptr, 10)) : 0;
  version->dwBuildNumber = platform::InstalledVersion().build;
  version->dwPlatformID = platform::InstalledVersion().platform;
  return S_OK;
}
