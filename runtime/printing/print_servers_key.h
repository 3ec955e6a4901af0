// What this machine's print provider remembers of printers on other servers.
#pragma once

#include "runtime/registry/reg_key.h"

namespace kv {

// The provider's key of servers. Where it lies depends on the Windows version; the 9x family has
// none. It is opened, never made: kRead for reading, kWrite for reading and writing.
class CPrintServersKey : public RegKey {
 public:
  explicit CPrintServersKey(KeyMode mode);
  ~CPrintServersKey() override = default;

  // The path below this key of a connection's printer, which goes by the connection's GUID where
  // there is one; `isGuid`, when given, tells. FALSE, with an empty path, for a name that is not
  // that of a connection's printer (IsPrinterName), and when the path does not fit.
  static BOOL MakePrinterPath(LPCWSTR connection, WCHAR (&path)[MAX_PATH], BOOL* isGuid = nullptr);

  // The share name of a connected printer, in `output` of `capacity` characters; a longer one
  // counts as missing. FALSE, with an empty output, when nothing is remembered or the key is
  // closed. The connection's name may be `output`.
  BOOL GetRemotePrinterShareName(LPCWSTR connection, LPWSTR output, int capacity);
};

// The GUID text of a printer connection of the user whose key `userRoot` is (Windows Vista and
// later), in `output` of `capacity` characters. FALSE, with an empty output, when there is none and
// when it does not fit. The connection's name may be `output`.
BOOL GetPrinterConnectionGuid(HKEY userRoot, LPCWSTR connection, LPWSTR output, int capacity);

}  // namespace kv
