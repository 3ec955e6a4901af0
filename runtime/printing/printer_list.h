// The printers of the machine, collected once and then seen through changing filters.
//
// Indexes count the visible entries from 0. Every query loads the list first; a list that cannot be
// loaded answers 0, null or -1, and nothing is ever reported. Drivers' names and patterns are
// compared without regard to case. A list belongs to one thread.
#pragma once

#include <memory>

#include "runtime/printing/printer_source.h"

namespace kv {

enum PrinterState : DWORD {
  kPrinterHidden = 0,
  kPrinterShown = 1,
  kPrinterOfServer = 2,  // shown; a product printer that stands for a server printer
};

// The texts lie in the list and are good as long as its entries.
struct PrinterEntry {
  LPCWSTR name;
  LPCWSTR driver;
  LPCWSTR driverFile;  // title: without folder and extension
  LPCWSTR port;
  LPCWSTR server;  // without the backslashes in front; null for a local printer on a local port
  LPCWSTR share;   // null when it is not shared
  DWORD state;     // a PrinterState
};
static_assert(sizeof(void*) != 4 || sizeof(PrinterEntry) == 28);

class CPrinterList {
 public:
  // What EnumPrintersW takes; the usual flags are those for local printers and connections. `name`
  // may be null. The list is not loaded yet.
  explicit CPrinterList(DWORD flags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS,
                        LPCWSTR name = nullptr);
  virtual ~CPrinterList() = default;
  CPrinterList(const CPrinterList&) = delete;
  CPrinterList& operator=(const CPrinterList&) = delete;

  // What ForEach calls; FALSE ends the walk.
  virtual BOOL OnPrinter(int index, LPCWSTR name, LPCWSTR driver, LPCWSTR port);
  // Collects the printers, all of them visible. TRUE also when that was done before. FALSE, with an
  // empty list, with the spooler's last error, ERROR_NO_MORE_ITEMS when there are none, or
  // ERROR_NOT_ENOUGH_MEMORY. Printers that are added meanwhile make it ask again, five times at
  // most.
  virtual BOOL LoadPrinters();
  // Frees the entries; the next query loads them anew.
  void Clear();

  int Count();
  const PrinterEntry* GetAt(int index);
  // The places may be null; on FALSE they are cleared.
  BOOL GetInfo(int index, LPCWSTR* name, LPCWSTR* port, LPCWSTR* server, LPCWSTR* share);
  // The first visible printer of that name, without regard to case; -1 when there is none.
  int IndexOf(LPCWSTR name);
  // Null at the end.
  const PrinterEntry* First();
  const PrinterEntry* Next();
  // TRUE when OnPrinter has returned TRUE for each visible entry. OnPrinter may change the list:
  // the walk goes on with the entry at the next place, and ends with a list that was cleared.
  BOOL ForEach();

  void ShowAll();
  void HideAll();
  void ShowDriver(LPCWSTR driver);
  void HideDriver(LPCWSTR driver);
  // By the title of the driver's file; "?" stands for one character, "*" for any number.
  void ShowDriverFile(LPCWSTR pattern);
  void HideDriverFile(LPCWSTR pattern);
  // Sorts the visible entries by their names, without regard to case; hidden ones stay where they
  // are. A PrinterEntry that was handed out before shows what is sorted to its place. Nothing
  // happens when memory runs out.
  void SortByName();

  // Shows the printers of that driver only and returns their number; `name` and `port` (may be
  // null) get the first one's, or null.
  int FindFirstWithDriver(LPCWSTR driver, LPCWSTR* name, LPCWSTR* port);
  // The visible printer whose driver's file in the product's environment has the highest product
  // version (of several the first), and that driver's index in a CPrinterDriverList. FALSE, with
  // indexes of -1 and the version 0.0, when no file has a version.
  BOOL FindNewestProductDriver(int* index, int* driverIndex, WORD* major, WORD* minor);
  // Empties a combo box and adds the visible printers' names, each with its PrinterEntry as item
  // data.
  void FillComboBox(HWND comboBox);

 protected:
  // What derived lists filter: all entries, hidden ones included. The list must be loaded.
  PrinterEntry* begin() { return entries_; }
  PrinterEntry* end() { return entries_ + count_; }
  bool IsLoaded() const { return count_ != 0; }
  // A second block of `size` characters for texts, which lives until Clear or the next call; null
  // when memory runs out.
  LPWSTR AllocateServers(size_t size);

 private:
  BOOL Fill(PrinterSource& source);
  void SetStates(DWORD state);
  void SetStatesByDriver(LPCWSTR driver, DWORD state);
  void SetStatesByFile(LPCWSTR pattern, DWORD state);

  DWORD flags_;
  bool hasName_;
  std::unique_ptr<WCHAR[]> name_;
  int count_ = 0;
  std::unique_ptr<BYTE[]> block_;
  PrinterEntry* entries_ = nullptr;
  std::unique_ptr<WCHAR[]> servers_;
  int position_ = 0;
};

// Whether the user is connected to a printer of another server, or has a printer named so.
BOOL HasPrinterConnections();

}  // namespace kv
