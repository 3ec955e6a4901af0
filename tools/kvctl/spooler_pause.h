// Stopping the spooler while its files change.
#pragma once

#include <optional>

#include "runtime/printing/service_control.h"

namespace kvctl {

// The spooler, with the services that depend on it, is started again when the object goes, if it
// was stopped.
class SpoolerPause {
 public:
  SpoolerPause() = default;
  ~SpoolerPause() { End(); }
  SpoolerPause(const SpoolerPause&) = delete;
  SpoolerPause& operator=(const SpoolerPause&) = delete;

  // Stops it, once. Failures are reported.
  void Begin() {
    if (service_) return;
    service_.emplace(TEXT("spooler"), kv::ServiceAccess::kFull);
    service_->StopWithDependents();
  }
  // Starts it again, if Begin was called.
  void End() {
    if (service_) service_->StartWithDependents();
    service_.reset();
  }

 private:
  std::optional<kv::CServiceControl> service_;
};

}  // namespace kvctl
