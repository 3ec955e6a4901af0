// A printer, the settings to print with, its page, and its paper bins.
//
// Everything that is missing (a printer that cannot be opened, a driver that refuses) leaves its
// part of the object empty; what depends on it then answers zeros or the default named. Sizes are
// in device units of the context unless they say otherwise; what does not fit into 32 bits is the
// nearest number that does. Nothing is reported but the copying of a device mode for which there is
// no memory. Device modes of callers are taken as devmode.h says. An object belongs to one thread.
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
  // `input` (may be null). Without a copy of `input`, which it refuses when it cannot be read, the
  // object has no device mode. `context` (may be null: one is created) stays the caller's.
  //
  // Where the printer, the device mode or the context is missing, the last error says why: that of
  // the system, ERROR_INVALID_PRINTER_NAME for no name, ERROR_NOT_ENOUGH_MEMORY,
  // ERROR_INVALID_PARAMETER for an `input` that cannot be read, ERROR_INVALID_DATA for a driver
  // that claims to have written more than it asked room for.
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
  // Belongs to the object, at the same address until ShowProperties needs more room for what the
  // driver gives; null when the driver gave none.
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

  // The paper's id, its size, and its size in micrometres; each may be null. Zeros without a device
  // mode (the id), a context (the sizes) or its resolution (micrometres, which are 0 as well where
  // they have more than 31 bits).
  void GetPaper(WORD* id, SIZE* size, SIZE* micrometres) const;
  short GetOrientation() const;    // DMORIENT_PORTRAIT, or DMORIENT_LANDSCAPE
  short GetDuplex() const;         // 1 when it is not set
  short GetCopies() const;         // 1 when it is not set
  short GetTTOption() const;       // 0 when it is not set
  short GetDefaultSource() const;  // 0 without a device mode
  BOOL SupportsCollate() const;
  BOOL SupportsDuplex() const;
  short GetMaxCopies() const;  // at least 1
  // DCTT_ flags; 0 when the driver does not tell.
  int trueTypeCapabilities() const { return trueTypeCapabilities_; }

  // How many bins the driver lists; 0 also when memory runs out, and for more than their ids can
  // tell apart (65535). The list is asked for once and kept.
  DWORD GetBinCount();
  // A bin's id and name (kBinNameLength + 1 characters, terminated); both are 0 for an index that
  // there is not. TRUE when neither is 0.
  BOOL GetBin(DWORD index, WORD* id, WCHAR (&name)[kBinNameLength + 1]);

  // Setters of the device mode; FALSE without one (ERROR_INVALID_HANDLE). Those that take an Apply
  // are TRUE when the setting already is so, or without a context or Apply; else all give the
  // result of ApplyDevMode, FALSE without a context. Where it is not said otherwise the setting is
  // stored whatever the answer.
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
  // FALSE, with nothing stored, for more than the driver's maximum (ERROR_INVALID_PARAMETER).
  BOOL SetCopies(short copies);
  // TRUE, with nothing stored, for 0.
  BOOL SetTTOption(short option);
  // Takes paper size, orientation, width and length over from `source`, as far as it carries them,
  // and lets the context follow. Nothing without a device mode or a valid `source`.
  void ApplyPaperFrom(const DEVMODEW* source);

  // Lets the context follow the device mode, an owned one by a new one if need be, and with
  // `refresh` reads the page again. FALSE without a device mode or context (ERROR_INVALID_HANDLE),
  // and on failure, with what the system left as last error; an owned context is then gone.
  enum class Refresh : bool { kNo, kYes };
  BOOL ApplyDevMode(Refresh refresh);

  // Lets the user edit `devMode` (null: the object's own) in the driver's dialog. What the user
  // confirms becomes the object's device mode, which is returned; the context does not follow yet.
  // Null, and the object keeps the settings that it has: ERROR_CANCELLED; ERROR_INVALID_HANDLE
  // without a printer or device mode; no dialog without memory (ERROR_NOT_ENOUGH_MEMORY) and for a
  // `devMode` that cannot be read (ERROR_INVALID_PARAMETER); ERROR_INVALID_DATA as when opening;
  // else what the driver left.
  const DEVMODEW* ShowProperties(HWND owner, const DEVMODEW* devMode);

 private:
  void Open(int openMode);
  void AskDriver(const DEVMODEW* input);
  // Lets the driver make the object's device mode of `input` (null: none); the answer of
  // DocumentPropertiesW, below 0 as well when it was not called. A cancelled prompt changes
  // nothing.
  LONG FillFromDriver(HWND owner, const DEVMODEW* input, DWORD mode);
  void Adopt(UniqueDevMode settings, LONG size);
  // FALSE, with ERROR_INVALID_HANDLE, for what needs a part that is missing.
  static BOOL RefuseWithoutParts();
  int Capability(WORD capability, LPWSTR output = nullptr) const;
  BOOL HasEscape(int escape) const;
  SIZE OfContext(const SIZE& pair) const { return context_ == nullptr ? SIZE{0, 0} : pair; }
  void CreateContext();
  void DropOwnedContext();
  void ReadMetrics();
  // Leaves no bins where there is no table to be had.
  void BuildBinTable();
  BOOL HasField(DWORD flag) const {
    return devMode_ != nullptr && (devMode_->dmFields & flag) != 0;
  }
  void StorePaperSize(short id);
  // Stores a setting; FALSE when it is so already.
  BOOL Store(DWORD flag, short& field, short value);
  BOOL ApplyNow() { return ApplyDevMode(Refresh::kNo); }
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

// Whether a device can be opened and its driver gives settings for it; if not, the last error says
// why, as behind the constructor.
BOOL IsPrinterUsable(LPCWSTR device);

}  // namespace kv
