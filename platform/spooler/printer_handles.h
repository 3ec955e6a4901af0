// Printer handles of this process. A handle is used by one thread at a time.
#pragma once

#include <windows.h>

#include <memory>

#include "platform/kernel/text.h"
#include "platform/spooler/print_job.h"

namespace platform {

struct OpenPrinterState {
  WideString name;
  ACCESS_MASK access = 0;
  WideString datatype;            // of documents that name none
  std::shared_ptr<PrintJob> job;  // null between documents
};

HANDLE OpenPrinterHandle(OpenPrinterState state);
// Null, with ERROR_INVALID_HANDLE, for what is no open printer.
std::shared_ptr<OpenPrinterState> PrinterOfHandle(HANDLE handle);
// Takes the printer out of the table; null as above.
std::shared_ptr<OpenPrinterState> ClosePrinterHandle(HANDLE handle);

}  // namespace platform
