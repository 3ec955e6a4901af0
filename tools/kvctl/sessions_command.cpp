#include "resources/string_ids.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/terminal_sessions.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr size_t kNumberColumn = 8;
constexpr size_t kColumn = 20;

// The session's line: number, station, user, client, protocol. The caller's own is marked.
WideString LineOf(const kv::CTerminalServices& services, const WTS_SESSION_INFOW& session) {
  WCHAR user[kv::kUserNameCapacity], client[kv::kUserNameCapacity];
  services.QueryUserName(session.SessionId, user, kv::kUserNameCapacity);
  services.QueryClientName(session.SessionId, client, kv::kUserNameCapacity);
  const bool isOwn = static_cast<int>(session.SessionId) == services.GetSessionId();
  const int protocol = services.QueryClientProtocol(session.SessionId);
  const WideString station =
      session.pWinStationName == nullptr ? WideString() : session.pWinStationName;
  return Padded((isOwn ? TEXT("*") : TEXT(" ")) + Number(session.SessionId), kNumberColumn) +
         Padded(station, kColumn) + Padded(user, kColumn) + Padded(client, kColumn) +
         (protocol < 0 ? WideString() : Number(protocol));
}

ExitStatus ListSessions(const Arguments&) {
  kv::CTerminalServices services;
  const WTS_SESSION_INFOW* session = services.IsAvailable() ? services.FirstSession() : nullptr;
  if (session == nullptr) {
    PrintError(Text(IDS_CTL_NO_SESSIONS));
    return kFailed;
  }
  for (; session != nullptr; session = services.NextSession())
    PrintLine(LineOf(services, *session));
  return kDone;
}

}  // namespace

const Command kSessionsCommand = {
    TEXT("sessions"), IDS_CTL_SESSIONS_SUMMARY, IDS_CTL_SESSIONS_USAGE, {}, 0, 0, ListSessions};

}  // namespace kvctl
