// The registry keys of the product's printers below a user's settings or those of the machine.
#pragma once

#include "runtime/printing/devmode.h"
#include "runtime/registry/reg_key.h"

namespace kv {

// What the product keeps of one printer. kRead opens the key for reading, kWrite makes it when it
// is missing; other modes, an empty name and one that is too long leave it closed.
class CPrinterSettingsKey : public RegKey {
 public:
  CPrinterSettingsKey(LPCWSTR printer, KeyMode mode, HKEY root = HKEY_CURRENT_USER);

  // The server printer for which a client's product printer stands; null when there is none. It
  // lies in the object's buffers.
  LPCWSTR GetServerPrinter();
};

// Whether the current user may have chosen a paper for the printer: FALSE only when there is
// certainly none in the registry.
BOOL MayHavePaperSize(LPCWSTR printer);

// How a destination prints on both sides.
enum DuplexSupport : int {
  kDuplexUnknown = -1,
  kDuplexHardware = 3,  // assumed of destinations of which nothing is known, where the user says so
};

// What the product keeps of one destination of a product printer: the printer on which its pages
// come out in the end. A null or empty destination opens the key above all of them. Modes as above;
// names that are too long for a key's path leave it closed. On a closed key nothing is stored and
// writing fails.
class CDestPrinterKey : public RegKey {
 public:
  CDestPrinterKey(LPCWSTR printer, LPCWSTR destination, KeyMode mode,
                  HKEY root = HKEY_CURRENT_USER);

  // What CPrinterDevice takes as its margin adjustment, in device units; 0 when nothing is stored.
  SIZE GetMarginAdjust();
  // The stored device mode, as it is: its `size` in bytes may be any, so that IsValidDevMode alone
  // does not make it usable. Null, with the size 0, when there is none or memory runs out.
  UniqueDevMode GetDevMode(DWORD* size);
  // Stores the ReadableDevModeSize bytes; FALSE, with ERROR_INVALID_PARAMETER, when there are none,
  // and when the registry refuses. Null deletes what is stored, if anything is.
  BOOL SetDevMode(const DEVMODEW* devMode);
  // A DuplexSupport or what else is stored.
  int GetDuplexSupport();
  // The bins of the first page and of the others, of each stored number the lower 16 bits; 0 for
  // what is not stored.
  void GetTrays(WORD& first, WORD& second);
  // FALSE, with the second one unwritten, when the first cannot be written.
  BOOL SetTrays(WORD first, WORD second);
};

}  // namespace kv
