// Results that are rows of the same kind: lines for people, objects for scripts.
#pragma once

#include <span>
#include <variant>
#include <vector>

#include "tools/kvctl/arguments.h"
#include "tools/kvctl/json.h"

namespace kvctl {

// A column without a key is for people alone, one without a heading for scripts alone.
struct Column {
  LPCWSTR key;   // its name for scripts; null: left out
  UINT heading;  // string number; 0: left out
  size_t width;  // characters
};

// Nothing is "" for people and null for scripts; a flag is "*" or "" and true or false.
using Cell = std::variant<std::monostate, WideString, LONGLONG, bool>;

// Rows are printed as they come. On a terminal their headings stand above them.
class Table {
 public:
  Table(std::span<const Column> columns, const Arguments& arguments);
  // One cell for each column.
  void Add(std::span<const Cell> cells);
  void Add(std::initializer_list<Cell> cells) { Add(std::span(cells.begin(), cells.size())); }
  // Ends what scripts get; called once, when nothing has failed.
  void Finish();

 private:
  void PrintRow(std::span<const WideString> texts) const;

  std::span<const Column> columns_;
  bool asJson_;
  JsonWriter json_;
};

}  // namespace kvctl
