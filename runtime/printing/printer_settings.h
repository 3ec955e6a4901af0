// The product's settings of a printer for a user, as named values in the registry.
//
// They lie below the user's settings in the printer's own key and in its sub-key of driver data.
// Registry failures are silent: what cannot be read stays as it was. Arguments may lie in the
// device mode that is filled.
#pragma once

#include "runtime/printing/product_devmode.h"

namespace kv {

// What is read, as bits.
enum SettingsKind : DWORD {
  kStoredOnly = 1,     // only what is stored carries flags, nothing of the defaults does
  kOwnPrinterKey = 2,  // from the printer's own key instead of its driver data
};

constexpr WCHAR kPrintersKey[] = TEXT("Folvaners");
constexpr WCHAR kDriverDataKey[] = TEXT("PrinterDriverData");

// The path of a printer's own key below a user's root, or of its driver data. FALSE, with an empty
// path, for a name that is empty (ERROR_INVALID_PRINTER_NAME) or with which the path would have
// more than 259 characters (ERROR_FILENAME_EXCED_RANGE). The name may be `path`.
enum class PrinterKey { kOwn, kDriverData };
BOOL MakePrinterKeyPath(LPCWSTR printer, PrinterKey which, WCHAR (&path)[MAX_PATH]);

// Fills `devMode` with the defaults and what is stored below `root` (HKEY_CURRENT_USER, or a user's
// key below HKEY_USERS). Of a stored number the lower 16 bits count, where the setting has 16;
// texts that do not fit with their terminator do not count.
void ReadPrinterSettings(HKEY root, LPCWSTR printer, DWORD kind, ProductDevMode& devMode);
// The same for a user by the key's name below HKEY_USERS (null or empty: the current user). Without
// kOwnPrinterKey what the printer's own key holds is laid over its driver data; with it only stored
// values count. A user whose key cannot be opened is reported, and the current user's is read.
void ReadUserPrinterSettings(LPCWSTR user, LPCWSTR printer, DWORD kind, ProductDevMode& devMode);

// Writes the settings that `devMode` carries as the printer's driver data; the parts of a paper
// that it does not carry are deleted. Nothing for a name of which MakePrinterKeyPath makes no path,
// or when the key cannot be made.
void WritePrinterSettings(HKEY root, LPCWSTR printer, const ProductDevMode& devMode);
void WriteUserPrinterSettings(LPCWSTR printer, const ProductDevMode& devMode);

}  // namespace kv
