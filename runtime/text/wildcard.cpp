#include "runtime/text/wildcard.h"

#include <memory>
#include <new>

#include "runtime/text/wide_text.h"

namespace kv {
namespace {

// A copy of a text in lower case.
class LowerCase {
 public:
  explicit LowerCase(LPCWSTR text) : length_(View(text).size()) {
    if (length_ >= kOwn) long_.reset(new (std::nothrow) WCHAR[length_ + 1]);
    if (length_ >= kOwn && long_ == nullptr) return;
    text_ = length_ < kOwn ? short_ : long_.get();
    View(text).copy(text_, length_);
    text_[length_] = 0;
    CharLowerW(text_);
  }

  // False when memory ran out.
  explicit operator bool() const { return text_ != nullptr; }
  WideView Get() const { return WideView(text_, length_); }

 private:
  static constexpr size_t kOwn = 128;
  size_t length_;
  LPWSTR text_ = nullptr;
  WCHAR short_[kOwn];
  std::unique_ptr<WCHAR[]> long_;
};

// A star takes as little as it can, and one unit more whenever what follows it does not fit. Only
// the last star passed is ever asked for more: what an earlier one could take as well, this one
// can.
bool Matches(WideView pattern, WideView text) {
  size_t p = 0, t = 0;
  size_t behindStar = WideView::npos, taken = 0;  // the last star: what follows it, its text's end
  while (t < text.size()) {
    const WCHAR wanted = p < pattern.size() ? pattern[p] : 0;
    if (wanted == '*') {
      behindStar = ++p;
      taken = t;
    } else if (p < pattern.size() && (wanted == '?' || wanted == text[t])) {
      ++p;
      ++t;
    } else if (behindStar != WideView::npos) {
      p = behindStar;
      t = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == WideView::npos;
}

}  // namespace

BOOL BeginsWith(LPCWSTR prefix, LPCWSTR text, MatchCase matchCase) {
  return matchCase == MatchCase::kYes ? View(text).starts_with(View(prefix))
                                      : StartsWithAsciiNoCase(View(text), View(prefix));
}

BOOL MatchWildcard(LPCWSTR pattern, LPCWSTR text) {
  const LowerCase lowerPattern(pattern), lowerText(text);
  return lowerPattern && lowerText && Matches(lowerPattern.Get(), lowerText.Get());
}

}  // namespace kv
