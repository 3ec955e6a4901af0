// Every language library has the same texts with the same inserts, and callers' buffers hold them.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "resources/string_ids.h"

namespace {

using Text = std::basic_string<WCHAR>;

// Where the numbers lie.
constexpr struct { UINT first, last; } kRanges[] = {{10000, 10100}, {12000, 12300}, {14000, 14500}};
constexpr size_t kTemplateCapacity = 1024;

// The texts of a library beside this program, by number.
std::map<UINT, Text> TextsOf(const Text& file) {
  WCHAR path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  const Text directory = Text(path, length).substr(0, Text(path, length).rfind('\\') + 1);
  std::map<UINT, Text> texts;
  const HMODULE library = LoadLibraryW((directory + file).c_str());
  if (library == nullptr) return texts;
  for (const auto& range : kRanges) {
    for (UINT number = range.first; number < range.last; ++number) {
      WCHAR text[4096];
      const int size = LoadStringW(library, number, text, 4096);
      if (size > 0) texts[number] = Text(text, static_cast<size_t>(size));
    }
  }
  FreeLibrary(library);
  return texts;
}

// "^1" … "^8" in any order, and printf directives in their order.
std::vector<Text> InsertsOf(const Text& text) {
  std::vector<Text> marks, directives;
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    const bool digit = text[i + 1] >= '1' && text[i + 1] <= '8';
    if (text[i] == '^' && digit) marks.push_back(text.substr(i, 2));
    if (text[i] == '%') directives.push_back(text.substr(i++, 2));
  }
  std::sort(marks.begin(), marks.end());
  marks.insert(marks.end(), directives.begin(), directives.end());
  return marks;
}

size_t CapacityOf(UINT number) {
  switch (number) {
    case IDS_CANCEL:
    case IDS_DECIMAL_SEPARATOR:
      return 32;
    case IDS_CANCELLING:
    case IDS_MORE_INFORMATION:
    case IDS_PRINTER_TITLE:
    case IDS_PAPER_SIZE_INCHES:
    case IDS_PAPER_SIZE_MILLIMETRES:
      return 80;
    default:
      return kTemplateCapacity;
  }
}

class Languages : public testing::TestWithParam<const WCHAR*> {};

TEST_P(Languages, HaveTheEnglishNumbersAndInserts) {
  const auto english = TextsOf(TEXT("kvres832.dll"));
  const auto other = TextsOf(GetParam());
  ASSERT_GT(english.size(), 100u);
  for (const auto& [number, text] : english) {
    const auto found = other.find(number);
    if (found == other.end()) {
      ADD_FAILURE() << "text " << number << " is missing";
      continue;
    }
    EXPECT_EQ(InsertsOf(found->second), InsertsOf(text)) << "text " << number;
    EXPECT_LT(found->second.size(), CapacityOf(number)) << "text " << number;
  }
  for (const auto& [number, text] : other) {
    EXPECT_EQ(english.count(number), 1u) << "text " << number << " is not in English";
  }
}

INSTANTIATE_TEST_SUITE_P(All, Languages,
                         testing::Values(TEXT("kvres832.dll"), TEXT("kvres832-0407.dll"),
                                         TEXT("kvres832-0419.dll")));

}  // namespace
