// Device modes: the settings of a printer, a public part of fixed layout with the driver's own data
// (dmDriverExtra bytes) behind it.
//
// Device modes come from drivers, other processes and the registry, so pointers to them are not
// trusted: a valid one is readable, and its dmSize is that of the structure (220 bytes, narrow
// 156). What is not valid is never read beyond that test. Texts in them need not be terminated.
#pragma once

#include "runtime/core/flags.h"
#include "runtime/printing/heap_block.h"

namespace kv {

// What functions that write device modes answer.
enum WriteResult : int {
  kWriteFailed = 0,
  kWritten = 1,
  kUnchanged = 2,  // everything already was as it should be; nothing was written
};

// Whether the device mode can be read with its driver's data and has the size of its structure.
BOOL IsValidDevMode(const DEVMODEW* devMode);
BOOL IsValidDevModeA(const DEVMODEA* devMode);

// The bytes of a device mode with its driver's data.
inline size_t DevModeSize(const DEVMODEW& devMode) {
  return size_t{devMode.dmSize} + devMode.dmDriverExtra;
}

// A copy of the DevModeSize bytes, which must be readable; structures of older drivers, which are
// not valid here, are copied as well. Null for null. Without memory null after the report
// "DuplicateDevmodePtr could not allocate DEVMODE".
UniqueDevMode DuplicateDevmodePtr(const DEVMODEW* devMode, Quiet quiet);

// Whether two device modes stand for the same settings: all bytes count but those behind the
// terminators of the two names. Two null pointers are equal; one that is not valid equals nothing,
// itself included.
BOOL DevModesEqual(const DEVMODEW* a, const DEVMODEW* b);

// The wide form of a narrow device mode, with its driver's data as they are. Null, without a
// report, for one that is not valid and when memory runs out.
UniqueDevMode DevModeFromA(const DEVMODEA* devMode);

constexpr int kModeTextCapacity = 160;
// The mode bits of DocumentPropertiesW by their names, for diagnostics: "DM_IN_BUFFER,
// DM_OUT_BUFFER", "get DEVMODE size" for 0; bits without a name are shown as "unknown" and a
// number.
void DescribeDevModeMode(DWORD mode, WCHAR (&text)[kModeTextCapacity]);

}  // namespace kv
