// Item identifier lists as bytes: what they name, and how they are made.
#pragma once

#include <shtypes.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/kernel/text.h"

namespace platform {

// The items one behind the other, each beginning with its size, without the closing zero.
using ItemBytes = std::vector<BYTE>;
using ItemSpan = std::span<const BYTE>;

// The bytes of a terminated list.
ItemSpan SpanOf(PCIDLIST_ABSOLUTE list);
// The items of `bytes` up to the closing zero, as far as they are whole.
ItemSpan WholeItems(ItemSpan bytes);
// Each item by itself.
std::vector<ItemSpan> ItemsOf(ItemSpan list);
// A terminated copy from the task allocator.
PIDLIST_ABSOLUTE ListForTask(ItemSpan items);

// The folders that are no directories.
ItemBytes ComputerFolder();
ItemBytes InternetFolder();
ItemBytes PrintersFolder();

// What a full path of a drive names, whether it exists or not; empty for other paths.
ItemBytes ListOfPath(WideView full_path);
ItemBytes ListOfAddress(WideView address);
ItemBytes ListOfPrinter(WideView printer);

// The full path of a list, or nothing when it does not name a file or directory of a drive.
std::optional<WideString> PathOfList(ItemSpan list);
// The parsing name of the items `rest` of the folder `folder`.
WideString NameWithin(ItemSpan folder, ItemSpan rest);

}  // namespace platform
