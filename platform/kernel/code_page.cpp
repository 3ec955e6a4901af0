#include "platform/kernel/code_page.h"

#include <iconv.h>

#include <map>
#include <mutex>
#include <string>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/locale.h"
#include "platform/kernel/machine.h"

namespace platform {
namespace {

constexpr WCHAR kReplacement = 0xFFFD;

struct Range {
  UINT code_page;
  BYTE first;
  BYTE last;
};

constexpr Range kLeadBytes[] = {
    {932, 0x81, 0x9F}, {932, 0xE0, 0xFC},  {936, 0x81, 0xFE},  {949, 0x81, 0xFE},
    {950, 0x81, 0xFE}, {1361, 0x84, 0xD3}, {1361, 0xD8, 0xDE}, {1361, 0xE0, 0xF9},
};

// Bytes that the system puts into the private use area, from this character on.
struct PrivateUse {
  UINT code_page;
  BYTE first;
  BYTE last;
  WCHAR character;
};

constexpr PrivateUse kPrivateUse[] = {
    {874, 0xDB, 0xDE, 0xF8C1},  {874, 0xFC, 0xFF, 0xF8C5},  {932, 0xFD, 0xFF, 0xF8F1},
    {936, 0xFF, 0xFF, 0xF8F5},  {949, 0xFF, 0xFF, 0xF8F7},  {950, 0xFF, 0xFF, 0xF8F8},
    {1253, 0xAA, 0xAA, 0xF8F9}, {1253, 0xD2, 0xD2, 0xF8FA}, {1253, 0xFF, 0xFF, 0xF8FB},
    {1255, 0xD9, 0xDF, 0xF88D}, {1255, 0xFB, 0xFC, 0xF894}, {1255, 0xFF, 0xFF, 0xF896},
    {1257, 0xA1, 0xA1, 0xF8FC}, {1257, 0xA5, 0xA5, 0xF8FD},
};

// Pairs that are read but never written, because another one stands for the same character.
bool IsSecondChoice(UINT code_page, unsigned pair) {
  if (code_page == 932) return pair >= 0xED00 && pair <= 0xEEFF;
  if (code_page == 950) return pair == 0xA2CC || pair == 0xA2CE;
  return false;
}

// The one UTF-16 unit of `bytes`, or 0. Some converters hold a character back for a combining one
// that may follow, hence the second call.
WCHAR ConvertOne(iconv_t converter, std::string_view bytes) {
  WCHAR units[4] = {};
  char* in = const_cast<char*>(bytes.data());
  size_t in_left = bytes.size();
  char* out = reinterpret_cast<char*>(units);
  size_t out_left = sizeof(units);
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  if (iconv(converter, &in, &in_left, &out, &out_left) == static_cast<size_t>(-1)) return 0;
  iconv(converter, nullptr, nullptr, &out, &out_left);
  return out_left == sizeof(units) - sizeof(WCHAR) ? units[0] : 0;
}

std::unique_ptr<CodePage> Build(UINT number) {
  const iconv_t converter = iconv_open("UTF-16LE", ("CP" + std::to_string(number)).c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return nullptr;
  auto page = std::make_unique<CodePage>(number, converter);
  iconv_close(converter);
  return page;
}

struct KnownPages {
  std::mutex mutex;
  std::map<UINT, std::unique_ptr<CodePage>> pages;
};

KnownPages& known() {
  static KnownPages* instance = new KnownPages;
  return *instance;
}

UINT Resolve(UINT code_page) {
  if (code_page == CP_OEMCP) return OemCodePage();
  return code_page == CP_ACP ? AnsiCodePage() : code_page;
}

// What goes with an ANSI code page; the others are both.
struct CodePagePair {
  UINT ansi;
  UINT oem;
};

constexpr CodePagePair kOemCodePages[] = {
    {1250, 852}, {1251, 866}, {1252, 437}, {1253, 737},
    {1254, 857}, {1255, 862}, {1256, 720}, {1257, 775},
};

// Writes units one after the other, and counts those that do not fit.
template <class Unit>
class Output {
 public:
  Output(Unit* buffer, int capacity) : buffer_(buffer), capacity_(capacity) {}
  void Put(Unit unit) {
    if (length_ < capacity_) buffer_[length_] = unit;
    ++length_;
  }
  // The result of a conversion function.
  int Result() const {
    if (capacity_ == 0 || length_ <= capacity_) return length_;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }

 private:
  Unit* buffer_;
  int capacity_;
  int length_ = 0;
};

void PutCodePoint(Output<WCHAR>& out, char32_t c) {
  if (c < 0x10000) return out.Put(static_cast<WCHAR>(c));
  c -= 0x10000;
  out.Put(static_cast<WCHAR>(0xD800 + (c >> 10)));
  out.Put(static_cast<WCHAR>(0xDC00 + (c & 0x3FF)));
}

// Reads one character and moves `bytes` behind it; an invalid sequence gives false and moves behind
// its longest beginning that could have become valid, at least one byte.
bool TakeUtf8(std::string_view& bytes, char32_t& c) {
  const auto byte = [&](size_t i) -> unsigned {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
  };
  const unsigned lead = byte(0);
  const size_t length = lead < 0x80    ? 1
                        : lead < 0xC2  ? 0
                        : lead < 0xE0  ? 2
                        : lead < 0xF0  ? 3
                        : lead <= 0xF4 ? 4
                                       : 0;
  // The second byte's limits rule out overlong forms, surrogates and what lies above U+10FFFF.
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  c = length <= 1 ? lead : lead & (0xFF >> (length + 1));
  size_t taken = 1;
  for (; taken < length; ++taken) {
    const unsigned next = byte(taken);
    if (next < (taken == 1 ? low : 0x80) || next > (taken == 1 ? high : 0xBF)) break;
    c = (c << 6) | (next & 0x3F);
  }
  bytes.remove_prefix(taken);
  return length != 0 && taken == length;
}

// Both return false when there were bytes without a character; what stands for them is written.
bool FromUtf8(std::string_view bytes, Output<WCHAR>& out) {
  bool valid = true;
  while (!bytes.empty()) {
    char32_t c;
    const bool taken = TakeUtf8(bytes, c);
    PutCodePoint(out, taken ? c : kReplacement);
    valid &= taken;
  }
  return valid;
}

bool FromCodePage(const CodePage& page, std::string_view bytes, Output<WCHAR>& out) {
  bool valid = true;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const BYTE byte = static_cast<BYTE>(bytes[i]);
    WCHAR c = page.FromByte(byte);
    if (page.IsLead(byte)) {
      // A lead byte takes any byte but the terminator with it.
      const BYTE trail = i + 1 < bytes.size() ? static_cast<BYTE>(bytes[i + 1]) : 0;
      c = trail == 0 ? 0 : page.FromPair(byte, trail);
      if (trail != 0) ++i;
    }
    const bool defined = c != 0 || byte == 0;
    out.Put(defined ? c : page.default_wide());
    valid &= defined;
  }
  return valid;
}

void ToCodePage(const CodePage& page, WideView text, std::string_view default_char,
                Output<char>& out, bool& used_default) {
  for (WCHAR c : text) {
    const WORD bytes = page.FromWide(c);
    if (bytes == 0 && c != 0) {
      used_default = true;
      for (char d : default_char) out.Put(d);
      continue;
    }
    if (bytes > 0xFF) out.Put(static_cast<char>(bytes >> 8));
    out.Put(static_cast<char>(bytes));
  }
}

// Surrogates without their other half become U+FFFD.
WideString WithoutLoneSurrogates(WideView text) {
  WideString result(text);
  for (size_t i = 0; i < result.size(); ++i) {
    if (result[i] < 0xD800 || result[i] > 0xDFFF) continue;
    const bool pair = result[i] < 0xDC00 && i + 1 < result.size() && result[i + 1] >= 0xDC00 &&
                      result[i + 1] <= 0xDFFF;
    if (pair) {
      ++i;
    } else {
      result[i] = kReplacement;
    }
  }
  return result;
}

template <class Char>
std::basic_string_view<Char> Counted(const Char* text, int length) {
  if (length >= 0) return {text, static_cast<size_t>(length)};
  return {text, std::basic_string_view<Char>(text).size() + 1};
}

bool ArgumentsAreValid(const void* text, int length, const void* buffer, int capacity) {
  return text != nullptr && length != 0 && capacity >= 0 && (capacity == 0 || buffer != nullptr) &&
         text != buffer;
}

int Fail(DWORD error) {
  SetLastError(error);
  return 0;
}

}  // namespace

CodePage::CodePage(UINT number, void* converter)
    : number_(number),
      default_wide_(number == 932 ? 0x30FB : u'?'),
      from_wide_(std::make_unique<WORD[]>(0x10000)) {
  for (const Range& range : kLeadBytes) {
    if (range.code_page != number) continue;
    for (unsigned byte = range.first; byte <= range.last; ++byte) lead_[byte] = true;
  }
  BuildSingles(converter);
  BuildPairs(converter);
  BuildReverse();
}

void CodePage::BuildSingles(void* converter) {
  for (unsigned byte = 0; byte < 0x100; ++byte) {
    if (lead_[byte]) continue;
    const char c = static_cast<char>(byte);
    // ASCII is ASCII in every code page of the system, whatever the converter makes of a backslash.
    WCHAR wide = byte < 0x80 ? byte : ConvertOne(converter, {&c, 1});
    if (wide == 0 && byte != 0 && (byte <= 0xA0)) wide = static_cast<WCHAR>(byte);
    single_[byte] = wide;
  }
  if (number_ == 936) single_[0x80] = 0x20AC;
  for (const PrivateUse& use : kPrivateUse) {
    if (use.code_page != number_) continue;
    for (unsigned byte = use.first; byte <= use.last; ++byte) {
      single_[byte] = static_cast<WCHAR>(use.character + (byte - use.first));
    }
  }
}

void CodePage::BuildPairs(void* converter) {
  pairs_ = std::make_unique<WCHAR[]>(0x10000);
  for (unsigned lead = 0; lead < 0x100; ++lead) {
    if (!lead_[lead]) continue;
    for (unsigned trail = 0x30; trail < 0xFF; ++trail) {
      const char pair[2] = {static_cast<char>(lead), static_cast<char>(trail)};
      pairs_[(lead << 8) | trail] = ConvertOne(converter, {pair, 2});
    }
  }
}

void CodePage::BuildReverse() {
  const auto add = [this](WCHAR c, unsigned bytes) {
    if (c != 0 && from_wide_[c] == 0) from_wide_[c] = static_cast<WORD>(bytes);
  };
  for (unsigned byte = 0; byte < 0x100; ++byte) add(single_[byte], byte);
  for (const bool second : {false, true}) {
    for (unsigned pair = 0x100; pair < 0x10000; ++pair) {
      if (IsSecondChoice(number_, pair) == second) add(pairs_[pair], pair);
    }
  }
}

const CodePage* CodePage::Find(UINT code_page) {
  const UINT number = Resolve(code_page);
  std::lock_guard lock(known().mutex);
  const auto [found, added] = known().pages.try_emplace(number);
  if (added && number != CP_UTF8) found->second = Build(number);
  return found->second.get();
}

UINT AnsiCodePage() {
  return static_cast<UINT>(FactNumber(facts::kAnsiCodePage, SystemLocale().ansi_code_page));
}

UINT OemCodePage() {
  const UINT ansi = AnsiCodePage();
  UINT oem = ansi;
  for (const CodePagePair& pair : kOemCodePages) {
    if (pair.ansi == ansi) oem = pair.oem;
  }
  return static_cast<UINT>(FactNumber(facts::kOemCodePage, static_cast<long>(oem)));
}

WideString WideFromBytes(UINT code_page, std::string_view bytes) {
  WideString result(bytes.size(), 0);
  if (bytes.empty()) return result;
  const int length = MultiByteToWideChar(code_page, 0, bytes.data(), static_cast<int>(bytes.size()),
                                         result.data(), static_cast<int>(result.size()));
  result.resize(length);
  return result;
}

}  // namespace platform

using namespace platform;

int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCCH text, int length, LPWSTR buffer,
                               int capacity) {
  KV_API(MultiByteToWideChar, ERROR_INVALID_PARAMETER, 0, code_page, flags, text, length, buffer,
         capacity);
  if (!ArgumentsAreValid(text, length, buffer, capacity)) return Fail(ERROR_INVALID_PARAMETER);
  if ((flags & ~MB_ERR_INVALID_CHARS) != 0) return Fail(ERROR_INVALID_FLAGS);
  const bool utf8 = Resolve(code_page) == CP_UTF8;
  const CodePage* page = CodePage::Find(code_page);
  if (!utf8 && page == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  Output<WCHAR> out(buffer, capacity);
  const std::string_view bytes = Counted(text, length);
  const bool valid = utf8 ? FromUtf8(bytes, out) : FromCodePage(*page, bytes, out);
  if (!valid && (flags & MB_ERR_INVALID_CHARS) != 0) return Fail(ERROR_NO_UNICODE_TRANSLATION);
  return out.Result();
}

int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWCH text, int length, LPSTR buffer,
                               int capacity, LPCCH default_char, LPBOOL used_default) {
  KV_API(WideCharToMultiByte, ERROR_INVALID_PARAMETER, 0, code_page, flags, text, length, buffer,
         capacity, default_char, used_default);
  if (!ArgumentsAreValid(text, length, buffer, capacity)) return Fail(ERROR_INVALID_PARAMETER);
  if ((flags & ~WC_NO_BEST_FIT_CHARS) != 0) return Fail(ERROR_INVALID_FLAGS);
  Output<char> out(buffer, capacity);
  const WideView wide = Counted(text, length);
  if (Resolve(code_page) == CP_UTF8) {
    if (flags != 0) return Fail(ERROR_INVALID_FLAGS);
    if (default_char != nullptr || used_default != nullptr) return Fail(ERROR_INVALID_PARAMETER);
    for (char c : ToUtf8(WithoutLoneSurrogates(wide))) out.Put(c);
    return out.Result();
  }
  const CodePage* page = CodePage::Find(code_page);
  if (page == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  // A default character of two bytes begins with a lead byte.
  const std::string_view substitute =
      default_char == nullptr
          ? "?"
          : std::string_view(default_char, page->IsLead(static_cast<BYTE>(*default_char)) ? 2 : 1);
  bool used = false;
  ToCodePage(*page, wide, substitute, out, used);
  if (used_default != nullptr) *used_default = used;
  return out.Result();
}

BOOL WINAPI IsDBCSLeadByteEx(UINT code_page, BYTE byte) {
  KV_API(IsDBCSLeadByteEx, ERROR_INVALID_PARAMETER, FALSE, code_page, byte);
  if (Resolve(code_page) == CP_UTF8) return FALSE;
  const CodePage* page = CodePage::Find(code_page);
  if (page == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return page->IsLead(byte);
}
