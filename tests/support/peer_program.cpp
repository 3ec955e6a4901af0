// peer WHAT …: a program that tests start.
//
//   exit CODE          ends with that code
//   sleep MS CODE      ends later
//   report FILE …      writes its command line and how it runs into a file of the machine
#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/control/machine.h"
#include "platform/kernel/text.h"

namespace {

bool IsElevated() {
  HANDLE token = nullptr;
  TOKEN_ELEVATION elevation = {};
  DWORD size = 0;
  OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token);
  GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &size);
  CloseHandle(token);
  return elevation.TokenIsElevated != 0;
}

int Report(const char* file) {
  WCHAR user[257] = {};
  DWORD size = 257;
  GetUserNameW(user, &size);
  std::ofstream(platform::HostPath(platform::ToWide(file)))
      << platform::ToUtf8(GetCommandLineW()) << '|' << (IsElevated() ? "elevated" : "plain") << '|'
      << platform::ToUtf8(user);
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string what = count > 2 ? arguments[1] : "";
  if (what == "exit") return std::atoi(arguments[2]);
  if (what == "report") return Report(arguments[2]);
  if (what != "sleep" || count < 4) return 2;
  Sleep(static_cast<DWORD>(std::atoi(arguments[2])));
  return std::atoi(arguments[3]);
}
