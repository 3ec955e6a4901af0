#include "runtime/registry/user_hives.h"

#include "runtime/core/flags.h"
#include "runtime/core/startup_context.h"
#include "runtime/files/file_actions.h"
#include "runtime/files/paths.h"
#include "runtime/files/special_folders.h"
#include "runtime/ipc/process_token.h"
#include "runtime/text/format.h"
#include "runtime/text/text.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

constexpr WCHAR kProfileList[] =
    TEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList");
constexpr WCHAR kRestorePrivilege[] = TEXT("SeRestorePrivilege");
constexpr WCHAR kClasses[] = TEXT("_Classes");
constexpr DWORD kNamesSize = 1024;

BOOL IsLoaded(LPCWSTR hive) {
  return RegKey().Open(HKEY_USERS, TEXT("%s"), hive);
}

// The file of a loaded user's class registrations; FALSE when there is none.
BOOL FindClassFile(LPCWSTR sid, WCHAR (&path)[MAX_PATH]) {
  RegKey user;
  WCHAR folder[MAX_PATH];
  if (!user.Open(HKEY_USERS, TEXT("%s"), sid) ||
      !GetShellFolder(user.handle(), TEXT("Local AppData"), folder, Expand::kYes)) {
    return FALSE;
  }
  return PathJoin(folder, TEXT("Microsoft\\Windows\\UsrClass.dat"), path, MAX_PATH) &&
         FileExists(path, Report::kNo);
}

}  // namespace

ProfileListKey::ProfileListKey() {
  Open(HKEY_LOCAL_MACHINE, kProfileList);
}

LPCWSTR ProfileKey::GetUserName() {
  if (userName_[0] != 0) return userName_;
  alignas(DWORD) BYTE sid[SECURITY_MAX_SID_SIZE] = {};
  if (ReadBinary(TEXT("Sid"), sid, sizeof(sid)) && IsValidSid(sid)) {
    WCHAR account[MAX_PATH], domain[256];
    DWORD accountSize = MAX_PATH, domainSize = 256;
    SID_NAME_USE use;
    if (LookupAccountSidW(nullptr, sid, account, &accountSize, domain, &domainSize, &use))
      CopyStringW(userName_, account);
  }
  if (userName_[0] == 0) {
    const LPCWSTR directory = GetString(TEXT("ProfileImagePath"));
    if (!View(directory).empty()) CopyStringW(userName_, GetFileName(directory));
  }
  return userName_;
}

int ProfileKey::LoadUserHive(LPWSTR hiveName) {
  if (hiveName != nullptr) hiveName[0] = 0;
  WCHAR directory[MAX_PATH], file[MAX_PATH];
  if (ReadString(TEXT("ProfileImagePath"), directory, MAX_PATH, Expand::kYes) == 0 ||
      !PathJoin(directory, TEXT("ntuser.dat"), file, MAX_PATH) || path() == nullptr) {
    return 0;
  }
  const LPCWSTR name = GetFileName(path());
  if (hiveName != nullptr) CopyStringW(hiveName, MAX_PATH, name);
  if (RegLoadKeyW(HKEY_USERS, name, file) != ERROR_SUCCESS) return 0;
  return static_cast<int>(View(name).size());
}

BOOL GetProfileUserName(LPCWSTR sid, LPWSTR buffer, int capacity) {
  ProfileListKey profiles;
  ProfileKey profile;
  profile.Open(profiles.handle(), TEXT("%s"), sid);
  CopyStringW(buffer, capacity, profile.IsOpen() ? profile.GetUserName() : nullptr);
  return capacity > 0 && buffer[0] != 0;
}

BOOL IsSystemUserKey(LPCWSTR name) {
  for (const LPCWSTR known :
       {TEXT(".DEFAULT"), TEXT("S-1-5-18"), TEXT("S-1-5-19"), TEXT("S-1-5-20")}) {
    if (EqualAsciiNoCase(View(name), known)) return TRUE;
  }
  return View(name).find(kClasses) != WideView::npos;
}

UserHives::UserHives(int loadFlag) : loadFlag_(loadFlag) {
  Attach(HKEY_USERS);
  if (loadFlag != kLoadNone) LoadAllUserHives();
}

UserHives::~UserHives() {
  if (loadFlag_ == kLoadAndUnload) UnloadUserHives();
  Detach();
  loadedNames_.Free();
}

int UserHives::LoadAllUserHives() {
  if (startupContext.platform.win9xKind != 0) return 0;
  ProfileListKey profiles;
  if (!profiles.IsOpen()) return 0;
  EnablePrivilege(kRestorePrivilege, TRUE);
  int loaded = LoadProfileHives(profiles);
  loaded += LoadClassHives(profiles);
  EnablePrivilege(kRestorePrivilege, FALSE);
  return loaded;
}

int UserHives::LoadProfileHives(ProfileListKey& profiles) {
  int loaded = 0;
  for (LPCWSTR sid = profiles.FirstSubKey(); sid != nullptr; sid = profiles.NextSubKey()) {
    if (IsLoaded(sid)) continue;
    ProfileKey profile;
    WCHAR hive[MAX_PATH];
    if (!profile.Open(profiles.handle(), TEXT("%s"), sid) || profile.LoadUserHive(hive) == 0) {
      continue;
    }
    if (!Remember(hive)) break;
    ++loaded;
  }
  return loaded;
}

int UserHives::LoadClassHives(ProfileListKey& profiles) {
  int loaded = 0;
  for (LPCWSTR sid = profiles.FirstSubKey(); sid != nullptr; sid = profiles.NextSubKey()) {
    WCHAR file[MAX_PATH], hive[MAX_PATH];
    if (!IsLoaded(sid) || !FindClassFile(sid, file) ||
        !FormatText(hive, TEXT("%s%s"), sid, kClasses) ||
        RegLoadKeyW(HKEY_USERS, hive, file) != ERROR_SUCCESS) {
      continue;
    }
    if (!Remember(hive)) break;
    ++loaded;
  }
  return loaded;
}

// Notes a hive that was loaded, to be unloaded later. One that cannot be noted is unloaded at once,
// so that it does not stay for good.
BOOL UserHives::Remember(LPCWSTR hive) {
  if (loadedNames_.Alloc(kNamesSize, GMEM_MOVEABLE, kNamesSize) && loadedNames_.Lock() &&
      loadedNames_.AppendStringW(hive, CGlobalBlock::Terminator::kYes))
    return TRUE;
  RegUnLoadKeyW(HKEY_USERS, hive);
  return FALSE;
}

void UserHives::UnloadUserHives() {
  // Growing may have left the list unlocked.
  if (startupContext.platform.win9xKind != 0 || !loadedNames_.Lock() ||
      !EnablePrivilege(kRestorePrivilege, TRUE)) {
    return;
  }
  RegFlushKey(HKEY_USERS);
  const auto* name = static_cast<LPCWSTR>(loadedNames_.data());
  const LPCWSTR end = name + loadedNames_.position() / sizeof(WCHAR);
  for (; name < end; name += View(name).size() + 1) RegUnLoadKeyW(HKEY_USERS, name);
  EnablePrivilege(kRestorePrivilege, FALSE);
}

}  // namespace kv
