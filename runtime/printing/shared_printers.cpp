// Finding the printer behind a share.
#include <algorithm>

#include "runtime/core/win.h"
#include "runtime/printing/heap_block.h"
#include "runtime/printing/printer_details.h"
#include "runtime/printing/spooler_list.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr DWORD kFirstResourceBuffer = 16384;  // bytes

// FALSE when the server's spooler has nothing to say.
BOOL AskSpooler(LPWSTR server, LPCWSTR share, WCHAR (&output)[MAX_PATH]) {
  constexpr DWORD kFlags = PRINTER_ENUM_SHARED | PRINTER_ENUM_NAME;
  BOOL answers = FALSE;
  SpoolerList<PRINTER_INFO_2W> printers;
  printers.Fetch([&](BYTE* buffer, DWORD size, DWORD* needed, DWORD* count) {
    const BOOL done = EnumPrintersW(kFlags, server, 2, buffer, size, needed, count);
    if (*needed != 0) answers = TRUE;
    return done;
  });
  for (const PRINTER_INFO_2W& printer : printers) {
    if (!EqualNoCase(View(printer.pShareName), View(share))) continue;
    CopyStringW(output, printer.pPrinterName);
    break;
  }
  return answers;
}

class ResourceEnumeration {
 public:
  // What `server` ("\\name") shares.
  explicit ResourceEnumeration(LPWSTR server) {
    WCHAR empty[] = TEXT("");
    NETRESOURCEW root = {};
    root.dwScope = RESOURCE_GLOBALNET;
    root.dwUsage = RESOURCEUSAGE_CONTAINER;
    root.lpRemoteName = server;
    root.lpLocalName = root.lpComment = root.lpProvider = empty;
    if (WNetOpenEnumW(RESOURCE_GLOBALNET, RESOURCETYPE_ANY, 0, &root, &handle_) != NO_ERROR) {
      handle_ = nullptr;
    }
  }
  ~ResourceEnumeration() {
    if (handle_ != nullptr) WNetCloseEnum(handle_);
  }
  ResourceEnumeration(const ResourceEnumeration&) = delete;
  ResourceEnumeration& operator=(const ResourceEnumeration&) = delete;

  // Reads the next resources into the buffer; how many, 0 at the end.
  DWORD Next() {
    if (handle_ == nullptr) return 0;
    if (buffer_ == nullptr && !Allocate(kFirstResourceBuffer)) return 0;
    for (;;) {
      DWORD count = ~DWORD{0};
      DWORD size = size_;
      const DWORD status = WNetEnumResourceW(handle_, &count, buffer_.get(), &size);
      if (status == NO_ERROR) return count;
      // A provider that asks for no more than it was given would ask for ever.
      if (status != ERROR_MORE_DATA || size <= size_ || !Allocate(size)) return 0;
    }
  }
  const NETRESOURCEW* resources() const { return buffer_.get(); }

 private:
  bool Allocate(DWORD size) {
    buffer_.reset(static_cast<NETRESOURCEW*>(AllocateBlock(size)));
    size_ = size;
    return buffer_ != nullptr;
  }

  HANDLE handle_ = nullptr;
  DWORD size_ = 0;
  UniqueBlock<NETRESOURCEW> buffer_;
};

// What stands behind "\\server\" in the resource's name.
WideView ShareOf(const NETRESOURCEW& resource) {
  WideView name = View(resource.lpRemoteName);
  name.remove_prefix(std::min<size_t>(2, name.size()));
  const size_t end = name.find(TEXT('\\'));
  return end == WideView::npos ? WideView() : name.substr(end + 1);
}

void AskNetwork(LPWSTR server, LPCWSTR share, WCHAR (&output)[MAX_PATH]) {
  ResourceEnumeration enumeration(server);
  while (const DWORD count = enumeration.Next()) {
    for (DWORD i = 0; i < count; ++i) {
      const NETRESOURCEW& resource = enumeration.resources()[i];
      if ((resource.dwUsage & RESOURCEUSAGE_CONTAINER) != 0) continue;
      if ((resource.dwType & RESOURCETYPE_PRINT) == 0) continue;
      if (!EqualNoCase(ShareOf(resource), View(share))) continue;
      CopyStringW(output, resource.lpComment);
      return;
    }
  }
}

}  // namespace

BOOL FindSharedPrinterName(LPCWSTR server, LPCWSTR share, LPWSTR output, int capacity) {
  WCHAR name[MAX_PATH], found[MAX_PATH] = {};
  // What has no share name is not shared without a name.
  const bool isNamed =
      !View(server).empty() && !View(share).empty() && FormatText(name, TEXT("\\\\%s"), server);
  if (!isNamed) {
    SetLastError(ERROR_INVALID_PARAMETER);
  } else if (AskSpooler(name, share, found) && found[0] == 0) {
    AskNetwork(name, share, found);
  }
  CopyStringW(output, capacity, found);
  return capacity > 0 && found[0] != 0;
}

}  // namespace kv
