// The registry of users other than the caller: who has a profile on the machine, and their hives
// below HKEY_USERS. Nothing here is reported but memory that runs out, and no function sets a last
// error of its own.
#pragma once

#include "runtime/files/global_block.h"
#include "runtime/registry/reg_key.h"

namespace kv {

// The machine's list of user profiles, open for reading if it exists; its sub-keys are SID texts.
class ProfileListKey : public RegKey {
 public:
  ProfileListKey();
  ~ProfileListKey() override = default;
};

// One profile, opened with Open relative to a ProfileListKey and its SID text as path.
class ProfileKey : public RegKey {
 public:
  ~ProfileKey() override = default;

  // The account's name or, when the account is not known, the last component of the profile's path;
  // empty when there is neither. Found once and kept.
  LPCWSTR GetUserName();
  // Loads the profile's "ntuser.dat" under HKEY_USERS, by the name that ends the key's path (its
  // SID), which is copied to `hiveName` (MAX_PATH characters; may be null; empty when the profile
  // has no usable path). Returns the name's length in characters, 0 on failure.
  int LoadUserHive(LPWSTR hiveName);

 private:
  WCHAR userName_[MAX_PATH] = {};
};

// The user name of the profile with that SID text, cut to capacity - 1 characters; TRUE when it is
// not empty.
BOOL GetProfileUserName(LPCWSTR sid, LPWSTR buffer, int capacity);

// Whether a sub-key of HKEY_USERS belongs to the system, or to a user's class registrations, rather
// than to a user.
BOOL IsSystemUserKey(LPCWSTR name);

// HKEY_USERS, with the hives of all profiles if asked for. On the 9x family nothing is ever loaded.
// Belongs to one thread.
class UserHives : public RegKey {
 public:
  enum LoadFlag : int {
    kLoadNone = 0,
    kLoadAndUnload = 1,  // what was loaded is unloaded with the object
    kLoadAndKeep = 2,    // as any other value: what was loaded stays
  };

  explicit UserHives(int loadFlag);
  ~UserHives() override;

  // Loads the hives of all profiles that are not loaded yet: the users' own, then their class
  // registrations. Needs SeRestorePrivilege, which is enabled meanwhile and disabled afterwards, as
  // it is when the object unloads them. Returns how many were loaded.
  int LoadAllUserHives();

 private:
  BOOL Remember(LPCWSTR hive);
  int LoadProfileHives(ProfileListKey& profiles);
  int LoadClassHives(ProfileListKey& profiles);
  void UnloadUserHives();

  int loadFlag_;
  CGlobalBlock loadedNames_;  // UTF-16 with terminators, back to back
};

}  // namespace kv
