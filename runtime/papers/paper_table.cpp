#include "runtime/papers/paper_table.h"

#include <iterator>

#include "runtime/core/startup_context.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr PaperEntry kStandardPapers[] = {
    {1, TEXT("Letter"), 215900, 279400, kPaperInches},
    {2, TEXT("Letter Small"), 215900, 279400, kPaperInches},
    {3, TEXT("Tabloid"), 279400, 431800, kPaperInches},
    {4, TEXT("Ledger"), 279400, 431800, kPaperInches},
    {5, TEXT("Legal"), 215900, 355600, kPaperInches},
    {6, TEXT("Statement"), 139700, 215900, kPaperInches},
    {7, TEXT("Executive"), 184150, 266700, kPaperInches},
    {8, TEXT("A3"), 297000, 420000, kPaperMillimetres},
    {9, TEXT("A4"), 210000, 297000, kPaperMillimetres},
    {10, TEXT("A4 Small"), 210000, 297000, kPaperMillimetres},
    {11, TEXT("A5"), 148000, 210000, kPaperMillimetres},
    {12, TEXT("B4 (JIS)"), 257000, 364000, kPaperMillimetres},
    {13, TEXT("B5 (JIS)"), 182000, 257000, kPaperMillimetres},
    {14, TEXT("Folio"), 215900, 330200, kPaperInches},
    {15, TEXT("Quarto"), 215000, 275000, kPaperMillimetres},
    {16, TEXT("10x14"), 254000, 355600, kPaperInches},
    {17, TEXT("11x17"), 279400, 431800, kPaperInches},
    {18, TEXT("Note"), 215900, 279400, kPaperInches},
    {19, TEXT("Envelope #9"), 98425, 225425, kPaperInches},
    {20, TEXT("Envelope #10"), 104775, 241300, kPaperInches},
    {21, TEXT("Envelope #11"), 114300, 263525, kPaperInches},
    {22, TEXT("Envelope #12"), 120650, 279400, kPaperInches},
    {23, TEXT("Envelope #14"), 127000, 292100, kPaperInches},
    {24, TEXT("C size sheet"), 431800, 558800, kPaperInches},
    {25, TEXT("D size sheet"), 558800, 863600, kPaperInches},
    {26, TEXT("E size sheet"), 863600, 1117600, kPaperInches},
    {27, TEXT("Envelope DL"), 110000, 220000, kPaperMillimetres},
    {28, TEXT("Envelope C5"), 162000, 229000, kPaperMillimetres},
    {29, TEXT("Envelope C3"), 324000, 458000, kPaperMillimetres},
    {30, TEXT("Envelope C4"), 229000, 324000, kPaperMillimetres},
    {31, TEXT("Envelope C6"), 114000, 162000, kPaperMillimetres},
    {32, TEXT("Envelope C65"), 114000, 229000, kPaperMillimetres},
    {33, TEXT("Envelope B4"), 250000, 353000, kPaperMillimetres},
    {34, TEXT("Envelope B5"), 176000, 250000, kPaperMillimetres},
    {35, TEXT("Envelope B6"), 125000, 176000, kPaperMillimetres},
    {36, TEXT("Envelope Italy"), 110000, 230000, kPaperMillimetres},
    {37, TEXT("Envelope Monarch"), 98425, 190500, kPaperInches},
    {38, TEXT("6 3/4 Envelope"), 92075, 165100, kPaperInches},
    {39, TEXT("US Std Fanfold"), 279400, 377825, kPaperInches},
    {40, TEXT("German Std Fanfold"), 215900, 304800, kPaperInches},
    {41, TEXT("German Legal Fanfold"), 215900, 330200, kPaperInches},
    {42, TEXT("B4 (ISO)"), 250000, 353000, kPaperMillimetres},
    {43, TEXT("Japanese Postcard"), 100000, 148000, kPaperMillimetres},
    {44, TEXT("9x11"), 228600, 279400, kPaperInches},
    {45, TEXT("10x11"), 254000, 279400, kPaperInches},
    {46, TEXT("11x15"), 279400, 381000, kPaperInches},
    {47, TEXT("Envelope Invite"), 220000, 220000, kPaperMillimetres},
    {50, TEXT("Letter Extra"), 241300, 304800, kPaperInches},
    {51, TEXT("Legal Extra"), 241300, 381000, kPaperInches},
    {52, TEXT("Tabloid Extra"), 296926, 457200, kPaperInches},
    {53, TEXT("A4 Extra"), 235458, 322326, kPaperMillimetres},
    {54, TEXT("Letter Transverse"), 215900, 279400, kPaperInches},
    {55, TEXT("A4 Transverse"), 210000, 297000, kPaperMillimetres},
    {56, TEXT("Letter Extra Transverse"), 241300, 304800, kPaperInches},
    {57, TEXT("SuperA/SuperA/A4"), 227000, 356000, kPaperMillimetres},
    {58, TEXT("SuperB/SuperB/A3"), 305000, 487000, kPaperMillimetres},
    {59, TEXT("Letter Plus"), 215900, 322326, kPaperInches},
    {60, TEXT("A4 Plus"), 210000, 330000, kPaperMillimetres},
    {61, TEXT("A5 Transverse"), 148000, 210000, kPaperMillimetres},
    {62, TEXT("B5 (JIS) Transverse"), 182000, 257000, kPaperMillimetres},
    {63, TEXT("A3 Extra"), 322000, 445000, kPaperMillimetres},
    {64, TEXT("A5 Extra"), 174000, 235000, kPaperMillimetres},
    {65, TEXT("B5 (ISO) Extra"), 201000, 276000, kPaperMillimetres},
    {66, TEXT("A2"), 420000, 594000, kPaperMillimetres},
    {67, TEXT("A3 Transverse"), 297000, 420000, kPaperMillimetres},
    {68, TEXT("A3 Extra Transverse"), 322000, 445000, kPaperMillimetres},
};
static_assert(std::size(kStandardPapers) == 66);

}  // namespace

const PaperEntry* CPaperTable::FindPaperById(WORD id) const {
  if (id == 0) return nullptr;
  for (int i = 0; i < count_; ++i) {
    if (entries_[i].id == id) return &entries_[i];
  }
  return nullptr;
}

const PaperEntry* CPaperTable::FindPaperByName(LPCWSTR name) const {
  for (int i = 0; i < count_; ++i) {
    if (EqualNoCase(entries_[i].name, View(name))) return &entries_[i];
  }
  return nullptr;
}

const PaperEntry* CPaperTable::GetPaperAt(int index) const {
  return index >= 0 && index < count_ ? &entries_[index] : nullptr;
}

CStandardPapers::CStandardPapers()
    : CPaperTable(static_cast<WORD>(std::size(kStandardPapers)), kStandardPapers) {}

const PaperEntry* CStandardPapers::GetDefaultPaper() const {
  const DWORD id = startupContext.defaultPaperSize;
  const PaperEntry* paper = id > 0xFFFF ? nullptr : FindPaperById(static_cast<WORD>(id));
  return paper != nullptr ? paper : &entries_[0];
}

}  // namespace kv
