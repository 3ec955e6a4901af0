#include "platform/shell/item_list.h"

#include <objbase.h>
#include <time.h>

#include <cstring>
#include <iterator>

#include "platform/control/shell_items.h"
#include "platform/kernel/code_page.h"

namespace platform {
namespace {

// Types of items.
constexpr BYTE kRootFolder = 0x1F;
constexpr BYTE kDrive = 0x2F;
constexpr BYTE kFileMask = 0x70;
constexpr BYTE kFileGroup = 0x30;
constexpr BYTE kDirectoryBit = 0x01;
constexpr BYTE kFileBit = 0x02;
constexpr BYTE kWideNameBit = 0x04;
constexpr BYTE kAddress = 0x61;
constexpr BYTE kPrinter = 0x70;

constexpr BYTE kWideAddress = 0x80;
constexpr size_t kDriveItemSize = 25;
constexpr size_t kFileNameOffset = 14;  // behind size, type, length, time and attributes
constexpr DWORD kNamesSignature = 0xBEEF0004;
constexpr size_t kNamesHead = 20;  // of the block with the long name as version 3 has it
constexpr size_t kAddressOffset = 6;
constexpr size_t kPrinterOffset = 4;

constexpr GUID kComputer = {
    0x20D04FE0, 0x3AEA, 0x1069, {0xA2, 0xD8, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D}};
constexpr GUID kInternet = {
    0x871C5380, 0x42A0, 0x1069, {0xA2, 0xEA, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D}};
constexpr GUID kPrinters = {
    0x2227A280, 0x3AEA, 0x1069, {0xA2, 0xDE, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D}};

template <class Number>
void Put(ItemBytes& bytes, Number number) {
  for (size_t i = 0; i < sizeof(Number); ++i) bytes.push_back(static_cast<BYTE>(number >> (8 * i)));
}

WORD WordAt(ItemSpan bytes, size_t offset) {
  return static_cast<WORD>(bytes[offset] | bytes[offset + 1] << 8);
}

void PutWide(ItemBytes& bytes, WideView text) {
  for (const WCHAR c : text) Put<WORD>(bytes, c);
  Put<WORD>(bytes, 0);
}

WideString WideAt(ItemSpan bytes, size_t offset) {
  WideString text;
  for (; offset + 1 < bytes.size() && WordAt(bytes, offset) != 0; offset += 2) {
    text += static_cast<WCHAR>(WordAt(bytes, offset));
  }
  return text;
}

WideString AnsiAt(ItemSpan bytes, size_t offset) {
  std::string text;
  while (offset < bytes.size() && bytes[offset] != 0) text += static_cast<char>(bytes[offset++]);
  return WideFromBytes(CP_ACP, text);
}

// Gives the item its size.
ItemBytes Closed(ItemBytes item) {
  item[0] = static_cast<BYTE>(item.size());
  item[1] = static_cast<BYTE>(item.size() >> 8);
  return item;
}

ItemBytes RootFolder(const GUID& id, BYTE order) {
  ItemBytes item = {0, 0, kRootFolder, order};
  const auto* const bytes = reinterpret_cast<const BYTE*>(&id);
  item.insert(item.end(), bytes, bytes + sizeof(id));
  return Closed(std::move(item));
}

// Date and time as FAT has them, in the two halves of the number.
DWORD DosTime(const FILETIME& time) {
  constexpr int64_t kUnixEpoch = 11644473600;
  constexpr int kFirstYear = 80;
  const uint64_t ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  const time_t seconds = static_cast<time_t>(ticks / 10'000'000) - kUnixEpoch;
  tm parts = {};
  gmtime_r(&seconds, &parts);
  if (parts.tm_year < kFirstYear) return 0;
  const DWORD date = static_cast<DWORD>((parts.tm_year - kFirstYear) << 9 |
                                        (parts.tm_mon + 1) << 5 | parts.tm_mday);
  return date | static_cast<DWORD>(parts.tm_hour << 11 | parts.tm_min << 5 | parts.tm_sec / 2)
                    << 16;
}

// A file or directory, with the name in the machine's code page and, behind it, whole.
ItemBytes FileItem(const WideString& path, WideView name, bool is_last) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  const bool exists = GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
  const bool directory =
      exists ? (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 : !is_last;
  ItemBytes item = {0, 0, static_cast<BYTE>(kFileGroup | (directory ? kDirectoryBit : kFileBit)),
                    0};
  Put<DWORD>(item, data.nFileSizeLow);
  Put<DWORD>(item, DosTime(data.ftLastWriteTime));
  Put<WORD>(item, static_cast<WORD>(data.dwFileAttributes));
  char ansi[2 * MAX_PATH] = {};
  const int length = WideCharToMultiByte(CP_ACP, 0, name.data(), static_cast<int>(name.size()),
                                         ansi, sizeof(ansi) - 1, nullptr, nullptr);
  item.insert(item.end(), ansi, ansi + length + 1);
  if (item.size() % 2 != 0) item.push_back(0);

  const size_t block = item.size();
  Put<WORD>(item, static_cast<WORD>(kNamesHead + (name.size() + 1) * sizeof(WCHAR) + 2));
  Put<WORD>(item, 3);  // the version
  Put<DWORD>(item, kNamesSignature);
  Put<DWORD>(item, DosTime(data.ftCreationTime));
  Put<DWORD>(item, DosTime(data.ftLastAccessTime));
  Put<WORD>(item, kNamesHead);
  Put<WORD>(item, 0);  // no translated name
  PutWide(item, name);
  Put<WORD>(item, static_cast<WORD>(block));
  return Closed(std::move(item));
}

// Where the whole name begins in the block of names, by the block's version; 0 when unknown.
size_t LongNameOffset(WORD version) {
  switch (version) {
    case 3:
      return kNamesHead;
    case 7:
      return 38;
    case 8:
      return 42;
    case 9:
      return 46;
    default:
      return 0;
  }
}

WideString FileName(ItemSpan item) {
  if (item.size() <= kFileNameOffset) return {};
  if (item[2] & kWideNameBit) return WideAt(item, kFileNameOffset);
  const size_t block = WordAt(item, item.size() - 2);
  if (block > kFileNameOffset && block + kNamesHead < item.size()) {
    const DWORD signature = WordAt(item, block + 4) | DWORD{WordAt(item, block + 6)} << 16;
    const size_t offset = LongNameOffset(WordAt(item, block + 2));
    if (signature == kNamesSignature && offset != 0) return WideAt(item, block + offset);
  }
  return AnsiAt(item, kFileNameOffset);
}

bool IsFileItem(ItemSpan item) {
  return (item[2] & kFileMask) == kFileGroup;
}

bool IsFolder(ItemSpan item, const GUID& id) {
  return item.size() >= 4 + sizeof(id) && item[2] == kRootFolder &&
         std::memcmp(item.data() + 4, &id, sizeof(id)) == 0;
}

WideString NameOfItem(ItemSpan item) {
  const BYTE type = item[2];
  if (type == kDrive && item.size() > 5) return AnsiAt(item, 3);
  if (IsFileItem(item)) return FileName(item);
  if (type == kAddress && item.size() > kAddressOffset) {
    return item[3] & kWideAddress ? WideAt(item, kAddressOffset) : AnsiAt(item, kAddressOffset);
  }
  if (type == kPrinter) return WideAt(item, kPrinterOffset);
  return {};
}

void Append(ItemBytes& list, const ItemBytes& item) {
  list.insert(list.end(), item.begin(), item.end());
}

}  // namespace

ItemSpan WholeItems(ItemSpan bytes) {
  size_t end = 0;
  while (end + 2 <= bytes.size()) {
    const WORD size = WordAt(bytes, end);
    // An item has at least a type.
    if (size < 3 || size > bytes.size() - end) break;
    end += size;
  }
  return bytes.first(end);
}

ItemSpan SpanOf(PCIDLIST_ABSOLUTE list) {
  if (list == nullptr) return {};
  const auto* const bytes = reinterpret_cast<const BYTE*>(list);
  size_t size = 0;
  for (;;) {
    const WORD item = static_cast<WORD>(bytes[size] | bytes[size + 1] << 8);
    if (item == 0) return {bytes, size};
    size += item;
  }
}

std::vector<ItemSpan> ItemsOf(ItemSpan list) {
  std::vector<ItemSpan> items;
  for (list = WholeItems(list); !list.empty(); list = list.subspan(items.back().size())) {
    items.push_back(list.first(WordAt(list, 0)));
  }
  return items;
}

PIDLIST_ABSOLUTE ListForTask(ItemSpan items) {
  auto* const bytes = static_cast<BYTE*>(CoTaskMemAlloc(items.size() + 2));
  if (bytes == nullptr) return nullptr;
  std::copy(items.begin(), items.end(), bytes);
  bytes[items.size()] = bytes[items.size() + 1] = 0;
  return reinterpret_cast<PIDLIST_ABSOLUTE>(bytes);
}

ItemBytes ComputerFolder() {
  return RootFolder(kComputer, 0x50);
}

ItemBytes InternetFolder() {
  return RootFolder(kInternet, 0x68);
}

ItemBytes PrintersFolder() {
  ItemBytes list = ComputerFolder();
  Append(list, RootFolder(kPrinters, 0x70));
  return list;
}

ItemBytes ListOfPath(WideView full_path) {
  const bool on_drive = full_path.size() >= 3 && full_path[1] == ':' && full_path[2] == '\\';
  if (!on_drive) return {};
  ItemBytes list = ComputerFolder();
  ItemBytes drive = {0, 0, kDrive, static_cast<BYTE>(full_path[0]), ':', '\\'};
  drive.resize(kDriveItemSize);
  Append(list, Closed(std::move(drive)));
  size_t begin = 3;
  while (begin < full_path.size()) {
    const size_t end = std::min(full_path.find('\\', begin), full_path.size());
    const WideView name = full_path.substr(begin, end - begin);
    if (!name.empty()) {
      Append(list, FileItem(WideString(full_path.substr(0, end)), name, end == full_path.size()));
    }
    begin = end + 1;
  }
  return list;
}

ItemBytes ListOfAddress(WideView address) {
  ItemBytes list = InternetFolder();
  ItemBytes item = {0, 0, kAddress, kWideAddress, 0, 0};
  PutWide(item, address);
  Append(list, Closed(std::move(item)));
  return list;
}

ItemBytes ListOfPrinter(WideView printer) {
  ItemBytes list = PrintersFolder();
  ItemBytes item = {0, 0, kPrinter, 0};
  PutWide(item, printer);
  Append(list, Closed(std::move(item)));
  return list;
}

PIDLIST_ABSOLUTE PrinterItemList(WideView printer) {
  return ListForTask(ListOfPrinter(printer));
}

std::optional<WideString> PathOfList(ItemSpan list) {
  std::vector<ItemSpan> items = ItemsOf(list);
  if (!items.empty() && IsFolder(items.front(), kComputer)) items.erase(items.begin());
  if (items.empty() || items.front()[2] != kDrive) return std::nullopt;
  WideString path = NameOfItem(items.front());
  for (const ItemSpan item : std::span(items).subspan(1)) {
    if (!IsFileItem(item)) return std::nullopt;
    if (!path.ends_with('\\')) path += '\\';
    path += NameOfItem(item);
  }
  return path;
}

WideString NameWithin(ItemSpan folder, ItemSpan rest) {
  // The drives' folder and the desktop name files by their whole paths.
  if (folder.empty() || ItemsOf(folder).size() == 1) {
    ItemBytes whole(folder.begin(), folder.end());
    whole.insert(whole.end(), rest.begin(), rest.end());
    if (const auto path = PathOfList(whole)) return *path;
  }
  WideString name;
  for (const ItemSpan item : ItemsOf(rest)) {
    if (!name.empty()) name += '\\';
    name += NameOfItem(item);
  }
  return name;
}

}  // namespace platform
