#include "runtime/ipc/object_names.h"

#include "runtime/core/product.h"
#include "runtime/ipc/terminal_sessions.h"
#include "runtime/text/format.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kPrefixCapacity = 32;
constexpr int kTagCapacity = 64;
constexpr int kObjectNameMinimum = 128;
constexpr int kPipeNameMinimum = MAX_PATH;

constexpr LPCWSTR kScopeWords[] = {TEXT("Global"), TEXT("Local")};

// Formats the whole name or nothing.
template <class... Arguments>
void FormatName(LPWSTR output, int capacity, LPCWSTR format, Arguments... arguments) {
  if (output == nullptr || capacity <= 0) return;
  if (!FormatText(output, static_cast<size_t>(capacity), format, arguments...)) output[0] = 0;
}

// The text with the prefix in place of the first "%s". A formatter would take a second directive's
// argument from nowhere.
void FormatProductName(LPCWSTR text, LPCWSTR prefix, LPWSTR output, int capacity) {
  if (output == nullptr || capacity <= 0) return;
  output[0] = 0;
  const size_t size = static_cast<size_t>(capacity);
  BOOL fits = TRUE, isPlaced = FALSE;
  for (LPCWSTR at = text; *at != 0 && fits; ++at) {
    if (!isPlaced && at[0] == '%' && at[1] == 's') {
      isPlaced = TRUE;
      fits = AppendText(output, size, TEXT("%s"), prefix);
      ++at;
    } else {
      fits = AppendText(output, size, TEXT("%c"), *at);
      if (at[0] == '%' && at[1] == '%') ++at;
    }
  }
  if (!fits) output[0] = 0;
}

// A fresh tag in place of a missing base name.
class BaseName {
 public:
  explicit BaseName(LPCWSTR given) : base_(given) {
    if (!View(given).empty()) return;
    FormatText(tag_, TEXT("%08X:%08X"), GetCurrentThreadId(), GetTickCount());
    base_ = tag_;
  }
  LPCWSTR Get() const { return base_; }

 private:
  WCHAR tag_[kTagCapacity];
  LPCWSTR base_;
};

DWORD CurrentSession() {
  const CTerminalServices services;
  const int session = services.IsAvailable() ? services.GetSessionId() : -1;
  return session == -1 ? 0 : static_cast<DWORD>(session);
}

}  // namespace

void GetObjectPrefix(LPWSTR output, int capacity) {
  const LPCWSTR tag = kShortTag[0] == '~' ? kShortTag + 1 : kShortTag;
  FormatName(output, capacity, TEXT("%s%d"), tag, kMajorVersion);
}

void MakeObjectName(int scope, LPCWSTR typeWord, LPCWSTR base, LPWSTR output, int capacity) {
  if (output == nullptr || capacity <= 0) return;
  output[0] = 0;
  if (capacity < kObjectNameMinimum || (scope != ObjectScopeGlobal && scope != ObjectScopeLocal))
    return;
  WCHAR prefix[kPrefixCapacity];
  GetObjectPrefix(prefix, kPrefixCapacity);
  const LPCWSTR word = kScopeWords[scope];
  FormatName(output, capacity, TEXT("%s\\%s_%s%s_%s"), word, prefix, word, typeWord,
             base == nullptr ? TEXT("") : base);
}

void MakeWndClassName(LPCWSTR base, LPWSTR output, int capacity) {
  WCHAR prefix[kPrefixCapacity];
  GetObjectPrefix(prefix, kPrefixCapacity);
  FormatName(output, capacity, TEXT("%s_%s%s"), prefix, BaseName(base).Get(), TEXT("WndClass"));
}

void MakePipeName(LPCWSTR server, LPCWSTR base, int session, LPWSTR output, int capacity) {
  if (output == nullptr || capacity <= 0) return;
  output[0] = 0;
  if (capacity < kPipeNameMinimum) return;
  WCHAR prefix[kPrefixCapacity];
  GetObjectPrefix(prefix, kPrefixCapacity);
  FormatName(output, capacity, TEXT("\\\\%s\\pipe\\%s_%s"),
             View(server).empty() ? TEXT(".") : server, prefix, BaseName(base).Get());
  if (session != SessionNone && output[0] != 0) MakeSessionName(output, session, output, capacity);
}

WCHAR MakeSessionName(LPCWSTR name, int session, LPWSTR output, int capacity) {
  if (output == nullptr || capacity <= 0) return 0;
  if (output != name) output[0] = 0;
  if (name == nullptr) return 0;
  const DWORD number = session == SessionCurrent ? CurrentSession() : static_cast<DWORD>(session);
  if (output != name) {
    FormatName(output, capacity, TEXT("%s_%08X"), name, number);
  } else if (!AppendText(output, static_cast<size_t>(capacity), TEXT("_%08X"), number)) {
    output[0] = 0;
  }
  return output[0];
}

void MakeProductName(LPCWSTR text, LPWSTR output, int capacity) {
  WCHAR prefix[kPrefixCapacity];
  GetObjectPrefix(prefix, kPrefixCapacity);
  if (text == nullptr) text = TEXT("");
  if (View(text).find(TEXT("%s")) != WideView::npos) {
    FormatProductName(text, prefix, output, capacity);
  } else {
    FormatName(output, capacity, TEXT("%s%s"), prefix, text);
  }
}

CEventName::CEventName(int scope, LPCWSTR base) {
  MakeObjectName(scope, TEXT("Event"), base, name_, MAX_PATH);
}

CMutexName::CMutexName(int scope, LPCWSTR base) {
  MakeObjectName(scope, TEXT("Mutex"), base, name_, MAX_PATH);
}

CSharedMemoryName::CSharedMemoryName(int scope, LPCWSTR base) {
  MakeObjectName(scope, TEXT("SharedMemory"), base, name_, MAX_PATH);
}

CPipeName::CPipeName(LPCWSTR server, LPCWSTR base, int session) {
  MakePipeName(server, base, session, name_, MAX_PATH);
}

CWndClassName::CWndClassName(LPCWSTR base) {
  MakeWndClassName(base, name_, MAX_PATH);
}

}  // namespace kv
