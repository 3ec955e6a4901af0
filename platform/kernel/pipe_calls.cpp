#include <windows.h>

#include <unistd.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/pipes.h"
#include "platform/kernel/result.h"

namespace platform {
namespace {

constexpr DWORD kUsualTimeout = 50;

DWORD CheckCreation(DWORD open_mode, DWORD pipe_mode, DWORD most_instances) {
  if (open_mode != PIPE_ACCESS_DUPLEX) return ERROR_CALL_NOT_IMPLEMENTED;
  if ((pipe_mode & ~PIPE_READMODE_MESSAGE) != PIPE_TYPE_MESSAGE) return ERROR_CALL_NOT_IMPLEMENTED;
  const bool known = most_instances >= 1 && most_instances <= PIPE_UNLIMITED_INSTANCES;
  return known ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// The pipe's own default time-out.
DWORD DefaultTimeout(const PipePlace& place) {
  DWORD timeout = 0;
  return PipeServer::ReadDefaultTimeout(place, timeout) && timeout != 0 ? timeout : kUsualTimeout;
}

DWORD WaitForInstance(const PipePlace& place, DWORD timeout) {
  if (!place.Exists()) return ERROR_FILE_NOT_FOUND;
  if (timeout == NMPWAIT_USE_DEFAULT_WAIT) timeout = DefaultTimeout(place);
  const bool free = WaitOnClock(DeadlineAfter(timeout), [&] { return place.HasFreeInstance(); });
  if (free) return ERROR_SUCCESS;
  return place.Exists() ? ERROR_SEM_TIMEOUT : ERROR_FILE_NOT_FOUND;
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE WINAPI CreateNamedPipeW(LPCWSTR name, DWORD open_mode, DWORD pipe_mode, DWORD most_instances,
                               DWORD out_size, DWORD in_size, DWORD default_timeout,
                               LPSECURITY_ATTRIBUTES attributes) {
  KV_API(CreateNamedPipeW, ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE, name, open_mode, pipe_mode,
         most_instances, out_size, in_size, default_timeout, attributes);
  PipePlace place;
  std::shared_ptr<PipeServer> server;
  DWORD error = CheckCreation(open_mode, pipe_mode, most_instances);
  if (error == ERROR_SUCCESS) error = PipePlace::Find(View(name), place);
  if (error == ERROR_SUCCESS) {
    const bool messages = (pipe_mode & PIPE_READMODE_MESSAGE) != 0;
    error = PipeServer::Create(place, most_instances, default_timeout, messages, server);
  }
  return Finish(error) ? OpenHandle(std::move(server)) : INVALID_HANDLE_VALUE;
}

BOOL WINAPI ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped) {
  KV_API(ConnectNamedPipe, ERROR_INVALID_HANDLE, FALSE, pipe, overlapped);
  if (overlapped != nullptr) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  const auto server = ObjectOf<PipeServer>(pipe);
  return Finish(server == nullptr ? ERROR_INVALID_HANDLE : server->Connect());
}

BOOL WINAPI DisconnectNamedPipe(HANDLE pipe) {
  KV_API_NOFAIL(DisconnectNamedPipe, FALSE, pipe);
  const auto server = ObjectOf<PipeServer>(pipe);
  return Finish(server == nullptr ? ERROR_INVALID_HANDLE : server->Disconnect());
}

BOOL WINAPI WaitNamedPipeW(LPCWSTR name, DWORD timeout) {
  KV_API(WaitNamedPipeW, ERROR_SEM_TIMEOUT, FALSE, name, timeout);
  PipePlace place;
  DWORD error = PipePlace::Find(View(name), place);
  if (error == ERROR_SUCCESS) error = WaitForInstance(place, timeout);
  return Finish(error);
}

BOOL WINAPI SetNamedPipeHandleState(HANDLE pipe, LPDWORD mode, LPDWORD most_collected,
                                    LPDWORD collect_timeout) {
  KV_API(SetNamedPipeHandleState, ERROR_INVALID_HANDLE, FALSE, pipe, mode, most_collected,
         collect_timeout);
  const auto end = ObjectOf<PipeEnd>(pipe);
  if (end == nullptr) return Finish(ERROR_INVALID_HANDLE);
  if (mode == nullptr || (*mode & ~PIPE_READMODE_MESSAGE) != 0 || most_collected != nullptr ||
      collect_timeout != nullptr) {
    return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  }
  end->SetReadMode(*mode == PIPE_READMODE_MESSAGE);
  return TRUE;
}

BOOL WINAPI FlushFileBuffers(HANDLE file) {
  KV_API(FlushFileBuffers, ERROR_WRITE_FAULT, FALSE, file);
  if (const auto end = ObjectOf<PipeEnd>(file)) return Finish(end->Flush());
  return Finish(ObjectOf(file) == nullptr ? ERROR_INVALID_HANDLE : ERROR_CALL_NOT_IMPLEMENTED);
}
