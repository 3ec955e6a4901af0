// Printer drivers as the machine's facts describe them: what they offer, the settings with which
// they start, and how they read device modes.
#pragma once

#include <windows.h>

#include <string>

#include "platform/spooler/level_packing.h"

namespace platform {

// Micrometres.
struct PaperForm {
  WORD id = 0;
  WideString name;
  int width = 0;
  int height = 0;
};

// What a device mode makes of a page, in device units.
struct PageMetrics {
  SIZE resolution;  // dots per inch
  SIZE paper;
  SIZE printable;
  POINT offset;  // of the printable area on the paper
  int bits_per_pixel;
};

class HostDriver {
 public:
  struct Bin {
    WORD id;
    WideString name;
  };

  explicit HostDriver(WideView name);

  // Portrait, one copy, Letter or A4 by the system's locale; private data of zeros.
  Bytes DefaultDevMode(WideView printer) const;
  // Lays what `over` carries and the driver minds over `base`. Nothing for a device mode of another
  // size; private data only of this driver's size.
  void Merge(Bytes& base, const DEVMODEW& over) const;
  PageMetrics Page(const DEVMODEW& mode) const;

  DWORD Fields() const;
  int Number(const char* what, int otherwise) const;
  std::vector<Bin> Bins() const;
  bool HasEscape(int escape) const;
  // Empty when the driver does not say.
  std::string Technology() const;

 private:
  std::string Setting(const char* what, const char* otherwise = "") const;
  std::vector<PaperForm> Forms() const;
  PaperForm FormOf(const DEVMODEW& mode) const;

  std::string prefix_;
};

}  // namespace platform
