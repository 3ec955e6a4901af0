// Which product this build belongs to, and the table of the maker's product kinds.
#pragma once

#include "runtime/core/win.h"

namespace kv {

inline constexpr WCHAR kProductName[] = TEXT("Folvane");
inline constexpr int kMajorVersion = 8;
inline constexpr int kMinorVersion = 27;
inline constexpr WCHAR kCompanyName[] = TEXT("Veltmoor Software, LLC");
inline constexpr WCHAR kSettingsRoot[] = TEXT("Software\\Veltmoor Software\\Folvane8");

// Component file names.
inline constexpr WCHAR kResourceDllName[] = TEXT("kvres832.dll");
inline constexpr WCHAR kGraphicsDriverFile[] = TEXT("kvgraph8.dll");
inline constexpr WCHAR kInterfaceFile[] = TEXT("kvinter8.dll");
inline constexpr WCHAR kDisplayFile[] = TEXT("kvdspl8.dll");
inline constexpr WCHAR kMonitorFile[] = TEXT("kvmon8.dll");
inline constexpr WCHAR kUserInterfaceFile[] = TEXT("kvui8.dll");
inline constexpr WCHAR kDispatcherFile[] = TEXT("kvdisp8.exe");

// The print environment of this module: "Windows NT x86", and "Windows x64" in a 64-bit build.
LPCWSTR GetPrintEnvironment();

enum ProductFamily : BYTE { kFamilyFolvane = 0, kFamilyDocklane = 1 };
constexpr DWORD kProEdition = 1;  // bit 0 of ProductKind::flags

struct ProductKind {
  BYTE code;          // 0 ends the table
  BYTE family;        // a ProductFamily
  WORD version;       // major version
  DWORD flags;        // kProEdition
  LPCWSTR fixedName;  // replaces the built display name; may be null
};

// The first row with this code; null when there is none or the code is 0.
const ProductKind* FindProductKind(DWORD code);
// The first row of this family and version whose flags contain all of `requiredFlags`, or null.
const ProductKind* FindProductKindByVersion(int family, int version, DWORD requiredFlags);

// The functions below write into `output` of `capacity` characters and return its first character,
// 0 when nothing was written.

// The name shown to people: the fixed name, or "Folvane", "Docklane" or "Docklane Pro", then the
// version when it is asked for. Cut to fit.
WCHAR GetProductDisplayName(const ProductKind& kind, LPWSTR output, int capacity, BOOL withVersion);
// The settings key below HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER. Empty for an unknown family or
// when it does not fit: half a key name would name another key.
WCHAR GetProductRegistryRoot(const ProductKind& kind, LPWSTR output, int capacity);
// The base of the names of the dispatcher's kernel objects; bounded likewise.
WCHAR GetDispatcherObjectName(const ProductKind& kind, LPWSTR output, int capacity);

// The product kind that a person means: a display name with version, "kv8", "folvane8", "folvn8",
// "dk5", "dkl5", "dockln5", "docklane5", the last four also with "pro", or a product-kind code;
// letter case does not matter. Null for anything else.
const ProductKind* ParseProductName(LPCWSTR text);

}  // namespace kv
