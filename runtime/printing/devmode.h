// Device modes: the settings of a printer, a public part of fixed layout with the driver's own data
// (dmDriverExtra bytes) behind it.
//
// Device modes come from drivers, other processes and the registry, so pointers to them are not
// trusted: a valid one is readable, and its dmSize is that of the structure (220 bytes, narrow
// 156). No more is ever read of one than was found to be readable, and it may lie at any address,
// odd ones too. Texts in them need not be terminated.
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
// The same of one that need not be valid: the structures of older drivers are shorter. 0 when it
// ends before dmFields or cannot be read whole.
size_t ReadableDevModeSize(const DEVMODEW* devMode);

// A copy of the public part of a valid device mode, and where its driver's data lie.
DEVMODEW PublicPartOf(const DEVMODEW* devMode);
inline const BYTE* PrivatePartOf(const DEVMODEW* devMode) {
  return reinterpret_cast<const BYTE*>(devMode) + sizeof(DEVMODEW);
}

// A copy of the ReadableDevModeSize bytes; structures of older drivers, which are not valid here,
// are copied as well. Null for null; null, with ERROR_INVALID_PARAMETER, when it cannot be read.
// Without memory null, with ERROR_NOT_ENOUGH_MEMORY, after the report "DuplicateDevmodePtr could
// not allocate DEVMODE" unless `quiet`.
UniqueDevMode DuplicateDevmodePtr(const DEVMODEW* devMode, Quiet quiet);

// Whether two device modes stand for the same settings: all bytes count but those behind the
// terminators of the two names. Two null pointers are equal; one that is not valid equals nothing,
// itself included.
BOOL DevModesEqual(const DEVMODEW* a, const DEVMODEW* b);

// The wide form of a narrow device mode, with its driver's data as they are. Null, without a
// report, for one that is not valid (ERROR_INVALID_PARAMETER) and when memory runs out
// (ERROR_NOT_ENOUGH_MEMORY).
UniqueDevMode DevModeFromA(const DEVMODEA* devMode);

constexpr int kModeTextCapacity = 160;
// The mode bits of DocumentPropertiesW by their names, for diagnostics: "DM_IN_BUFFER,
// DM_OUT_BUFFER", "get DEVMODE size" for 0; bits without a name are shown as "unknown" and a
// number.
void DescribeDevModeMode(DWORD mode, WCHAR (&text)[kModeTextCapacity]);

}  // namespace kv
