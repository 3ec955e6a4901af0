#include "runtime/core/product.h"

#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr int kNameCapacity = 128;

constexpr ProductKind kProductKinds[] = {
    {62, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (English)")},
    {63, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (German)")},
    {64, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Japanese)")},
    {65, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Korean)")},
    {66, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Swedish)")},
    {67, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Turkish)")},
    {68, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Italian)")},
    {69, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Danish)")},
    {70, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Dutch)")},
    {71, kFamilyFolvane, 3, 2, TEXT("Folvane 3 Basic (Portuguese)")},
    {80, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (English)")},
    {81, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (German)")},
    {82, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (French)")},
    {83, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Japanese)")},
    {84, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Russian)")},
    {85, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Swedish)")},
    {86, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Danish)")},
    {87, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Dutch)")},
    {88, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Turkish)")},
    {89, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Korean)")},
    {90, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Spanish)")},
    {91, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Czech)")},
    {92, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Slovakian)")},
    {93, kFamilyFolvane, 4, 2, TEXT("Folvane 4 Basic (Italian)")},
    {98, kFamilyFolvane, 5, 0, nullptr},
    {101, kFamilyFolvane, 6, 0, nullptr},
    {106, kFamilyFolvane, 7, 0, nullptr},
    {109, kFamilyFolvane, 8, 0, nullptr},
    {96, kFamilyDocklane, 1, 2, nullptr},
    {97, kFamilyDocklane, 1, 3, nullptr},
    {99, kFamilyDocklane, 2, 0, nullptr},
    {100, kFamilyDocklane, 2, 1, nullptr},
    {102, kFamilyDocklane, 3, 0, nullptr},
    {103, kFamilyDocklane, 3, 1, nullptr},
    {104, kFamilyDocklane, 4, 0, nullptr},
    {105, kFamilyDocklane, 4, 1, nullptr},
    {107, kFamilyDocklane, 5, 0, nullptr},
    {108, kFamilyDocklane, 5, 1, nullptr},
    {0, 0, 0, 0, nullptr},
};

// Short names by which people know a version of a family; %d stands for the version.
struct ShortName {
  LPCWSTR format;
  DWORD requiredFlags;
};
constexpr ShortName kFolvaneNames[] = {
    {TEXT("kv%d"), 0}, {TEXT("folvane%d"), 0}, {TEXT("folvn%d"), 0}};
constexpr int kFirstFolvaneVersion = 5, kLastFolvaneVersion = 9;
constexpr ShortName kDocklaneNames[] = {
    {TEXT("dk%d"), 0},
    {TEXT("dkl%d"), 0},
    {TEXT("dockln%d"), 0},
    {TEXT("docklane%d"), 0},
    {TEXT("dk%dpro"), kProEdition},
    {TEXT("dkl%dpro"), kProEdition},
    {TEXT("dockln%dpro"), kProEdition},
    {TEXT("docklane%dpro"), kProEdition},
};
constexpr int kFirstDocklaneVersion = 2, kLastDocklaneVersion = 9;

// The short name of `names` that `text` is for one of the versions; null when it is none. The
// version goes to `version`.
template <size_t kCount>
const ShortName* MatchShortName(WideView text, const ShortName (&names)[kCount], int first,
                                int last, int& version) {
  for (version = first; version <= last; ++version) {
    for (const ShortName& name : names) {
      WCHAR candidate[kNameCapacity];
      FormatText(candidate, name.format, version);
      if (EqualNoCase(text, candidate)) return &name;
    }
  }
  return nullptr;
}

BOOL IsDecimalNumber(WideView text) {
  for (const WCHAR c : text) {
    if (c < '0' || c > '9') return FALSE;
  }
  return !text.empty();
}

// The format of a name for each family, filled with the version; empty when it does not fit.
WCHAR FormatByFamily(const ProductKind& kind, LPCWSTR folvane, LPCWSTR docklane, LPWSTR output,
                     int capacity) {
  if (capacity <= 0) return 0;
  output[0] = 0;
  const LPCWSTR format = kind.family == kFamilyFolvane    ? folvane
                         : kind.family == kFamilyDocklane ? docklane
                                                          : nullptr;
  if (format != nullptr && !FormatText(output, capacity, format, static_cast<int>(kind.version)))
    output[0] = 0;
  return output[0];
}

}  // namespace

LPCWSTR GetPrintEnvironment() {
  return sizeof(void*) == 8 ? TEXT("Windows x64") : TEXT("Windows NT x86");
}

const ProductKind* FindProductKind(DWORD code) {
  for (const ProductKind* kind = kProductKinds; kind->code != 0; ++kind) {
    if (kind->code == code) return kind;
  }
  return nullptr;
}

const ProductKind* FindProductKindByVersion(int family, int version, DWORD requiredFlags) {
  for (const ProductKind* kind = kProductKinds; kind->code != 0; ++kind) {
    if (kind->family == family && kind->version == version &&
        (kind->flags & requiredFlags) == requiredFlags) {
      return kind;
    }
  }
  return nullptr;
}

WCHAR GetProductDisplayName(const ProductKind& kind, LPWSTR output, int capacity,
                            BOOL withVersion) {
  if (capacity <= 0) return 0;
  output[0] = 0;
  if (kind.fixedName != nullptr) {
    CopyStringW(output, capacity, kind.fixedName);
    return output[0];
  }
  WCHAR name[kNameCapacity];
  if (kind.family == kFamilyFolvane) {
    CopyStringW(name, kProductName);
  } else if (kind.family == kFamilyDocklane) {
    CopyStringW(name, (kind.flags & kProEdition) != 0 ? TEXT("Docklane Pro") : TEXT("Docklane"));
  } else {
    return 0;
  }
  if (withVersion) AppendText(name, kNameCapacity, TEXT(" %d"), static_cast<int>(kind.version));
  CopyStringW(output, capacity, name);
  return output[0];
}

WCHAR GetProductRegistryRoot(const ProductKind& kind, LPWSTR output, int capacity) {
  return FormatByFamily(kind, TEXT("Software\\Veltmoor Software\\Folvane%d"),
                        TEXT("Software\\Veltmoor Software\\Docklane%d"), output, capacity);
}

WCHAR GetDispatcherObjectName(const ProductKind& kind, LPWSTR output, int capacity) {
  return FormatByFamily(kind, TEXT("KV%d_Dispatcher"), TEXT("KVP%d_Dispatcher"), output, capacity);
}

const ProductKind* ParseProductName(LPCWSTR text) {
  const WideView wanted = View(text);
  if (wanted.empty()) return nullptr;
  for (const ProductKind* kind = kProductKinds; kind->code != 0; ++kind) {
    WCHAR name[kNameCapacity];
    GetProductDisplayName(*kind, name, kNameCapacity, TRUE);
    if (EqualNoCase(wanted, name)) return kind;
  }
  int version = 0;
  if (MatchShortName(wanted, kFolvaneNames, kFirstFolvaneVersion, kLastFolvaneVersion, version) !=
      nullptr) {
    return FindProductKindByVersion(kFamilyFolvane, version, 0);
  }
  const ShortName* name =
      MatchShortName(wanted, kDocklaneNames, kFirstDocklaneVersion, kLastDocklaneVersion, version);
  if (name != nullptr)
    return FindProductKindByVersion(kFamilyDocklane, version, name->requiredFlags);
  return IsDecimalNumber(wanted) ? FindProductKind(ParseDecimal(text)) : nullptr;
}

}  // namespace kv
