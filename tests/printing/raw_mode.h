// Device modes laid out by hand.
#pragma once

#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

namespace kv::test {

// A device mode with `extra` private bytes, laid out by offsets.
class RawMode {
 public:
  explicit RawMode(size_t extra, WORD driver_version = 2000)
      : bytes_(sizeof(DEVMODEW) + extra), extra_(extra) {
    dev().dmSize = sizeof(DEVMODEW);
    dev().dmDriverExtra = static_cast<WORD>(extra);
    dev().dmDriverVersion = driver_version;
    dev().dmSpecVersion = 0x401;
  }
  DEVMODEW& dev() { return *reinterpret_cast<DEVMODEW*>(bytes_.data()); }
  const DEVMODEW* get() const { return reinterpret_cast<const DEVMODEW*>(bytes_.data()); }
  BYTE* At(size_t offset) { return bytes_.data() + sizeof(DEVMODEW) + offset; }
  void Put16(size_t offset, WORD value) { std::memcpy(At(offset), &value, sizeof value); }
  void Put32(size_t offset, DWORD value) { std::memcpy(At(offset), &value, sizeof value); }
  void PutText(size_t offset, const std::string& text, bool wide) {
    for (size_t i = 0; i < text.size(); ++i) At(offset)[wide ? 2 * i : i] = text[i];
  }
  // "KV" and the layout's number.
  void Sign(int layout) {
    At(0)[0] = 'K';
    At(0)[1] = 'V';
    if (layout >= 0) Put16(2, static_cast<WORD>(layout));
  }
  size_t extra() const { return extra_; }

 private:
  std::vector<BYTE> bytes_;
  size_t extra_;
};

// A copy of a device mode, narrow or wide, at an odd address, as blocks of others may hold it.
template <class DevMode>
class OddCopy {
 public:
  explicit OddCopy(const DevMode& mode) : bytes_(sizeof mode + mode.dmDriverExtra + 1) {
    std::memcpy(bytes_.data() + 1, &mode, bytes_.size() - 1);
  }
  const DevMode* get() const { return reinterpret_cast<const DevMode*>(bytes_.data() + 1); }

 private:
  std::vector<BYTE> bytes_;
};

}  // namespace kv::test
