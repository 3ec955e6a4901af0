// Opening programs, documents and addresses for people.
#include <shellapi.h>
#include <windows.h>

#include <mutex>

#include "platform/control/facts.h"
#include "platform/control/shell.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/path.h"
#include "platform/kernel/programs.h"
#include "platform/kernel/result.h"
#include "platform/registry/registry.h"
#include "platform/security/rights.h"
#include "platform/security/users.h"
#include "platform/shell/address.h"

namespace platform {
namespace {

constexpr WideView kOpen = TEXT("open");
constexpr WideView kRunAs = TEXT("runas");

class Requests {
 public:
  explicit Requests(Machine&) {}
  void Add(ShellRequest request) {
    std::lock_guard lock(mutex_);
    requests_.push_back(std::move(request));
  }
  std::vector<ShellRequest> All() const {
    std::lock_guard lock(mutex_);
    return requests_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<ShellRequest> requests_;
};

bool UserAgreesToElevation() {
  if (CallerIsElevatedAdministrator()) return true;
  return FactNumber(facts::kElevationConsent, User::OfProcess().IsAdministrator()) != 0;
}

DWORD Run(const std::filesystem::path& program, const ShellRequest& request,
          const ProcessFacts& told, std::shared_ptr<Process>& process) {
  WideString line = TEXT("\"") + WideString(request.file) + TEXT("\"");
  if (!request.parameters.empty()) line += TEXT(" ") + request.parameters;
  return StartProgram(program, line, told, process);
}

DWORD RunElevated(const std::filesystem::path& program, const ShellRequest& request,
                  std::shared_ptr<Process>& process) {
  if (!UserAgreesToElevation()) return ERROR_CANCELLED;
  ProcessFacts told = FactsOfElevation(true);
  told[facts::kUserIsAdministrator].assign(1, '1');
  return Run(program, request, told, process);
}

WideString Replaced(WideString text, WideView placeholder, WideView value) {
  for (size_t at = text.find(placeholder); at != WideView::npos;
       at = text.find(placeholder, at + value.size())) {
    text.replace(at, placeholder.size(), value);
  }
  return text;
}

// Starts what the registry names for documents of this kind; a kind without a command is only
// noted.
DWORD OpenDocument(const ShellRequest& request, std::shared_ptr<Process>& process) {
  const WideView name = BaseName(request.file);
  const size_t dot = name.rfind('.');
  const RegistryKey classes = FindKey(TEXT("MACHINE\\SOFTWARE\\Classes"));
  const RegistryKey extension =
      dot == WideView::npos ? RegistryKey() : classes.Open(name.substr(dot));
  if (!extension) return ERROR_NO_ASSOCIATION;
  const WideString kind = extension.Text({});
  const WideString command =
      classes.Open(kind + TEXT("\\shell\\") + request.verb + TEXT("\\command")).Text({});
  if (kind.empty() || command.empty()) return ERROR_SUCCESS;
  const WideString line = Replaced(command, TEXT("%1"), FullPath(request.file));
  std::filesystem::path program;
  const DWORD error = FindProgramOfLine(line, program);
  return error == ERROR_SUCCESS ? StartProgram(program, line, {}, process) : error;
}

DWORD Execute(const ShellRequest& request, std::shared_ptr<Process>& process) {
  const bool elevates = EqualNoCase(request.verb, kRunAs);
  if (!elevates && !EqualNoCase(request.verb, kOpen)) return ERROR_NO_ASSOCIATION;
  if (!elevates && IsAddress(request.file)) return ERROR_SUCCESS;
  std::filesystem::path program;
  const DWORD error = FindProgram(request.file, program);
  if (error == ERROR_SUCCESS) {
    return elevates ? RunElevated(program, request, process) : Run(program, request, {}, process);
  }
  const ResolvedPath path = ResolvePath(request.file);
  if (!path.Exists()) return path.error;
  if (elevates) return ERROR_NO_ASSOCIATION;
  if (std::filesystem::is_directory(path.host)) return ERROR_SUCCESS;
  return OpenDocument(request, process);
}

DWORD ExecuteAndNote(ShellRequest request, std::shared_ptr<Process>& process) {
  if (request.verb.empty()) request.verb = kOpen;
  const DWORD error = Execute(request, process);
  if (error != ERROR_SUCCESS) return error;
  request.starts = process != nullptr;
  Machine::Current().Part<Requests>().Add(std::move(request));
  return ERROR_SUCCESS;
}

// What old programs expect in place of an error code.
INT_PTR OldError(DWORD error) {
  if (error == ERROR_NO_ASSOCIATION) return SE_ERR_NOASSOC;
  return error <= 32 ? static_cast<INT_PTR>(error) : SE_ERR_ACCESSDENIED;
}

constexpr INT_PTR kOldSuccess = 42;

}  // namespace

std::vector<ShellRequest> ShellRequests() {
  return Machine::Current().Part<Requests>().All();
}

}  // namespace platform

using namespace platform;

BOOL WINAPI ShellExecuteExW(LPSHELLEXECUTEINFOW info) {
  KV_API(ShellExecuteExW, ERROR_FILE_NOT_FOUND, FALSE, info);
  constexpr ULONG kKnown = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI;
  if (info->cbSize != sizeof(SHELLEXECUTEINFOW)) return Finish(ERROR_INVALID_PARAMETER);
  if ((info->fMask & ~kKnown) != 0 || info->lpDirectory != nullptr) {
    return Finish(ERROR_CALL_NOT_IMPLEMENTED);
  }
  info->hProcess = nullptr;
  std::shared_ptr<Process> process;
  const DWORD error =
      ExecuteAndNote({WideString(View(info->lpVerb)), WideString(View(info->lpFile)),
                      WideString(View(info->lpParameters)), info->nShow, false},
                     process);
  info->hInstApp =
      reinterpret_cast<HINSTANCE>(error == ERROR_SUCCESS ? kOldSuccess : OldError(error));
  if (process != nullptr && (info->fMask & SEE_MASK_NOCLOSEPROCESS) != 0) {
    info->hProcess = OpenHandle(std::move(process));
  }
  return Finish(error);
}

HINSTANCE WINAPI ShellExecuteW(HWND window, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters,
                               LPCWSTR directory, INT show) {
  KV_API(ShellExecuteW, ERROR_FILE_NOT_FOUND,
         reinterpret_cast<HINSTANCE>(INT_PTR{ERROR_FILE_NOT_FOUND}), window, verb, file, parameters,
         directory, show);
  std::shared_ptr<Process> process;
  DWORD error = ERROR_CALL_NOT_IMPLEMENTED;
  if (directory == nullptr) {
    error = ExecuteAndNote(
        {WideString(View(verb)), WideString(View(file)), WideString(View(parameters)), show, false},
        process);
  }
  if (!Finish(error)) return reinterpret_cast<HINSTANCE>(OldError(error));
  return reinterpret_cast<HINSTANCE>(kOldSuccess);
}
