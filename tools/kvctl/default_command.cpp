#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/printer_handle.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr WCHAR kAllUsersOption[] = TEXT("--all-users");
constexpr Option kOptions[] = {{kAllUsersOption, false}};

ExitStatus ShowDefault() {
  WCHAR name[MAX_PATH];
  if (kv::GetDefaultPrinterName(name, kv::CutAtComma::kYes) == 0) {
    PrintError(Text(IDS_CTL_NO_DEFAULT_PRINTER));
    return kFailed;
  }
  PrintLine(name);
  return kDone;
}

ExitStatus SetDefault(const WideString& name, bool forAllUsers) {
  kv::UniquePrinter printer;
  if (!kv::OpenPrinterHandle(name.c_str(), printer.Receive(), nullptr, FALSE)) {
    PrintLastError(IDS_CTL_CANNOT_OPEN_PRINTER, name.c_str());
    return kFailed;
  }
  if (forAllUsers && kv::IsAdministrator(nullptr, nullptr) < 1) {
    PrintError(Text(IDS_CTL_DEFAULT_NEEDS_RIGHTS));
    return kNeedsRights;
  }
  if (forAllUsers) {
    kv::SetDefaultPrinterForAllUsers(name.c_str());
  } else {
    kv::SetDefaultPrinterName(name.c_str());
  }
  WCHAR now[MAX_PATH];
  kv::GetDefaultPrinterName(now, kv::CutAtComma::kYes);
  if (kv::EqualNoCase(now, name)) return kDone;
  PrintError(Text(IDS_CTL_DEFAULT_NOT_SET, name.c_str()));
  return kFailed;
}

ExitStatus RunDefault(const Arguments& arguments) {
  const bool forAllUsers = arguments.Has(kAllUsersOption);
  if (!arguments.operands().empty()) return SetDefault(arguments.operands()[0], forAllUsers);
  if (!forAllUsers) return ShowDefault();
  PrintError(Text(IDS_CTL_OPERAND_MISSING));
  return kUsage;
}

}  // namespace

const Command kDefaultCommand = {
    TEXT("default"), IDS_CTL_DEFAULT_SUMMARY, IDS_CTL_DEFAULT_USAGE, kOptions, 0, 1, RunDefault};

}  // namespace kvctl
