#include "platform/security/users.h"

#include <algorithm>

#include "platform/control/facts.h"
#include "platform/control/machine.h"
#include "platform/kernel/split.h"
#include "platform/kernel/system_version.h"

namespace platform {
namespace {

constexpr const char* kDefaultUser = "Ada";
constexpr const char* kDefaultUserSid = "S-1-5-21-1004336348-1177238915-682003330-1001";
constexpr const char* kDefaultDomainSid = "S-1-5-21-1004336348-1177238915-682003330";
constexpr const WCHAR* kSystemSid = TEXT("S-1-5-18");

struct KnownAccount {
  const WCHAR* name;
  const WCHAR* domain;
  const WCHAR* sid;
  SID_NAME_USE use;
};

constexpr KnownAccount kKnown[] = {
    {TEXT("Everyone"), TEXT(""), TEXT("S-1-1-0"), SidTypeWellKnownGroup},
    {TEXT("SYSTEM"), TEXT("NT AUTHORITY"), kSystemSid, SidTypeWellKnownGroup},
    {TEXT("LOCAL SERVICE"), TEXT("NT AUTHORITY"), TEXT("S-1-5-19"), SidTypeWellKnownGroup},
    {TEXT("NETWORK SERVICE"), TEXT("NT AUTHORITY"), TEXT("S-1-5-20"), SidTypeWellKnownGroup},
    {TEXT("INTERACTIVE"), TEXT("NT AUTHORITY"), TEXT("S-1-5-4"), SidTypeWellKnownGroup},
    {TEXT("Authenticated Users"), TEXT("NT AUTHORITY"), TEXT("S-1-5-11"), SidTypeWellKnownGroup},
    {TEXT("BUILTIN"), TEXT("BUILTIN"), TEXT("S-1-5-32"), SidTypeDomain},
    {TEXT("Administrators"), TEXT("BUILTIN"), TEXT("S-1-5-32-544"), SidTypeAlias},
    {TEXT("Users"), TEXT("BUILTIN"), TEXT("S-1-5-32-545"), SidTypeAlias},
    {TEXT("Guests"), TEXT("BUILTIN"), TEXT("S-1-5-32-546"), SidTypeAlias},
};

struct LocalAccount {
  const WCHAR* name;
  DWORD rid;
  SID_NAME_USE use;
};
constexpr LocalAccount kLocal[] = {{TEXT("Administrator"), 500, SidTypeUser},
                                   {TEXT("Guest"), 501, SidTypeUser},
                                   {TEXT("None"), 513, SidTypeGroup}};

WideString ProcessUserSidText() {
  return ToWide(Fact(facts::kUserSid, kDefaultUserSid));
}

// One entry of the fact "accounts": "Bob:1002", "Staff:1100:group", "Eve:S-1-5-21-1-2-3-1104".
std::optional<Account> DescribedAccount(const std::string& entry) {
  const std::vector<std::string> parts = Split(entry, ':');
  if (parts.size() < 2) return std::nullopt;
  const bool whole = parts[1].starts_with("S-");
  const std::optional<Sid> sid = whole ? Sid::FromText(ToWide(parts[1]))
                                       : AccountDomainSid().With(static_cast<DWORD>(
                                             std::strtoul(parts[1].c_str(), nullptr, 10)));
  if (!sid) return std::nullopt;
  const bool is_group = parts.size() > 2 && parts[2] == "group";
  return Account{ToWide(parts[0]), ComputerName(), *sid, is_group ? SidTypeGroup : SidTypeUser};
}

// In the order in which names are looked for.
std::vector<Account> AllAccounts() {
  std::vector<Account> all;
  for (const KnownAccount& known : kKnown) {
    all.push_back({known.name, known.domain, *Sid::FromText(known.sid), known.use});
  }
  const WideString computer = ComputerName();
  const Sid domain = AccountDomainSid();
  all.push_back({computer, computer, domain, SidTypeDomain});
  const std::optional<Sid> process_user = Sid::FromText(ProcessUserSidText());
  const auto is_process_user = [&](const Account& account) { return account.sid == process_user; };
  if (process_user && std::none_of(all.begin(), all.end(), is_process_user)) {
    all.push_back(
        {ToWide(Fact(facts::kUserName, kDefaultUser)), computer, *process_user, SidTypeUser});
  }
  for (const std::string& entry : Split(Fact(facts::kAccounts), ',')) {
    if (auto account = DescribedAccount(entry)) all.push_back(std::move(*account));
  }
  for (const LocalAccount& local : kLocal) {
    all.push_back({local.name, computer, domain.With(local.rid), local.use});
  }
  return all;
}

}  // namespace

WideString ComputerName() {
  return ToWide(Fact(facts::kComputerName, "WORKSTATION"));
}

Sid AccountDomainSid() {
  const auto said = Sid::FromText(ToWide(Fact(facts::kComputerSid, kDefaultDomainSid)));
  return said ? *said : *Sid::FromText(ToWide(kDefaultDomainSid));
}

std::optional<Account> FindAccount(WideView name) {
  const size_t slash = name.find(TEXT('\\'));
  const WideView domain = slash == WideView::npos ? WideView() : name.substr(0, slash);
  const WideView alone = slash == WideView::npos ? name : name.substr(slash + 1);
  for (Account& account : AllAccounts()) {
    // A qualified name is never a domain's own.
    const bool in_domain = slash == WideView::npos ||
                           (EqualNoCase(account.domain, domain) && account.use != SidTypeDomain);
    if (in_domain && EqualNoCase(account.name, alone)) return std::move(account);
  }
  return std::nullopt;
}

std::optional<Account> FindAccount(const Sid& sid) {
  for (Account& account : AllAccounts()) {
    if (account.sid == sid) return std::move(account);
  }
  return std::nullopt;
}

User::User(std::string prefix, WideString name, WideString sid)
    : prefix_(std::move(prefix)), name_(std::move(name)), sid_(std::move(sid)) {}

User User::OfProcess() {
  WideString sid = ProcessUserSidText();
  const bool is_system = sid == kSystemSid;
  WideString name = is_system ? WideString(TEXT("SYSTEM"))
                              : ToWide(platform::Fact(facts::kUserName, kDefaultUser));
  return User("user.", std::move(name), std::move(sid));
}

std::optional<User> User::Named(WideView name) {
  const User process = OfProcess();
  if (EqualNoCase(name, process.name_)) return process;
  const std::optional<Account> account = FindAccount(name);
  if (!account) return std::nullopt;
  const WideString sid = account->sid.Text();
  if (account->use != SidTypeUser && sid != kSystemSid) return std::nullopt;
  return User(facts::kAccountPrefix + ToUtf8(account->name) + ".", account->name, sid);
}

std::string User::Fact(std::string_view name) const {
  return platform::Fact(prefix_ + std::string(name));
}

bool User::Flag(std::string_view name, bool otherwise) const {
  return FactNumber(prefix_ + std::string(name), otherwise) != 0;
}

WideString User::SidText() const {
  return sid_;
}

Sid User::UserSid() const {
  const std::optional<Sid> sid = Sid::FromText(sid_);
  return sid ? *sid : AccountDomainSid().With(1001);
}

bool User::IsLocalSystem() const {
  return sid_ == kSystemSid;
}

bool User::IsAdministrator() const {
  return IsLocalSystem() || Flag("administrator", prefix_ == "user.");
}

bool User::IsElevated() const {
  if (!IsAdministrator() || unelevated_) return false;
  return IsLocalSystem() || InstalledVersion().major < 6 || Flag("elevated", false);
}

User User::Unelevated() const {
  User user = *this;
  // There is nothing to be without for the system itself, and before user account control.
  user.unelevated_ = !IsLocalSystem() && InstalledVersion().major >= 6;
  return user;
}

DWORD User::IntegrityLevel() const {
  const std::string said = Fact("integrity");
  if (!said.empty() && !unelevated_)
    return static_cast<DWORD>(std::strtoul(said.c_str(), nullptr, 0));
  if (IsLocalSystem()) return SECURITY_MANDATORY_SYSTEM_RID;
  return IsElevated() ? SECURITY_MANDATORY_HIGH_RID : SECURITY_MANDATORY_MEDIUM_RID;
}

std::vector<Sid> User::MoreGroups() const {
  std::vector<Sid> groups;
  for (const std::string& text : Split(Fact("groups"), ',')) {
    if (const auto sid = Sid::FromText(ToWide(text))) groups.push_back(*sid);
  }
  return groups;
}

std::string User::PrivilegeChanges() const {
  return Fact("privileges");
}

}  // namespace platform
