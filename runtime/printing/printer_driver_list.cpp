#include "runtime/printing/printer_driver_list.h"

#include <new>

#include "runtime/text/wide_text.h"

namespace kv {

CPrinterDriverList::CPrinterDriverList(LPCWSTR environment) {
  if (environment == nullptr) return;
  const LPWSTR name = const_cast<LPWSTR>(environment);
  DWORD size = 0, count = 0;
  EnumPrinterDriversW(nullptr, name, 3, nullptr, 0, &size, &count);
  if (size == 0) return;
  block_.reset(new (std::nothrow) BYTE[size]);
  if (block_ != nullptr &&
      EnumPrinterDriversW(nullptr, name, 3, block_.get(), size, &size, &count)) {
    count_ = static_cast<int>(count);
  }
}

const DRIVER_INFO_3W* CPrinterDriverList::GetAt(int index) const {
  if (index < 0 || index >= count_) return nullptr;
  return reinterpret_cast<const DRIVER_INFO_3W*>(block_.get()) + index;
}

const DRIVER_INFO_3W* CPrinterDriverList::First() {
  position_ = 0;
  return Next();
}

const DRIVER_INFO_3W* CPrinterDriverList::Next() {
  return position_ < count_ ? GetAt(position_++) : nullptr;
}

int CPrinterDriverList::Find(LPCWSTR driver) const {
  for (int i = 0; i < count_; ++i) {
    if (EqualNoCase(View(GetAt(i)->pName), View(driver))) return i;
  }
  return -1;
}

BOOL CPrinterDriverList::Find(DWORD version, LPCWSTR driver) const {
  for (int i = 0; i < count_; ++i) {
    const DRIVER_INFO_3W& info = *GetAt(i);
    if ((version == 0 || info.cVersion == version) && EqualNoCase(View(info.pName), View(driver))) {
      return TRUE;
    }
  }
  return FALSE;
}

}  // namespace kv
