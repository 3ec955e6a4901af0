#include "platform/registry/initial_keys.h"

#include "platform/control/facts.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/wow64.h"
#include "platform/security/rights.h"

namespace platform {
namespace {

struct InitialText {
  const WCHAR* key;
  const WCHAR* name;
  const WCHAR* text;
  DWORD type = REG_SZ;
};

template <size_t kCount>
void Write(const RegistryKey& root, const InitialText (&texts)[kCount]) {
  for (const InitialText& entry : texts) {
    root.Create(entry.key).SetText(entry.name, entry.text, entry.type);
  }
}

constexpr const WCHAR* kWindows = TEXT("Microsoft\\Windows\\CurrentVersion");
constexpr const WCHAR* kWindowsNt = TEXT("Microsoft\\Windows NT\\CurrentVersion");
constexpr const WCHAR* kPorts = TEXT("Microsoft\\Windows NT\\CurrentVersion\\Ports");
constexpr const WCHAR* kEnvironment =
    TEXT("CurrentControlSet\\Control\\Session Manager\\Environment");
constexpr const WCHAR* kShellFolders =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
constexpr const WCHAR* kUserShellFolders =
    TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");

constexpr InitialText kSystemTexts[] = {
    {kEnvironment, TEXT("ComSpec"), TEXT("%SystemRoot%\\system32\\cmd.exe"), REG_EXPAND_SZ},
    {kEnvironment, TEXT("OS"), TEXT("Windows_NT")},
    {kEnvironment, TEXT("Path"), TEXT("%SystemRoot%\\system32;%SystemRoot%"), REG_EXPAND_SZ},
    {kEnvironment, TEXT("PATHEXT"), TEXT(".COM;.EXE;.BAT;.CMD")},
    {kEnvironment, TEXT("TEMP"), TEXT("%SystemRoot%\\TEMP"), REG_EXPAND_SZ},
    {kEnvironment, TEXT("TMP"), TEXT("%SystemRoot%\\TEMP"), REG_EXPAND_SZ},
    {kEnvironment, TEXT("windir"), TEXT("%SystemRoot%"), REG_EXPAND_SZ},
};

constexpr const WCHAR* kPrint = TEXT("CurrentControlSet\\Control\\Print");
struct InitialEnvironment {
  const WCHAR* name;
  const WCHAR* directory;
};
constexpr InitialEnvironment kPrintEnvironments[] = {{TEXT("Windows 4.0"), TEXT("WIN40")},
                                                     {TEXT("Windows NT x86"), TEXT("W32X86")},
                                                     {TEXT("Windows x64"), TEXT("x64")}};

constexpr InitialText kSoftwareTexts[] = {
    {kPorts, TEXT("LPT1:"), TEXT("")},
    {kPorts, TEXT("FILE:"), TEXT("")},
    {kPorts, TEXT("NUL:"), TEXT("")},
    {kWindows, TEXT("ProgramFilesDir"), TEXT("C:\\Program Files")},
    {kWindows, TEXT("CommonFilesDir"), TEXT("C:\\Program Files\\Common Files")},
    {kWindows, TEXT("DevicePath"), TEXT("%SystemRoot%\\inf"), REG_EXPAND_SZ},
};

constexpr InitialText kSoftwareTexts32[] = {
    {kWindows, TEXT("ProgramFilesDir"), TEXT("C:\\Program Files (x86)")},
    {kWindows, TEXT("CommonFilesDir"), TEXT("C:\\Program Files (x86)\\Common Files")},
};

constexpr InitialText kUserFolders[] = {
    {kUserShellFolders, TEXT("AppData"), TEXT("%USERPROFILE%\\AppData\\Roaming"), REG_EXPAND_SZ},
    {kUserShellFolders, TEXT("Local AppData"), TEXT("%USERPROFILE%\\AppData\\Local"),
     REG_EXPAND_SZ},
    {kUserShellFolders, TEXT("Desktop"), TEXT("%USERPROFILE%\\Desktop"), REG_EXPAND_SZ},
    {kUserShellFolders, TEXT("Personal"), TEXT("%USERPROFILE%\\Documents"), REG_EXPAND_SZ},
    {TEXT("Environment"), TEXT("TEMP"), TEXT("%USERPROFILE%\\AppData\\Local\\Temp"), REG_EXPAND_SZ},
    {TEXT("Environment"), TEXT("TMP"), TEXT("%USERPROFILE%\\AppData\\Local\\Temp"), REG_EXPAND_SZ},
};

WideString FactText(std::string_view name, std::string_view otherwise) {
  return ToWide(Fact(name, otherwise));
}

// The NT version as the registry tells it: it stays at 6.3 from Windows 10 on.
WideString VersionText() {
  if (FactNumber(facts::kMajor, 10) >= 10) return TEXT("6.3");
  return FactText(facts::kMajor, "10") + TEXT(".") + FactText(facts::kMinor, "0");
}

void FillPrintKeys(const RegistryKey& print) {
  print.Create(TEXT("Printers"));
  print.Create(TEXT("Monitors"));
  for (const InitialEnvironment& environment : kPrintEnvironments) {
    const RegistryKey key = print.Create(TEXT("Environments")).Create(environment.name);
    key.SetText(TEXT("Directory"), environment.directory);
    key.Create(TEXT("Drivers"));
    key.Create(TEXT("Print Processors\\winprint")).SetText(TEXT("Driver"), TEXT("winprint.dll"));
  }
}

void WriteVersionValues(const RegistryKey& software) {
  const RegistryKey version = software.Create(kWindowsNt);
  version.SetText(TEXT("CurrentVersion"), VersionText());
  version.SetText(TEXT("CurrentBuild"), FactText(facts::kBuild, "19045"));
  version.SetText(TEXT("CurrentBuildNumber"), FactText(facts::kBuild, "19045"));
  version.SetText(TEXT("SystemRoot"), WindowsDirectory());
  const WideString pack = FactText(facts::kServicePackText, "");
  if (pack.empty()) {
    version.DeleteValue(TEXT("CSDVersion"));
  } else {
    version.SetText(TEXT("CSDVersion"), pack);
  }
}

// On an x64 system the 32-bit view tells the version as well.
void WriteSoftwareVersion(const RegistryKey& root) {
  WriteVersionValues(root);
  if (!SystemIs64Bit()) return;
  const RegistryKey view32 = root.Create(TEXT("WOW6432Node"));
  WriteVersionValues(view32);
  Write(view32, kSoftwareTexts32);
}

void WriteSystemVersion(const RegistryKey& root) {
  const long product = FactNumber(facts::kProductType, VER_NT_WORKSTATION);
  const WCHAR* product_text = product == VER_NT_WORKSTATION         ? TEXT("WinNT")
                              : product == VER_NT_DOMAIN_CONTROLLER ? TEXT("LanmanNT")
                                                                    : TEXT("ServerNT");
  root.Create(TEXT("CurrentControlSet\\Control\\ProductOptions"))
      .SetText(TEXT("ProductType"), product_text);
  root.Create(kEnvironment)
      .SetText(TEXT("PROCESSOR_ARCHITECTURE"), SystemIs64Bit() ? TEXT("AMD64") : TEXT("x86"));
}

}  // namespace

void FillSoftwareHive(const RegistryKey& root) {
  root.Create(TEXT("Classes"));
  Write(root, kSoftwareTexts);
  root.Create(WideString(kWindows) + TEXT("\\SharedDLLs"));
  WriteSoftwareVersion(root);
  root.Create(WideString(kWindowsNt) + TEXT("\\ProfileList\\") + ProcessUserSid())
      .SetText(TEXT("ProfileImagePath"), UserProfileDirectory(), REG_EXPAND_SZ);
}

void FillSystemHive(const RegistryKey& root) {
  Write(root, kSystemTexts);
  FillPrintKeys(root.Create(kPrint));
  WriteSystemVersion(root);
}

void UpdateVersionKeys() {
  WriteSoftwareVersion(FindKey(TEXT("MACHINE\\SOFTWARE")));
  WriteSystemVersion(FindKey(TEXT("MACHINE\\SYSTEM")));
}

void FillUserHive(const RegistryKey& root, WideView profile_directory) {
  Write(root, kUserFolders);
  const WideString profile(profile_directory);
  const RegistryKey folders = root.Create(kShellFolders);
  folders.SetText(TEXT("AppData"), profile + TEXT("\\AppData\\Roaming"));
  folders.SetText(TEXT("Local AppData"), profile + TEXT("\\AppData\\Local"));
  folders.SetText(TEXT("Desktop"), profile + TEXT("\\Desktop"));
  folders.SetText(TEXT("Personal"), profile + TEXT("\\Documents"));
}

}  // namespace platform
