// Printing documents.
#include <windows.h>

#include "platform/kernel/api_call.h"
#include "platform/security/token.h"
#include "platform/spooler/print_records.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/spooler.h"
#include "platform/spooler/spooler_calls.h"

#include <unistd.h>

namespace platform {
namespace {

// The printer's document; null, with ERROR_INVALID_HANDLE or ERROR_SPL_NO_STARTDOC, when there is
// none, and while the spooler does not run.
std::shared_ptr<PrintJob> JobOfHandle(HANDLE handle) {
  const auto printer = PrinterOfHandle(handle);
  if (printer == nullptr || !RequireLocalSpooler(nullptr)) return nullptr;
  if (printer->job == nullptr) SetLastError(ERROR_SPL_NO_STARTDOC);
  return printer->job;
}

// The same, which is then no longer the printer's.
std::shared_ptr<PrintJob> TakeJob(HANDLE handle) {
  auto job = JobOfHandle(handle);
  if (job != nullptr) PrinterOfHandle(handle)->job = nullptr;
  return job;
}

DWORD StartDocument(OpenPrinterState& printer, const DOC_INFO_1W& document) {
  if (printer.job != nullptr) return FailSpooler(ERROR_INVALID_PRINTER_STATE);
  if (document.pOutputFile != nullptr) return FailSpooler(ERROR_CALL_NOT_IMPLEMENTED);
  const auto record = ReadPrinter(printer.name);
  if (!record) return FailSpooler(ERROR_PRINTER_DELETED);
  if (!View(document.pDatatype).empty() && !IsDatatype(document.pDatatype)) {
    return FailSpooler(ERROR_INVALID_DATATYPE);
  }
  // The first of the printer's ports takes the document.
  const std::vector<WideString> ports = PortsOf(*record);
  auto monitor = ports.empty() ? nullptr : Spooler::Current().MonitorOfPort(ports.front());
  if (monitor == nullptr) return FailSpooler(ERROR_UNKNOWN_PORT);
  JobRecord job;
  job.printer = printer.name;
  job.document = View(document.pDocName);
  job.datatype =
      View(document.pDatatype).empty() ? printer.datatype : WideString(document.pDatatype);
  job.user = EffectiveToken()->Owner().name();
  job.process = static_cast<DWORD>(getpid());
  const bool keep = (record->attributes & PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS) != 0;
  printer.job = PrintJob::Start(std::move(monitor), ports.front(), std::move(job), keep);
  return printer.job == nullptr ? 0 : printer.job->id();
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI StartDocPrinterW(HANDLE printer, DWORD level, LPBYTE document) {
  KV_API(StartDocPrinterW, ERROR_ACCESS_DENIED, 0, printer, level, document);
  const auto open = PrinterOfHandle(printer);
  if (open == nullptr) return 0;
  if (level != 1) return FailSpooler(ERROR_INVALID_LEVEL);
  if (document == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  if (!RequireLocalSpooler(nullptr)) return 0;
  if ((open->access & PRINTER_ACCESS_USE) == 0) return FailSpooler(ERROR_ACCESS_DENIED);
  return StartDocument(*open, *reinterpret_cast<const DOC_INFO_1W*>(document));
}

BOOL WINAPI StartPagePrinter(HANDLE printer) {
  KV_API(StartPagePrinter, ERROR_SPL_NO_STARTDOC, FALSE, printer);
  return JobOfHandle(printer) != nullptr;
}

BOOL WINAPI WritePrinter(HANDLE printer, LPVOID data, DWORD size, LPDWORD written) {
  KV_API(WritePrinter, ERROR_WRITE_FAULT, FALSE, printer, data, size, written);
  if (written == nullptr) return FailSpooler(ERROR_INVALID_PARAMETER);
  *written = 0;
  const auto job = JobOfHandle(printer);
  return job != nullptr && job->Write(static_cast<const BYTE*>(data), size, *written);
}

BOOL WINAPI EndPagePrinter(HANDLE printer) {
  KV_API(EndPagePrinter, ERROR_SPL_NO_STARTDOC, FALSE, printer);
  const auto job = JobOfHandle(printer);
  return job != nullptr && job->EndPage();
}

BOOL WINAPI EndDocPrinter(HANDLE printer) {
  KV_API(EndDocPrinter, ERROR_SPL_NO_STARTDOC, FALSE, printer);
  const auto job = TakeJob(printer);
  return job != nullptr && job->End();
}

BOOL WINAPI AbortPrinter(HANDLE printer) {
  KV_API(AbortPrinter, ERROR_SPL_NO_STARTDOC, FALSE, printer);
  const auto job = TakeJob(printer);
  return job != nullptr && job->Abort();
}
