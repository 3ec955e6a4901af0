#include "platform/control/profiles.h"

#include <windows.h>

#include <iterator>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/registry/initial_keys.h"

namespace platform {
namespace {

constexpr const char* kServerR2Metric = "metric.89";

// Which processors a system was made for.
enum class Architectures { kX86, kX64, kBoth };

struct Profile {
  const char* name;
  Architectures architectures;
  long platform;
  long major;
  long minor;
  long build;
  long product_type;
  long suite_mask;
  long service_pack;
  const char* service_pack_text;
  const char* comctl_version;
  const char* windows_directory;
  bool has_extended_record;
  bool is_r2;
};

constexpr long kNt = VER_PLATFORM_WIN32_NT;
constexpr long k9x = VER_PLATFORM_WIN32_WINDOWS;
constexpr long kWorkstation = VER_NT_WORKSTATION;
constexpr long kServer = VER_NT_SERVER;
// One interactive session next to the console, or a server with remote administration.
constexpr long kSingleUser = VER_SUITE_SINGLEUSERTS;
constexpr long kServerSuite = VER_SUITE_TERMINAL | VER_SUITE_SINGLEUSERTS;
constexpr auto kX86 = Architectures::kX86;
constexpr auto kX64 = Architectures::kX64;
constexpr auto kBoth = Architectures::kBoth;
constexpr const char* kWindows = "C:\\Windows";
constexpr const char* kWinnt = "C:\\WINNT";

constexpr Profile kProfiles[] = {
    {"windows-95", kX86, k9x, 4, 0, 950, 0, 0, 0, "", "4.0", kWindows, false, false},
    {"windows-98", kX86, k9x, 4, 10, 1998, 0, 0, 0, "", "4.72", kWindows, false, false},
    {"windows-98-se", kX86, k9x, 4, 10, 2222, 0, 0, 0, " A ", "5.80", kWindows, false, false},
    {"windows-me", kX86, k9x, 4, 90, 3000, 0, 0, 0, "", "5.81", kWindows, false, false},
    {"windows-nt4", kX86, kNt, 4, 0, 1381, kWorkstation, 0, 5, "Service Pack 5", "4.72", kWinnt,
     false, false},
    {"windows-2000", kX86, kNt, 5, 0, 2195, kWorkstation, 0, 4, "Service Pack 4", "5.81", kWinnt,
     true, false},
    {"windows-2000-server", kX86, kNt, 5, 0, 2195, kServer, 0, 4, "Service Pack 4", "5.81", kWinnt,
     true, false},
    {"windows-xp", kBoth, kNt, 5, 1, 2600, kWorkstation, kSingleUser, 3, "Service Pack 3", "5.82",
     kWindows, true, false},
    {"windows-xp-rtm", kX86, kNt, 5, 1, 2600, kWorkstation, kSingleUser, 0, "", "5.82", kWindows,
     true, false},
    {"windows-server-2003", kBoth, kNt, 5, 2, 3790, kServer, kServerSuite, 2, "Service Pack 2",
     "5.82", kWindows, true, false},
    {"windows-server-2003-r2", kBoth, kNt, 5, 2, 3790, kServer, kServerSuite, 2, "Service Pack 2",
     "5.82", kWindows, true, true},
    {"windows-vista", kBoth, kNt, 6, 0, 6002, kWorkstation, kSingleUser, 2, "Service Pack 2",
     "5.82", kWindows, true, false},
    {"windows-server-2008", kBoth, kNt, 6, 0, 6002, kServer, kServerSuite, 2, "Service Pack 2",
     "5.82", kWindows, true, false},
    {"windows-7", kBoth, kNt, 6, 1, 7601, kWorkstation, kSingleUser, 1, "Service Pack 1", "5.82",
     kWindows, true, false},
    {"windows-server-2008-r2", kX64, kNt, 6, 1, 7601, kServer, kServerSuite, 1, "Service Pack 1",
     "5.82", kWindows, true, true},
    {"windows-8", kBoth, kNt, 6, 2, 9200, kWorkstation, kSingleUser, 0, "", "5.82", kWindows, true,
     false},
    {"windows-server-2012", kX64, kNt, 6, 2, 9200, kServer, kServerSuite, 0, "", "5.82", kWindows,
     true, false},
    {"windows-8.1", kBoth, kNt, 6, 3, 9600, kWorkstation, kSingleUser, 0, "", "5.82", kWindows,
     true, false},
    {"windows-server-2012-r2", kX64, kNt, 6, 3, 9600, kServer, kServerSuite, 0, "", "5.82",
     kWindows, true, true},
    {"windows-10", kBoth, kNt, 10, 0, 19045, kWorkstation, kSingleUser, 0, "", "5.82", kWindows,
     true, false},
    {"windows-11", kX64, kNt, 10, 0, 22631, kWorkstation, kSingleUser, 0, "", "5.82", kWindows,
     true, false},
};

const Profile* Find(std::string_view name) {
  for (const Profile& profile : kProfiles) {
    if (name == profile.name) return &profile;
  }
  return nullptr;
}

bool Exists(const Profile& profile, std::string_view architecture) {
  if (architecture == "x86") return profile.architectures != Architectures::kX64;
  return architecture == "x64" && profile.architectures != Architectures::kX86;
}

void SetOrClear(std::string_view fact, bool set, long value) {
  if (set) {
    SetFactNumber(fact, value);
  } else {
    ClearFact(fact);
  }
}

void SetFacts(const Profile& profile, std::string_view architecture) {
  long major = profile.major, minor = profile.minor, build = profile.build;
  long service_pack = profile.service_pack;
  std::string_view service_pack_text = profile.service_pack_text;
  // The 64-bit edition of Windows XP is built on the code of Server 2003.
  if (major == 5 && minor == 1 && architecture == "x64") {
    minor = 2;
    build = 3790;
    service_pack = 2;
    service_pack_text = "Service Pack 2";
  }
  SetFact(facts::kArchitecture, architecture);
  SetFactNumber(facts::kPlatformId, profile.platform);
  SetFactNumber(facts::kMajor, major);
  SetFactNumber(facts::kMinor, minor);
  SetFactNumber(facts::kBuild, build);
  SetFactNumber(facts::kProductType, profile.product_type);
  SetFactNumber(facts::kSuiteMask, profile.suite_mask);
  SetFactNumber(facts::kServicePackMajor, service_pack);
  SetFactNumber(facts::kServicePackMinor, 0);
  SetFact(facts::kServicePackText, service_pack_text);
  SetFactNumber(facts::kExtendedVersion, profile.has_extended_record);
  SetFact(facts::kWindowsDirectory, profile.windows_directory);
  SetFact(facts::kComctlVersion, profile.comctl_version);
  SetOrClear(kServerR2Metric, profile.is_r2, build);
  // The first common controls cannot tell their version.
  const bool has_dll_get_version = std::string_view(profile.comctl_version) != "4.0";
  SetOrClear("entry.comctl32.DllGetVersion", !has_dll_get_version, 0);
}

}  // namespace

bool UseProfile(std::string_view name, std::string_view architecture) {
  const Profile* profile = Find(name);
  if (profile == nullptr) return false;
  if (architecture.empty()) architecture = Exists(*profile, "x64") ? "x64" : "x86";
  if (!Exists(*profile, architecture)) return false;
  SetFacts(*profile, architecture);
  InstallSystemFiles();
  UpdateVersionKeys();
  return true;
}

std::vector<std::string> ProfileNames() {
  std::vector<std::string> names;
  for (const Profile& profile : kProfiles) names.emplace_back(profile.name);
  return names;
}

}  // namespace platform
