// Where the settings lie in the private parts that the product's drivers have written.
#pragma once

#include <cstddef>
#include <iterator>

#include "runtime/printing/product_devmode.h"

namespace kv {

// The offset of what a layout does not have.
constexpr WORD kNowhere = 0xFFFF;

// A 16-bit setting of the private part.
struct PrivateNumber {
  DWORD flag;
  size_t offset;  // in ProductSettings
};
constexpr PrivateNumber kPrivateNumbers[] = {
    {kPrivateResolution, offsetof(ProductSettings, resolution)},
    {kPrivateLeftMargin, offsetof(ProductSettings, leftMargin)},
    {kPrivateTopMargin, offsetof(ProductSettings, topMargin)},
    {kPrivateRightMargin, offsetof(ProductSettings, rightMargin)},
    {kPrivateBottomMargin, offsetof(ProductSettings, bottomMargin)},
    {kPrivateShowDialog, offsetof(ProductSettings, showDialog)},
    {kPrivateCompression, offsetof(ProductSettings, compression)},
    {kPrivatePathEscapes, offsetof(ProductSettings, pathEscapes)},
    {kPrivateAutomaticEm, offsetof(ProductSettings, automaticEm)},
    {kPrivateUnits, offsetof(ProductSettings, units)},
    {kPrivateResampling, offsetof(ProductSettings, resampling)},
    {kPrivateJpegQuality, offsetof(ProductSettings, jpegQuality)},
    {kPrivateMonoResampling, offsetof(ProductSettings, monoResampling)},
    {kPrivateAction, offsetof(ProductSettings, action)},
};

// One layout; offsets are in bytes from the beginning of its private part.
struct PrivateLayout {
  int number;
  WORD size;    // of the whole private part
  bool isWide;  // texts are UTF-16
  WORD application;
  WORD flags;
  WORD numbers[std::size(kPrivateNumbers)];  // in the order of kPrivateNumbers
  WORD defaultFont;
  WORD printerEm;
};

// The layout of a valid device mode's private part; null when it is not one of the product's.
const PrivateLayout* FindPrivateLayout(const DEVMODEW* devMode);

}  // namespace kv
