#include "runtime/text/document_name.h"

#include <algorithm>
#include <cstring>

#include "runtime/files/paths.h"
#include "runtime/registry/reg_key.h"
#include "runtime/text/wide_text.h"
#include "runtime/text/wildcard.h"

namespace kv {
namespace {

constexpr WCHAR kFileScheme[] = TEXT("file://");
constexpr LPCWSTR kSchemes[] = {kFileScheme, TEXT("ftp://"), TEXT("http://"), TEXT("https://")};
constexpr WCHAR kSeparator[] = TEXT(" - ");

// How applications write a document's name into their captions.
struct Caption {
  LPCWSTR pattern;
  int front, back;  // characters around the name; kThroughSeparator for the front
};
constexpr int kThroughSeparator = -1;
constexpr Caption kCaptions[] = {
    {TEXT("Microsoft * - *"), kThroughSeparator, 0},
    {TEXT("Visio-*"), 6, 0},
    {TEXT("* - Notepad"), 0, 10},
    {TEXT("Lotus Organizer - [*]"), 19, 1},
};

void RemoveFront(LPWSTR text, size_t count) {
  memmove(text, text + count, (View(text).size() - count + 1) * sizeof(WCHAR));
}

void RemoveBack(LPWSTR text, size_t count) {
  text[View(text).size() - count] = 0;
}

BOOL IsAddress(LPCWSTR title) {
  return std::any_of(std::begin(kSchemes), std::end(kSchemes),
                     [=](LPCWSTR scheme) { return BeginsWith(scheme, title, MatchCase::kNo); });
}

void TidyAddress(LPWSTR title, StripScheme stripScheme) {
  if (stripScheme == StripScheme::kYes) RemoveFront(title, View(title).find(TEXT("//")) + 2);
  if (View(title).ends_with('/')) RemoveBack(title, 1);
}

void StripCaption(LPWSTR title) {
  const auto caption =
      std::find_if(std::begin(kCaptions), std::end(kCaptions),
                   [=](const Caption& c) { return MatchWildcard(c.pattern, title); });
  if (caption == std::end(kCaptions)) return;
  const size_t front = caption->front == kThroughSeparator
                           ? View(title).find(kSeparator) + View(kSeparator).size()
                           : caption->front;
  RemoveFront(title, front);
  RemoveBack(title, caption->back);
}

void StripRegisteredExtension(LPWSTR name) {
  const LPCWSTR extension = FindExtension(name);
  if (IsRegisteredExtension(extension)) name[extension - name] = 0;
}

void KeepLastPathPart(LPWSTR name) {
  const size_t last = View(name).rfind('\\');
  if (last != WideView::npos && name[last + 1] != 0) RemoveFront(name, last + 1);
}

}  // namespace

BOOL IsRegisteredExtension(LPCWSTR extension) {
  if (extension == nullptr || *extension == 0) return FALSE;
  if (*extension == '.') ++extension;
  RegKey key;
  return key.Open(HKEY_CLASSES_ROOT, TEXT(".%s"), extension);
}

void DocumentNameFromTitle(LPWSTR title, StripScheme stripScheme, StripExtension stripExtension) {
  if (BeginsWith(kFileScheme, title, MatchCase::kNo)) {
    const LPWSTR path = title + View(kFileScheme).size();
    std::replace(path, path + View(path).size(), TEXT('/'), TEXT('\\'));
  }
  if (IsAddress(title)) {
    TidyAddress(title, stripScheme);
  } else {
    StripCaption(title);
    if (stripExtension == StripExtension::kYes) StripRegisteredExtension(title);
  }
  KeepLastPathPart(title);
}

}  // namespace kv
