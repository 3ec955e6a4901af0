#include "runtime/printing/spooler_printers.h"

#include <new>

#include "runtime/core/last_error.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/printer_details.h"
#include "runtime/text/text.h"

namespace kv {

BOOL SpoolerPrinters::Load(DWORD flags, LPCWSTR name) {
  const LPWSTR server = const_cast<LPWSTR>(name);
  if (!records_.Fetch([=](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
        return EnumPrintersW(flags, server, 2, buffer, size, needed, count);
      })) {
    return FALSE;
  }
  if (Count() == 0) return FailWith(ERROR_NO_MORE_ITEMS);
  return LoadTitles(flags) || FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

// Each title costs several calls to the spooler, so that printers of this machine share those of
// their drivers.
BOOL SpoolerPrinters::LoadTitles(DWORD flags) {
  titles_.reset(new (std::nothrow) Title[Count()]);
  if (titles_ == nullptr) return FALSE;
  for (DWORD i = 0; i < Count(); ++i) {
    const DWORD same = FindSameDriver(i);
    if (same < i) {
      titles_[i].text = titles_[same].text;
      continue;
    }
    WCHAR title[MAX_PATH] = {};
    const LPCWSTR name = records_[i].pPrinterName;
    const bool isRemote = (flags & PRINTER_ENUM_NAME) != 0 && IsConnectionName(name);
    if (!isRemote) GetPrinterDriverFileTitle(name, title);
    titles_[i].own = CopyOf(title);
    titles_[i].text = titles_[i].own.get();
    if (titles_[i].text == nullptr) return FALSE;
  }
  return TRUE;
}

// The first printer of this machine with that one's driver and a known title; `index` itself when
// there is none.
DWORD SpoolerPrinters::FindSameDriver(DWORD index) const {
  if (IsConnectionName(records_[index].pPrinterName)) return index;
  for (DWORD i = 0; i < index; ++i) {
    if (View(records_[i].pDriverName) == View(records_[index].pDriverName) &&
        !IsConnectionName(records_[i].pPrinterName) && titles_[i].text[0] != 0) {
      return i;
    }
  }
  return index;
}

BOOL SpoolerPrinters::Read(DWORD index, PrinterTexts& texts) {
  const PRINTER_INFO_2W& record = records_[index];
  const LPCWSTR server =
      IsConnectionName(record.pPrinterName) ? record.pPrinterName : record.pPortName;
  texts = {Required(record.pPrinterName), Required(record.pDriverName),
           titles_[index].text,           Required(record.pPortName),
           ServerPartOf(server),          Optional(record.pShareName)};
  return TRUE;
}

}  // namespace kv
