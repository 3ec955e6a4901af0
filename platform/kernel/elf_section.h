// Sections of host modules and programs.
#pragma once

#include <windows.h>

#include <string_view>
#include <vector>

namespace platform {

// What kind of file begins with these bytes.
enum class ImageFormat { kOther, kPe, kElf };
ImageFormat FormatOf(int descriptor);

// Whether an ELF file is of this process's word size.
bool IsOwnElf(int descriptor);

// The content of the named section of an ELF file of either word size; empty when there is none.
std::vector<BYTE> ReadElfSection(int descriptor, std::string_view name);

}  // namespace platform
