#include "platform/kernel/text.h"

#include <wctype.h>

#include <locale.h>
#include <algorithm>
#include <array>
#include <memory>

namespace platform {
namespace {

constexpr bool IsHighSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Upper and lower case of every UTF-16 unit, by the host's Unicode tables. The system maps only
// what leads back: the dotless i has no capital, since that of i is I.
struct CaseTables {
  std::array<WCHAR, 0x10000> upper;
  std::array<WCHAR, 0x10000> lower;
  CaseTables() {
    locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    for (unsigned c = 0; c < 0x10000; ++c) {
      const bool mapped = unicode != nullptr && !IsHighSurrogate(c) && !IsLowSurrogate(c);
      const wint_t up = mapped ? towupper_l(c, unicode) : c;
      const wint_t down = mapped ? towlower_l(c, unicode) : c;
      const bool leads_up = up < 0x10000 && mapped && towlower_l(up, unicode) == c;
      const bool leads_down = down < 0x10000 && mapped && towupper_l(down, unicode) == c;
      upper[c] = static_cast<WCHAR>(leads_up ? up : c);
      lower[c] = static_cast<WCHAR>(leads_down ? down : c);
    }
    if (unicode != nullptr) freelocale(unicode);
  }
};

const CaseTables& Cases() {
  static const CaseTables* tables = new CaseTables;
  return *tables;
}

template <class Map>
WideString Mapped(WideView text, Map map) {
  WideString result(text);
  for (WCHAR& c : result) c = map(c);
  return result;
}

}  // namespace

std::string ToUtf8(WideView text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    AppendUtf8(out, c);
  }
  return out;
}

WideString ToWide(std::string_view utf8) {
  WideString out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    const unsigned char lead = static_cast<unsigned char>(utf8[i++]);
    int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    char32_t c = more == 3 ? lead & 0x07 : more == 2 ? lead & 0x0F : more == 1 ? lead & 0x1F : lead;
    for (; more > 0 && i < utf8.size() && (utf8[i] & 0xC0) == 0x80; --more) {
      c = (c << 6) | (static_cast<unsigned char>(utf8[i++]) & 0x3F);
    }
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<WCHAR>(0xD800 + ((c >> 10) & 0x3FF));
      out += static_cast<WCHAR>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<WCHAR>(c);
    }
  }
  return out;
}

WCHAR UpperCase(WCHAR c) {
  return Cases().upper[c];
}
WCHAR LowerCase(WCHAR c) {
  return Cases().lower[c];
}

WideString UpperCase(WideView text) {
  return Mapped(text, [](WCHAR c) { return UpperCase(c); });
}

WideString LowerCase(WideView text) {
  return Mapped(text, [](WCHAR c) { return LowerCase(c); });
}

bool EqualNoCase(WideView a, WideView b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](WCHAR x, WCHAR y) {
           return x == y || UpperCase(x) == UpperCase(y);
         });
}

bool LessNoCase::operator()(WideView a, WideView b) const {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](WCHAR x, WCHAR y) { return UpperCase(x) < UpperCase(y); });
}

}  // namespace platform
