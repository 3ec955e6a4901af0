#include "platform/kernel/directory_listing.h"

#include <dirent.h>

#include <algorithm>
#include <map>

#include "platform/kernel/path.h"

namespace platform {
namespace {

constexpr size_t kStem = 8;
constexpr size_t kExtension = 3;

bool IsShortNameCharacter(WCHAR c) {
  return c > 0x20 && c < 0x7F && WideView(TEXT("+,;=[].")).find(c) == WideView::npos;
}

bool IsShortName(WideView name) {
  const size_t dot = name.find('.');
  const WideView stem = name.substr(0, dot);
  const WideView extension = dot == WideView::npos ? WideView() : name.substr(dot + 1);
  if (stem.empty() || stem.size() > kStem || extension.size() > kExtension) return false;
  if (dot != WideView::npos && extension.empty()) return false;
  return std::all_of(stem.begin(), stem.end(), IsShortNameCharacter) &&
         std::all_of(extension.begin(), extension.end(), IsShortNameCharacter);
}

WideString ShortCharacters(WideView text, size_t most) {
  WideString out;
  for (WCHAR c : text) {
    if (c == ' ' || c == '.') continue;
    if (out.size() < most) out += IsShortNameCharacter(c) ? UpperCase(c) : WCHAR{'_'};
  }
  return out;
}

// The form that the file system takes when a directory holds many similar names: two characters
// and a checksum. It does not depend on what else is there, so that it stays while files come and
// go.
WideString ShortStem(WideView name) {
  unsigned checksum = 0;
  for (WCHAR c : name) checksum = (checksum * 0x25 + UpperCase(c)) & 0xFFFF;
  WideString out = ShortCharacters(name.substr(0, name.rfind('.')), 2);
  for (int shift = 12; shift >= 0; shift -= 4) {
    out += TEXT("0123456789ABCDEF")[(checksum >> shift) & 0xF];
  }
  return out;
}

WideString ShortExtension(WideView name) {
  const size_t dot = name.rfind('.');
  if (dot == WideView::npos || dot == 0) return {};
  const WideString extension = ShortCharacters(name.substr(dot + 1), kExtension);
  return extension.empty() ? extension : TEXT(".") + extension;
}

void AddShortNames(std::vector<ListedName>& entries) {
  std::map<WideString, int> uses;
  for (ListedName& entry : entries) {
    if (IsShortName(entry.name)) continue;
    const WideString stem = ShortStem(entry.name), extension = ShortExtension(entry.name);
    const int number = ++uses[stem + extension];
    if (number > 9) continue;
    entry.short_name =
        stem + TEXT("~") + WideString(1, static_cast<WCHAR>('0' + number)) + extension;
  }
}

}  // namespace

std::vector<ListedName> ListDirectory(const std::filesystem::path& host) {
  std::vector<ListedName> entries;
  DIR* stream = opendir(host.c_str());
  if (stream == nullptr) return entries;
  while (const dirent* entry = readdir(stream)) {
    WideString name = ToWide(entry->d_name);
    if (name != TEXT(".") && name != TEXT("..") && IsValidComponent(name)) {
      entries.push_back({std::move(name), {}});
    }
  }
  closedir(stream);
  std::sort(entries.begin(), entries.end(), [](const ListedName& a, const ListedName& b) {
    if (LessNoCase()(a.name, b.name)) return true;
    return !LessNoCase()(b.name, a.name) && a.name < b.name;
  });
  AddShortNames(entries);
  return entries;
}

WideString FindByShortName(const std::filesystem::path& host, WideView short_name) {
  // Names such as "~1.tmp" are long ones.
  const size_t mark = short_name.rfind('~');
  if (mark == WideView::npos || mark == 0) return {};
  for (const ListedName& entry : ListDirectory(host)) {
    if (!entry.short_name.empty() && EqualNoCase(entry.short_name, short_name)) return entry.name;
  }
  return {};
}

WideString ShortNameOf(const std::filesystem::path& host, WideView name) {
  if (IsShortName(name)) return WideString(name);
  for (const ListedName& entry : ListDirectory(host)) {
    if (entry.name == name && !entry.short_name.empty()) return entry.short_name;
  }
  return WideString(name);
}

}  // namespace platform
