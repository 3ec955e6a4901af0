#include "runtime/printing/effective_devmode.h"

#include "runtime/core/startup_context.h"
#include "runtime/printing/printer_devmodes.h"
#include "runtime/printing/printer_settings.h"

namespace kv {
namespace {

class LayerStack {
 public:
  LayerStack(ProductDevMode& result, SettingsObserver* observer)
      : result_(result), observer_(observer) {}

  void Tell(SettingsLayer layer, const DEVMODEW* carried) {
    if (observer_ != nullptr) observer_->AfterLayer(layer, carried, result_);
  }
  // Null is a layer that is not there.
  void Lay(SettingsLayer layer, const DEVMODEW* devMode) {
    if (!IsValidDevMode(devMode)) return;
    MergeDevMode(devMode, result_);
    Tell(layer, devMode);
  }

 private:
  ProductDevMode& result_;
  SettingsObserver* observer_;
};

void LaySpooler(HANDLE handle, LayerStack& layers) {
  UniqueDevMode devMode;
  if (startupContext.platform.ntKind == kNt4) {
    GetPrinterDevMode(handle, &devMode, Quiet::kYes);
    layers.Lay(SettingsLayer::kPrinter, devMode.get());
    return;
  }
  GetPrinterGlobalDevMode(handle, &devMode, Quiet::kYes);
  layers.Lay(SettingsLayer::kSpoolerGlobal, devMode.get());
  GetPrinterUserDevMode(handle, &devMode, Quiet::kYes);
  layers.Lay(SettingsLayer::kSpoolerUser, devMode.get());
}

}  // namespace

void GetEffectiveDevMode(HANDLE handle, LPCWSTR user, LPCWSTR printer, const DEVMODEW* caller,
                         ProductDevMode& result, SettingsObserver* observer) {
  // The arguments may lie in the result.
  ProductDevMode made;
  LayerStack layers(made, observer);
  DefaultDevMode(printer, made);
  layers.Tell(SettingsLayer::kDefaults, &made.dev);
  LaySpooler(handle, layers);
  ProductDevMode stored;
  ReadUserPrinterSettings(user, printer, kStoredOnly, stored);
  layers.Lay(SettingsLayer::kStored, &stored.dev);
  layers.Lay(SettingsLayer::kCaller, caller);
  ReadUserPrinterSettings(user, printer, kStoredOnly | kOwnPrinterKey, stored);
  layers.Lay(SettingsLayer::kStoredOwn, &stored.dev);
  result = made;
}

}  // namespace kv
