#include "runtime/printing/spooler_printers.h"

#include <new>

#include "runtime/printing/connection_name.h"
#include "runtime/printing/printer_details.h"
#include "runtime/text/text.h"

namespace kv {

BOOL SpoolerPrinters::Load(DWORD flags, LPCWSTR name) {
  const LPWSTR server = const_cast<LPWSTR>(name);
  DWORD size = 0, count = 0;
  EnumPrintersW(flags, server, 2, nullptr, 0, &size, &count);
  if (size == 0) return FALSE;
  records_.reset(new (std::nothrow) BYTE[size]);
  if (records_ == nullptr) return FALSE;
  if (!EnumPrintersW(flags, server, 2, records_.get(), size, &size, &count)) return FALSE;
  count_ = count;
  return LoadTitles(flags);
}

// Each title costs several calls to the spooler, so that printers of this machine share those of
// their drivers.
BOOL SpoolerPrinters::LoadTitles(DWORD flags) {
  titles_.reset(new (std::nothrow) Title[count_]);
  if (titles_ == nullptr) return FALSE;
  for (DWORD i = 0; i < count_; ++i) {
    const DWORD same = FindSameDriver(i);
    if (same < i) {
      titles_[i].text = titles_[same].text;
      continue;
    }
    WCHAR title[MAX_PATH] = {};
    const LPCWSTR name = Records()[i].pPrinterName;
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
  const PRINTER_INFO_2W* const records = Records();
  if (IsConnectionName(records[index].pPrinterName)) return index;
  for (DWORD i = 0; i < index; ++i) {
    if (View(records[i].pDriverName) == View(records[index].pDriverName) &&
        !IsConnectionName(records[i].pPrinterName) && titles_[i].text[0] != 0) {
      return i;
    }
  }
  return index;
}

BOOL SpoolerPrinters::Read(DWORD index, PrinterTexts& texts) {
  const PRINTER_INFO_2W& record = Records()[index];
  const LPCWSTR server =
      IsConnectionName(record.pPrinterName) ? record.pPrinterName : record.pPortName;
  texts = {Required(record.pPrinterName), Required(record.pDriverName),
           titles_[index].text,           Required(record.pPortName),
           ServerPartOf(server),          Optional(record.pShareName)};
  return TRUE;
}

}  // namespace kv
