#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "platform/kernel/api_call.h"
#include "platform/kernel/code_page.h"

// The two formatters of the C library have no entry lines: they belong to the program, not to the
// system. They also allocate nothing, so that they cannot fail where the real ones do not.
namespace platform {
namespace {

// Enough for every double with this many decimals.
constexpr int kMaxDecimals = 350;
constexpr size_t kFloatBuffer = 700;
// Characters that wvsprintfW writes at most, with the terminator.
constexpr size_t kUserLimit = 1024;

// A va_list that can be handed on by reference.
struct Arguments {
  va_list list;
};

enum class Size { kDefault, kShort, kLong, k64, kPointer };

struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  int width = 0;
  int precision = -1;
  Size size = Size::kDefault;
  char kind = 0;
};

// What the formatters differ in.
struct Dialect {
  std::string_view flags;
  std::string_view kinds;
  bool code_page_text;  // narrow text is of the ANSI code page; otherwise each byte is a character
};
constexpr Dialect kCrt{"-+ #0", "cCdiouxXpsSf", false};
constexpr Dialect kUser{"-#0", "cCdiuxXpsS", true};

template <class Char>
class Writer {
 public:
  Writer(Char* buffer, size_t capacity) : buffer_(buffer), capacity_(capacity) {}

  void Put(Char c) {
    if (length_ < capacity_) buffer_[length_] = c;
    ++length_;
  }
  void Repeat(char c, int count) {
    for (; count > 0; --count) Put(static_cast<Char>(c));
  }
  void Put(std::string_view ascii) {
    for (char c : ascii) Put(static_cast<Char>(c));
  }
  // Of the whole result, whether or not it fits.
  size_t length() const { return length_; }

  void MarkUnwritable() { writable_ = false; }
  bool writable() const { return writable_; }

 private:
  Char* buffer_;
  size_t capacity_;
  size_t length_ = 0;
  bool writable_ = true;
};

template <class Char>
class Formatter {
 public:
  Formatter(const Dialect& dialect, const Char* format, va_list arguments, Writer<Char>& out)
      : dialect_(dialect), next_(format), out_(out) {
    va_copy(arguments_.list, arguments);
  }
  ~Formatter() { va_end(arguments_.list); }

  void Run() {
    while (*next_ != 0) {
      if (*next_ != '%') {
        out_.Put(*next_++);
        continue;
      }
      ++next_;
      const Conversion conversion = Parse();
      if (conversion.kind != 0) {
        Convert(conversion);
      } else if (*next_ != 0) {
        out_.Put(*next_++);
      }
    }
  }

 private:
  bool Accept(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
      if (next_[i] != static_cast<Char>(text[i])) return false;
    }
    next_ += text.size();
    return true;
  }

  int Number() {
    if (Accept("*")) return va_arg(arguments_.list, int);
    int value = 0;
    for (; *next_ >= '0' && *next_ <= '9'; ++next_) value = value * 10 + (*next_ - '0');
    return value;
  }

  Size ParseSize() {
    if (Accept("I64") || Accept("ll")) return Size::k64;
    if (Accept("I32")) return Size::kDefault;
    if (Accept("I")) return Size::kPointer;
    if (Accept("l") || Accept("w")) return Size::kLong;
    return Accept("h") ? Size::kShort : Size::kDefault;
  }

  // What follows the per-cent sign; its kind is 0, and the next character stands for itself, when
  // the dialect does not know it.
  Conversion Parse() {
    Conversion result;
    for (; *next_ != 0 && *next_ < 0x80 &&
           dialect_.flags.find(static_cast<char>(*next_)) != std::string_view::npos;
         ++next_) {
      result.left |= *next_ == '-';
      result.plus |= *next_ == '+';
      result.blank |= *next_ == ' ';
      result.alternate |= *next_ == '#';
      result.zero |= *next_ == '0';
    }
    result.width = Number();
    if (result.width < 0) {
      result.left = true;
      result.width = -result.width;
    }
    if (Accept(".")) result.precision = Number();
    result.size = ParseSize();
    if (*next_ != 0 && *next_ < 0x80 &&
        dialect_.kinds.find(static_cast<char>(*next_)) != std::string_view::npos) {
      result.kind = static_cast<char>(*next_++);
    }
    return result;
  }

  void Convert(const Conversion& conversion) {
    switch (conversion.kind) {
      case 'd':
      case 'i':
        return PutSigned(conversion, Signed(conversion.size));
      case 'f':
        return PutFloat(conversion, va_arg(arguments_.list, double));
      case 'c':
      case 'C':
        return PutCharacter(conversion);
      case 's':
      case 'S':
        if (IsWide(conversion)) return PutText(conversion, va_arg(arguments_.list, const WCHAR*));
        return PutText(conversion, va_arg(arguments_.list, const char*));
      case 'p': {
        Conversion pointer = conversion;
        pointer.precision = 2 * sizeof(void*);
        pointer.kind = 'X';
        return PutNumber(pointer, "", va_arg(arguments_.list, uintptr_t));
      }
      default:
        return PutUnsigned(conversion);
    }
  }

  int64_t Signed(Size size) {
    if (size == Size::k64) return va_arg(arguments_.list, int64_t);
    if (size == Size::kPointer) return va_arg(arguments_.list, intptr_t);
    const int value = va_arg(arguments_.list, int);
    return size == Size::kShort ? static_cast<short>(value) : value;
  }

  uint64_t Unsigned(Size size) {
    if (size == Size::k64) return va_arg(arguments_.list, uint64_t);
    if (size == Size::kPointer) return va_arg(arguments_.list, uintptr_t);
    const unsigned value = va_arg(arguments_.list, unsigned);
    return size == Size::kShort ? static_cast<unsigned short>(value) : value;
  }

  static bool IsWide(const Conversion& conversion) {
    if (conversion.size == Size::kShort) return false;
    if (conversion.size == Size::kLong) return true;
    const bool native = conversion.kind == 's' || conversion.kind == 'c';
    return native == (sizeof(Char) == sizeof(WCHAR));
  }

  static std::string_view SignOf(const Conversion& conversion, bool negative) {
    return negative ? "-" : conversion.plus ? "+" : conversion.blank ? " " : "";
  }

  void PutSigned(const Conversion& conversion, int64_t value) {
    const uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : value;
    PutNumber(conversion, SignOf(conversion, value < 0), magnitude);
  }

  void PutUnsigned(const Conversion& conversion) {
    const uint64_t value = Unsigned(conversion.size);
    const bool prefixed = conversion.alternate && value != 0;
    std::string_view prefix;
    if (prefixed && conversion.kind == 'x') prefix = "0x";
    if (prefixed && conversion.kind == 'X') prefix = "0X";
    if (prefixed && conversion.kind == 'o') prefix = "0";
    PutNumber(conversion, prefix, value);
  }

  void PutNumber(const Conversion& conversion, std::string_view prefix, uint64_t value) {
    char digits[24];
    const bool hexadecimal = conversion.kind == 'x' || conversion.kind == 'X';
    const int base = hexadecimal ? 16 : conversion.kind == 'o' ? 8 : 10;
    char* end = std::to_chars(digits, std::end(digits), value, base).ptr;
    if (conversion.kind == 'X') {
      for (char* c = digits; c != end; ++c) *c = *c >= 'a' ? *c - 'a' + 'A' : *c;
    }
    if (conversion.precision == 0 && value == 0) end = digits;
    const int length = static_cast<int>(end - digits);
    const int zeros = std::max(0, conversion.precision - length);
    PutPadded(conversion, prefix, zeros, {digits, static_cast<size_t>(length)},
              conversion.zero && conversion.precision < 0);
  }

  // The library rounds up what lies exactly between two decimals, which only odd multiples of
  // 2^-(decimals + 1) do.
  static double WithTiesAbove(double magnitude, int decimals) {
    const bool isTie = std::fmod(std::scalbn(magnitude, decimals + 1), 2) == 1;
    return isTie ? std::nextafter(magnitude, HUGE_VAL) : magnitude;
  }

  void PutFloat(const Conversion& conversion, double value) {
    char digits[kFloatBuffer];
    const int decimals =
        conversion.precision < 0 ? 6 : std::min(conversion.precision, kMaxDecimals);
    const char* end =
        std::to_chars(digits, std::end(digits), WithTiesAbove(std::fabs(value), decimals),
                      std::chars_format::fixed, decimals)
            .ptr;
    PutPadded(conversion, SignOf(conversion, std::signbit(value)), 0,
              {digits, static_cast<size_t>(end - digits)}, conversion.zero);
  }

  void PutPadded(const Conversion& conversion, std::string_view prefix, int zeros,
                 std::string_view digits, bool zero_padded) {
    int padding = conversion.width - static_cast<int>(prefix.size() + zeros + digits.size());
    if (!conversion.left && zero_padded) {
      zeros += std::max(0, padding);
      padding = 0;
    }
    if (!conversion.left) out_.Repeat(' ', padding);
    out_.Put(prefix);
    out_.Repeat('0', zeros);
    out_.Put(digits);
    if (conversion.left) out_.Repeat(' ', padding);
  }

  void PutCharacter(const Conversion& conversion) {
    const int value = va_arg(arguments_.list, int);
    Conversion single = conversion;
    single.precision = 1;
    if (IsWide(conversion)) {
      const WCHAR c = static_cast<WCHAR>(value);
      PutCharacters(single, std::basic_string_view<WCHAR>(&c, 1));
    } else {
      const char c = static_cast<char>(value);
      PutCharacters(single, std::string_view(&c, 1));
    }
  }

  // Never reads behind the precision: counted text need not be terminated.
  template <class Source>
  void PutText(const Conversion& conversion, const Source* text) {
    if (text == nullptr) return PutCharacters(conversion, std::string_view("(null)"));
    size_t length = 0;
    const size_t limit = conversion.precision < 0 ? ~size_t{0} : conversion.precision;
    while (length < limit && text[length] != 0) ++length;
    PutCharacters(conversion, std::basic_string_view<Source>(text, length));
  }

  template <class Source>
  void PutCharacters(const Conversion& conversion, std::basic_string_view<Source> text) {
    if constexpr (sizeof(Source) == 1 && sizeof(Char) == 2) {
      if (dialect_.code_page_text) {
        const WideString wide = WideFromBytes(CP_ACP, text);
        return PutCharacters(conversion, WideView(wide));
      }
    }
    const int padding = conversion.width - static_cast<int>(text.size());
    const char filler = conversion.zero ? '0' : ' ';
    if (!conversion.left) out_.Repeat(filler, padding);
    for (Source c : text) {
      if constexpr (sizeof(Source) == 2 && sizeof(Char) == 1) {
        if (c > 0xFF) out_.MarkUnwritable();
      }
      out_.Put(static_cast<Char>(static_cast<std::make_unsigned_t<Source>>(c)));
    }
    if (conversion.left) out_.Repeat(' ', padding);
  }

  const Dialect& dialect_;
  const Char* next_;
  Writer<Char>& out_;
  Arguments arguments_;
};

template <class Char>
int FormatLikeCrt(Char* buffer, size_t count, const Char* format, va_list arguments) {
  Writer<Char> out(buffer, count);
  Formatter<Char>(kCrt, format, arguments, out).Run();
  if (!out.writable() || out.length() > count) return -1;
  if (out.length() < count) buffer[out.length()] = 0;
  return static_cast<int>(out.length());
}

}  // namespace
}  // namespace platform

int CDECL _vsnwprintf(WCHAR* buffer, size_t count, const WCHAR* format, va_list arguments) {
  return platform::FormatLikeCrt(buffer, count, format, arguments);
}

int CDECL _vsnprintf(char* buffer, size_t count, const char* format, va_list arguments) {
  return platform::FormatLikeCrt(buffer, count, format, arguments);
}

int WINAPI wvsprintfW(LPWSTR buffer, LPCWSTR format, va_list arguments) {
  KV_API_NOFAIL(wvsprintfW, 0, buffer, format, arguments);
  platform::Writer<WCHAR> out(buffer, platform::kUserLimit - 1);
  platform::Formatter<WCHAR>(platform::kUser, format, arguments, out).Run();
  const size_t length = std::min(out.length(), platform::kUserLimit - 1);
  buffer[length] = 0;
  return static_cast<int>(length);
}
