#include "resources/string_ids.h"
#include "runtime/ipc/accounts.h"
#include "runtime/ipc/terminal_sessions.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

constexpr Column kColumns[] = {{TEXT("own"), IDS_CTL_HEADING_NOTHING, 2},
                               {TEXT("number"), IDS_CTL_HEADING_NUMBER, 8},
                               {TEXT("station"), IDS_CTL_HEADING_STATION, 20},
                               {TEXT("user"), IDS_CTL_HEADING_USER, 20},
                               {TEXT("client"), IDS_CTL_HEADING_CLIENT, 20},
                               {TEXT("protocol"), IDS_CTL_HEADING_PROTOCOL, 10}};

void AddSession(const kv::CTerminalServices& services, const WTS_SESSION_INFOW& session,
                Table& table) {
  WCHAR user[kv::kUserNameCapacity], client[kv::kUserNameCapacity];
  services.QueryUserName(session.SessionId, user, kv::kUserNameCapacity);
  services.QueryClientName(session.SessionId, client, kv::kUserNameCapacity);
  const bool isOwn = static_cast<int>(session.SessionId) == services.GetSessionId();
  const int protocol = services.QueryClientProtocol(session.SessionId);
  table.Add({isOwn, LONGLONG{session.SessionId}, WideString(kv::View(session.pWinStationName)),
             WideString(user), WideString(client),
             protocol < 0 ? Cell() : Cell(LONGLONG{protocol})});
}

ExitStatus ListSessions(const Arguments& arguments) {
  kv::CTerminalServices services;
  const WTS_SESSION_INFOW* session = services.IsAvailable() ? services.FirstSession() : nullptr;
  if (session == nullptr) {
    PrintError(Text(IDS_CTL_NO_SESSIONS));
    return kFailed;
  }
  Table table(kColumns, arguments);
  for (; session != nullptr; session = services.NextSession()) {
    AddSession(services, *session, table);
  }
  table.Finish();
  return kDone;
}

constexpr Option kOptions[] = {kJsonOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, ListSessions}};

}  // namespace

const Command kSessionsCommand = {TEXT("sessions"), IDS_CTL_SESSIONS_SUMMARY,
                                  IDS_CTL_SESSIONS_USAGE, kActions};

}  // namespace kvctl
