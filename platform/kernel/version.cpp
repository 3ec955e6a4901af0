// Version resources of files.
#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/kernel/api_call.h"
#include "platform/kernel/files.h"
#include "platform/kernel/modules.h"
#include "platform/kernel/path.h"

namespace platform {
namespace {

// A node of a version resource: three lengths and flags, the key, the value, then child nodes, each
// part on a multiple of 4 bytes.
struct Node {
  WideView key;
  const BYTE* value = nullptr;
  size_t value_size = 0;  // bytes that belong to the node, at most as many as its header says
  bool is_text = false;
  WORD value_length = 0;  // as the header says: characters of texts, bytes else
  const BYTE* children = nullptr;
  const BYTE* end = nullptr;
};

constexpr size_t kNodeHeader = 3 * sizeof(WORD);

const BYTE* Aligned(const BYTE* base, const BYTE* position) {
  return base + (position - base + 3) / 4 * 4;
}

// Reads the node at `start`; whatever its lengths say, it ends at `limit`.
std::optional<Node> ReadNode(const BYTE* block, const BYTE* start, const BYTE* limit) {
  if (start >= limit || static_cast<size_t>(limit - start) < kNodeHeader) return std::nullopt;
  WORD header[3];
  std::memcpy(header, start, sizeof header);
  if (header[0] < kNodeHeader) return std::nullopt;
  Node node;
  node.end = start + std::min<size_t>(header[0], limit - start);
  node.value_length = header[1];
  node.is_text = header[2] != 0;
  const auto* key = reinterpret_cast<const WCHAR*>(start + kNodeHeader);
  const size_t room = (node.end - start - kNodeHeader) / sizeof(WCHAR);
  const size_t length = WideView(key, room).find(WCHAR{0});
  if (length == WideView::npos) return std::nullopt;
  node.key = WideView(key, length);
  node.value = std::min(node.end, Aligned(block, reinterpret_cast<const BYTE*>(key + length + 1)));
  const size_t declared = node.is_text ? node.value_length * sizeof(WCHAR) : node.value_length;
  node.value_size = std::min<size_t>(declared, node.end - node.value);
  node.children = Aligned(block, node.value + node.value_size);
  return node;
}

std::optional<Node> FindChild(const BYTE* block, const Node& parent, WideView key) {
  const BYTE* at = parent.children;
  while (const auto child = ReadNode(block, at, parent.end)) {
    if (EqualNoCase(child->key, key)) return child;
    at = Aligned(block, child->end);
  }
  return std::nullopt;
}

// "\StringFileInfo\040904b0\ProductName" and the like.
std::optional<Node> FindNode(const BYTE* block, WideView query) {
  WORD length;
  std::memcpy(&length, block, sizeof length);
  std::optional<Node> node = ReadNode(block, block, block + length);
  while (node && !query.empty()) {
    const size_t next = query.find('\\');
    const WideView key = query.substr(0, next);
    query = next == WideView::npos ? WideView() : query.substr(next + 1);
    if (!key.empty()) node = FindChild(block, *node, key);
  }
  return node;
}

// The version resource of a file.
DWORD ReadVersionResource(WideView path, PeImage::Bytes& data) {
  const ResolvedPath resolved = ResolvePath(path);
  if (!resolved.Exists()) return resolved.error;
  SharedDescriptor file;
  DWORD error = file.Open(resolved.host, FILE_READ_DATA,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
  if (error != ERROR_SUCCESS) return error;
  std::shared_ptr<const PeImage> image;
  error = ReadResources(file.get(), image);
  if (error != ERROR_SUCCESS) return ERROR_RESOURCE_DATA_NOT_FOUND;
  const ResourceKey type = ResourceKey::From(RT_VERSION);
  const std::vector<WORD> languages = image->Languages(type, WORD{1});
  if (languages.empty()) {
    return image->HasResources() ? ERROR_RESOURCE_TYPE_NOT_FOUND : ERROR_RESOURCE_DATA_NOT_FOUND;
  }
  const auto content = image->Data(image->Find(type, WORD{1}, languages.front()));
  if (content.size() < kNodeHeader) return ERROR_RESOURCE_DATA_NOT_FOUND;
  data.assign(content.begin(), content.end());
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace platform

using platform::View;

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD unused) {
  KV_API(GetFileVersionInfoSizeW, ERROR_RESOURCE_DATA_NOT_FOUND, 0, path, unused);
  if (unused != nullptr) *unused = 0;
  platform::PeImage::Bytes data;
  const DWORD error = platform::ReadVersionResource(View(path), data);
  SetLastError(error);
  return error == ERROR_SUCCESS ? static_cast<DWORD>(data.size()) : 0;
}

BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD unused, DWORD size, LPVOID block) {
  KV_API(GetFileVersionInfoW, ERROR_RESOURCE_DATA_NOT_FOUND, FALSE, path, unused, size, block);
  platform::PeImage::Bytes data;
  DWORD error = platform::ReadVersionResource(View(path), data);
  if (error == ERROR_SUCCESS && size < platform::kNodeHeader) error = ERROR_INSUFFICIENT_BUFFER;
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return FALSE;
  }
  // A smaller buffer receives the beginning. The block's own length never leads out of what was
  // copied: VerQueryValueW has nothing else to go by.
  const size_t copied = std::min<size_t>(data.size(), size);
  WORD length;
  std::memcpy(&length, data.data(), sizeof length);
  length = static_cast<WORD>(std::min<size_t>(length, copied));
  std::memcpy(block, data.data(), copied);
  std::memcpy(block, &length, sizeof length);
  return TRUE;
}

BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, PUINT length) {
  KV_API(VerQueryValueW, ERROR_RESOURCE_TYPE_NOT_FOUND, FALSE, block, query, value, length);
  const auto node = platform::FindNode(static_cast<const BYTE*>(block), View(query));
  if (!node) {
    SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return FALSE;
  }
  *value = const_cast<BYTE*>(node->value);
  *length = node->value_length;
  return TRUE;
}
