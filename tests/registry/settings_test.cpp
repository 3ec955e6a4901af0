// The product's settings, and what process attach takes from them.
#include "runtime/registry/settings.h"

#include "platform/control/message_boxes.h"
#include "resources/string_ids.h"
#include "runtime/core/messages.h"
#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

class SettingsTest : public RuntimeTest {
 protected:
  // A settings key in the view that this process reads.
  static Key Settings(HKEY root) {
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    return Key::Create(root, kSettingsRoot);
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

TEST_F(SettingsTest, SilentAnswersEveryBoxFamilyWithoutABox) {
  SetNumber(HKEY_LOCAL_MACHINE, TEXT("Silent"), 1);
  Restart();
  EXPECT_EQ(ShowErrorF(TEXT("x")), IDOK);
  EXPECT_EQ(ShowInfoF(TEXT("x")), IDOK);
  EXPECT_EQ(ShowWarningF(TEXT("x")), IDOK);
  EXPECT_EQ(AskOkCancelF(TEXT("x")), IDOK);
  EXPECT_EQ(AskRetryCancelF(TEXT("x")), IDOK);
  EXPECT_EQ(AskAbortRetryIgnoreF(TEXT("x")), IDOK);
  EXPECT_EQ(AskYesNoF(TEXT("x")), IDYES);
  EXPECT_EQ(AskYesNoCancelF(TEXT("x")), IDYES);
  EXPECT_EQ(AskYesNo(IDS_RESOURCE_ERROR), IDYES);
  EXPECT_EQ(ShowLastError(TEXT("x")), IDOK);
  EXPECT_TRUE(platform::ShownBoxes().empty());
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
  EXPECT_TRUE(wide.Open64(HKEY_LOCAL_MACHINE, kSettingsRoot));
  EXPECT_EQ(wide.GetDword(TEXT("v"), 9), 7u);

  UserSettingsKey user(KeyMode::kWrite);
  EXPECT_TRUE(user.SetSz(TEXT("t"), TEXT("text")));
  OpenSettings(user, HKEY_CURRENT_USER, static_cast<KeyMode>(5));
  EXPECT_TRUE(user.IsOpen()) << "stays as it is";
  OpenSettings(user, HKEY_CURRENT_USER, KeyMode::kRead);
  EXPECT_FALSE(user.SetSz(TEXT("t"), TEXT("other"))) << "open for reading only";
  WCHAR buffer[5];
  EXPECT_EQ(ReadSettingString(HKEY_CURRENT_USER, TEXT("t"), buffer, 5), 4);
  EXPECT_EQ(ReadSettingString(HKEY_CURRENT_USER, TEXT("t"), buffer, 4), 0);
}

}  // namespace
}  // namespace kv::test
