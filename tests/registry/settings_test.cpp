// The product's settings, and what process attach takes from them.
#include "runtime/registry/settings.h"

#include "runtime/core/startup_context.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

constexpr WCHAR kSettings[] = TEXT("Software\\Veltmoor Software\\Folvane8");

class SettingsTest : public RuntimeTest {
 protected:
  // A settings key in the view that this process reads.
  static Key Settings(HKEY root) {
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    return Key::Create(root, kSettings);
  }
  static void SetNumber(HKEY root, LPCWSTR name, DWORD number) {
    RegSetValueExW(Settings(root), name, 0, REG_DWORD, reinterpret_cast<BYTE*>(&number), 4);
  }
};

TEST_F(SettingsTest, AFlagIsOnWhenTheMachineOrTheUserTurnsItOn) {
  EXPECT_EQ(startupContext.silent + startupContext.compatibilityFlags, 0u);
  const struct {
    DWORD machine, user, result;
  } kCases[] = {{0, 1, 1}, {1, 0, 1}, {2, 4, 6}, {0, 0, 0}};
  for (const auto& c : kCases) {
    for (const LPCWSTR name : {TEXT("Silent"), TEXT("Compatibility")}) {
      SetNumber(HKEY_LOCAL_MACHINE, name, c.machine);
      SetNumber(HKEY_CURRENT_USER, name, c.user);
    }
    Restart();
    EXPECT_EQ(startupContext.silent, c.result);
    EXPECT_EQ(startupContext.compatibilityFlags, c.result);
  }
  SetText(Settings(HKEY_CURRENT_USER), TEXT("Silent"), TEXT("1"));
  Restart();
  EXPECT_EQ(startupContext.silent, 0u) << "a text is no flag";
}

TEST_F(SettingsTest, TheProgramDirectoryIsTheMachinesAndFitsOrIsMissing) {
  const WideString longest = TEXT("C:\\") + WideString(256, 'd');
  const auto appDir = [&](const WideString& text, DWORD type) {
    RegSetValueExW(Settings(HKEY_LOCAL_MACHINE), TEXT("AppDir"), 0, type,
                   reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
    Restart();
    return WideString(startupContext.appDir);
  };
  EXPECT_EQ(appDir(longest, REG_SZ), longest);
  EXPECT_EQ(appDir(longest + TEXT("d"), REG_SZ), TEXT(""));
  EXPECT_EQ(appDir(TEXT("%TEMP%"), REG_EXPAND_SZ), TEXT("%TEMP%"));
  EXPECT_EQ(appDir(TEXT("x"), REG_DWORD), TEXT(""));
  RegDeleteValueW(Settings(HKEY_LOCAL_MACHINE), TEXT("AppDir"));
  SetText(Settings(HKEY_CURRENT_USER), TEXT("AppDir"), TEXT("C:\\user"));
  Restart();
  EXPECT_EQ(WideView(startupContext.appDir), TEXT(""));
}

TEST_F(SettingsTest, KeysOpenByModeAndRootAndWriteTheWideView) {
  EXPECT_FALSE(UserSettingsKey(KeyMode::kRead).IsOpen());
  EXPECT_FALSE(UserSettingsKey(static_cast<KeyMode>(2)).IsOpen());
  EXPECT_FALSE(MachineSettingsKey(KeyMode::kWrite).IsOpen()) << "not without rights";
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  MachineSettingsKey(KeyMode::kWrite).SetDword(TEXT("v"), 7);
  const bool one_view = sizeof(void*) == 8;
  EXPECT_EQ(ReadMachineSettingDword(TEXT("v"), 9), one_view ? 7u : 9u);
  RegKey wide;
  EXPECT_TRUE(wide.Open64(HKEY_LOCAL_MACHINE, kSettings));
  EXPECT_EQ(wide.GetDword(TEXT("v"), 9), 7u);

  UserSettingsKey user(KeyMode::kWrite);
  EXPECT_TRUE(user.SetSz(TEXT("t"), TEXT("text")) && user.SetDword(TEXT("n"), 5));
  OpenSettings(user, HKEY_CURRENT_USER, static_cast<KeyMode>(5));
  EXPECT_TRUE(user.IsOpen()) << "stays as it is";
  OpenSettings(user, HKEY_CURRENT_USER, KeyMode::kRead);
  EXPECT_FALSE(user.SetSz(TEXT("t"), TEXT("other"))) << "open for reading only";
  EXPECT_EQ(ReadSettingDword(HKEY_CURRENT_USER, TEXT("n"), 9), 5u);
  SetText(Settings(HKEY_LOCAL_MACHINE), TEXT("t"), TEXT("%TMP%"));
  WCHAR own[5] = TEXT("####"), machine[6] = TEXT("#####");
  EXPECT_EQ(ReadSettingString(HKEY_CURRENT_USER, TEXT("t"), own, 5), 4);
  EXPECT_EQ(ReadMachineSettingString(TEXT("t"), machine, 6), 5);
  EXPECT_TRUE(WideView(own) == TEXT("text") && WideView(machine) == TEXT("%TMP%"));
  EXPECT_EQ(ReadSettingString(HKEY_CURRENT_USER, TEXT("t"), own, 4), 0);
  EXPECT_EQ(own[0], 0);
}

}  // namespace
}  // namespace kv::test
