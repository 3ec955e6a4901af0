#include "runtime/printing/printer_list.h"

#include <algorithm>
#include <new>

#include "runtime/core/last_error.h"
#include "runtime/core/startup_context.h"
#include "runtime/core/version_details.h"
#include "runtime/printing/connection_name.h"
#include "runtime/printing/printer_driver_list.h"
#include "runtime/printing/registry_printers.h"
#include "runtime/printing/spooler_printers.h"
#include "runtime/text/text.h"
#include "runtime/text/wildcard.h"

namespace kv {
namespace {

constexpr DWORD kUsualFlags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;

size_t CharactersOf(const PrinterTexts& texts) {
  size_t characters = 0;
  for (const WideView& text :
       {texts.name, texts.driver, texts.driverFile, texts.port, texts.server, texts.share}) {
    if (text.data() != nullptr) characters += text.size() + 1;
  }
  return characters;
}

// Puts texts one behind the other.
class TextWriter {
 public:
  explicit TextWriter(LPWSTR place) : place_(place) {}
  LPCWSTR Write(WideView text) {
    if (text.data() == nullptr) return nullptr;
    const LPWSTR start = place_;
    place_ = std::copy(text.begin(), text.end(), place_);
    *place_++ = 0;
    return start;
  }

 private:
  LPWSTR place_;
};

PrinterEntry MakeEntry(TextWriter& writer, const PrinterTexts& texts) {
  PrinterEntry entry;
  entry.name = writer.Write(texts.name);
  entry.driver = writer.Write(texts.driver);
  entry.driverFile = writer.Write(texts.driverFile);
  entry.port = writer.Write(texts.port);
  entry.server = writer.Write(texts.server);
  entry.share = writer.Write(texts.share);
  entry.state = kPrinterShown;
  return entry;
}

bool IsVisible(const PrinterEntry& entry) {
  return entry.state != kPrinterHidden;
}

bool NameIsLess(const PrinterEntry& a, const PrinterEntry& b) {
  const WideView x(a.name), y(b.name);
  return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end(),
                                      [](WCHAR c, WCHAR d) { return ToUpper(c) < ToUpper(d); });
}

DWORD Packed(WORD major, WORD minor) {
  return static_cast<DWORD>(MAKELONG(minor, major));
}

void SetText(LPCWSTR* place, LPCWSTR text) {
  if (place != nullptr) *place = text;
}

}  // namespace

CPrinterList::CPrinterList(DWORD flags, LPCWSTR name)
    : flags_(flags), hasName_(!View(name).empty()), name_(hasName_ ? CopyOf(name) : nullptr) {}

BOOL CPrinterList::OnPrinter(int, LPCWSTR, LPCWSTR, LPCWSTR) {
  return TRUE;
}

BOOL CPrinterList::LoadPrinters() {
  if (IsLoaded()) return TRUE;
  // Without its name the list would be that of another machine.
  if (hasName_ && name_ == nullptr) return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  if (flags_ == kUsualFlags && !hasName_) {
    RegistryPrinters registry;
    if (registry.Load() && Fill(registry)) return TRUE;
  }
  SpoolerPrinters spooler;
  return spooler.Load(flags_, name_.get()) && Fill(spooler);
}

// Two passes over the same texts, of at least one printer: the first one measures them. What has
// grown meanwhile fails.
BOOL CPrinterList::Fill(PrinterSource& source) {
  const DWORD count = source.Count();
  PrinterTexts texts;
  size_t characters = 0;
  for (DWORD i = 0; i < count; ++i) {
    if (!source.Read(i, texts)) return FALSE;
    characters += CharactersOf(texts);
  }
  const size_t entryBytes = count * sizeof(PrinterEntry);
  std::unique_ptr<BYTE[]> block(new (std::nothrow) BYTE[entryBytes + characters * sizeof(WCHAR)]);
  if (block == nullptr) return FailWith(ERROR_NOT_ENOUGH_MEMORY);
  auto* const entries = reinterpret_cast<PrinterEntry*>(block.get());
  TextWriter writer(reinterpret_cast<LPWSTR>(block.get() + entryBytes));
  for (DWORD i = 0; i < count; ++i) {
    if (!source.Read(i, texts)) return FALSE;
    const size_t needed = CharactersOf(texts);
    if (needed > characters) return FALSE;
    characters -= needed;
    entries[i] = MakeEntry(writer, texts);
  }
  block_ = std::move(block);
  entries_ = entries;
  count_ = static_cast<int>(count);
  return TRUE;
}

void CPrinterList::Clear() {
  count_ = position_ = 0;
  entries_ = nullptr;
  block_.reset();
  servers_.reset();
}

LPWSTR CPrinterList::AllocateServers(size_t size) {
  servers_.reset(new (std::nothrow) WCHAR[size]);
  return servers_.get();
}

int CPrinterList::Count() {
  return LoadPrinters() ? static_cast<int>(std::count_if(begin(), end(), IsVisible)) : 0;
}

const PrinterEntry* CPrinterList::GetAt(int index) {
  LoadPrinters();
  for (const PrinterEntry& entry : *this) {
    if (IsVisible(entry) && index-- == 0) return &entry;
  }
  return nullptr;
}

BOOL CPrinterList::GetInfo(int index, LPCWSTR* name, LPCWSTR* port, LPCWSTR* server,
                           LPCWSTR* share) {
  constexpr PrinterEntry kNone = {};
  const PrinterEntry* const found = GetAt(index);
  const PrinterEntry& entry = found == nullptr ? kNone : *found;
  SetText(name, entry.name);
  SetText(port, entry.port);
  SetText(server, entry.server);
  SetText(share, entry.share);
  return found != nullptr;
}

int CPrinterList::IndexOf(LPCWSTR name) {
  if (View(name).empty()) return -1;
  LoadPrinters();
  int index = 0;
  for (const PrinterEntry& entry : *this) {
    if (!IsVisible(entry)) continue;
    if (EqualNoCase(entry.name, name)) return index;
    ++index;
  }
  return -1;
}

const PrinterEntry* CPrinterList::First() {
  position_ = 0;
  return Next();
}

const PrinterEntry* CPrinterList::Next() {
  LoadPrinters();
  while (position_ < count_) {
    const PrinterEntry& entry = entries_[position_++];
    if (IsVisible(entry)) return &entry;
  }
  return nullptr;
}

BOOL CPrinterList::ForEach() {
  if (!LoadPrinters()) return FALSE;
  int index = 0;
  for (int i = 0; i < count_; ++i) {
    const PrinterEntry& entry = entries_[i];
    if (IsVisible(entry) && !OnPrinter(index++, entry.name, entry.driver, entry.port)) return FALSE;
  }
  return TRUE;
}

void CPrinterList::SetStates(DWORD state) {
  LoadPrinters();
  for (PrinterEntry& entry : *this) entry.state = state;
}

void CPrinterList::SetStatesByDriver(LPCWSTR driver, DWORD state) {
  LoadPrinters();
  for (PrinterEntry& entry : *this) {
    if (EqualNoCase(entry.driver, View(driver))) entry.state = state;
  }
}

void CPrinterList::SetStatesByFile(LPCWSTR pattern, DWORD state) {
  LoadPrinters();
  for (PrinterEntry& entry : *this) {
    if (MatchWildcard(pattern, entry.driverFile)) entry.state = state;
  }
}

void CPrinterList::ShowAll() {
  SetStates(kPrinterShown);
}
void CPrinterList::HideAll() {
  SetStates(kPrinterHidden);
}
void CPrinterList::ShowDriver(LPCWSTR driver) {
  SetStatesByDriver(driver, kPrinterShown);
}
void CPrinterList::HideDriver(LPCWSTR driver) {
  SetStatesByDriver(driver, kPrinterHidden);
}
void CPrinterList::ShowDriverFile(LPCWSTR pattern) {
  SetStatesByFile(pattern, kPrinterShown);
}
void CPrinterList::HideDriverFile(LPCWSTR pattern) {
  SetStatesByFile(pattern, kPrinterHidden);
}

void CPrinterList::SortByName() {
  const int visible = Count();
  const std::unique_ptr<PrinterEntry[]> sorted(new (std::nothrow)
                                                   PrinterEntry[static_cast<size_t>(visible)]);
  if (sorted == nullptr) return;
  std::copy_if(begin(), end(), sorted.get(), IsVisible);
  std::stable_sort(sorted.get(), sorted.get() + visible, NameIsLess);
  const PrinterEntry* next = sorted.get();
  for (PrinterEntry& entry : *this) {
    if (IsVisible(entry)) entry = *next++;
  }
}

int CPrinterList::FindFirstWithDriver(LPCWSTR driver, LPCWSTR* name, LPCWSTR* port) {
  HideAll();
  ShowDriver(driver);
  GetInfo(0, name, port, nullptr, nullptr);
  return Count();
}

BOOL CPrinterList::FindNewestProductDriver(int* index, int* driverIndex, WORD* major, WORD* minor) {
  *index = *driverIndex = -1;
  *major = *minor = 0;
  LoadPrinters();
  const CPrinterDriverList drivers(startupContext.printEnvironment);
  int visible = -1;
  for (const PrinterEntry& entry : *this) {
    if (!IsVisible(entry)) continue;
    ++visible;
    const int candidate = drivers.Find(entry.driver);
    VersionDetails version = {};
    if (candidate >= 0) GetFileVersionDetails(drivers.GetAt(candidate)->pDriverPath, version);
    if (Packed(version.productMajor, version.productMinor) > Packed(*major, *minor)) {
      *index = visible;
      *driverIndex = candidate;
      *major = version.productMajor;
      *minor = version.productMinor;
    }
  }
  return *index >= 0;
}

void CPrinterList::FillComboBox(HWND comboBox) {
  SendMessageW(comboBox, CB_RESETCONTENT, 0, 0);
  LoadPrinters();
  for (int i = 0; i < count_; ++i) {
    if (!IsVisible(entries_[i])) continue;
    // A sorted box does not add behind its last item.
    const LRESULT item =
        SendMessageW(comboBox, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entries_[i].name));
    // Who owns the box may have cleared the list meanwhile.
    if (item >= 0 && i < count_) {
      SendMessageW(comboBox, CB_SETITEMDATA, static_cast<WPARAM>(item),
                   reinterpret_cast<LPARAM>(&entries_[i]));
    }
  }
}

BOOL HasPrinterConnections() {
  CPrinterList printers;
  for (const PrinterEntry* entry = printers.First(); entry != nullptr; entry = printers.Next()) {
    if (IsConnectionName(entry->name)) return TRUE;
  }
  return FALSE;
}

}  // namespace kv
