// What a shell link keeps, and the file format that it is kept in.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/shell/item_list.h"

namespace platform {

struct LinkData {
  DWORD flags = 0;  // SLDF_RUNAS_USER and the like; what says which parts are there is not kept
  int icon_index = 0;
  int show = SW_SHOWNORMAL;
  WORD hot_key = 0;
  ItemBytes target;
  WideString local_path;  // of a target that is a file
  WideString description;
  WideString relative_path;
  WideString working_directory;
  WideString arguments;
  WideString icon_file;
};

// Texts longer than this have no place in the file.
inline constexpr size_t kLongestLinkText = 0xFFFF;

// Nothing when the bytes are no link, or end within a part that they promise.
std::optional<LinkData> ReadLink(std::string_view bytes);
std::string WriteLink(const LinkData& link);

}  // namespace platform
