// Registers the module beside this program with the system's spooler and looks for its port. Exit
// status 0 when the spooler lists KVR8: exactly once, under the monitor's name.
#include "runtime/core/product.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/text/wide_text.h"

namespace {

int Fail(const char* what) {
  printf("%s: error %u\n", what, static_cast<unsigned>(GetLastError()));
  return 1;
}

BOOL CopyToSystem(LPCWSTR name) {
  WCHAR source[MAX_PATH], target[MAX_PATH];
  kv::PathBesideModule(GetModuleHandleW(nullptr), name, source);
  kv::GetSystemFilePath(name, target);
  return CopyFileW(source, target, FALSE);
}

}  // namespace

int main() {
  if (!CopyToSystem(TEXT("kvmon8.dll")) || !CopyToSystem(TEXT("kvres832.dll")))
    return Fail("copying the module");
  WCHAR name[] = TEXT("KVR8:"), file[] = TEXT("kvmon8.dll");
  MONITOR_INFO_2W monitor = {name, const_cast<LPWSTR>(kv::GetPrintEnvironment()), file};
  if (!AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&monitor)) &&
      GetLastError() != ERROR_PRINT_MONITOR_ALREADY_INSTALLED) {
    return Fail("AddMonitorW");
  }
  kv::SpoolerList<PORT_INFO_2W> ports;
  if (!ports.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPortsW(nullptr, 2, buffer, size, needed, count);
      })) {
    return Fail("EnumPortsW");
  }
  int found = 0;
  for (const PORT_INFO_2W& port : ports) {
    if (!kv::EqualAsciiNoCase(kv::View(port.pPortName), name)) continue;
    ++found;
    printf("the spooler lists %ls, monitor %ls, type %u\n",
           reinterpret_cast<const wchar_t*>(port.pPortName),
           reinterpret_cast<const wchar_t*>(port.pMonitorName),
           static_cast<unsigned>(port.fPortType));
  }
  if (found != 1) return Fail("the port is not listed once");
  return 0;
}
