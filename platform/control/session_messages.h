// Messages that programs show to people in terminal sessions.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace platform {

struct SessionMessage {
  DWORD session;
  std::basic_string<WCHAR> title;
  std::basic_string<WCHAR> text;
  DWORD style;
  DWORD timeout;  // seconds
  bool waits;
};

// Those sent on this machine by this process, in their order. A session's fact "answer" is the
// button with which each ends; IDTIMEOUT lets its time run out.
std::vector<SessionMessage> SessionMessages();

}  // namespace platform
