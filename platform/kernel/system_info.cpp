// What the system says about itself: versions, processors, names, times.
#include <unistd.h>

#include <algorithm>
#include <string>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/system_version.h"
#include "platform/kernel/text.h"
#include "platform/kernel/wow64.h"

namespace platform {
namespace {

constexpr DWORD kPageSize = 4096;
constexpr DWORD kAllocationGranularity = 65536;

void DescribeProcessors(SYSTEM_INFO& info, bool is_64_bit) {
  const long processors = std::max(1L, sysconf(_SC_NPROCESSORS_ONLN));
  info = {};
  info.wProcessorArchitecture =
      is_64_bit ? PROCESSOR_ARCHITECTURE_AMD64 : PROCESSOR_ARCHITECTURE_INTEL;
  info.dwPageSize = kPageSize;
  info.lpMinimumApplicationAddress = reinterpret_cast<LPVOID>(UINT_PTR{kAllocationGranularity});
  info.lpMaximumApplicationAddress = reinterpret_cast<LPVOID>(
      sizeof(void*) == 4 ? UINT_PTR{0x7FFEFFFF} : static_cast<UINT_PTR>(0x7FFFFFFEFFFFull));
  info.dwNumberOfProcessors = static_cast<DWORD>(std::min<long>(processors, sizeof(DWORD_PTR) * 8));
  info.dwActiveProcessorMask = info.dwNumberOfProcessors == sizeof(DWORD_PTR) * 8
                                   ? ~DWORD_PTR{0}
                                   : (DWORD_PTR{1} << info.dwNumberOfProcessors) - 1;
  info.dwProcessorType = is_64_bit ? PROCESSOR_AMD_X8664 : PROCESSOR_INTEL_PENTIUM;
  info.dwAllocationGranularity = kAllocationGranularity;
  info.wProcessorLevel = 6;
}

void FillPlainRecord(OSVERSIONINFOW& record) {
  const SystemVersion version = ReportedVersion();
  record.dwMajorVersion = version.major;
  record.dwMinorVersion = version.minor;
  record.dwBuildNumber = version.build;
  record.dwPlatformId = version.platform;
  const WideString service_pack = ToWide(Fact(facts::kServicePackText));
  const size_t length = std::min(service_pack.size(), std::size(record.szCSDVersion) - 1);
  std::fill(std::begin(record.szCSDVersion), std::end(record.szCSDVersion), WCHAR{0});
  std::copy_n(service_pack.begin(), length, record.szCSDVersion);
}

void FillExtension(OSVERSIONINFOEXW& record) {
  record.wServicePackMajor = static_cast<WORD>(InstalledVersion().service_pack);
  record.wServicePackMinor = static_cast<WORD>(FactNumber(facts::kServicePackMinor));
  record.wSuiteMask = static_cast<WORD>(FactNumber(facts::kSuiteMask, VER_SUITE_SINGLEUSERTS));
  record.wProductType = static_cast<BYTE>(FactNumber(facts::kProductType, VER_NT_WORKSTATION));
  record.wReserved = 0;
}

}  // namespace

SystemVersion InstalledVersion() {
  SystemVersion version;
  version.platform = static_cast<DWORD>(FactNumber(facts::kPlatformId, VER_PLATFORM_WIN32_NT));
  version.major = static_cast<DWORD>(FactNumber(facts::kMajor, 10));
  version.minor = static_cast<DWORD>(FactNumber(facts::kMinor, 0));
  version.build = static_cast<DWORD>(FactNumber(facts::kBuild, 19045));
  version.service_pack = static_cast<DWORD>(FactNumber(facts::kServicePackMajor, 0));
  return version;
}

SystemVersion ReportedVersion() {
  SystemVersion version = InstalledVersion();
  if (version.major > 6 || (version.major == 6 && version.minor > 2)) {
    version.major = 6;
    version.minor = 2;
    version.build = 9200;
  }
  return version;
}

bool IsAvailable(const Availability& since) {
  const SystemVersion version = InstalledVersion();
  if (version.platform != VER_PLATFORM_WIN32_NT) return version.minor >= since.windows_9x;
  return Nt(version.major, version.minor, version.service_pack) >= since.nt;
}

}  // namespace platform

DWORD WINAPI GetVersion() {
  KV_API_NOFAIL(GetVersion, 0);
  const platform::SystemVersion version = platform::ReportedVersion();
  const DWORD low = version.minor << 8 | version.major;
  if (version.platform != VER_PLATFORM_WIN32_NT) return 0x80000000 | low;
  return version.build << 16 | low;
}

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW version) {
  KV_API(GetVersionExW, ERROR_INSUFFICIENT_BUFFER, FALSE, version);
  const bool extended = version->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXW) &&
                        platform::FactNumber(platform::facts::kExtendedVersion, 1) != 0;
  if (!extended && version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOW)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  platform::FillPlainRecord(*version);
  if (extended) platform::FillExtension(*reinterpret_cast<OSVERSIONINFOEXW*>(version));
  return TRUE;
}

void WINAPI GetSystemInfo(LPSYSTEM_INFO info) {
  KV_API_VOID(GetSystemInfo, info);
  platform::DescribeProcessors(*info, sizeof(void*) == 8);
}

void WINAPI GetNativeSystemInfo(LPSYSTEM_INFO info) {
  KV_API_VOID(GetNativeSystemInfo, info);
  platform::DescribeProcessors(*info, sizeof(void*) == 8 || platform::SystemIs64Bit());
}

DWORD WINAPI GetTickCount() {
  KV_API_NOFAIL(GetTickCount, 0);
  return static_cast<DWORD>(platform::UpTime());
}

void WINAPI GetSystemTimeAsFileTime(LPFILETIME time) {
  KV_API_VOID(GetSystemTimeAsFileTime, time);
  const uint64_t now = platform::SystemTime100ns();
  time->dwLowDateTime = static_cast<DWORD>(now);
  time->dwHighDateTime = static_cast<DWORD>(now >> 32);
}

void WINAPI Sleep(DWORD milliseconds) {
  KV_API_VOID(Sleep, milliseconds);
  platform::WaitOnClock(platform::DeadlineAfter(milliseconds), [] { return false; });
}

UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT capacity) {
  KV_API(GetSystemDirectoryW, ERROR_NOT_ENOUGH_MEMORY, 0, buffer, capacity);
  return platform::CopyOut(platform::SystemDirectory(), buffer, capacity);
}

UINT WINAPI GetWindowsDirectoryW(LPWSTR buffer, UINT capacity) {
  KV_API(GetWindowsDirectoryW, ERROR_NOT_ENOUGH_MEMORY, 0, buffer, capacity);
  return platform::CopyOut(platform::WindowsDirectory(), buffer, capacity);
}

BOOL WINAPI GetComputerNameW(LPWSTR buffer, LPDWORD size) {
  KV_API(GetComputerNameW, ERROR_NOT_ENOUGH_MEMORY, FALSE, buffer, size);
  const platform::WideString name =
      platform::ToWide(platform::Fact(platform::facts::kComputerName, "WORKSTATION"));
  const bool fits = *size > name.size();
  *size = platform::CopyOut(name, buffer, *size);
  if (!fits) SetLastError(ERROR_BUFFER_OVERFLOW);
  return fits;
}

HANDLE WINAPI GetCurrentProcess() {
  KV_API_NOFAIL(GetCurrentProcess, nullptr);
  return reinterpret_cast<HANDLE>(LONG_PTR{-1});
}

DWORD WINAPI GetCurrentProcessId() {
  KV_API_NOFAIL(GetCurrentProcessId, 0);
  return static_cast<DWORD>(getpid());
}

HANDLE WINAPI GetCurrentThread() {
  KV_API_NOFAIL(GetCurrentThread, nullptr);
  return reinterpret_cast<HANDLE>(LONG_PTR{-2});
}

DWORD WINAPI GetCurrentThreadId() {
  KV_API_NOFAIL(GetCurrentThreadId, 0);
  return static_cast<DWORD>(gettid());
}
