#include <limits.h>

#include <memory>

#include "resources/string_ids.h"
#include "runtime/core/handles.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/paths.h"
#include "runtime/printing/printer_handle.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/text/format.h"
#include "runtime/text/number_text.h"
#include "runtime/ui/progress_window.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr WCHAR kPrinterOption[] = TEXT("--printer");
constexpr WCHAR kTitleOption[] = TEXT("--title");
constexpr WCHAR kWindowOption[] = TEXT("--window");
constexpr Option kOptions[] = {
    {kPrinterOption, true}, {kTitleOption, true}, {kWindowOption, false}};
constexpr DWORD kBlockSize = 64 * 1024;
constexpr DWORD kProgressInterval = 200;  // ms

// The first printer on the product's port; empty, after a message, when there is none.
WideString FindPrinterOnPort() {
  kv::SpoolerList<PRINTER_INFO_2W> printers;
  if (!printers.Fetch([](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, buffer, size, needed, count);
      })) {
    PrintLastError(IDS_CTL_CANNOT_LIST_PRINTERS);
    return {};
  }
  for (const PRINTER_INFO_2W& printer : printers) {
    if (kv::EqualAsciiNoCase(kv::View(printer.pPortName), kv::startupContext.portName))
      return printer.pPrinterName;
  }
  PrintError(Text(IDS_CTL_NO_PRINTER, kv::startupContext.portName));
  return {};
}

// A document on a printer; ended when the object goes, given up unless all of it was written.
class Document {
 public:
  Document() = default;
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document() {
    if (started_) AbortPrinter(printer_.Get());
  }

  BOOL Start(LPCWSTR printerName, WideString title) {
    if (!kv::OpenPrinterHandle(printerName, printer_.Receive(), nullptr, FALSE)) return FALSE;
    WCHAR dataType[] = TEXT("RAW");
    DOC_INFO_1W info = {};
    info.pDocName = title.data();
    info.pDatatype = dataType;
    jobId_ = StartDocPrinterW(printer_.Get(), 1, reinterpret_cast<BYTE*>(&info));
    started_ = jobId_ != 0;
    return started_;
  }

  BOOL Write(void* data, DWORD size) {
    DWORD written = 0;
    if (!WritePrinter(printer_.Get(), data, size, &written)) return FALSE;
    accepted_ += written;
    if (written == size) return TRUE;
    SetLastError(ERROR_WRITE_FAULT);
    return FALSE;
  }

  BOOL End() {
    if (!EndDocPrinter(printer_.Get())) return FALSE;
    started_ = false;
    return TRUE;
  }

  DWORD jobId() const { return jobId_; }
  ULONGLONG accepted() const { return accepted_; }

 private:
  kv::UniquePrinter printer_;
  DWORD jobId_ = 0;
  bool started_ = false;
  ULONGLONG accepted_ = 0;
};

// How far a file has been sent.
class Progress {
 public:
  virtual ~Progress() = default;
  // FALSE when the user wants no more.
  virtual BOOL Show(ULONGLONG done) = 0;
  // Makes room for a message.
  virtual void Clear() {}
};

// "file: 42 %" on a terminal, not more often than people can read.
class TerminalProgress : public Progress {
 public:
  TerminalProgress(LPCWSTR file, ULONGLONG size)
      : file_(file), size_(size), visible_(StatusIsVisible()) {}
  ~TerminalProgress() override { TerminalProgress::Clear(); }
  void Clear() override {
    if (width_ != 0) PrintStatus(TEXT("\r") + WideString(width_, ' ') + TEXT("\r"));
    width_ = 0;
  }
  BOOL Show(ULONGLONG done) override {
    if (!visible_ || GetTickCount() - lastTime_ < kProgressInterval) return TRUE;
    lastTime_ = GetTickCount();
    WCHAR line[MAX_PATH + 32];
    kv::FormatText(line, TEXT("\r%s: %d %%"), file_,
                   static_cast<int>(size_ == 0 ? 100 : done * 100 / size_));
    PrintStatus(line);
    width_ = kv::View(line).size();
    return TRUE;
  }

 private:
  LPCWSTR file_;
  ULONGLONG size_;
  bool visible_;
  size_t width_ = 0;  // of what stands on the line
  DWORD lastTime_ = GetTickCount();
};

// The product's progress window, with a Cancel button.
class WindowProgress : public Progress {
 public:
  WindowProgress(LPCWSTR file, ULONGLONG size) : size_(size) {
    const kv::StartupContext& context = kv::startupContext;
    exists_ = window_.Create(context.hInstance, context.hResources, TEXT("KvctlPrint"),
                             context.productName, IDI_PRODUCT, IDI_PRODUCT, TRUE, nullptr, 0, 0, 0,
                             0, nullptr, nullptr);
    window_.SetShowDelay(kWindowDelay);
    window_.SetRange(0, kSteps);
    window_.SetText(TEXT("%s"), Text(IDS_CTL_PRINTING, file).c_str());
  }
  BOOL Show(ULONGLONG done) override {
    window_.SetPos(static_cast<int>(size_ == 0 ? kSteps : done * kSteps / size_));
    return !exists_ || window_.Pump();
  }

 private:
  static constexpr int kSteps = 1000;
  static constexpr DWORD kWindowDelay = 500;  // ms

  ULONGLONG size_;
  BOOL exists_;
  kv::CProgressWnd window_;
};

std::unique_ptr<Progress> MakeProgress(const Arguments& arguments, LPCWSTR file, ULONGLONG size) {
  if (arguments.Has(kWindowOption)) return std::make_unique<WindowProgress>(file, size);
  return std::make_unique<TerminalProgress>(file, size);
}

void ReportJob(LPCWSTR file, const Document& document, ULONGLONG sent, DWORD milliseconds) {
  WCHAR size[kv::kNumberTextCapacity], duration[kv::kNumberTextCapacity],
      speed[kv::kNumberTextCapacity];
  kv::FormatSize(sent, size);
  kv::FormatDuration(milliseconds, duration);
  kv::FormatSize(sent * 1000 / std::max<DWORD>(milliseconds, 1), speed);
  PrintLine(Text(IDS_CTL_PRINTED, file, Number(document.jobId()).c_str(), Number(sent).c_str(),
                 Number(document.accepted()).c_str(), size, duration, speed));
}

// Reports the call that failed on a line of its own; FALSE.
BOOL ReportFailure(Progress& progress, UINT number, LPCWSTR name) {
  const DWORD error = GetLastError();
  progress.Clear();
  PrintSystemError(Text(number, name), error);
  return FALSE;
}

// Writes the file's bytes block by block; FALSE after a message.
BOOL WriteBlocks(LPCWSTR path, HANDLE file, LPCWSTR printerName, Document& document,
                 Progress& progress, ULONGLONG& sent) {
  const std::unique_ptr<BYTE[]> block(new BYTE[kBlockSize]);
  for (;;) {
    DWORD count = 0;
    if (!ReadFile(file, block.get(), kBlockSize, &count, nullptr)) {
      return ReportFailure(progress, IDS_CTL_CANNOT_READ, path);
    }
    if (count == 0) return TRUE;
    if (!document.Write(block.get(), count)) {
      return ReportFailure(progress, IDS_CTL_CANNOT_WRITE_JOB, printerName);
    }
    sent += count;
    if (!progress.Show(sent)) {
      PrintError(Text(IDS_CTL_PRINT_CANCELLED, path));
      return FALSE;
    }
  }
}

// Sends the file as a job; FALSE after a message.
BOOL SendFile(LPCWSTR path, HANDLE file, LPCWSTR printerName, const WideString& title,
              const Arguments& arguments) {
  LARGE_INTEGER size = {};
  GetFileSizeEx(file, &size);
  const DWORD start = GetTickCount();
  Document document;
  if (!document.Start(printerName, title)) {
    PrintLastError(IDS_CTL_CANNOT_START_JOB, printerName);
    return FALSE;
  }
  ULONGLONG sent = 0;
  {
    const std::unique_ptr<Progress> progress = MakeProgress(arguments, path, size.QuadPart);
    if (!WriteBlocks(path, file, printerName, document, *progress, sent)) return FALSE;
  }
  if (!document.End()) {
    PrintLastError(IDS_CTL_CANNOT_END_JOB, printerName);
    return FALSE;
  }
  ReportJob(path, document, sent, GetTickCount() - start);
  return TRUE;
}

BOOL PrintOneFile(LPCWSTR path, LPCWSTR printerName, const Arguments& arguments) {
  const kv::UniqueFile file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) {
    PrintLastError(IDS_CTL_CANNOT_OPEN, path);
    return FALSE;
  }
  const WideString title = arguments.Value(kTitleOption);
  return SendFile(path, file.Get(), printerName,
                  title.empty() ? WideString(kv::GetFileName(path)) : title, arguments);
}

ExitStatus PrintFiles(const Arguments& arguments) {
  WideString printer = arguments.Value(kPrinterOption);
  if (printer.empty()) printer = FindPrinterOnPort();
  if (printer.empty()) return kFailed;
  ExitStatus status = kDone;
  for (const WideString& path : arguments.operands()) {
    if (!PrintOneFile(path.c_str(), printer.c_str(), arguments)) status = kFailed;
  }
  return status;
}

}  // namespace

const Command kPrintCommand = {
    TEXT("print"), IDS_CTL_PRINT_SUMMARY, IDS_CTL_PRINT_USAGE, kOptions, 1, INT_MAX, PrintFiles};

}  // namespace kvctl
