#include "tools/kvctl/json.h"

#include "runtime/text/format.h"

namespace kvctl {

void JsonWriter::Name(WideView name) {
  if (!isFirst_) text_ += TEXT(", ");
  isFirst_ = false;
  if (name.empty()) return;
  Quote(name);
  text_ += TEXT(": ");
}

void JsonWriter::Quote(WideView text) {
  text_ += '"';
  for (const WCHAR c : text) {
    if (c == '"' || c == '\\') {
      text_ += '\\';
      text_ += c;
    } else if (c < ' ') {
      WCHAR escape[8];
      kv::FormatText(escape, TEXT("\\u%04x"), c);
      text_ += escape;
    } else {
      text_ += c;
    }
  }
  text_ += '"';
}

void JsonWriter::Open(WideView name, char bracket) {
  Name(name);
  text_ += static_cast<WCHAR>(bracket);
  isFirst_ = true;
}

void JsonWriter::Close(char bracket) {
  text_ += static_cast<WCHAR>(bracket);
  isFirst_ = false;
}

void JsonWriter::Add(WideView name, WideView text) {
  Name(name);
  Quote(text);
}

void JsonWriter::AddFlag(WideView name, bool flag) {
  Name(name);
  text_ += flag ? TEXT("true") : TEXT("false");
}

void JsonWriter::AddNumber(WideView name, LONGLONG number) {
  Name(name);
  text_ += SignedNumber(number);
}

void JsonWriter::AddNull(WideView name) {
  Name(name);
  text_ += TEXT("null");
}

}  // namespace kvctl
