// Results for scripts, as one JSON text.
#pragma once

#include "tools/kvctl/console.h"

namespace kvctl {

// Writes one value after the other; names are given within objects and left out within lists. Every
// Begin needs its End.
class JsonWriter {
 public:
  void BeginObject(WideView name = {}) { Open(name, '{'); }
  void EndObject() { Close('}'); }
  void BeginList(WideView name = {}) { Open(name, '['); }
  void EndList() { Close(']'); }
  void Add(WideView name, WideView text);
  void AddFlag(WideView name, bool flag);
  void AddNumber(WideView name, LONGLONG number);
  void AddNull(WideView name);

  const WideString& text() const { return text_; }

 private:
  void Name(WideView name);
  void Quote(WideView text);
  void Open(WideView name, char bracket);
  void Close(char bracket);

  WideString text_;
  bool isFirst_ = true;
};

}  // namespace kvctl
