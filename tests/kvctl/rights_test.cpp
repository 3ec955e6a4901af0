// What kvctl tells of users, sessions and the spooler.
#include "platform/control/profiles.h"
#include "tests/support/machine_test.h"
#include "tests/support/program.h"

namespace kv::test {
namespace {

namespace facts = platform::facts;

class KvctlRightsTest : public MachineTest {
 protected:
  ProgramResult Run(const std::string& arguments) {
    return RunProgram("kvctl", arguments, "KV_MACHINE=" + directory().string());
  }
};

TEST_F(KvctlRightsTest, TellsAsWhomOneWorks) {
  EXPECT_EQ(Run("whoami").output,
            "User:          Ada\n"
            "SID:           S-1-5-21-1004336348-1177238915-682003330-1001\n"
            "Administrator: yes\n"
            "Elevated:      no\n"
            "Integrity:     medium (0x2000)\n");
  platform::SetFact(facts::kUserSid, "S-1-5-18");
  EXPECT_EQ(Run("whoami").output,
            "User:          SYSTEM\n"
            "SID:           S-1-5-18\n"
            "Administrator: yes\n"
            "Elevated:      yes\n"
            "Integrity:     system (0x4000)\n");
  platform::ClearFact(facts::kUserSid);
  platform::SetFact(facts::kUserIsAdministrator, "0");
  ASSERT_TRUE(platform::UseProfile("windows-xp"));
  EXPECT_TRUE(Run("whoami").output.ends_with("Integrity:     unknown (0x0000)\n"));
}

TEST_F(KvctlRightsTest, ListsSessions) {
  platform::SetFact(facts::kAccounts, "Bob:1002");
  platform::SetFact(facts::kSessions, "2,1");
  platform::SetFact(facts::kSessionPrefix + std::string("2.user"), "Bob");
  platform::SetFact(facts::kSessionPrefix + std::string("2.client"), "LAPTOP");
  platform::SetFact(facts::kSessionPrefix + std::string("2.protocol"), "2");
  EXPECT_EQ(Run("sessions").output,
            "*  1       Console             Ada                                     0\n"
            "  2                           Bob                 LAPTOP              2\n");
  ASSERT_TRUE(platform::UseProfile("windows-98"));
  const ProgramResult none = Run("sessions");
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.output, "kvctl: this computer has no terminal services, or they do not answer\n");
}

TEST_F(KvctlRightsTest, RestartsTheSpoolerForAdministratorsOnly) {
  const ProgramResult refused = Run("spooler restart");
  EXPECT_EQ(refused.status, 3);
  EXPECT_EQ(refused.output,
            "kvctl: only an elevated administrator can restart the print spooler\n");
  platform::SetFact(facts::kUserIsElevated, "1");
  EXPECT_EQ(Run("spooler restart").output, "The print spooler was restarted.\n");
  platform::SetFact(facts::kServicePrefix + std::string("Spooler.start_error"), "1053");
  const ProgramResult failed = Run("spooler restart");
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.output.find("kvctl: the print spooler was not restarted\n"), std::string::npos)
      << failed.output;
  const ProgramResult stopped = Run("spooler status");
  EXPECT_EQ(stopped.status, 1);
  EXPECT_EQ(stopped.output, "The print spooler is not running.\n");
  EXPECT_EQ(Run("print x").output,
            "kvctl: cannot list the printers: The RPC server is unavailable\n");
  EXPECT_EQ(Run("spooler fly").status, 2);
}

}  // namespace
}  // namespace kv::test
