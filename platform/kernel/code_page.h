// The code pages of the system: tables in both directions.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <string_view>

#include "platform/kernel/text.h"

namespace platform {

// A code page of one or two bytes a character. Bytes and pairs that the system leaves undefined
// become its default characters.
class CodePage {
 public:
  // The code page, built on first use; CP_ACP is the machine's. Null when there is none (or when it
  // is UTF-8, which has no tables).
  static const CodePage* Find(UINT code_page);

  bool IsLead(BYTE byte) const { return lead_[byte]; }
  // The character of one byte, or of a lead byte and the byte behind it; 0 for none (but for byte
  // 0).
  WCHAR FromByte(BYTE byte) const { return single_[byte]; }
  WCHAR FromPair(BYTE lead, BYTE trail) const { return pairs_[(lead << 8) | trail]; }
  // The byte, or the pair with the lead byte above it, of a character; 0 for none (but for U+0000).
  WORD FromWide(WCHAR c) const { return from_wide_[c]; }
  // What stands for bytes without a character.
  WCHAR default_wide() const { return default_wide_; }

  explicit CodePage(UINT number, void* converter);

 private:
  void BuildSingles(void* converter);
  void BuildPairs(void* converter);
  void BuildReverse();

  UINT number_;
  WCHAR default_wide_;
  std::array<bool, 0x100> lead_{};
  std::array<WCHAR, 0x100> single_{};
  std::unique_ptr<WCHAR[]> pairs_;
  std::unique_ptr<WORD[]> from_wide_;
};

// The machine's ANSI code page.
UINT AnsiCodePage();
// That of its consoles and shells.
UINT OemCodePage();
// The text that the bytes stand for, in a code page or CP_UTF8; an unknown code page gives "".
WideString WideFromBytes(UINT code_page, std::string_view bytes);

}  // namespace platform
