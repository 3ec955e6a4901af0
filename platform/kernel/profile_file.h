// Initialisation files.
//
// Lines stay as they are until something is written to their section: comments, order and blank
// lines survive.
#pragma once

#include <optional>
#include <vector>

#include "platform/kernel/locked_file.h"
#include "platform/kernel/text.h"

namespace platform {

class ProfileFile {
 public:
  // Reads the file; one that is not there is empty. A name without a directory is one of the
  // Windows directory. ANSI, or UTF-16 behind a byte order mark. While the object lives, it is the
  // only one of all processes, so that what is read, changed and saved is one step.
  explicit ProfileFile(WideView name);

  std::vector<WideString> Sections() const;
  bool HasSection(WideView section) const { return FindSection(section) <= lines_.size(); }
  // The names in a section, in their order.
  std::vector<WideString> Keys(WideView section) const;
  // The lines of a section that are not comments, "key=value" without blanks around the parts.
  std::vector<WideString> Lines(WideView section) const;
  // The value without a pair of quotes around it.
  std::optional<WideString> Value(WideView section, WideView key) const;

  void SetValue(WideView section, WideView key, WideView value);
  void DeleteKey(WideView section, WideView key);
  void DeleteSection(WideView section);
  // Puts `lines` in place of everything in the section.
  void SetSection(WideView section, const std::vector<WideString>& lines);
  // Writes the file as it was encoded; the error code, also when it could not be read.
  DWORD Save() const;

 private:
  // The first line behind the section's head; one behind the end when there is no section.
  size_t FindSection(WideView section) const;
  size_t EndOfSection(size_t first) const;
  size_t FindKey(WideView section, WideView key) const;
  size_t AddSection(WideView section);

  const LockedFile turn_;
  WideString path_;
  DWORD read_error_ = ERROR_SUCCESS;
  bool is_utf16_ = false;
  std::vector<WideString> lines_;
};

}  // namespace platform
