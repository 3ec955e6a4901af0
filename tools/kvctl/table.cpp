#include "tools/kvctl/table.h"

namespace kvctl {
namespace {

// How a cell reads.
struct ToText {
  WideString operator()(std::monostate) const { return {}; }
  WideString operator()(const WideString& text) const { return text; }
  WideString operator()(LONGLONG number) const { return SignedNumber(number); }
  WideString operator()(bool flag) const { return flag ? TEXT("*") : TEXT(""); }
};

struct ToJson {
  JsonWriter& json;
  LPCWSTR key;
  void operator()(std::monostate) const { json.AddNull(key); }
  void operator()(const WideString& text) const { json.Add(key, text); }
  void operator()(LONGLONG number) const { json.AddNumber(key, number); }
  void operator()(bool flag) const { json.AddFlag(key, flag); }
};

}  // namespace

Table::Table(std::span<const Column> columns, const Arguments& arguments)
    : columns_(columns), asJson_(arguments.Has(kJsonOption)) {
  json_.BeginList();
  if (asJson_ || !OutputIsTerminal()) return;
  std::vector<WideString> headings;
  for (const Column& column : columns_) {
    headings.push_back(column.heading == 0 ? WideString() : Text(column.heading));
  }
  PrintRow(headings);
}

void Table::Add(std::span<const Cell> cells) {
  if (!asJson_) {
    std::vector<WideString> texts;
    for (const Cell& cell : cells) texts.push_back(std::visit(ToText(), cell));
    PrintRow(texts);
    return;
  }
  json_.BeginObject();
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].key != nullptr) std::visit(ToJson{json_, columns_[i].key}, cells[i]);
  }
  json_.EndObject();
}

void Table::Finish() {
  json_.EndList();
  if (asJson_) PrintLine(json_.text());
}

void Table::PrintRow(std::span<const WideString> texts) const {
  WideString line;
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].heading != 0) line += Padded(texts[i], columns_[i].width);
  }
  line.resize(line.find_last_not_of(' ') + 1);
  PrintLine(line);
}

}  // namespace kvctl
