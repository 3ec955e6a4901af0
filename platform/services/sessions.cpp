#include "platform/services/sessions.h"

#include <unistd.h>

#include <algorithm>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/path.h"
#include "platform/kernel/split.h"
#include "platform/kernel/system_version.h"
#include "platform/security/users.h"

namespace platform {
namespace {

bool HasIsolatedServices() {
  return InstalledVersion().major >= 6;
}

DWORD NumberOf(const std::string& text) {
  return static_cast<DWORD>(std::strtoul(text.c_str(), nullptr, 0));
}

Session DescribeSession(DWORD id) {
  const std::string prefix = facts::kSessionPrefix + std::to_string(id) + ".";
  const bool is_services = HasIsolatedServices() && id == 0;
  const bool is_console = id == ConsoleSession();
  const auto text = [&](const char* name, const WideString& otherwise) {
    return ToWide(Fact(prefix + name, ToUtf8(otherwise)));
  };
  Session session;
  session.id = id;
  session.station = text("station", is_services  ? TEXT("Services")
                                    : is_console ? TEXT("Console")
                                                 : TEXT(""));
  session.state = static_cast<WTS_CONNECTSTATE_CLASS>(
      FactNumber(prefix + "state", is_services ? WTSDisconnected : WTSActive));
  session.user =
      text("user", id == ProcessSession() && !is_services ? User::OfProcess().name() : TEXT(""));
  session.client = text("client", {});
  session.program = text("program", {});
  session.protocol = static_cast<USHORT>(FactNumber(prefix + "protocol", 0));
  session.answer = static_cast<DWORD>(FactNumber(prefix + "answer", IDOK));
  return session;
}

}  // namespace

DWORD ProcessSession() {
  return static_cast<DWORD>(FactNumber(facts::kProcessSession, HasIsolatedServices() ? 1 : 0));
}

DWORD ConsoleSession() {
  return static_cast<DWORD>(FactNumber(facts::kConsoleSession, HasIsolatedServices() ? 1 : 0));
}

std::vector<Session> AllSessions() {
  std::vector<Session> sessions;
  for (const std::string& id :
       Split(Fact(facts::kSessions, HasIsolatedServices() ? "0,1" : "0"), ',')) {
    sessions.push_back(DescribeSession(NumberOf(id)));
  }
  return sessions;
}

std::optional<Session> FindSession(DWORD id) {
  if (id == WTS_CURRENT_SESSION) id = ProcessSession();
  for (Session& session : AllSessions()) {
    if (session.id == id) return std::move(session);
  }
  return std::nullopt;
}

std::vector<SessionProcess> AllProcesses() {
  WCHAR path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH - 1);
  std::vector<SessionProcess> processes = {{ProcessSession(), static_cast<DWORD>(getpid()),
                                            WideString(BaseName(path)), User::OfProcess().name(),
                                            User::OfProcess().IsElevated()}};
  for (const std::string& id : Split(Fact(facts::kProcesses), ',')) {
    const std::string prefix = facts::kProcessPrefix + id + ".";
    processes.push_back({static_cast<DWORD>(FactNumber(prefix + "session", ProcessSession())),
                         NumberOf(id), ToWide(Fact(prefix + "name")), ToWide(Fact(prefix + "user")),
                         FactNumber(prefix + "elevated", 0) != 0});
  }
  return processes;
}

std::optional<SessionProcess> ShellProcess() {
  for (SessionProcess& process : AllProcesses()) {
    const bool is_shell = EqualNoCase(process.name, TEXT("explorer.exe"));
    if (is_shell && process.session == ProcessSession()) return std::move(process);
  }
  return std::nullopt;
}

}  // namespace platform
