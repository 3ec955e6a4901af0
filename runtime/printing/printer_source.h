// Where a printer list comes from: every printer's texts, which can be asked for more than once.
#pragma once

#include "runtime/text/wide_text.h"

namespace kv {

// A text without data stands for none at all.
struct PrinterTexts {
  WideView name;
  WideView driver;
  WideView driverFile;  // title: without folder and extension
  WideView port;
  WideView server;  // without the backslashes in front
  WideView share;
};

// Null counts as empty.
inline WideView Required(LPCWSTR text) {
  return text == nullptr ? WideView(TEXT("")) : WideView(text);
}
// An empty text counts as none.
inline WideView Optional(LPCWSTR text) {
  const WideView view = View(text);
  return view.empty() ? WideView() : view;
}
// The server part of "\\server\…"; a view without data for names of another form.
WideView ServerPartOf(LPCWSTR name);

class PrinterSource {
 public:
  virtual DWORD Count() const = 0;
  // The texts are good until the next call. FALSE when something is missing.
  virtual BOOL Read(DWORD index, PrinterTexts& texts) = 0;

 protected:
  ~PrinterSource() = default;
};

}  // namespace kv
