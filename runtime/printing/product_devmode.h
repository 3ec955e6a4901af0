// The device mode of the product's printer driver: the public part, and settings of the driver's
// own in a private part that begins with the signature "KV". Drivers of earlier versions left
// private parts of other layouts in the registry and in documents; all of them are still read.
//
// Source device modes are not trusted: one that is not valid (devmode.h) is ignored, and one that
// is not the product's contributes its public part only.
#pragma once

#include "runtime/printing/devmode.h"

namespace kv {

// Which private settings are present.
enum PrivateFlag : DWORD {
  kPrivateResolution = 0x1,
  kPrivateLeftMargin = 0x2,
  kPrivateTopMargin = 0x4,
  kPrivateRightMargin = 0x8,
  kPrivateBottomMargin = 0x10,
  kPrivateShowDialog = 0x20,
  kPrivateUnits = 0x40,
  kPrivateAutomaticEm = 0x80,
  kPrivateCompression = 0x200,
  kPrivateResampling = 0x400,
  kPrivateDefaultFont = 0x800,
  kPrivatePathEscapes = 0x1000,
  kPrivateJpegQuality = 0x2000,
  kPrivateMonoResampling = 0x10000,
  kPrivateAction = 0x20000,
  kAllPrivateFlags = 0x33EFF,
};

constexpr WORD kCurrentLayout = 8;

// The private part as drivers of today write it. It is kept in the registry and shared with the
// driver: nothing in it moves. Texts are narrow, in the ANSI code page.
struct ProductSettings {
  char signature[2];
  WORD layout;
  char applicationName[32];  // the file title of the program that made the device mode
  DWORD flags;               // PrivateFlag
  WORD resolution;           // dpi
  short leftMargin;          // thousandths of an inch, as the next ones
  short topMargin;
  short rightMargin;
  short bottomMargin;
  WORD showDialog;
  WORD reserved1;
  WORD compression;
  char defaultFont[32];
  WORD pathEscapes;
  WORD automaticEm;
  WORD units;  // a PaperUnits
  char printerEm[260];
  WORD resampling;  // dpi, of colour and grey images
  WORD jpegQuality;
  WORD monoResampling;  // dpi
  WORD action;
  WORD reserved2;
};

struct ProductDevMode {
  DEVMODEW dev;
  ProductSettings settings;
};
static_assert(sizeof(ProductSettings) == 364 && sizeof(ProductDevMode) == 584);

// What layout the private part of a device mode has: FALSE for a device mode that is not valid,
// else TRUE, with *layout -1 and *privateSize 0 when it is not one of the product's. Either output
// may be null.
BOOL RecogniseProductDevMode(const DEVMODEW* devMode, WORD* privateSize, int* layout);

// Whether a program's name (without folder and extension) is that of a process of the system or of
// the product itself, which says nothing about who prints.
BOOL IsSystemProcessName(LPCWSTR name);
BOOL IsSystemProcessName(LPCSTR name);

// The product's settings for a printer of which nobody has said anything. The name may lie in
// `devMode`.
void DefaultDevMode(LPCWSTR printer, ProductDevMode& devMode);

// Lays what `source` carries over `target`, setting by setting; `source` may be `target` itself.
// Some public settings (duplex, collation, TrueType option) are never taken over. A user-defined
// paper is looked up among the user's custom papers first; of one that is not there, that is larger
// than a device mode can say (a side of more than 3.2767 m), and when the custom papers cannot be
// read, the source's own sides count, and without both of them the target keeps its paper.
void MergeDevMode(const DEVMODEW* source, ProductDevMode& target);

// Makes the form name that of the standard paper chosen, or takes it away for any other paper.
void SetFormNameFromPaper(ProductDevMode& devMode);
// Takes a user-defined paper away: its size, and its id for the default paper's.
void ResetUserPaperSize(ProductDevMode& devMode);

}  // namespace kv
