// Paper lengths and sizes as people read them.
#pragma once

#include "runtime/papers/paper_table.h"

namespace kv {

// Room for the text of every length.
constexpr int kPaperLengthCapacity = 16;
constexpr int kPaperSizeCapacity = 80;

// A length in micrometres in inches (kPaperInches) or millimetres, with at most four decimals and
// without trailing zeros: "8.5", "210". What is less than 25 micrometres away from a whole number
// is that number. Of the whole units 16 bits count, with a sign: lengths of 32768 and more come out
// wrong. Empty for any other units.
void FormatPaperLength(DWORD micrometres, WORD units, WCHAR (&text)[kPaperLengthCapacity]);

// The paper's sides in its units, the smaller one first, as the language's text has it ("8.5 x 11
// in"), cut to fit; units that are none leave the places of the sides empty. Empty without a
// language library.
void DescribePaperSize(const PaperEntry& paper, WCHAR (&text)[kPaperSizeCapacity]);

}  // namespace kv
