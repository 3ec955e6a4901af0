// The names that make window messages unique to the product version and window properties unique to
// the loaded copy.
#pragma once

#include "runtime/core/win.h"

namespace kv {

class InstanceName {
 public:
  // Copies `source`; creates fresh names when it is null: a new UUID, or where the system cannot
  // make a globally unique one, a text with the time in seconds and a zero `guid`.
  explicit InstanceName(const InstanceName* source = nullptr);

  // "%s-%s" of baseName and `suffix`: the name of a registered window message, the same in every
  // process of this product version. `output` holds `capacity` characters; a longer name is cut,
  // with FALSE: it may be another message's.
  BOOL MakeMessageName(LPWSTR output, int capacity, LPCWSTR suffix) const;
  // "%s-%s" of guidText and `suffix`: the name of a window property of this loaded copy, cut with
  // FALSE likewise.
  BOOL MakeUniqueName(LPWSTR output, int capacity, LPCWSTR suffix) const;
  // The number of the registered message MakeMessageName(`name`); 0 when RegisterWindowMessageW
  // fails, whose last error stays, and for one of more than 255 characters
  // (ERROR_INVALID_PARAMETER).
  UINT RegisterMessage(LPCWSTR name) const;

  const UUID& guid() const { return guid_; }
  LPCWSTR guidText() const { return guidText_; }
  LPCWSTR baseName() const { return baseName_; }

 private:
  void CreateGuid();

  UUID guid_;
  WCHAR guidText_[37];
  WCHAR baseName_[80];
};

}  // namespace kv
