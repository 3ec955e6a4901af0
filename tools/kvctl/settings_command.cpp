#include <optional>

#include "resources/string_ids.h"
#include "runtime/core/product.h"
#include "runtime/registry/settings.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr Option kMachineOption = {TEXT("--machine"), false};
constexpr Option kUserOption = {TEXT("--user"), false};
constexpr size_t kColumn = 24;
constexpr size_t kLongestText = MAX_PATH - 1;
// The registry view that this program and the product's modules of its kind read.
constexpr int kOwnView = sizeof(void*) * 8;

using Value = std::optional<WideString>;

enum class Source { kEither, kUserFirst, kMachine, kUser };

struct Setting {
  LPCWSTR name;
  DWORD type;  // REG_DWORD or REG_SZ
  Source source;
  UINT meaning;
};

constexpr Setting kSettings[] = {
    {TEXT("Compatibility"), REG_DWORD, Source::kEither, IDS_CTL_SETTINGS_COMPATIBILITY},
    {TEXT("Silent"), REG_DWORD, Source::kEither, IDS_CTL_SETTINGS_SILENT},
    {TEXT("AppDir"), REG_SZ, Source::kMachine, IDS_CTL_SETTINGS_APPDIR},
    {TEXT("Help"), REG_SZ, Source::kUserFirst, IDS_CTL_SETTINGS_HELP},
    {TEXT("Language"), REG_DWORD, Source::kUserFirst, IDS_CTL_SETTINGS_LANGUAGE},
    {TEXT("AssumeHardwareDuplex"), REG_DWORD, Source::kUser, IDS_CTL_SETTINGS_DUPLEX},
};

enum class Scope { kNone, kMachine, kUser };

const Setting* FindSetting(const WideString& name) {
  std::vector<WideString> known;
  for (const Setting& setting : kSettings) {
    if (kv::EqualAsciiNoCase(name, setting.name)) return &setting;
    known.push_back(setting.name);
  }
  PrintError(WithSuggestion(Text(IDS_CTL_SETTINGS_UNKNOWN_NAME, name.c_str()), name, known));
  return nullptr;
}

Value ReadValue(kv::RegKey& key, const Setting& setting) {
  if (key.GetValueType(setting.name, 0) == 0) return std::nullopt;
  if (setting.type == REG_DWORD) {
    if (key.GetValueType(setting.name, REG_DWORD) == 0) return std::nullopt;
    return Number(key.GetDword(setting.name, 0));
  }
  const LPCWSTR text = key.GetString(setting.name);
  return text == nullptr ? std::nullopt : Value(text);
}

Value ReadMachineValue(const Setting& setting, int view) {
  kv::RegKey key;
  key.OpenView(view, HKEY_LOCAL_MACHINE, kv::kSettingsRoot);
  return ReadValue(key, setting);
}

Value ReadUserValue(const Setting& setting) {
  kv::UserSettingsKey key(kv::KeyMode::kRead);
  return ReadValue(key, setting);
}

// The value by which the product acts.
Value EffectiveValue(const Setting& setting) {
  const Value user = setting.source == Source::kMachine ? std::nullopt : ReadUserValue(setting);
  const Value machine =
      setting.source == Source::kUser ? std::nullopt : ReadMachineValue(setting, kOwnView);
  if (!user || !machine) return user ? user : machine;
  if (setting.source == Source::kEither) {
    const DWORD both = kv::ReadMachineSettingDword(setting.name, 0) |
                       kv::ReadSettingDword(HKEY_CURRENT_USER, setting.name, 0);
    return Number(both);
  }
  // A number of 0 names nothing, like an empty text.
  const WideView nothing = setting.type == REG_DWORD ? TEXT("0") : TEXT("");
  return *user == nothing ? machine : user;
}

// One line "whose: value".
WideString Describe(const WideString& whose, const Value& value) {
  return TEXT("  ") + whose + TEXT(": ") + (value ? *value : Text(IDS_CTL_SETTINGS_UNSET));
}

// One line, or one for each registry view when they differ.
std::vector<WideString> DescribeMachine(const Setting& setting) {
  constexpr int kOtherView = kOwnView == 64 ? 32 : 64;
  const Value own = ReadMachineValue(setting, kOwnView);
  const Value other = ReadMachineValue(setting, kOtherView);
  if (own == other) return {Describe(Text(IDS_CTL_SETTINGS_MACHINE), own)};
  return {Describe(Text(IDS_CTL_SETTINGS_READ_VIEW, Number(kOwnView).c_str()), own),
          Describe(Text(IDS_CTL_SETTINGS_OTHER_VIEW, Number(kOtherView).c_str()), other)};
}

// The scope that the options name; nothing, after a message, when they name both.
std::optional<Scope> GivenScope(const Arguments& arguments) {
  const bool machine = arguments.Has(kMachineOption), user = arguments.Has(kUserOption);
  if (machine && user) {
    PrintError(Text(IDS_CTL_SETTINGS_ONE_SCOPE));
    return std::nullopt;
  }
  return machine ? Scope::kMachine : user ? Scope::kUser : Scope::kNone;
}

// Says so when the setting is never read from that scope.
bool HasScope(const Setting& setting, Scope scope) {
  const bool no_machine = scope == Scope::kMachine && setting.source == Source::kUser;
  const bool no_user = scope == Scope::kUser && setting.source == Source::kMachine;
  if (no_machine) PrintError(Text(IDS_CTL_SETTINGS_USER_ONLY, setting.name));
  if (no_user) PrintError(Text(IDS_CTL_SETTINGS_MACHINE_ONLY, setting.name));
  return !no_machine && !no_user;
}

// A whole number in decimal or with 0x; nothing for anything else.
std::optional<DWORD> ParseNumber(WideView text) {
  const bool hexadecimal = text.starts_with(TEXT("0x")) || text.starts_with(TEXT("0X"));
  if (hexadecimal) text.remove_prefix(2);
  const ULONGLONG base = hexadecimal ? 16 : 10;
  ULONGLONG number = 0;
  for (const WCHAR c : text) {
    const WCHAR upper = kv::ToUpper(c);
    const ULONGLONG digit = upper >= '0' && upper <= '9'   ? upper - '0'
                            : upper >= 'A' && upper <= 'F' ? upper - 'A' + 10
                                                           : base;
    number = number * base + digit;
    if (digit >= base || number > 0xFFFFFFFF) return std::nullopt;
  }
  return text.empty() ? std::nullopt : std::optional(static_cast<DWORD>(number));
}

void PrintSettings(Scope scope) {
  for (const Setting& setting : kSettings) {
    const UINT type = setting.type == REG_DWORD ? IDS_CTL_SETTINGS_NUMBER : IDS_CTL_SETTINGS_TEXT;
    PrintLine(Padded(setting.name, kColumn) + Padded(Text(type), 8) + Text(setting.meaning));
    if (scope != Scope::kUser && setting.source != Source::kUser) {
      for (const WideString& line : DescribeMachine(setting)) PrintLine(line);
    }
    if (scope != Scope::kMachine && setting.source != Source::kMachine)
      PrintLine(Describe(Text(IDS_CTL_SETTINGS_USER), ReadUserValue(setting)));
  }
}

void AddValue(JsonWriter& json, LPCWSTR key, const Setting& setting, const Value& value) {
  if (!value) {
    json.AddNull(key);
  } else if (setting.type == REG_DWORD) {
    json.AddNumber(key, *ParseNumber(*value));
  } else {
    json.Add(key, *value);
  }
}

void PrintSettingsAsJson(Scope scope) {
  JsonWriter json;
  json.BeginList();
  for (const Setting& setting : kSettings) {
    json.BeginObject();
    json.Add(TEXT("name"), setting.name);
    if (scope != Scope::kUser && setting.source != Source::kUser) {
      AddValue(json, TEXT("machine"), setting, ReadMachineValue(setting, kOwnView));
    }
    if (scope != Scope::kMachine && setting.source != Source::kMachine) {
      AddValue(json, TEXT("user"), setting, ReadUserValue(setting));
    }
    AddValue(json, TEXT("inEffect"), setting, EffectiveValue(setting));
    json.EndObject();
  }
  json.EndList();
  PrintLine(json.text());
}

ExitStatus List(const Arguments& arguments) {
  const std::optional<Scope> scope = GivenScope(arguments);
  if (!scope) return kUsage;
  arguments.Has(kJsonOption) ? PrintSettingsAsJson(*scope) : PrintSettings(*scope);
  return kDone;
}

// The value alone goes to standard output; differing registry views are a remark beside it.
ExitStatus GetOne(const Setting& setting, Scope scope) {
  if (!HasScope(setting, scope)) return kUsage;
  const Value value = scope == Scope::kUser      ? ReadUserValue(setting)
                      : scope == Scope::kMachine ? ReadMachineValue(setting, kOwnView)
                                                 : EffectiveValue(setting);
  if (scope != Scope::kUser && setting.source != Source::kUser) {
    const std::vector<WideString> views = DescribeMachine(setting);
    for (const WideString& line : views) {
      if (views.size() > 1) PrintStatus(line + WCHAR('\n'));
    }
  }
  if (!value) {
    PrintError(Text(IDS_CTL_SETTINGS_NOT_SET, setting.name));
    return kFailed;
  }
  PrintLine(*value);
  return kDone;
}

// Whether the setting can have the value; says so when it cannot.
bool CheckValue(const Setting& setting, const WideString& value) {
  if (setting.type == REG_DWORD) {
    if (ParseNumber(value)) return true;
    PrintError(Text(IDS_CTL_SETTINGS_NOT_A_NUMBER, setting.name, value.c_str()));
    return false;
  }
  if (value.size() <= kLongestText) return true;
  PrintError(Text(IDS_CTL_SETTINGS_TOO_LONG, setting.name, Number(kLongestText).c_str()));
  return false;
}

BOOL ChangeKey(kv::RegKey& key, const Setting& setting, const Value& value) {
  if (!value) return key.GetValueType(setting.name, 0) == 0 || key.DeleteValue(setting.name);
  if (setting.type == REG_DWORD) return key.SetDword(setting.name, *ParseNumber(*value));
  return key.SetString(setting.name, value->c_str(), REG_SZ, kv::DeleteIfEmpty::kNo);
}

// Both registry views get the value, so that modules of either word size agree.
BOOL ChangeMachine(const Setting& setting, const Value& value) {
  kv::MachineSettingsKey wide(kv::KeyMode::kWrite);
  kv::RegKey narrow;
  narrow.Create32(HKEY_LOCAL_MACHINE, kv::kSettingsRoot);
  return wide.IsOpen() && narrow.IsOpen() && ChangeKey(wide, setting, value) &&
         ChangeKey(narrow, setting, value);
}

BOOL ChangeUser(const Setting& setting, const Value& value) {
  kv::UserSettingsKey key(kv::KeyMode::kWrite);
  return key.IsOpen() && ChangeKey(key, setting, value);
}

// Sets the value, or removes it when there is none.
ExitStatus Change(const Setting& setting, Scope scope, const Value& value) {
  if (!HasScope(setting, scope)) return kUsage;
  if (value && !CheckValue(setting, *value)) return kUsage;
  const bool machine = scope == Scope::kMachine || setting.source == Source::kMachine;
  if (machine && !kv::RegKey::MayCreateBelow(HKEY_LOCAL_MACHINE)) {
    PrintError(Text(IDS_CTL_SETTINGS_NEED_RIGHTS));
    return kNeedsRights;
  }
  if (machine ? ChangeMachine(setting, value) : ChangeUser(setting, value)) return kDone;
  PrintError(Text(IDS_CTL_SETTINGS_CANNOT_WRITE, setting.name));
  return kFailed;
}

// The setting that the first operand names, with the scope that the options name, taken by `run`.
template <class Run>
ExitStatus WithSetting(const Arguments& arguments, Run run) {
  const std::optional<Scope> scope = GivenScope(arguments);
  const Setting* const setting = scope ? FindSetting(arguments.operands()[0]) : nullptr;
  return setting == nullptr ? kUsage : run(*setting, *scope);
}

ExitStatus Get(const Arguments& arguments) {
  return WithSetting(arguments, GetOne);
}

ExitStatus Set(const Arguments& arguments) {
  return WithSetting(arguments, [&](const Setting& setting, Scope scope) {
    return Change(setting, scope, arguments.operands()[1]);
  });
}

ExitStatus Unset(const Arguments& arguments) {
  return WithSetting(arguments, [](const Setting& setting, Scope scope) {
    return Change(setting, scope, std::nullopt);
  });
}

constexpr Option kListOptions[] = {kMachineOption, kUserOption, kJsonOption};
constexpr Option kOptions[] = {kMachineOption, kUserOption};
constexpr Action kActions[] = {{TEXT("list"), kListOptions, 0, 0, List},
                               {TEXT("get"), kOptions, 1, 1, Get},
                               {TEXT("set"), kOptions, 2, 2, Set},
                               {TEXT("unset"), kOptions, 1, 1, Unset}};

}  // namespace

const Command kSettingsCommand = {TEXT("settings"), IDS_CTL_SETTINGS_SUMMARY,
                                  IDS_CTL_SETTINGS_USAGE, kActions};

}  // namespace kvctl
