#include "platform/kernel/installation.h"

#include <cstdio>

#include "platform/control/facts.h"
#include "platform/control/faults.h"
#include "platform/control/pe_writer.h"
#include "platform/control/profiles.h"
#include "platform/kernel/locked_file.h"
#include "platform/kernel/system_modules.h"
#include "platform/kernel/wow64.h"

namespace platform {
namespace {

constexpr WORD kEnglish = 0x0409;
constexpr WORD kUnicode = 1200;

// Paths on the drive as they are, whatever this process is led to.
std::filesystem::path OnDrive(const WideString& path) {
  std::string rest = ToUtf8(WideView(path).substr(3));
  for (char& c : rest) {
    if (c == '\\') c = '/';
  }
  return Machine::Current().directory() / "drive_c" / rest;
}

std::array<WORD, 4> FileVersion(const SystemModule& module) {
  const SystemVersion version = InstalledVersion();
  std::array<WORD, 4> numbers = {static_cast<WORD>(version.major), static_cast<WORD>(version.minor),
                                 static_cast<WORD>(version.build), 1};
  if (std::string_view(module.file_name) == "comctl32.dll") {
    unsigned major = 0, minor = 0;
    const std::string text = Fact(facts::kComctlVersion, "5.82");
    std::sscanf(text.c_str(), "%u.%u", &major, &minor);
    numbers[0] = static_cast<WORD>(major);
    numbers[1] = static_cast<WORD>(minor);
  }
  return numbers;
}

WideString VersionText(const std::array<WORD, 4>& numbers) {
  std::string text;
  for (WORD number : numbers) text += (text.empty() ? "" : ".") + std::to_string(number);
  return ToWide(text);
}

void WriteSystemFile(const std::filesystem::path& directory, const SystemModule& module,
                     WORD machine) {
  VersionResource version;
  version.file_version = FileVersion(module);
  const SystemVersion installed = InstalledVersion();
  // The common controls count their own product versions.
  version.product_version = version.file_version;
  const WideString name = ToWide(module.file_name);
  version.strings.push_back({kEnglish,
                             kUnicode,
                             {{TEXT("CompanyName"), TEXT("Microsoft Corporation")},
                              {TEXT("OriginalFilename"), name},
                              {TEXT("ProductName"), installed.platform == VER_PLATFORM_WIN32_NT
                                                        ? TEXT("Microsoft Windows Operating System")
                                                        : TEXT("Microsoft Windows")},
                              {TEXT("ProductVersion"), VersionText(version.product_version)}}});
  version.translations.emplace_back(kEnglish, kUnicode);
  PeWriter(machine).AddVersion(version).WriteTo(directory / module.file_name);
}

void WriteSystemFiles(const std::filesystem::path& directory, WORD machine) {
  for (const SystemModule* module = SystemModulesBegin(); module != SystemModulesEnd(); ++module) {
    std::error_code ignored;
    if (IsInstalled(*module)) {
      WriteSystemFile(directory, *module, machine);
    } else {
      std::filesystem::remove(directory / module->file_name, ignored);
    }
  }
}

}  // namespace

WideString WindowsDirectory() {
  return ToWide(Fact(facts::kWindowsDirectory, "C:\\Windows"));
}

WideString SystemDirectory() {
  const bool is_9x = InstalledVersion().platform != VER_PLATFORM_WIN32_NT;
  return WindowsDirectory() + (is_9x ? TEXT("\\System") : TEXT("\\System32"));
}

WideString UserProfileDirectory() {
  const SystemVersion version = InstalledVersion();
  const WideString user = ToWide(Fact(facts::kUserName, "Ada"));
  if (version.platform != VER_PLATFORM_WIN32_NT) return WindowsDirectory();
  if (version.major >= 6) return TEXT("C:\\Users\\") + user;
  if (version.major == 5) return TEXT("C:\\Documents and Settings\\") + user;
  return WindowsDirectory() + TEXT("\\Profiles\\") + user;
}

WideString TempDirectory() {
  const SystemVersion version = InstalledVersion();
  if (version.platform != VER_PLATFORM_WIN32_NT) return WindowsDirectory() + TEXT("\\Temp");
  if (version.major >= 6) return UserProfileDirectory() + TEXT("\\AppData\\Local\\Temp");
  if (version.major == 5) return UserProfileDirectory() + TEXT("\\Local Settings\\Temp");
  return TEXT("C:\\Temp");
}

void InstallSystemFiles() {
  OutsideTest preparing;
  const bool is_64_bit = SystemIs64Bit();
  for (const WideString& folder : {WindowsDirectory() + TEXT("\\Temp"), TempDirectory(),
                                   WideString(TEXT("C:\\Program Files"))}) {
    std::filesystem::create_directories(OnDrive(folder));
  }
  WriteSystemFiles(OnDrive(SystemDirectory()),
                   is_64_bit ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386);
  const std::filesystem::path system_32 = OnDrive(WindowsDirectory() + TEXT("\\SysWOW64"));
  if (is_64_bit) {
    std::filesystem::create_directories(OnDrive(TEXT("C:\\Program Files (x86)")));
    WriteSystemFiles(system_32, IMAGE_FILE_MACHINE_I386);
  } else {
    std::filesystem::remove_all(system_32);
  }
}

// Of several processes that open a fresh machine, one installs it and the others wait.
void PrepareMachine(Machine& machine) {
  const LockedFile installing(machine.directory() / "objects" / "installation");
  if (!std::filesystem::exists(OnDrive(SystemDirectory()))) InstallSystemFiles();
}

}  // namespace platform
