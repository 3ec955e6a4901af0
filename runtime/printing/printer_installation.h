// Putting the product's printer on the machine.
#pragma once

#include "runtime/core/win.h"

namespace kv {

// Creates a printer on `port`, which the product's monitor is installed for when it is missing and
// belongs to this machine; where that fails, with its own message, the printer is tried all the
// same. `driver` is the name of an installed printer driver; null takes the
// product's own. The default printer does not change. TRUE also when there is a printer of that
// name; FALSE after the message 12094, with the spooler's last error.
BOOL AddProductPrinter(LPCWSTR printer, LPCWSTR port, LPCWSTR driver = nullptr);

// The same, and stores `paperId` (0: none) as the calling user's paper unless the user has chosen
// one, or that cannot be told. A printer of another server ("\\server\printer") is connected to
// instead; FALSE, without a message and with the spooler's last error, when that fails.
BOOL CreateProductPrinter(LPCWSTR printer, LPCWSTR port, WORD paperId, LPCWSTR driver = nullptr);

// Makes a paper the calling user's for a product printer; a size that belonged to another paper
// goes. Failures are silent.
void StorePaperSize(LPCWSTR printer, WORD paperId);

}  // namespace kv
