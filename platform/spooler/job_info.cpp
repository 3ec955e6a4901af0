// What the spooler tells of its jobs.
#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/security/users.h"
#include "platform/spooler/level_packing.h"
#include "platform/spooler/print_records.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"

namespace platform {
namespace {

struct JobInfo {
  DWORD id = 0;
  WideString printer;
  WideString machine;
  WideString user;
  WideString document;
  WideString datatype;
  WideString processor;
  WideString driver;
  WideString no_text;
  Bytes devmode;
  Bytes no_security;
  DWORD status = 0;
  DWORD priority = 1;
  DWORD position = 1;
  DWORD pages = 0;
  DWORD size = 0;
  DWORD nothing = 0;
};

constexpr auto kNoText = LevelField<JobInfo>::OrNull(&JobInfo::no_text);
constexpr LevelField<JobInfo> kJob2[] = {
    &JobInfo::id,
    &JobInfo::printer,
    &JobInfo::machine,
    &JobInfo::user,
    &JobInfo::document,
    &JobInfo::user,
    &JobInfo::datatype,
    &JobInfo::processor,
    kNoText,
    &JobInfo::driver,
    &JobInfo::devmode,
    kNoText,
    &JobInfo::no_security,
    &JobInfo::status,
    &JobInfo::priority,
    &JobInfo::position,
    &JobInfo::nothing,
    &JobInfo::nothing,
    &JobInfo::pages,
    &JobInfo::size,
    // Submitted takes four of them.
    &JobInfo::nothing,
    &JobInfo::nothing,
    &JobInfo::nothing,
    &JobInfo::nothing,
    &JobInfo::nothing,
    &JobInfo::pages,
};
constexpr Level<JobInfo> kLevels[] = {{2, kJob2}};

// The printer's job; nothing when it is gone.
std::optional<JobInfo> DescribeJob(const WideString& printer_name, DWORD id) {
  const std::vector<JobRecord> queue = Spooler::Current().state().Jobs(printer_name);
  JobInfo info;
  for (const JobRecord& job : queue) {
    if (job.id != id) {
      ++info.position;
      continue;
    }
    const PrinterRecord printer = ReadPrinter(printer_name).value_or(PrinterRecord());
    info.id = id;
    info.printer = job.printer;
    info.machine = TEXT("\\\\") + ComputerName();
    info.user = job.user;
    info.document = job.document;
    info.datatype = job.datatype;
    info.processor = printer.processor;
    info.driver = printer.driver;
    info.devmode = printer.devmode;
    info.status = job.status;
    info.priority = printer.priority;
    info.pages = job.pages;
    info.size = job.bytes;
    return info;
  }
  return std::nullopt;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI GetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD size,
                    LPDWORD needed) {
  KV_API(GetJobW, ERROR_INVALID_PARAMETER, FALSE, printer, job, level, buffer, size, needed);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr) return FALSE;
  const auto fields = FieldsOfLevel<JobInfo>(kLevels, level);
  if (fields.empty() || !RequireLocalSpooler(nullptr)) return FALSE;
  const auto info = DescribeJob(open->name, job);
  if (!info) return FailSpooler(ERROR_INVALID_PARAMETER);
  return PackLevel<JobInfo>(fields, {*info}, buffer, size, needed);
}
