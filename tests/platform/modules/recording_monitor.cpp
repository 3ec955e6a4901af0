// A print monitor with the ports REC1: and REC2: that records what the spooler asks of it.
#include <windows.h>
#include <winsplp.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>

namespace {

std::mutex mutex;
std::string record;
std::string failing;
DWORD failing_error = 0;
DWORD most_per_write = ~0u;
int next_port = 1;
MONITOREX table = {};

// What the tests write is ASCII.
std::string Narrow(LPCWSTR text) {
  std::string narrow;
  for (; text != nullptr && *text != 0; ++text) narrow += static_cast<char>(*text);
  return narrow;
}

BOOL Note(const std::string& operation, const std::string& details) {
  std::lock_guard lock(mutex);
  record += operation + details + ";";
  if (operation != failing) return TRUE;
  SetLastError(failing_error);
  return FALSE;
}

std::string PortName(HANDLE port) {
  return " " + std::to_string(reinterpret_cast<UINT_PTR>(port));
}

BOOL WINAPI EnumPorts(LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned) {
  constexpr DWORD kName = 6 * sizeof(WCHAR);
  const DWORD structure = level == 1 ? sizeof(PORT_INFO_1W) : sizeof(PORT_INFO_2W);
  *needed = 2 * (structure + kName);
  *returned = 0;
  if (size < *needed) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  for (DWORD i = 0; i < 2; ++i) {
    auto* name = reinterpret_cast<LPWSTR>(buffer + size - (i + 1) * kName);
    std::memcpy(name, i == 0 ? TEXT("REC1:") : TEXT("REC2:"), kName);
    if (level == 1) {
      reinterpret_cast<PORT_INFO_1W*>(buffer)[i].pName = name;
    } else {
      reinterpret_cast<PORT_INFO_2W*>(buffer)[i] = {name, name, name, PORT_TYPE_WRITE, 0};
    }
  }
  *returned = 2;
  return TRUE;
}

BOOL WINAPI OpenPort(LPWSTR name, PHANDLE handle) {
  if (!Note("Open", " " + Narrow(name))) return FALSE;
  std::lock_guard lock(mutex);
  *handle = reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(next_port++));
  return TRUE;
}

BOOL WINAPI StartDocPort(HANDLE port, LPWSTR printer, DWORD job, DWORD level, LPBYTE document) {
  const auto* info = reinterpret_cast<const DOC_INFO_1W*>(document);
  return Note("StartDoc", PortName(port) + " " + Narrow(printer) + " " + std::to_string(job) + " " +
                              std::to_string(level) + " " + Narrow(info->pDocName) + " " +
                              Narrow(info->pDatatype));
}

BOOL WINAPI WritePort(HANDLE port, LPBYTE, DWORD size, LPDWORD written) {
  if (!Note("Write", PortName(port) + " " + std::to_string(size))) return FALSE;
  *written = std::min<DWORD>(size, most_per_write);
  return TRUE;
}

BOOL WINAPI EndDocPort(HANDLE port) {
  return Note("EndDoc", PortName(port));
}
BOOL WINAPI ClosePort(HANDLE port) {
  return Note("Close", PortName(port));
}

void FillTable(MONITOR& monitor) {
  monitor.pfnEnumPorts = EnumPorts;
  monitor.pfnOpenPort = OpenPort;
  monitor.pfnStartDocPort = StartDocPort;
  monitor.pfnWritePort = WritePort;
  monitor.pfnEndDocPort = EndDocPort;
  monitor.pfnClosePort = ClosePort;
}

}  // namespace

extern "C" {

LPMONITOREX WINAPI InitializePrintMonitor(LPWSTR root) {
  Note("Initialize", " " + Narrow(root));
  FillTable(table.Monitor);
  table.dwMonitorSize = sizeof table;
  return &table;
}

BOOL WINAPI InitializeMonitorEx(LPWSTR root, LPMONITOR monitor) {
  FillTable(*monitor);
  return Note("InitializeEx", " " + Narrow(root));
}

// What was recorded so far; forgets it.
void WINAPI TakeRecord(char* buffer, DWORD size) {
  std::lock_guard lock(mutex);
  record.resize(std::min<size_t>(record.size(), size - 1));
  std::memcpy(buffer, record.c_str(), record.size() + 1);
  record.clear();
  next_port = 1;
}

void WINAPI FailOperation(const char* operation, DWORD error) {
  failing = operation;
  failing_error = error;
}

void WINAPI TakeAtMost(DWORD bytes) {
  most_per_write = bytes;
}
}
