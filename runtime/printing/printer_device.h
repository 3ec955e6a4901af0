// A printer, the settings to print with, its page, and its paper bins.
//
// Everything that is missing (a printer that cannot be opened, a driver that refuses) leaves its
// part of the object empty; what depends on it then answers zeros or the default named. Sizes are
// in device units of the context unless they say otherwise. Nothing is reported but the copying of
// a device mode for which there is no memory. An object belongs to one thread.
#pragma once

#include <memory>

#include "runtime/printing/devmode.h"

namespace kv {

constexpr int kBinNameLength = 24;  // characters; a name of that length has no terminator

struct PrinterBin {
  WORD id;
  WCHAR name[kBinNameLength];
};

// Whether a setter lets the device context follow at once.
enum class Apply : bool { kNo, kYes };

class CPrinterDevice {
 public:
  // Opens `name` (null or empty: nothing) with all rights first when `openMode` is kOpenForChange,
  // else and otherwise with default rights, and asks the driver for its settings, laid over by
  // `input` (may be null). `context` (may be null: one is created) stays the caller's.
  static constexpr int kOpenForChange = 2;
  CPrinterDevice(LPCWSTR name, int openMode, const DEVMODEW* input, HDC context);
  ~CPrinterDevice();
  CPrinterDevice(const CPrinterDevice&) = delete;
  CPrinterDevice& operator=(const CPrinterDevice&) = delete;

  // Takes a context, which stays the caller's, in place of the present one.
  void AttachDC(HDC context);
  // What to take off the printable width and height.
  void SetMarginAdjust(LONG x, LONG y);

  HANDLE printer() const { return printer_; }
  HDC dc() const { return context_; }
  LPCWSTR deviceName() const { return deviceName_.get(); }
  // Belongs to the object; null when the driver gave none.
  const DEVMODEW* devMode() const { return devMode_.get(); }

  SIZE resolution() const { return OfContext(resolution_); }  // dpi
  WORD verticalResolution() const { return static_cast<WORD>(resolution().cy); }
  SIZE physicalSize() const { return OfContext(physicalSize_); }
  SIZE printableSize() const { return OfContext(printableSize_); }
  SIZE physicalOffset() const { return OfContext(physicalOffset_); }
  // The paper, and its printable area, in the context's coordinates.
  RECT GetPaperRect() const;
  RECT GetPrintableRect() const;
  // The largest rectangle centred on the paper that lies in the printable area.
  RECT GetCenteredPrintableRect() const;
  // The height of a line in the context's font with the space below it.
  int GetLineHeight() const;
  BOOL IsPostScript() const;
  BOOL SupportsClipToPath() const;

  // The paper's id, its size, and its size in micrometres; zeros without a device mode (the id) or
  // a context (the sizes).
  void GetPaper(WORD* id, SIZE* size, SIZE* micrometres) const;
  short GetOrientation() const;    // DMORIENT_PORTRAIT, or DMORIENT_LANDSCAPE
  short GetDuplex() const;         // 1 when it is not set
  short GetCopies() const;         // 1 when it is not set
  short GetTTOption() const;       // 0 when it is not set
  short GetDefaultSource() const;  // 0 without a device mode
  BOOL SupportsCollate() const;
  BOOL SupportsDuplex() const;
  short GetMaxCopies() const;  // at least 1
  int trueTypeCapabilities() const { return trueTypeCapabilities_; }

  // How many bins the driver lists; 0 also when memory runs out.
  DWORD GetBinCount();
  // A bin's id and name (kBinNameLength + 1 characters, terminated); both are 0 for an index that
  // there is not. TRUE when neither is 0.
  BOOL GetBin(DWORD index, WORD* id, WCHAR (&name)[kBinNameLength + 1]);

  // Setters of the device mode; FALSE without one. The first three are TRUE when the setting
  // already is so, or without a context or Apply; else all give the result of ApplyDevMode, FALSE
  // without a context. The setting is stored in any case.
  //
  // A paper's own size and form name are taken away with it. Ids of 256 and above are the driver's
  // and always set anew.
  BOOL SetPaperSize(short id, Apply apply);
  BOOL SetOrientation(short orientation, Apply apply);
  BOOL SetPortrait(BOOL portrait, Apply apply);
  BOOL SetDuplex(short duplex, Apply apply);
  BOOL SetDefaultSource(short source);  // TRUE when it is set already
  BOOL SetCollate(short collate);
  BOOL SetColor(short color);
  // FALSE, with nothing stored, for more than the driver's maximum.
  BOOL SetCopies(short copies);
  // TRUE, with nothing stored, for 0.
  BOOL SetTTOption(short option);
  // Takes paper size, orientation, width and length over from `source`, as far as it carries them,
  // and lets the context follow.
  void ApplyPaperFrom(const DEVMODEW* source);

  // Lets the context follow the device mode, an owned one by a new one if need be, and with
  // `refresh` reads the page again. FALSE without a device mode or context, and on failure; an
  // owned context is then gone.
  enum class Refresh : bool { kNo, kYes };
  BOOL ApplyDevMode(Refresh refresh);

  // Lets the user edit `devMode` (null: the object's own) in the driver's dialog. What the user
  // confirms becomes the object's device mode, which is returned; null when it was cancelled or
  // without a printer or device mode.
  const DEVMODEW* ShowProperties(HWND owner, const DEVMODEW* devMode);

 private:
  void Open(int openMode);
  void AskDriver(const DEVMODEW* input);
  int Capability(WORD capability, LPWSTR output = nullptr) const;
  BOOL HasEscape(int escape) const;
  SIZE OfContext(const SIZE& pair) const { return context_ == nullptr ? SIZE{0, 0} : pair; }
  void CreateContext();
  void DropOwnedContext();
  void ReadMetrics();
  BOOL BuildBinTable();
  BOOL HasField(DWORD flag) const {
    return devMode_ != nullptr && (devMode_->dmFields & flag) != 0;
  }
  void StorePaperSize(short id);
  // Stores a setting; FALSE when it is so already.
  BOOL Store(DWORD flag, short& field, short value);
  BOOL ApplyNow() { return context_ != nullptr && ApplyDevMode(Refresh::kNo); }
  BOOL ApplyIfAsked(Apply apply);

  DWORD fieldsSupported_ = 0;
  HDC context_ = nullptr;
  BOOL ownsContext_ = FALSE;
  HANDLE printer_ = nullptr;
  std::unique_ptr<WCHAR[]> deviceName_;
  std::unique_ptr<WCHAR[]> portName_;
  SIZE marginAdjust_ = {};
  LONG devModeSize_ = 0;
  UniqueDevMode devMode_;
  SIZE resolution_ = {};
  SIZE physicalSize_ = {};
  SIZE printableSize_ = {};
  SIZE physicalOffset_ = {};
  DWORD binCount_ = 0;
  std::unique_ptr<PrinterBin[]> bins_;
  int trueTypeCapabilities_ = 0;
};

// Whether a device can be opened and its driver gives settings for it.
BOOL IsPrinterUsable(LPCWSTR device);

}  // namespace kv
