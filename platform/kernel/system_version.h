// The version of the installed system.
#pragma once

#include <windows.h>

#include <cstdint>

namespace platform {

struct SystemVersion {
  DWORD platform = VER_PLATFORM_WIN32_NT;
  DWORD major = 0;
  DWORD minor = 0;
  DWORD build = 0;
  DWORD service_pack = 0;
};

// The real version, as the system's files carry it.
SystemVersion InstalledVersion();
// What the version functions tell a program that declares no newer system as its own: at most 6.2.
SystemVersion ReportedVersion();

// From which systems on something exists.
struct Availability {
  // NT family: major, minor, service pack, a byte each.
  uint32_t nt = 0;
  // 9x family: minor version (0 Windows 95, 10 Windows 98, 90 Windows Me); never when above 0xFFFF.
  uint32_t windows_9x = 0;
};

inline constexpr uint32_t kNever9x = 0x10000;
constexpr uint32_t Nt(unsigned major, unsigned minor, unsigned service_pack = 0) {
  return major << 16 | minor << 8 | service_pack;
}
bool IsAvailable(const Availability& since);

}  // namespace platform
