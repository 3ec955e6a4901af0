#include "platform/registry/wow64_view.h"

#include <algorithm>

#include "platform/kernel/wow64.h"

namespace platform {
namespace {

constexpr const WCHAR* kNode = TEXT("WOW6432Node");

// Below HKLM\SOFTWARE, with everything below them.
constexpr const WCHAR* kShared[] = {
    TEXT("Classes"),
    TEXT("Clients"),
    TEXT("Microsoft\\COM3"),
    TEXT("Microsoft\\Cryptography\\Calais\\Current"),
    TEXT("Microsoft\\Cryptography\\Calais\\Readers"),
    TEXT("Microsoft\\Cryptography\\Services"),
    TEXT("Microsoft\\CTF\\SystemShared"),
    TEXT("Microsoft\\CTF\\TIP"),
    TEXT("Microsoft\\DFS"),
    TEXT("Microsoft\\Driver Signing"),
    TEXT("Microsoft\\EnterpriseCertificates"),
    TEXT("Microsoft\\EventSystem"),
    TEXT("Microsoft\\MSMQ"),
    TEXT("Microsoft\\Non-Driver Signing"),
    TEXT("Microsoft\\OLE"),
    TEXT("Microsoft\\RAS"),
    TEXT("Microsoft\\RPC"),
    TEXT("Microsoft\\Shared Tools\\MSInfo"),
    TEXT("Microsoft\\SystemCertificates"),
    TEXT("Microsoft\\TermServLicensing"),
    TEXT("Microsoft\\Transaction Server"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\App Paths"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Control Panel\\Cursors\\Schemes"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Explorer\\AutoplayHandlers"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Explorer\\DriveIcons"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Explorer\\KindMap"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Group Policy"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Policies"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\PreviewHandlers"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Setup"),
    TEXT("Microsoft\\Windows\\CurrentVersion\\Telephony\\Locations"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Console"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\FontDpi"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\FontLink"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\FontMapper"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Fonts"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Gre_Initialize"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\LanguagePack"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\NetworkCards"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Perflib"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Ports"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Print"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\ProfileList"),
    TEXT("Microsoft\\Windows NT\\CurrentVersion\\Time Zones"),
    TEXT("Policies"),
    TEXT("RegisteredApplications"),
};

// Below SOFTWARE\Classes, which is shared itself.
constexpr const WCHAR* kRedirectedClasses[] = {TEXT("CLSID"), TEXT("DirectShow"), TEXT("Interface"),
                                               TEXT("Media Type"), TEXT("MediaFoundation")};

bool IsNode(WideView name) {
  return EqualNoCase(name, kNode);
}

// The names below SOFTWARE as one text.
WideString Joined(const RegistryPath& path, size_t from) {
  WideString text;
  for (size_t i = from; i < path.size(); ++i) {
    if (i != from) text += TEXT('\\');
    text += path[i];
  }
  return text;
}

bool LiesIn(WideView path, WideView key) {
  return path.size() >= key.size() && EqualNoCase(path.substr(0, key.size()), key) &&
         (path.size() == key.size() || path[key.size()] == TEXT('\\'));
}

bool IsShared(const RegistryPath& path) {
  const WideString below = Joined(path, 2);
  return std::any_of(std::begin(kShared), std::end(kShared),
                     [&](const WCHAR* key) { return LiesIn(below, key); });
}

bool IsRedirectedClass(const RegistryPath& path) {
  return path.size() > 3 && EqualNoCase(path[2], TEXT("Classes")) &&
         std::any_of(std::begin(kRedirectedClasses), std::end(kRedirectedClasses),
                     [&](const WCHAR* key) { return EqualNoCase(path[3], key); });
}

}  // namespace

bool UsesView32(REGSAM access) {
  if (!SystemIs64Bit()) return false;
  if ((access & KEY_WOW64_32KEY) != 0) return true;
  return sizeof(void*) == 4 && (access & KEY_WOW64_64KEY) == 0;
}

RegistryPath ApplyView(const RegistryPath& path, bool view32) {
  if (path.size() < 2 || !EqualNoCase(path[0], TEXT("MACHINE")) ||
      !EqualNoCase(path[1], TEXT("SOFTWARE"))) {
    return path;
  }
  RegistryPath plain = path;
  while (plain.size() > 2 && IsNode(plain[2])) plain.erase(plain.begin() + 2);
  const bool redirected = view32 || plain.size() != path.size();
  if (!redirected) return plain;
  if (!IsShared(plain)) {
    plain.insert(plain.begin() + 2, kNode);
  } else if (IsRedirectedClass(plain)) {
    plain.insert(plain.begin() + 3, kNode);
  }
  return plain;
}

}  // namespace platform
