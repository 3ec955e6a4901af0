// The paper of a product device mode and its margins, in pixels and millimetres.
#pragma once

#include "runtime/printing/product_devmode.h"

namespace kv {

// The size of the paper at `dpi` pixels per inch, and in whole millimetres; each output may be
// null. Ids below 256 are standard papers (the default paper when there is none of that id), others
// go by the device mode's own width and length. The sides are swapped to fit the orientation. A
// size of more than 31 bits is -1.
void GetPaperExtent(const ProductDevMode& devMode, int dpi, SIZE* pixels, SIZE* millimetres);
// The same at the device mode's own resolution.
void GetPaperExtentAtOwnResolution(const ProductDevMode& devMode, SIZE* pixels, SIZE* millimetres);

enum class PaperSide { kLeft, kTop, kRight, kBottom };
// A margin of the device mode; in pixels at the device mode's own resolution.
int GetMarginMillimetres(const ProductDevMode& devMode, PaperSide side);
int GetMarginPixels(const ProductDevMode& devMode, PaperSide side);

// The paper, from (0, 0), and what its margins leave of it, in pixels at its own resolution.
void GetPaperRect(const ProductDevMode& devMode, RECT& rectangle);
void GetPrintableRect(const ProductDevMode& devMode, RECT& rectangle);

// Whether both sides of the paper at the device mode's resolution are below 32768 pixels; otherwise
// says with an error box how large paper and resolution may be.
BOOL CheckPaperFits(const ProductDevMode& devMode);

}  // namespace kv
