#include "runtime/printing/printer_driver_list.h"

#include "runtime/text/wide_text.h"

namespace kv {

CPrinterDriverList::CPrinterDriverList(LPCWSTR environment) {
  if (environment == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return;
  }
  drivers_.Fetch([=](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
    return EnumPrinterDriversW(nullptr, const_cast<LPWSTR>(environment), 3, buffer, size, needed,
                               count);
  });
}

const DRIVER_INFO_3W* CPrinterDriverList::GetAt(int index) const {
  if (index < 0 || index >= Count()) return nullptr;
  return drivers_.begin() + index;
}

const DRIVER_INFO_3W* CPrinterDriverList::First() {
  position_ = 0;
  return Next();
}

const DRIVER_INFO_3W* CPrinterDriverList::Next() {
  return GetAt(position_++);
}

int CPrinterDriverList::Find(LPCWSTR driver) const {
  for (int i = 0; i < Count(); ++i) {
    if (EqualNoCase(View(GetAt(i)->pName), View(driver))) return i;
  }
  return -1;
}

BOOL CPrinterDriverList::Find(DWORD version, LPCWSTR driver) const {
  for (const DRIVER_INFO_3W& info : drivers_) {
    if ((version == 0 || info.cVersion == version) && EqualNoCase(View(info.pName), View(driver))) {
      return TRUE;
    }
  }
  return FALSE;
}

}  // namespace kv
