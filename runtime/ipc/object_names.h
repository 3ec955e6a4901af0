// The names by which the product's processes find each other's mutexes, events, shared memory,
// pipes and window classes.
//
// The builders write into `output` of `capacity` characters. A name that does not fit is left
// empty, never cut: half a name would name something else. A null output is ignored. No argument
// but MakeSessionName's `name` may lie in the output. The builders leave the last error alone.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// The prefix of temporary file names, and without its tilde the start of every object's name.
inline constexpr WCHAR kShortTag[] = TEXT("~KV");

// Whose processes share an object; other values make no name.
enum ObjectScope : int {
  ObjectScopeGlobal = 0,  // all sessions'
  ObjectScopeLocal = 1,   // one session's
};

// Session arguments of pipe names, beside session numbers.
constexpr int SessionCurrent = -1;  // the caller's session
constexpr int SessionNone = -2;     // no session in the name

// "KV8".
void GetObjectPrefix(LPWSTR output, int capacity);
// "Local\KV8_LocalMutex_…": `typeWord` is "Event", "Mutex" or "SharedMemory", `base` names the
// subject. Empty for a capacity below 128 and for an unknown scope.
void MakeObjectName(int scope, LPCWSTR typeWord, LPCWSTR base, LPWSTR output, int capacity);
// "KV8_…WndClass". Without a base (null or empty) a tag takes its place that differs between
// threads, and between the milliseconds of one thread.
void MakeWndClassName(LPCWSTR base, LPWSTR output, int capacity);
// "\\.\pipe\KV8_…", on another machine with `server` in place of the dot, followed by the session.
// Without a base a tag takes its place. Empty for a capacity below 260.
void MakePipeName(LPCWSTR server, LPCWSTR base, int session, LPWSTR output, int capacity);
// `name`, which may be `output` itself, followed by "_" and the session's number in eight
// hexadecimal digits; session 0 where there are no terminal services. Empty for a null name.
// Returns the first character of the output.
WCHAR MakeSessionName(LPCWSTR name, int session, LPWSTR output, int capacity);
// "KV8" in front of `text`, or, when it holds "%s", where the first one stands; then "%%" is a
// single per-cent sign, and what else looks like a printf directive is taken as it stands.
void MakeProductName(LPCWSTR text, LPWSTR output, int capacity);

// A finished name, used wherever a text is expected.
class CObjectName {
 public:
  operator LPCWSTR() const { return name_; }

 protected:
  CObjectName() = default;
  WCHAR name_[MAX_PATH] = {};
};

class CEventName : public CObjectName {
 public:
  CEventName(int scope, LPCWSTR base);
};

class CMutexName : public CObjectName {
 public:
  CMutexName(int scope, LPCWSTR base);
};

class CSharedMemoryName : public CObjectName {
 public:
  CSharedMemoryName(int scope, LPCWSTR base);
};

class CPipeName : public CObjectName {
 public:
  CPipeName(LPCWSTR server, LPCWSTR base, int session);
};

class CWndClassName : public CObjectName {
 public:
  explicit CWndClassName(LPCWSTR base);
};

static_assert(sizeof(CMutexName) == MAX_PATH * sizeof(WCHAR));

}  // namespace kv
