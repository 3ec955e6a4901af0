// wtsapi32, and kernel32's functions about terminal sessions.
#include <wtsapi32.h>

#include <algorithm>
#include <cstring>

#include "platform/control/facts.h"
#include "platform/control/session_messages.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/counted_blocks.h"
#include "platform/kernel/result.h"
#include "platform/security/rights.h"
#include "platform/security/token.h"
#include "platform/services/services.h"
#include "platform/services/sessions.h"

namespace platform {
namespace {

CountedBlocks& session_memory() {
  static CountedBlocks* instance = new CountedBlocks(Resource::kSessionMemory);
  return *instance;
}

class SentMessages {
 public:
  explicit SentMessages(Machine&) {}
  void Add(SessionMessage message) {
    std::lock_guard lock(mutex_);
    messages_.push_back(std::move(message));
  }
  std::vector<SessionMessage> All() {
    std::lock_guard lock(mutex_);
    return messages_;
  }

 private:
  std::mutex mutex_;
  std::vector<SessionMessage> messages_;
};

// Whether sessions of this server can be asked about; else the last error is set.
bool RequireSessions(HANDLE server) {
  if (server != WTS_CURRENT_SERVER_HANDLE) return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  const std::optional<Service> service = Services::Current().Find(TEXT("TermService"));
  const bool runs = service && Services::Current().State(*service) == SERVICE_RUNNING;
  return runs || Finish(ERROR_APP_WRONG_OS);
}

std::optional<Session> RequireSession(HANDLE server, DWORD id) {
  if (!RequireSessions(server)) return std::nullopt;
  std::optional<Session> session = FindSession(id);
  if (!session) SetLastError(ERROR_CTX_WINSTATION_NOT_FOUND);
  return session;
}

void Hand(const void* data, size_t size, LPWSTR* buffer, DWORD* returned) {
  *buffer = static_cast<LPWSTR>(session_memory().Allocate(size));
  std::memcpy(*buffer, data, size);
  *returned = static_cast<DWORD>(size);
}

void HandText(const WideString& text, LPWSTR* buffer, DWORD* returned) {
  Hand(text.c_str(), (text.size() + 1) * sizeof(WCHAR), buffer, returned);
}

// Copies the text to `texts` and moves on behind it.
LPWSTR PutText(const WideString& text, BYTE*& texts) {
  auto* at = reinterpret_cast<LPWSTR>(texts);
  texts = reinterpret_cast<BYTE*>(std::copy_n(text.c_str(), text.size() + 1, at));
  return at;
}

// A text given with its length in bytes.
WideString TextOf(LPCWSTR text, DWORD bytes) {
  return WideString(text, bytes / sizeof(WCHAR)).c_str();
}

}  // namespace

std::vector<SessionMessage> SessionMessages() {
  return Machine::Current().Part<SentMessages>().All();
}

}  // namespace platform

using namespace platform;

VOID WINAPI WTSFreeMemory(PVOID memory) {
  KV_API_VOID(WTSFreeMemory, memory);
  session_memory().Free(memory);
}

BOOL WINAPI WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version,
                                  PWTS_SESSION_INFOW* sessions, DWORD* count) {
  KV_API(WTSEnumerateSessionsW, ERROR_APP_WRONG_OS, FALSE, server, reserved, version, sessions,
         count);
  if (reserved != 0 || version != 1) return Finish(ERROR_INVALID_PARAMETER);
  if (!RequireSessions(server)) return FALSE;
  const std::vector<Session> all = AllSessions();
  size_t size = all.size() * sizeof(WTS_SESSION_INFOW);
  for (const Session& session : all) size += (session.station.size() + 1) * sizeof(WCHAR);
  auto* entry = static_cast<PWTS_SESSION_INFOW>(session_memory().Allocate(size));
  *sessions = entry;
  *count = static_cast<DWORD>(all.size());
  auto* texts = reinterpret_cast<BYTE*>(entry + all.size());
  for (const Session& session : all) {
    *entry++ = {session.id, PutText(session.station, texts), session.state};
  }
  return TRUE;
}

BOOL WINAPI WTSEnumerateProcessesW(HANDLE server, DWORD reserved, DWORD version,
                                   PWTS_PROCESS_INFOW* processes, DWORD* count) {
  KV_API(WTSEnumerateProcessesW, ERROR_APP_WRONG_OS, FALSE, server, reserved, version, processes,
         count);
  if (reserved != 0 || version != 1) return Finish(ERROR_INVALID_PARAMETER);
  if (!RequireSessions(server)) return FALSE;
  const std::vector<SessionProcess> all = AllProcesses();
  size_t size = all.size() * (sizeof(WTS_PROCESS_INFOW) + SECURITY_MAX_SID_SIZE);
  for (const SessionProcess& process : all) size += (process.name.size() + 1) * sizeof(WCHAR);
  auto* entry = static_cast<PWTS_PROCESS_INFOW>(session_memory().Allocate(size));
  *processes = entry;
  *count = static_cast<DWORD>(all.size());
  auto* sids = reinterpret_cast<BYTE*>(entry + all.size());
  BYTE* texts = sids + all.size() * SECURITY_MAX_SID_SIZE;
  for (const SessionProcess& process : all) {
    *entry = {process.session, process.id, PutText(process.name, texts), nullptr};
    // Processes of the system itself may come without a SID.
    if (const std::optional<User> user = User::Named(process.user)) {
      const std::vector<uint8_t> sid = user->UserSid().bytes();
      entry->pUserSid = sids;
      sids = std::copy(sid.begin(), sid.end(), sids);
    }
    ++entry;
  }
  return TRUE;
}

BOOL WINAPI WTSQuerySessionInformationW(HANDLE server, DWORD session, WTS_INFO_CLASS information,
                                        LPWSTR* buffer, DWORD* size) {
  KV_API(WTSQuerySessionInformationW, ERROR_APP_WRONG_OS, FALSE, server, session, information,
         buffer, size);
  const std::optional<Session> asked = RequireSession(server, session);
  if (!asked) return FALSE;
  switch (information) {
    case WTSSessionId:
      Hand(&asked->id, sizeof asked->id, buffer, size);
      return TRUE;
    case WTSUserName:
      HandText(asked->user, buffer, size);
      return TRUE;
    case WTSClientName:
      HandText(asked->client, buffer, size);
      return TRUE;
    case WTSInitialProgram:
      HandText(asked->program, buffer, size);
      return TRUE;
    case WTSClientProtocolType:
      Hand(&asked->protocol, sizeof asked->protocol, buffer, size);
      return TRUE;
    default:
      return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  }
}

BOOL WINAPI WTSQueryUserToken(ULONG session, PHANDLE token) {
  KV_API(WTSQueryUserToken, ERROR_PRIVILEGE_NOT_HELD, FALSE, session, token);
  const std::optional<Session> asked = RequireSession(WTS_CURRENT_SERVER_HANDLE, session);
  if (!asked) return FALSE;
  if (!CallerHasPrivilege(SE_TCB_NAME)) return Finish(ERROR_PRIVILEGE_NOT_HELD);
  if (!User::Named(asked->user)) return Finish(ERROR_NO_TOKEN);
  *token = OpenHandle(
      std::make_shared<TokenHandle>(std::make_shared<Token>(asked->user), MAXIMUM_ALLOWED));
  return TRUE;
}

BOOL WINAPI WTSSendMessageW(HANDLE server, DWORD session, LPWSTR title, DWORD title_bytes,
                            LPWSTR message, DWORD message_bytes, DWORD style, DWORD timeout,
                            DWORD* response, BOOL wait) {
  KV_API(WTSSendMessageW, ERROR_APP_WRONG_OS, FALSE, server, session, title, title_bytes, message,
         message_bytes, style, timeout, response, wait);
  const std::optional<Session> asked = RequireSession(server, session);
  if (!asked) return FALSE;
  Machine::Current().Part<SentMessages>().Add({asked->id, TextOf(title, title_bytes),
                                               TextOf(message, message_bytes), style, timeout,
                                               wait != FALSE});
  *response = wait ? asked->answer : IDASYNC;
  if (wait && asked->answer == IDTIMEOUT) {
    WaitOnClock(timeout == 0 ? kNever : DeadlineAfter(timeout * 1000), [] { return false; });
  }
  return TRUE;
}

DWORD WINAPI WTSGetActiveConsoleSessionId() {
  KV_API_NOFAIL(WTSGetActiveConsoleSessionId, 0xFFFFFFFF);
  return ConsoleSession();
}
