// ASCII85, the base-85 encoding of PostScript.
#include <array>

#include "runtime/files/file.h"

namespace kv {
namespace {

constexpr DWORD kBase = 85;
constexpr DWORD kPairs = kBase * kBase;
constexpr DWORD kGroup = 4;
constexpr DWORD kDigits = 5;
constexpr char kFirstDigit = '!';
constexpr char kZeroGroup = 'z';

struct DigitPair {
  char high;
  char low;
};

constexpr std::array<DigitPair, kPairs> MakePairs() {
  std::array<DigitPair, kPairs> pairs = {};
  for (DWORD i = 0; i < kPairs; ++i) {
    pairs[i] = {static_cast<char>(kFirstDigit + i / kBase),
                static_cast<char>(kFirstDigit + i % kBase)};
  }
  return pairs;
}
constexpr std::array<DigitPair, kPairs> kDigitPairs = MakePairs();

void EncodeGroup(DWORD value, char* digits) {
  const DWORD rest = value / kPairs;
  const DigitPair middle = kDigitPairs[rest % kPairs], last = kDigitPairs[value % kPairs];
  digits[0] = static_cast<char>(kFirstDigit + rest / kPairs);
  digits[1] = middle.high;
  digits[2] = middle.low;
  digits[3] = last.high;
  digits[4] = last.low;
}

DWORD BigEndian(const BYTE* bytes) {
  return DWORD{bytes[0]} << 24 | DWORD{bytes[1]} << 16 | DWORD{bytes[2]} << 8 | DWORD{bytes[3]};
}

// Encodes into a buffer of its own and writes that whenever it is full.
class Ascii85Writer {
 public:
  Ascii85Writer(File& file, DWORD lineLength) : file_(file), lineLength_(lineLength) {}

  BOOL WriteGroup(DWORD value) {
    if (!BeginGroup()) return FALSE;
    if (value == 0) {
      Put(kZeroGroup);
      return TRUE;
    }
    EncodeGroup(value, buffer_ + used_);
    used_ += kDigits;
    column_ += kDigits;
    return TRUE;
  }

  // A last group of 1 to 3 bytes has one digit more than bytes.
  BOOL WriteLastGroup(const BYTE* bytes, DWORD count) {
    if (!BeginGroup()) return FALSE;
    BYTE padded[kGroup] = {};
    for (DWORD i = 0; i < count; ++i) padded[i] = bytes[i];
    char digits[kDigits];
    EncodeGroup(BigEndian(padded), digits);
    for (DWORD i = 0; i <= count; ++i) Put(digits[i]);
    return TRUE;
  }

  BOOL Finish() {
    if (!MakeRoom()) return FALSE;
    for (const char c : {'~', '>', '\r', '\n'}) Put(c);
    return Flush();
  }

 private:
  static constexpr DWORD kCapacity = 16384;
  // The most that one step puts in: a line break and a group.
  static constexpr DWORD kStep = 2 + kDigits;

  void Put(char c) {
    buffer_[used_++] = c;
    ++column_;
  }

  BOOL BeginGroup() {
    if (!MakeRoom()) return FALSE;
    if (lineLength_ == 0 || column_ < lineLength_) return TRUE;
    Put('\r');
    Put('\n');
    column_ = 0;
    return TRUE;
  }

  BOOL MakeRoom() { return used_ + kStep <= kCapacity || Flush(); }

  BOOL Flush() {
    const DWORD size = used_;
    used_ = 0;
    return file_.Write(buffer_, size);
  }

  File& file_;
  const DWORD lineLength_;
  DWORD column_ = 0;
  DWORD used_ = 0;
  char buffer_[kCapacity];
};

}  // namespace

BOOL File::WriteAscii85(const void* data, DWORD size, DWORD lineLength) {
  const BYTE* bytes = static_cast<const BYTE*>(data);
  Ascii85Writer writer(*this, lineLength);
  for (; size >= kGroup; size -= kGroup, bytes += kGroup) {
    if (!writer.WriteGroup(BigEndian(bytes))) return FALSE;
  }
  if (size > 0 && !writer.WriteLastGroup(bytes, size)) return FALSE;
  return writer.Finish();
}

}  // namespace kv
