#include <limits.h>

#include <algorithm>
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
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr Option kPrinterOption = {TEXT("--printer"), true};
constexpr Option kTitleOption = {TEXT("--title"), true};
constexpr Option kWindowOption = {TEXT("--window"), false};
constexpr WCHAR kStandardInput[] = TEXT("-");
constexpr ULONGLONG kUnknownSize = ~ULONGLONG{0};
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

// A number of bytes as people read it; rates are bytes a second.
WideString SizeText(ULONGLONG bytes) {
  WCHAR text[kv::kNumberTextCapacity];
  kv::FormatSize(bytes, text);
  return text;
}

WideString DurationText(ULONGLONG milliseconds) {
  WCHAR text[kv::kNumberTextCapacity];
  kv::FormatDuration(static_cast<DWORD>(std::min<ULONGLONG>(milliseconds, 0xFFFFFFFF)), text);
  return text;
}

ULONGLONG Rate(ULONGLONG bytes, DWORD milliseconds) {
  return bytes * 1000 / std::max<DWORD>(milliseconds, 1);
}

// "file: 42 %, 3.5 MB/s, 12 sec left" on a terminal, not more often than people can read.
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
    const DWORD now = GetTickCount();
    if (!visible_ || now - lastTime_ < kProgressInterval) return TRUE;
    lastTime_ = now;
    const WideString line = Line(done, Rate(done, now - start_));
    // A shorter line leaves nothing of a longer one.
    PrintStatus(TEXT("\r") + Padded(line, width_));
    width_ = std::max(width_, line.size() + 2);
    return TRUE;
  }

 private:
  WideString Line(ULONGLONG done, ULONGLONG rate) const {
    const WideString speed = SizeText(rate);
    if (size_ == kUnknownSize) {
      return Text(IDS_CTL_PRINT_PROGRESS_OPEN, file_, SizeText(done).c_str(), speed.c_str());
    }
    const ULONGLONG left = done >= size_ || rate == 0 ? 0 : (size_ - done) * 1000 / rate;
    return Text(IDS_CTL_PRINT_PROGRESS, file_,
                Number(size_ == 0 ? 100 : std::min<ULONGLONG>(done * 100 / size_, 100)).c_str(),
                speed.c_str(), DurationText(left).c_str());
  }

  LPCWSTR file_;
  ULONGLONG size_;
  bool visible_;
  size_t width_ = 0;  // of what stands on the line
  DWORD start_ = GetTickCount(), lastTime_ = start_;
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
    if (size_ != kUnknownSize) {
      window_.SetPos(static_cast<int>(
          size_ == 0 ? kSteps : std::min<ULONGLONG>(done * kSteps / size_, kSteps)));
    }
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

// What became of the files: a line each and one for all of several, or for scripts a list.
class Report {
 public:
  explicit Report(const Arguments& arguments) : asJson_(arguments.Has(kJsonOption)) {
    json_.BeginList();
  }
  void Add(LPCWSTR file, const Document& document, ULONGLONG sent, DWORD milliseconds) {
    ++printed_;
    sent_ += sent;
    accepted_ += document.accepted();
    milliseconds_ += milliseconds;
    if (!asJson_) {
      PrintLine(Text(IDS_CTL_PRINTED, file, Number(document.jobId()).c_str(), Number(sent).c_str(),
                     Number(document.accepted()).c_str(), SizeText(sent).c_str(),
                     DurationText(milliseconds).c_str(),
                     SizeText(Rate(sent, milliseconds)).c_str()));
      return;
    }
    json_.BeginObject();
    json_.Add(TEXT("file"), file);
    json_.AddNumber(TEXT("job"), document.jobId());
    json_.AddNumber(TEXT("sent"), static_cast<LONGLONG>(sent));
    json_.AddNumber(TEXT("accepted"), static_cast<LONGLONG>(document.accepted()));
    json_.AddNumber(TEXT("milliseconds"), milliseconds);
    json_.EndObject();
  }
  void Finish(size_t files) {
    json_.EndList();
    if (asJson_) {
      PrintLine(json_.text());
    } else if (files > 1) {
      PrintLine(Text(IDS_CTL_PRINTED_ALL, Number(printed_).c_str(), Number(files).c_str(),
                     Number(sent_).c_str(), Number(accepted_).c_str(), SizeText(sent_).c_str(),
                     DurationText(milliseconds_).c_str(),
                     SizeText(Rate(sent_, milliseconds_)).c_str()));
    }
  }

 private:
  bool asJson_;
  JsonWriter json_;
  size_t printed_ = 0;
  ULONGLONG sent_ = 0, accepted_ = 0;
  DWORD milliseconds_ = 0;
};

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
      // So ends a pipe.
      if (GetLastError() == ERROR_BROKEN_PIPE) return TRUE;
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

// A file that is open for reading; "-" is the standard input, which has no size and stays open.
struct Source {
  LPCWSTR name;  // for people
  HANDLE handle;
  ULONGLONG size;
};

ULONGLONG SizeOf(HANDLE file) {
  LARGE_INTEGER size = {};
  return GetFileSizeEx(file, &size) ? static_cast<ULONGLONG>(size.QuadPart) : kUnknownSize;
}

// Sends what the source holds as a job; FALSE after a message.
BOOL Send(const Source& source, LPCWSTR printerName, const WideString& title,
          const Arguments& arguments, Report& report) {
  const DWORD start = GetTickCount();
  Document document;
  if (!document.Start(printerName, title)) {
    PrintLastError(IDS_CTL_CANNOT_START_JOB, printerName);
    return FALSE;
  }
  ULONGLONG sent = 0;
  {
    const std::unique_ptr<Progress> progress = MakeProgress(arguments, source.name, source.size);
    if (!WriteBlocks(source.name, source.handle, printerName, document, *progress, sent)) {
      return FALSE;
    }
  }
  if (!document.End()) {
    PrintLastError(IDS_CTL_CANNOT_END_JOB, printerName);
    return FALSE;
  }
  report.Add(source.name, document, sent, GetTickCount() - start);
  return TRUE;
}

BOOL PrintOne(const WideString& path, LPCWSTR printerName, const Arguments& arguments,
              Report& report) {
  WideString title = arguments.Value(kTitleOption);
  if (path == kStandardInput) {
    const WideString name = Text(IDS_CTL_STANDARD_INPUT);
    if (title.empty()) title = name;
    return Send({name.c_str(), GetStdHandle(STD_INPUT_HANDLE), kUnknownSize}, printerName, title,
                arguments, report);
  }
  const kv::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) {
    PrintLastError(IDS_CTL_CANNOT_OPEN, path.c_str());
    return FALSE;
  }
  if (title.empty()) title = kv::GetFileName(path.c_str());
  return Send({path.c_str(), file.Get(), SizeOf(file.Get())}, printerName, title, arguments,
              report);
}

ExitStatus PrintFiles(const Arguments& arguments) {
  WideString printer = arguments.Value(kPrinterOption);
  if (printer.empty()) printer = FindPrinterOnPort();
  if (printer.empty()) return kFailed;
  Report report(arguments);
  ExitStatus status = kDone;
  for (const WideString& path : arguments.operands()) {
    if (!PrintOne(path, printer.c_str(), arguments, report)) status = kFailed;
  }
  report.Finish(arguments.operands().size());
  return status;
}

constexpr Option kOptions[] = {kPrinterOption, kTitleOption, kWindowOption, kJsonOption};
constexpr Action kActions[] = {{nullptr, kOptions, 1, INT_MAX, PrintFiles}};

}  // namespace

const Command kPrintCommand = {TEXT("print"), IDS_CTL_PRINT_SUMMARY, IDS_CTL_PRINT_USAGE, kActions};

}  // namespace kvctl
