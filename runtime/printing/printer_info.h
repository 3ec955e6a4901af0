// What the spooler tells of printers and their drivers, in blocks that grow until everything fits.
//
// A null printer handle gives null at once. Every other failure is reported unless `quiet`: the
// spooler's with the name of its function and the system's text, an unknown level with that level,
// memory that runs out as "could not allocate PRINTER_INFO_x" (DRIVER_INFO_x). A spooler that still
// asks for more after five attempts is a failure without a report.
//
// The last error after a failure, behind a report too: that of the spooler
// (ERROR_INSUFFICIENT_BUFFER when it asks for more and more), ERROR_INVALID_HANDLE for a null
// handle, ERROR_NOT_ENOUGH_MEMORY.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/printing/heap_block.h"

namespace kv {

// GetPrinterW: PRINTER_INFO_`level` at the beginning of the block.
UniqueBlock<BYTE> GetPrinterInfo(HANDLE printer, DWORD level, Quiet quiet);

// GetPrinterA. A `name` that is neither null nor empty takes the place of the printer's name in the
// result (levels 1, 2, 4 and 5, and in the DEVMODE of levels 2, 8 and 9, there cut to 31 bytes); at
// level 2 a share name that is not empty is converted anew from its wide form, cut to 255 bytes,
// unless that form cannot be had.
UniqueBlock<BYTE> GetPrinterInfoA(HANDLE printer, LPCSTR name, DWORD level, Quiet quiet);

// The structure of one level.
UniqueBlock<PRINTER_INFO_2W> GetPrinterInfo2(HANDLE printer, Quiet quiet);
UniqueBlock<PRINTER_INFO_8W> GetPrinterInfo8(HANDLE printer, Quiet quiet);
UniqueBlock<PRINTER_INFO_9W> GetPrinterInfo9(HANDLE printer, Quiet quiet);

// GetPrinterDriverW for a print environment (null: the caller's own), whose name may lie in what
// *info holds. FALSE, with *info null, on failure.
BOOL GetPrinterDriverInfo(HANDLE printer, LPCWSTR environment, DWORD level, UniqueBlock<BYTE>* info,
                          Quiet quiet);
UniqueBlock<DRIVER_INFO_3W> GetPrinterDriverInfo3(HANDLE printer, LPCWSTR environment, Quiet quiet);

// The environment of the machine's own drivers: that of the product ("Windows NT x86"), or "Windows
// x64" under WOW64 on AMD64; null, the caller's own, on other machines.
LPCWSTR GetNativePrintEnvironment();

}  // namespace kv
