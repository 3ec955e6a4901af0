#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/ipc/administrator.h"
#include "runtime/printing/default_printer.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/printing/printer_info.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr Option kAllUsersOption = {TEXT("--all-users"), false};

ExitStatus ShowDefault() {
  WCHAR name[MAX_PATH];
  if (kv::GetDefaultPrinterName(name, kv::CutAtComma::kYes) == 0) {
    PrintError(Text(IDS_CTL_NO_DEFAULT_PRINTER));
    return kFailed;
  }
  PrintLine(name);
  return kDone;
}

// The name as the spooler writes it; empty, after a message, when there is no such printer.
WideString OwnSpelling(const WideString& name) {
  kv::UniquePrinter printer;
  if (kv::OpenPrinterHandle(name.c_str(), printer.Receive(), nullptr, FALSE)) {
    if (const auto info = kv::GetPrinterInfo2(printer.Get(), kv::Quiet::kYes)) {
      return WideString(kv::View(info->pPrinterName));
    }
  }
  PrintLastError(IDS_CTL_CANNOT_OPEN_PRINTER, name.c_str());
  return {};
}

ExitStatus SetDefault(const WideString& given, bool forAllUsers) {
  const WideString name = OwnSpelling(given);
  if (name.empty()) return kFailed;
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
  if (now == name) return kDone;
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

constexpr Option kOptions[] = {kAllUsersOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 1, RunDefault}};

}  // namespace

const Command kDefaultCommand = {TEXT("default"), IDS_CTL_DEFAULT_SUMMARY, IDS_CTL_DEFAULT_USAGE,
                                 kActions};

}  // namespace kvctl
