#include "runtime/files/file_report.h"

#include "runtime/core/error_text.h"
#include "runtime/core/messages.h"

namespace kv {

BOOL ReportFileError(UINT number, LPCWSTR fileName, DWORD error) {
  WCHAR suffix[kErrorTextCapacity] = {};
  GetErrorSuffix(error, suffix, kErrorTextCapacity);
  ShowError(number, fileName, suffix);
  return FailWith(error);
}

}  // namespace kv
