#include "platform/shell/link_file.h"

#include "platform/kernel/code_page.h"

namespace platform {
namespace {

constexpr DWORD kHeaderSize = 0x4C;
constexpr BYTE kLinkClass[16] = {0x01, 0x14, 0x02, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};

// Which parts follow the header.
constexpr DWORD kHasTargetList = 0x01;
constexpr DWORD kHasLinkInfo = 0x02;
constexpr DWORD kHasDescription = 0x04;
constexpr DWORD kHasRelativePath = 0x08;
constexpr DWORD kHasWorkingDirectory = 0x10;
constexpr DWORD kHasArguments = 0x20;
constexpr DWORD kHasIconFile = 0x40;
constexpr DWORD kIsUnicode = 0x80;
constexpr DWORD kPartFlags = 0xFF;

constexpr DWORD kHasLocalPath = 1;
constexpr DWORD kWideLinkInfoHead = 0x24;
constexpr DWORD kVolumeSize = 0x11;  // head and an empty label
constexpr DWORD kFixedDrive = 3;

// Reads numbers and blocks from the front; once something is missing, everything is.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  bool good() const { return good_; }
  std::string_view Take(size_t size) {
    if (size > bytes_.size()) {
      good_ = false;
      bytes_ = {};
      return {};
    }
    const std::string_view block = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return block;
  }
  template <class Number>
  Number Take() {
    Number number = 0;
    const std::string_view block = Take(sizeof(Number));
    for (size_t i = block.size(); i-- > 0;) {
      number = static_cast<Number>(number << 8 | static_cast<BYTE>(block[i]));
    }
    return number;
  }

 private:
  std::string_view bytes_;
  bool good_ = true;
};

std::string ToAnsi(WideView text) {
  std::string narrow(text.size() * 2, 0);
  const int length =
      WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<size_t>(length));
  return narrow;
}

WideString FromUtf16(std::string_view bytes) {
  WideString text(bytes.size() / sizeof(WCHAR), 0);
  bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(WCHAR));
  return text;
}

// The text at an offset of a block, up to its terminator or the block's end.
WideString AnsiFrom(std::string_view block, DWORD offset) {
  if (offset >= block.size()) return {};
  block.remove_prefix(offset);
  return WideFromBytes(CP_ACP, block.substr(0, block.find('\0')));
}

WideString Utf16From(std::string_view block, DWORD offset) {
  if (offset >= block.size()) return {};
  const WideString text = FromUtf16(block.substr(offset));
  return text.substr(0, text.find(WCHAR{0}));
}

// The local path of the link information, `block` being the whole of it.
WideString LocalPath(std::string_view block) {
  Reader reader(block);
  reader.Take<DWORD>();
  const DWORD head = reader.Take<DWORD>();
  const DWORD flags = reader.Take<DWORD>();
  reader.Take<DWORD>();  // the volume
  const DWORD base = reader.Take<DWORD>();
  reader.Take<DWORD>();  // the network share
  const DWORD suffix = reader.Take<DWORD>();
  if (!reader.good() || (flags & kHasLocalPath) == 0) return {};
  if (head >= kWideLinkInfoHead) {
    const DWORD wide_base = reader.Take<DWORD>();
    const DWORD wide_suffix = reader.Take<DWORD>();
    if (reader.good()) return Utf16From(block, wide_base) + Utf16From(block, wide_suffix);
  }
  return AnsiFrom(block, base) + AnsiFrom(block, suffix);
}

// Writing.
template <class Number>
void Put(std::string& bytes, Number number) {
  for (size_t i = 0; i < sizeof(Number); ++i) bytes += static_cast<char>(number >> (8 * i));
}

void PutUtf16(std::string& bytes, WideView text) {
  bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR));
}

void PutText(std::string& bytes, WideView text) {
  if (text.empty()) return;
  Put<WORD>(bytes, static_cast<WORD>(text.size()));
  PutUtf16(bytes, text);
}

void PutLinkInfo(std::string& bytes, WideView path) {
  const std::string ansi = ToAnsi(path);
  const DWORD base = kWideLinkInfoHead + kVolumeSize;
  const DWORD suffix = base + static_cast<DWORD>(ansi.size()) + 1;
  const DWORD wide_base = suffix + 1;
  const DWORD wide_suffix = wide_base + static_cast<DWORD>((path.size() + 1) * sizeof(WCHAR));
  Put<DWORD>(bytes, wide_suffix + sizeof(WCHAR));
  Put<DWORD>(bytes, kWideLinkInfoHead);
  Put<DWORD>(bytes, kHasLocalPath);
  Put<DWORD>(bytes, kWideLinkInfoHead);  // where the volume stands
  Put<DWORD>(bytes, base);
  Put<DWORD>(bytes, 0);  // no network share
  Put<DWORD>(bytes, suffix);
  Put<DWORD>(bytes, wide_base);
  Put<DWORD>(bytes, wide_suffix);
  Put<DWORD>(bytes, kVolumeSize);
  Put<DWORD>(bytes, kFixedDrive);
  Put<DWORD>(bytes, 0);                // serial number
  Put<DWORD>(bytes, kVolumeSize - 1);  // where the label stands
  bytes += '\0';
  bytes += ansi;
  bytes.append(2, '\0');
  PutUtf16(bytes, path);
  Put<WORD>(bytes, 0);
  Put<WORD>(bytes, 0);
}

DWORD PartFlags(const LinkData& link) {
  DWORD flags = kIsUnicode;
  const auto set = [&](bool there, DWORD flag) { flags |= there ? flag : 0; };
  set(!link.target.empty(), kHasTargetList);
  set(!link.local_path.empty(), kHasLinkInfo);
  set(!link.description.empty(), kHasDescription);
  set(!link.relative_path.empty(), kHasRelativePath);
  set(!link.working_directory.empty(), kHasWorkingDirectory);
  set(!link.arguments.empty(), kHasArguments);
  set(!link.icon_file.empty(), kHasIconFile);
  return flags;
}

}  // namespace

std::optional<LinkData> ReadLink(std::string_view bytes) {
  Reader reader(bytes);
  if (reader.Take<DWORD>() != kHeaderSize) return std::nullopt;
  if (reader.Take(sizeof(kLinkClass)) !=
      std::string_view(reinterpret_cast<const char*>(kLinkClass), sizeof(kLinkClass))) {
    return std::nullopt;
  }
  LinkData link;
  const DWORD flags = reader.Take<DWORD>();
  link.flags = flags & ~kPartFlags;
  reader.Take(4 + 3 * sizeof(FILETIME) + 4);  // the target's attributes, times and length
  link.icon_index = static_cast<int>(reader.Take<DWORD>());
  link.show = static_cast<int>(reader.Take<DWORD>());
  link.hot_key = reader.Take<WORD>();
  reader.Take(10);  // reserved

  if (flags & kHasTargetList) {
    const std::string_view list = reader.Take(reader.Take<WORD>());
    const ItemSpan items = WholeItems({reinterpret_cast<const BYTE*>(list.data()), list.size()});
    link.target.assign(items.begin(), items.end());
  }
  if (flags & kHasLinkInfo) {
    Reader ahead = reader;
    link.local_path = LocalPath(reader.Take(ahead.Take<DWORD>()));
  }
  const auto take_text = [&](DWORD part, WideString& text) {
    if ((flags & part) == 0) return;
    const WORD count = reader.Take<WORD>();
    text = flags & kIsUnicode ? FromUtf16(reader.Take(count * sizeof(WCHAR)))
                              : WideFromBytes(CP_ACP, reader.Take(count));
  };
  take_text(kHasDescription, link.description);
  take_text(kHasRelativePath, link.relative_path);
  take_text(kHasWorkingDirectory, link.working_directory);
  take_text(kHasArguments, link.arguments);
  take_text(kHasIconFile, link.icon_file);
  if (!reader.good()) return std::nullopt;
  return link;
}

std::string WriteLink(const LinkData& link) {
  std::string bytes;
  Put<DWORD>(bytes, kHeaderSize);
  bytes.append(reinterpret_cast<const char*>(kLinkClass), sizeof(kLinkClass));
  Put<DWORD>(bytes, link.flags | PartFlags(link));
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  GetFileAttributesExW(link.local_path.c_str(), GetFileExInfoStandard, &data);
  Put<DWORD>(bytes, data.dwFileAttributes);
  for (const FILETIME& time : {data.ftCreationTime, data.ftLastAccessTime, data.ftLastWriteTime}) {
    Put<DWORD>(bytes, time.dwLowDateTime);
    Put<DWORD>(bytes, time.dwHighDateTime);
  }
  Put<DWORD>(bytes, data.nFileSizeLow);
  Put<DWORD>(bytes, static_cast<DWORD>(link.icon_index));
  Put<DWORD>(bytes, static_cast<DWORD>(link.show));
  Put<WORD>(bytes, link.hot_key);
  bytes.append(10, '\0');

  if (!link.target.empty()) {
    Put<WORD>(bytes, static_cast<WORD>(link.target.size() + 2));
    bytes.append(reinterpret_cast<const char*>(link.target.data()), link.target.size());
    Put<WORD>(bytes, 0);
  }
  if (!link.local_path.empty()) PutLinkInfo(bytes, link.local_path);
  for (const WideString* text : {&link.description, &link.relative_path, &link.working_directory,
                                 &link.arguments, &link.icon_file}) {
    PutText(bytes, *text);
  }
  Put<DWORD>(bytes, 0);  // no extra data
  return bytes;
}

}  // namespace platform
