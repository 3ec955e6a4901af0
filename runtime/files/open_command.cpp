#include "runtime/files/open_command.h"

#include <iterator>
#include <new>

#include "runtime/files/registry_text.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kClassCapacity = 256;
constexpr int kCommandCapacity = 1024;
constexpr WCHAR kOpenCommand[] = TEXT("%s\\shell\\open\\command");

// The open command of an extension with its "."; FALSE when there is none.
BOOL ReadOpenCommand(LPCWSTR extension, WCHAR (&command)[kCommandCapacity]) {
  command[0] = 0;
  RegKey key;
  WCHAR className[kClassCapacity], path[kClassCapacity + std::size(kOpenCommand)];
  if (View(extension).empty() || !key.OpenKey(KEY_READ, HKEY_CLASSES_ROOT, extension) ||
      key.ReadDefaultString(className, kClassCapacity, Expand::kNo) == 0) {
    return FALSE;
  }
  return FormatText(path, kOpenCommand, static_cast<LPCWSTR>(className)) &&
         key.OpenKey(KEY_READ, HKEY_CLASSES_ROOT, path) &&
         ReadWholeString(key, nullptr, command, kCommandCapacity, Expand::kYes);
}

}  // namespace

std::unique_ptr<WCHAR[]> GetOpenCommandProgram(LPCWSTR extension) {
  WCHAR dotted[kClassCapacity], command[kCommandCapacity];
  const LPCWSTR format = View(extension).starts_with('.') ? TEXT("%s") : TEXT(".%s");
  if (View(extension).empty() || !FormatText(dotted, format, extension) ||
      !ReadOpenCommand(dotted, command)) {
    return nullptr;
  }
  WideView program = command;
  if (program.front() == '"') {
    program.remove_prefix(1);
    program = program.substr(0, program.find('"'));
  } else {
    program = program.substr(0, program.find(' '));
  }
  std::unique_ptr<WCHAR[]> copy(new (std::nothrow) WCHAR[program.size() + 1]);
  if (copy != nullptr) copy[program.copy(copy.get(), program.size())] = 0;
  return copy;
}

BOOL GetQuotedOpenProgram(LPCWSTR extension, WCHAR (&program)[MAX_PATH]) {
  WCHAR command[kCommandCapacity];
  const BOOL isThere = ReadOpenCommand(extension, command);
  program[0] = 0;
  if (!isThere) return FALSE;
  const WideView view = command;
  const size_t open = view.find('"');
  if (open == WideView::npos) return FALSE;
  const size_t close = view.find('"', open + 1);
  if (close == WideView::npos || close - open - 1 >= MAX_PATH) return FALSE;
  program[view.substr(open + 1, close - open - 1).copy(program, MAX_PATH - 1)] = 0;
  return program[0] != 0;
}

}  // namespace kv
