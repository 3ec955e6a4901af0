// Graphics objects, fonts and device modes.
#pragma once

#include <winnt.h>

#define LF_FACESIZE 32
#define FW_NORMAL 400
#define WHITE_BRUSH 0
#define BLACK_PEN 7
#define SYSTEM_FONT 13
#define DEFAULT_GUI_FONT 17

#define TECHNOLOGY 2
#define HORZRES 8
#define VERTRES 10
#define BITSPIXEL 12
#define PLANES 14
#define LOGPIXELSX 88
#define LOGPIXELSY 90
#define PHYSICALWIDTH 110
#define PHYSICALHEIGHT 111
#define PHYSICALOFFSETX 112
#define PHYSICALOFFSETY 113
#define DT_RASDISPLAY 1
#define DT_RASPRINTER 2

#define QUERYESCSUPPORT 8
#define GETTECHNOLOGY 20
#define CLIP_TO_PATH 4097
#define POSTSCRIPT_PASSTHROUGH 4115

#define OBJ_PEN 1
#define OBJ_BRUSH 2
#define OBJ_FONT 6
#define OBJ_BITMAP 7

#define RGB(r, g, b) \
  ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) (LOBYTE(rgb))
#define GetGValue(rgb) (LOBYTE(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) (LOBYTE((rgb) >> 16))
#define CLR_INVALID 0xFFFFFFFF
#define GDI_ERROR 0xFFFFFFFFu
#define PS_SOLID 0

#define R2_BLACK 1
#define R2_XORPEN 7
#define R2_COPYPEN 13
#define R2_LAST 16
#define TRANSPARENT 1
#define OPAQUE 2
#define ALTERNATE 1
#define WINDING 2
#define BLACKONWHITE 1
#define COLORONCOLOR 3
#define HALFTONE 4
#define TA_LEFT 0
#define TA_RIGHT 2
#define TA_CENTER 6
#define TA_TOP 0
#define TA_BOTTOM 8
#define TA_BASELINE 24
#define GM_COMPATIBLE 1
#define GM_ADVANCED 2
#define MWT_IDENTITY 1
#define MWT_LEFTMULTIPLY 2
#define MWT_RIGHTMULTIPLY 3

#define SRCCOPY 0x00CC0020
#define BI_RGB 0
#define BI_BITFIELDS 3
#define DIB_RGB_COLORS 0

#define ERROR 0
#define NULLREGION 1
#define SIMPLEREGION 2
#define COMPLEXREGION 3
#define RGN_ERROR ERROR
#define RGN_AND 1
#define RGN_OR 2
#define RGN_XOR 3
#define RGN_DIFF 4
#define RGN_COPY 5

#define PT_CLOSEFIGURE 1
#define PT_LINETO 2
#define PT_BEZIERTO 4
#define PT_MOVETO 6

#define TMPF_VECTOR 2
#define TMPF_TRUETYPE 4

#define ANSI_CHARSET 0
#define DEFAULT_CHARSET 1
#define SYMBOL_CHARSET 2
#define SHIFTJIS_CHARSET 128
#define HANGUL_CHARSET 129
#define JOHAB_CHARSET 130
#define GB2312_CHARSET 134
#define CHINESEBIG5_CHARSET 136
#define GREEK_CHARSET 161
#define TURKISH_CHARSET 162
#define VIETNAMESE_CHARSET 163
#define HEBREW_CHARSET 177
#define ARABIC_CHARSET 178
#define BALTIC_CHARSET 186
#define RUSSIAN_CHARSET 204
#define THAI_CHARSET 222
#define EASTEUROPE_CHARSET 238

#define TCI_SRCCHARSET 1

typedef struct tagLOGFONTW {
  LONG lfHeight;
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  WCHAR lfFaceName[LF_FACESIZE];
} LOGFONTW;
static_assert(sizeof(LOGFONTW) == 92);

typedef struct tagTEXTMETRICW {
  LONG tmHeight;
  LONG tmAscent;
  LONG tmDescent;
  LONG tmInternalLeading;
  LONG tmExternalLeading;
  LONG tmAveCharWidth;
  LONG tmMaxCharWidth;
  LONG tmWeight;
  LONG tmOverhang;
  LONG tmDigitizedAspectX;
  LONG tmDigitizedAspectY;
  WCHAR tmFirstChar;
  WCHAR tmLastChar;
  WCHAR tmDefaultChar;
  WCHAR tmBreakChar;
  BYTE tmItalic;
  BYTE tmUnderlined;
  BYTE tmStruckOut;
  BYTE tmPitchAndFamily;
  BYTE tmCharSet;
} TEXTMETRICW, *LPTEXTMETRICW;
static_assert(sizeof(TEXTMETRICW) == 60);

typedef struct tagXFORM {
  FLOAT eM11;
  FLOAT eM12;
  FLOAT eM21;
  FLOAT eM22;
  FLOAT eDx;
  FLOAT eDy;
} XFORM, *LPXFORM;
static_assert(sizeof(XFORM) == 24);

typedef struct tagBITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;
  WORD bmPlanes;
  WORD bmBitsPixel;
  LPVOID bmBits;
} BITMAP;
static_assert(sizeof(BITMAP) == (sizeof(void*) == 4 ? 24 : 32));

typedef struct tagBITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
} BITMAPINFOHEADER;
static_assert(sizeof(BITMAPINFOHEADER) == 40);

typedef struct tagRGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
} RGBQUAD;
static_assert(sizeof(RGBQUAD) == 4);

typedef struct tagBITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
} BITMAPINFO, *LPBITMAPINFO;
static_assert(sizeof(BITMAPINFO) == 44);

typedef struct tagFONTSIGNATURE {
  DWORD fsUsb[4];
  DWORD fsCsb[2];
} FONTSIGNATURE;

typedef struct tagCHARSETINFO {
  UINT ciCharset;
  UINT ciACP;
  FONTSIGNATURE fs;
} CHARSETINFO, *LPCHARSETINFO;
static_assert(sizeof(CHARSETINFO) == 32);

#define CCHDEVICENAME 32
#define CCHFORMNAME 32

typedef struct _devicemodeW {
  WCHAR dmDeviceName[CCHDEVICENAME];
  WORD dmSpecVersion;
  WORD dmDriverVersion;
  WORD dmSize;
  WORD dmDriverExtra;
  DWORD dmFields;
  union {
    struct {
      short dmOrientation;
      short dmPaperSize;
      short dmPaperLength;
      short dmPaperWidth;
      short dmScale;
      short dmCopies;
      short dmDefaultSource;
      short dmPrintQuality;
    };
    struct {
      POINTL dmPosition;
      DWORD dmDisplayOrientation;
      DWORD dmDisplayFixedOutput;
    };
  };
  short dmColor;
  short dmDuplex;
  short dmYResolution;
  short dmTTOption;
  short dmCollate;
  WCHAR dmFormName[CCHFORMNAME];
  WORD dmLogPixels;
  DWORD dmBitsPerPel;
  DWORD dmPelsWidth;
  DWORD dmPelsHeight;
  union {
    DWORD dmDisplayFlags;
    DWORD dmNup;
  };
  DWORD dmDisplayFrequency;
  DWORD dmICMMethod;
  DWORD dmICMIntent;
  DWORD dmMediaType;
  DWORD dmDitherType;
  DWORD dmReserved1;
  DWORD dmReserved2;
  DWORD dmPanningWidth;
  DWORD dmPanningHeight;
} DEVMODEW, *PDEVMODEW, *LPDEVMODEW;
static_assert(sizeof(DEVMODEW) == 220);

typedef struct _devicemodeA {
  BYTE dmDeviceName[CCHDEVICENAME];
  WORD dmSpecVersion;
  WORD dmDriverVersion;
  WORD dmSize;
  WORD dmDriverExtra;
  DWORD dmFields;
  union {
    struct {
      short dmOrientation;
      short dmPaperSize;
      short dmPaperLength;
      short dmPaperWidth;
      short dmScale;
      short dmCopies;
      short dmDefaultSource;
      short dmPrintQuality;
    };
    struct {
      POINTL dmPosition;
      DWORD dmDisplayOrientation;
      DWORD dmDisplayFixedOutput;
    };
  };
  short dmColor;
  short dmDuplex;
  short dmYResolution;
  short dmTTOption;
  short dmCollate;
  BYTE dmFormName[CCHFORMNAME];
  WORD dmLogPixels;
  DWORD dmBitsPerPel;
  DWORD dmPelsWidth;
  DWORD dmPelsHeight;
  union {
    DWORD dmDisplayFlags;
    DWORD dmNup;
  };
  DWORD dmDisplayFrequency;
  DWORD dmICMMethod;
  DWORD dmICMIntent;
  DWORD dmMediaType;
  DWORD dmDitherType;
  DWORD dmReserved1;
  DWORD dmReserved2;
  DWORD dmPanningWidth;
  DWORD dmPanningHeight;
} DEVMODEA, *LPDEVMODEA;
static_assert(sizeof(DEVMODEA) == 156);

#define DM_SPECVERSION 0x0401
#define DM_ORIENTATION 0x00000001
#define DM_PAPERSIZE 0x00000002
#define DM_PAPERLENGTH 0x00000004
#define DM_PAPERWIDTH 0x00000008
#define DM_SCALE 0x00000010
#define DM_COPIES 0x00000100
#define DM_DEFAULTSOURCE 0x00000200
#define DM_PRINTQUALITY 0x00000400
#define DM_COLOR 0x00000800
#define DM_DUPLEX 0x00001000
#define DM_YRESOLUTION 0x00002000
#define DM_TTOPTION 0x00004000
#define DM_COLLATE 0x00008000
#define DM_FORMNAME 0x00010000
#define DM_LOGPIXELS 0x00020000
#define DM_BITSPERPEL 0x00040000
#define DMORIENT_PORTRAIT 1
#define DMORIENT_LANDSCAPE 2
#define DMPAPER_LETTER 1
#define DMPAPER_A4 9
#define DMPAPER_USER 256
#define DMCOLOR_MONOCHROME 1
#define DMCOLOR_COLOR 2
#define DMDUP_SIMPLEX 1
#define DMTT_SUBDEV 3

// Modes of DocumentPropertiesW.
#define DM_OUT_DEFAULT 1
#define DM_OUT_BUFFER 2
#define DM_IN_PROMPT 4
#define DM_IN_BUFFER 8

// What DeviceCapabilitiesW is asked for.
#define DC_FIELDS 1
#define DC_BINS 6
#define DC_DUPLEX 7
#define DC_DRIVER 11
#define DC_BINNAMES 12
#define DC_TRUETYPE 15
#define DC_COPIES 18

// Device contexts and graphics objects belong to the process. A null or foreign handle fails with
// ERROR_INVALID_HANDLE. Lengths are pixels; a context's own coordinates are pixels as well, turned
// by its world transform in the advanced graphics mode.
extern "C" {
// The stock objects WHITE_BRUSH, BLACK_PEN, SYSTEM_FONT and DEFAULT_GUI_FONT; null for others
// (ERROR_CALL_NOT_IMPLEMENTED). They belong to the system, and DeleteObject leaves them alone.
HGDIOBJ WINAPI GetStockObject(int index);
// Writes the object's description (LOGFONTW for a font, BITMAP for a bitmap, without its bits) when
// `size` bytes are enough for it, and returns its size; only returns it when `buffer` is null. 0
// when the handle is none (ERROR_INVALID_HANDLE), the buffer is too small, or the object is a brush
// or pen (ERROR_CALL_NOT_IMPLEMENTED).
int WINAPI GetObjectW(HANDLE object, int size, LPVOID buffer);
// Deletes a brush, pen, font, bitmap or region. FALSE when the handle is none of these or the
// object is selected into a device context.
BOOL WINAPI DeleteObject(HGDIOBJ object);
// The character set `source` (the number itself in place of a pointer) with its ANSI code page.
// Flags: TCI_SRCCHARSET only. FALSE for a set without one (ERROR_INVALID_PARAMETER).
BOOL WINAPI TranslateCharsetInfo(LPDWORD source, LPCHARSETINFO info, DWORD flags);

HBRUSH WINAPI CreateSolidBrush(COLORREF color);
// Style: PS_SOLID only.
HPEN WINAPI CreatePen(int style, int width, COLORREF color);

// A font. There are no font files: every font has the same metrics, which follow from lfHeight and
// lfWidth alone, in whole pixels, rounded down. The character height e is -lfHeight; the cell is
// e + e * 3 / 16 high. A positive lfHeight is the height of the cell, 0 stands for 16. Of the cell,
// a sixth is descent; the external leading is (cell + 8) / 16. Every UTF-16 unit is lfWidth wide,
// or (cell * 2 + 2) / 5 when that is 0.
HFONT WINAPI CreateFontIndirectW(const LOGFONTW* font);
// The metrics of the context's font.
BOOL WINAPI GetTextMetricsW(HDC context, LPTEXTMETRICW metrics);
// The width and height of `length` UTF-16 units in the context's font, with the context's extra
// space after each of them.
BOOL WINAPI GetTextExtentPoint32W(HDC context, LPCWSTR text, int length, LPSIZE size);

// The context of the screen (`window` null) or of a window, given back with ReleaseDC by the same
// window. What is drawn into it goes nowhere. Null: ERROR_INVALID_WINDOW_HANDLE.
HDC WINAPI GetDC(HWND window);
// 1, or 0 when `context` is not one that GetDC gave for `window`.
int WINAPI ReleaseDC(HWND window, HDC context);
// A context that draws into the bitmap selected into it, of one black pixel at first. `like` (null:
// the screen) must exist.
HDC WINAPI CreateCompatibleDC(HDC like);
// Deletes a context of CreateCompatibleDC, whose objects are free again.
BOOL WINAPI DeleteDC(HDC context);
// A capability: technology, size and resolution of the screen, from the machine's metrics and its
// fact "screen.dpi"; 0 for one that is not known.
int WINAPI GetDeviceCaps(HDC context, int index);
// Puts the whole state (selected objects, attributes, transform, clipping, position, not the path)
// on the context's stack; the number of the state, from 1, or 0.
int WINAPI SaveDC(HDC context);
// Goes back to the state with the number (positive), or to the one that many saves ago (negative);
// it and the later ones are gone. FALSE, nothing changed: ERROR_INVALID_PARAMETER.
BOOL WINAPI RestoreDC(HDC context, int state);
// Selects a brush, pen, font or, into a memory context, a bitmap that no other context has; returns
// the previous one of its kind, null on failure.
HGDIOBJ WINAPI SelectObject(HDC context, HGDIOBJ object);
// The selected object of a kind (OBJ_PEN, OBJ_BRUSH, OBJ_FONT, OBJ_BITMAP); null for a bitmap
// when the context is no memory context, and for other kinds (ERROR_INVALID_PARAMETER).
HGDIOBJ WINAPI GetCurrentObject(HDC context, UINT type);

// Attributes. Setters return the previous value; 0 (GetTextColor, GetBkColor, SetTextColor and
// SetBkColor CLR_INVALID, the text alignment GDI_ERROR, the character extra 0x80000000) on failure,
// a value out of range ERROR_INVALID_PARAMETER.
int WINAPI GetROP2(HDC context);
int WINAPI SetROP2(HDC context, int mode);
COLORREF WINAPI GetTextColor(HDC context);
COLORREF WINAPI SetTextColor(HDC context, COLORREF color);
COLORREF WINAPI GetBkColor(HDC context);
COLORREF WINAPI SetBkColor(HDC context, COLORREF color);
int WINAPI GetBkMode(HDC context);
int WINAPI SetBkMode(HDC context, int mode);
int WINAPI GetPolyFillMode(HDC context);
int WINAPI SetPolyFillMode(HDC context, int mode);
int WINAPI GetStretchBltMode(HDC context);
int WINAPI SetStretchBltMode(HDC context, int mode);
UINT WINAPI GetTextAlign(HDC context);
UINT WINAPI SetTextAlign(HDC context, UINT alignment);
int WINAPI GetTextCharacterExtra(HDC context);
int WINAPI SetTextCharacterExtra(HDC context, int extra);
int WINAPI GetGraphicsMode(HDC context);
// Back to GM_COMPATIBLE only with the identity as world transform.
int WINAPI SetGraphicsMode(HDC context, int mode);
BOOL WINAPI GetWorldTransform(HDC context, LPXFORM transform);
// In the advanced graphics mode only; a transform that cannot be undone fails
// (ERROR_INVALID_PARAMETER).
BOOL WINAPI SetWorldTransform(HDC context, const XFORM* transform);
// MWT_IDENTITY ignores `transform`; MWT_LEFTMULTIPLY applies it before the present one,
// MWT_RIGHTMULTIPLY after it. In the advanced graphics mode only.
BOOL WINAPI ModifyWorldTransform(HDC context, const XFORM* transform, DWORD mode);

// Cuts the clipping down to the rectangle in device pixels (the right and bottom edges lie
// outside); NULLREGION, SIMPLEREGION or COMPLEXREGION by what is left, RGN_ERROR on failure. Not
// with a world transform (ERROR_CALL_NOT_IMPLEMENTED).
int WINAPI IntersectClipRect(HDC context, int left, int top, int right, int bottom);
// The smallest rectangle around what can be drawn into: the clipping within the bitmap, or within
// the screen. The same results.
int WINAPI GetClipBox(HDC context, LPRECT rectangle);

// Regions: sets of pixels. Coordinates have 27 bits (-0x4000000 to 0x3FFFFFF); others fail with
// ERROR_INVALID_PARAMETER. Whoever creates one deletes it with DeleteObject. Null and RGN_ERROR on
// failure; other results of int are NULLREGION, SIMPLEREGION (one rectangle) or COMPLEXREGION.
//
// The pixels from left to right - 1 and from top to bottom - 1, whichever way round the corners are
// given; empty when they share a coordinate.
HRGN WINAPI CreateRectRgn(int left, int top, int right, int bottom);
HRGN WINAPI CreateRectRgnIndirect(const RECT* rectangle);
// The pixels whose centres lie in the ellipse that the rectangle bounds, or on its edge. At most
// 32767 wide and high (ERROR_CALL_NOT_IMPLEMENTED).
HRGN WINAPI CreateEllipticRgn(int left, int top, int right, int bottom);
// The pixels whose upper left corners lie in the closed polygon by its fill mode, ALTERNATE or
// WINDING, or on its left or upper edges. At least 2 points.
HRGN WINAPI CreatePolygonRgn(const POINT* points, int count, int fill_mode);
// Replaces `target` (any region, also one of the sources) by the combination (RGN_AND, RGN_OR,
// RGN_XOR, RGN_DIFF; RGN_COPY takes `a` alone).
int WINAPI CombineRgn(HRGN target, HRGN a, HRGN b, int mode);
// TRUE for the same pixels; FALSE also for a handle that is no region.
BOOL WINAPI EqualRgn(HRGN a, HRGN b);
// The smallest rectangle around the region, zeros for an empty one.
int WINAPI GetRgnBox(HRGN region, LPRECT rectangle);
BOOL WINAPI PtInRegion(HRGN region, int x, int y);

// Paths: lines and Bezier curves, in sixteenths of a device pixel, taken up between BeginPath,
// which drops an earlier path, and EndPath. Outside a path nothing draws lines
// (ERROR_CALL_NOT_IMPLEMENTED); a call that needs a path fails with ERROR_CAN_NOT_COMPLETE.
BOOL WINAPI BeginPath(HDC context);
BOOL WINAPI EndPath(HDC context);
// Sets the current position, in a path also the start of a figure; `previous` may be null.
BOOL WINAPI MoveToEx(HDC context, int x, int y, LPPOINT previous);
BOOL WINAPI LineTo(HDC context, int x, int y);
// Curves from the current position: two handles and an end point each, so `count` is a multiple of
// 3.
BOOL WINAPI PolyBezierTo(HDC context, const POINT* points, DWORD count);
// A figure of its own, closed, that leaves the current position alone. At least 2 points.
BOOL WINAPI Polygon(HDC context, const POINT* points, int count);
// Closes the open figure of the path with a line.
BOOL WINAPI CloseFigure(HDC context);
// The finished path in the context's coordinates, rounded: `size` points and their types (PT_…),
// at most. Returns how many there are, without writing when `size` is 0; -1 when they do not fit.
int WINAPI GetPath(HDC context, LPPOINT points, LPBYTE types, int size);
// The pixels that the finished path covers by the context's fill mode, as with polygons, its curves
// exact to an eighth of a pixel and its figures closed. The path is gone afterwards.
HRGN WINAPI PathToRegion(HDC context);

// A bitmap of `planes` (1 only) and 1, 4, 8, 16, 24 or 32 bits per pixel (2 become 4). `bits` (may
// be null: all 0) are its rows from the top down, each padded to a multiple of 2 bytes. 16 bits are
// 5 bits each of red, green and blue.
HBITMAP WINAPI CreateBitmap(int width, int height, UINT planes, UINT bits_per_pixel,
                            const VOID* bits);
// A bitmap as deep as what the context draws into; the screen has 32 bits per pixel.
// The bitmap resource of a module as a bitmap of the screen's depth (monochrome stays so when its
// colours are black and white). Uncompressed resources only.
HBITMAP WINAPI LoadBitmapW(HINSTANCE module, LPCWSTR name);
// Copies `lines` rows from row `start` (0 is the bottom row) into `bits`, bottom-up, rows padded to
// 4 bytes, with the colour table into `info`; returns the rows copied, fewer at the top. The format
// asked for must be the bitmap's own, BI_RGB. Without `bits`: with biBitCount 0 fills the header,
// otherwise the header and the colour table; returns non-zero. 0 on failure. `context` must exist;
// the bitmap must not be selected into one. Usage: DIB_RGB_COLORS only.
int WINAPI GetDIBits(HDC context, HBITMAP bitmap, UINT start, UINT lines, LPVOID bits,
                     LPBITMAPINFO info, UINT usage);
// The colour of a pixel; CLR_INVALID outside the bitmap or the clipping, and where there is none.
COLORREF WINAPI GetPixel(HDC context, int x, int y);
// Copies pixels (SRCCOPY only) between contexts without a world transform.
BOOL WINAPI BitBlt(HDC target, int x, int y, int width, int height, HDC source, int source_x,
                   int source_y, DWORD operation);
// Copies the pixels that do not have the colour `transparent`, stretched to the target's size by
// leaving out or repeating pixels. A negative size fails (ERROR_INVALID_PARAMETER), as does a
// source rectangle that reaches out of its bitmap.
BOOL WINAPI TransparentBlt(HDC target, int x, int y, int width, int height, HDC source,
                           int source_x, int source_y, int source_width, int source_height,
                           UINT transparent);

// A context of an installed printer's pages. `driver` is null or "WINSPOOL", `port` null; `mode`
// (may be null: the printer's own settings) is read as the driver reads device modes. Null on
// failure: ERROR_INVALID_PRINTER_NAME, ERROR_CALL_NOT_IMPLEMENTED for other devices. Nothing of
// what is drawn goes anywhere. GetDeviceCaps tells the resolution, the paper (PHYSICALWIDTH,
// PHYSICALHEIGHT), the printable area (HORZRES, VERTRES) and where on the paper that begins.
HDC WINAPI CreateDCW(LPCWSTR driver, LPCWSTR device, LPCWSTR port, const DEVMODEW* mode);
// Lets a printer's context follow other settings; returns `context`. Null for any other context
// (ERROR_INVALID_HANDLE) and without a mode (ERROR_INVALID_PARAMETER).
HDC WINAPI ResetDCW(HDC context, const DEVMODEW* mode);
// QUERYESCSUPPORT: 1 when the context's driver has the escape whose number (4 bytes) `in` holds, 0
// when not and for contexts without a driver. GETTECHNOLOGY: what the driver calls its technology,
// cut to `out_size` bytes with the terminator, and 1; 0 from drivers that do not say. Others: 0
// with ERROR_CALL_NOT_IMPLEMENTED.
int WINAPI ExtEscape(HDC context, int escape, int in_size, LPCSTR in, int out_size, LPSTR out);
// What the driver of a printer offers: DC_FIELDS (the DM_ flags it minds), DC_DUPLEX (1 or 0),
// DC_COPIES (how many at most), DC_TRUETYPE, DC_DRIVER (the driver's version); DC_BINS and
// DC_BINNAMES give the number of paper bins and, with `out`, their ids (WORD) and names (24
// characters each, without a terminator when all are used). `port` and `mode` do not matter. -1 on
// failure: ERROR_INVALID_PRINTER_NAME, ERROR_CALL_NOT_IMPLEMENTED for other capabilities.
int WINAPI DeviceCapabilitiesW(LPCWSTR device, LPCWSTR port, WORD capability, LPWSTR out,
                               const DEVMODEW* mode);
}
