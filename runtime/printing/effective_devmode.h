// The settings that apply to a printer for a user.
#pragma once

#include "runtime/printing/product_devmode.h"

namespace kv {

// Where a setting can come from; each later layer wins over the earlier ones for what it carries.
enum class SettingsLayer {
  kDefaults,       // the product's
  kPrinter,        // the spooler's device mode of the printer (Windows NT 4)
  kSpoolerGlobal,  // the spooler's for all users (Windows 2000 and later)
  kSpoolerUser,    // the spooler's for the calling user (Windows 2000 and later)
  kStored,         // the user's stored driver data, with those of the printer's own key
  kCaller,
  kStoredOwn,  // those of the printer's own key
};

// Is told of each layer that was there and valid, and of the result with it.
class SettingsObserver {
 public:
  // `carried` may lie at an odd address; MergeDevMode and its like read it.
  virtual void AfterLayer(SettingsLayer layer, const DEVMODEW* carried,
                          const ProductDevMode& result) = 0;

 protected:
  ~SettingsObserver() = default;
};

// Puts the settings for `printer` together in `result`. `handle` may be null, when the spooler has
// nothing to say; `user` is the name of a key below HKEY_USERS (null or empty: the current user);
// `caller` may be null, and may be the device mode in `result`, as may the printer's name. Nothing
// the spooler refuses is reported; a user whose key cannot be opened is, as by
// ReadUserPrinterSettings.
void GetEffectiveDevMode(HANDLE handle, LPCWSTR user, LPCWSTR printer, const DEVMODEW* caller,
                         ProductDevMode& result, SettingsObserver* observer = nullptr);

}  // namespace kv
