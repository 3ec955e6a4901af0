#include "platform/kernel/profile_file.h"

#include <algorithm>
#include <cstring>

#include "platform/kernel/code_page.h"
#include "platform/kernel/files.h"
#include "platform/kernel/installation.h"

namespace platform {
namespace {

constexpr WCHAR kByteOrderMark = 0xFEFF;
constexpr size_t kLargestFile = 64u << 20;
constexpr WideView kBlanks = TEXT(" \t");
constexpr WideView kLineBreak = TEXT("\r\n");

WideView Trimmed(WideView text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == WideView::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

bool IsComment(WideView line) {
  return Trimmed(line).starts_with(';');
}

// The name of the section that a line begins; nothing for other lines.
std::optional<WideView> SectionName(WideView line) {
  const WideView text = Trimmed(line);
  const size_t close = text.find(']');
  if (!text.starts_with('[') || close == WideView::npos) return std::nullopt;
  return Trimmed(text.substr(1, close - 1));
}

WideView KeyOf(WideView line) {
  return Trimmed(line.substr(0, line.find('=')));
}

WideView ValueOf(WideView line) {
  const size_t equals = line.find('=');
  return equals == WideView::npos ? WideView() : Trimmed(line.substr(equals + 1));
}

WideView Unquoted(WideView value) {
  if (value.size() < 2 || value.front() != value.back()) return value;
  if (value.front() != '"' && value.front() != '\'') return value;
  return value.substr(1, value.size() - 2);
}

std::vector<WideString> SplitLines(WideView text) {
  std::vector<WideString> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    WideView line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.emplace_back(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::string ToAnsi(WideView text) {
  const int length = static_cast<int>(text.size());
  std::string bytes(text.size() * 4, 0);
  const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), length, bytes.data(),
                                       static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<size_t>(size));
  return bytes;
}

}  // namespace

ProfileFile::ProfileFile(WideView name)
    : turn_(Machine::Current().directory() / "objects" / "profiles"), path_(name) {
  if (name.find_first_of(TEXT("\\/:")) == WideView::npos) {
    path_ = WindowsDirectory() + TEXT("\\") + path_;
  }
  std::shared_ptr<File> file;
  bool existed = false;
  std::vector<BYTE> content;
  DWORD error = File::Open(path_, {GENERIC_READ, kShareAll, OPEN_EXISTING, 0}, file, existed);
  if (error == ERROR_SUCCESS) error = ReadHostFile(file->descriptor(), kLargestFile, content);
  if (error != ERROR_SUCCESS) {
    read_error_ = error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
    return;
  }
  const std::string_view bytes(reinterpret_cast<const char*>(content.data()), content.size());
  is_utf16_ = bytes.starts_with("\xFF\xFE");
  if (is_utf16_) {
    WideString text(bytes.size() / sizeof(WCHAR), 0);
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
    lines_ = SplitLines(WideView(text).substr(1));
  } else {
    lines_ = SplitLines(WideFromBytes(CP_ACP, bytes));
  }
}

size_t ProfileFile::FindSection(WideView section) const {
  for (size_t i = 0; i < lines_.size(); ++i) {
    const auto name = SectionName(lines_[i]);
    if (name && EqualNoCase(*name, Trimmed(section))) return i + 1;
  }
  return lines_.size() + 1;
}

size_t ProfileFile::EndOfSection(size_t first) const {
  size_t end = first;
  while (end < lines_.size() && !SectionName(lines_[end])) ++end;
  return end;
}

size_t ProfileFile::FindKey(WideView section, WideView key) const {
  const size_t first = FindSection(section);
  const size_t end = EndOfSection(first);
  for (size_t i = first; i < end; ++i) {
    if (!IsComment(lines_[i]) && EqualNoCase(KeyOf(lines_[i]), Trimmed(key))) return i;
  }
  return lines_.size();
}

std::vector<WideString> ProfileFile::Sections() const {
  std::vector<WideString> names;
  for (const WideString& line : lines_) {
    if (const auto name = SectionName(line)) names.emplace_back(*name);
  }
  return names;
}

std::vector<WideString> ProfileFile::Keys(WideView section) const {
  std::vector<WideString> names;
  for (const WideString& line : Lines(section)) {
    if (!KeyOf(line).empty()) names.emplace_back(KeyOf(line));
  }
  return names;
}

std::vector<WideString> ProfileFile::Lines(WideView section) const {
  std::vector<WideString> lines;
  const size_t first = FindSection(section);
  const size_t end = EndOfSection(first);
  for (size_t i = first; i < end; ++i) {
    const WideView line = lines_[i];
    if (Trimmed(line).empty() || IsComment(line)) continue;
    WideString text(KeyOf(line));
    if (line.find('=') != WideView::npos) text += TEXT("=") + WideString(ValueOf(line));
    lines.push_back(std::move(text));
  }
  return lines;
}

std::optional<WideString> ProfileFile::Value(WideView section, WideView key) const {
  const size_t line = FindKey(section, key);
  if (line == lines_.size()) return std::nullopt;
  return WideString(Unquoted(ValueOf(lines_[line])));
}

size_t ProfileFile::AddSection(WideView section) {
  lines_.push_back(TEXT("[") + WideString(Trimmed(section)) + TEXT("]"));
  return lines_.size();
}

void ProfileFile::SetValue(WideView section, WideView key, WideView value) {
  const WideString text = WideString(Trimmed(key)) + TEXT("=") + WideString(value);
  const size_t line = FindKey(section, key);
  if (line < lines_.size()) {
    lines_[line] = text;
    return;
  }
  size_t first = FindSection(section);
  if (first > lines_.size()) first = AddSection(section);
  size_t end = EndOfSection(first);
  // The new line joins the others, before blank lines that part the sections.
  while (end > first && Trimmed(lines_[end - 1]).empty()) --end;
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(end), text);
}

void ProfileFile::DeleteKey(WideView section, WideView key) {
  const size_t line = FindKey(section, key);
  if (line < lines_.size()) lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(line));
}

void ProfileFile::DeleteSection(WideView section) {
  const size_t first = FindSection(section);
  if (first > lines_.size()) return;
  lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(first) - 1,
               lines_.begin() + static_cast<std::ptrdiff_t>(EndOfSection(first)));
}

void ProfileFile::SetSection(WideView section, const std::vector<WideString>& lines) {
  size_t first = FindSection(section);
  if (first > lines_.size()) first = AddSection(section);
  const auto begin = lines_.begin() + static_cast<std::ptrdiff_t>(first);
  const auto end = lines_.begin() + static_cast<std::ptrdiff_t>(EndOfSection(first));
  const auto at = lines_.erase(begin, end);
  lines_.insert(at, lines.begin(), lines.end());
}

DWORD ProfileFile::Save() const {
  if (read_error_ != ERROR_SUCCESS) return read_error_;
  WideString text;
  for (const WideString& line : lines_) text.append(line).append(kLineBreak);
  std::string bytes;
  if (is_utf16_) {
    text.insert(text.begin(), kByteOrderMark);
    bytes.assign(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR));
  } else {
    bytes = ToAnsi(text);
  }
  std::shared_ptr<File> file;
  bool existed = false;
  const DWORD error =
      File::Open(path_, {GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, 0}, file, existed);
  return error != ERROR_SUCCESS ? error : file->WriteAll(bytes.data(), bytes.size());
}

}  // namespace platform
