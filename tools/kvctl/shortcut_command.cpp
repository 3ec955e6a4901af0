#include "resources/string_ids.h"
#include "runtime/files/internet_shortcut.h"
#include "runtime/files/paths.h"
#include "runtime/files/shell_link.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr Option kDirectory = {TEXT("--directory"), true};
constexpr Option kArguments = {TEXT("--arguments"), true};
constexpr Option kIcon = {TEXT("--icon"), true};
constexpr Option kIconIndex = {TEXT("--icon-index"), true};
constexpr Option kDescription = {TEXT("--description"), true};
constexpr Option kAdministrator = {TEXT("--run-as-administrator"), false};

// Lets the thread use component objects for as long as it lives.
class Components {
 public:
  Components() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~Components() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  Components(const Components&) = delete;
  Components& operator=(const Components&) = delete;

 private:
  HRESULT result_;
};

bool IsInternetShortcut(const WideString& file) {
  return kv::EqualAsciiNoCase(kv::View(kv::FindExtension(file.c_str())), TEXT(".url"));
}

// The index of the icon, 0 when none is given; FALSE after a message for what is no number.
// Negative ones are ids of resources.
BOOL ReadIconIndex(const Arguments& arguments, int& index) {
  const WideString word = arguments.Value(kIconIndex, TEXT("0"));
  index = kv::ParseDecimal(word.c_str());
  if (word == SignedNumber(index)) return TRUE;
  PrintError(Text(IDS_CTL_SHORTCUT_NOT_A_NUMBER, kIconIndex.name, word.c_str()));
  return FALSE;
}

BOOL CreateLink(const WideString& file, const WideString& target, int iconIndex,
                const Arguments& arguments) {
  const WideString directory = arguments.Value(kDirectory), text = arguments.Value(kArguments),
                   icon = arguments.Value(kIcon), description = arguments.Value(kDescription);
  const auto given = [](const WideString& value) {
    return value.empty() ? nullptr : value.c_str();
  };
  kv::ShortcutContents contents;
  contents.target = target.c_str();
  contents.workingDirectory = given(directory);
  contents.arguments = given(text);
  contents.iconFile = given(icon);
  contents.iconIndex = iconIndex;
  contents.description = given(description);
  contents.runAsAdministrator = kv::RunAsAdministrator{arguments.Has(kAdministrator)};
  return kv::CShellLink().Save(file.c_str(), contents);
}

ExitStatus Create(const Arguments& arguments) {
  const Components components;
  int iconIndex = 0;
  if (!ReadIconIndex(arguments, iconIndex)) return kUsage;
  const WideString& file = arguments.operands()[0];
  const WideString& target = arguments.operands()[1];
  const BOOL done = IsInternetShortcut(file)
                        ? kv::CInternetShortcut().Save(file.c_str(), target.c_str())
                        : CreateLink(file, target, iconIndex, arguments);
  if (!done) PrintError(Text(IDS_CTL_SHORTCUT_NOT_WRITTEN, file.c_str(), target.c_str()));
  return done ? kDone : kFailed;
}

// What a shortcut holds: "label: value" for people.
class Contents {
 public:
  explicit Contents(const Arguments& arguments) : asJson_(arguments.Has(kJsonOption)) {
    json_.BeginObject();
  }
  // Nothing for an empty value.
  void Add(LPCWSTR key, UINT label, const WideString& value) {
    if (value.empty()) return;
    json_.Add(key, value);
    if (!asJson_) PrintLine(Text(label, value.c_str()));
  }
  void AddIcon(LPCWSTR file, int index) {
    json_.Add(TEXT("icon"), file);
    json_.AddNumber(TEXT("iconIndex"), index);
    if (!asJson_) PrintLine(Text(IDS_CTL_SHORTCUT_ICON, file, SignedNumber(index).c_str()));
  }
  void Finish() {
    json_.EndObject();
    if (asJson_) PrintLine(json_.text());
  }

 private:
  bool asJson_;
  JsonWriter json_;
};

void AddTarget(const kv::CShellLink& link, Contents& contents) {
  WCHAR path[MAX_PATH];
  if (link.GetPath(path, MAX_PATH)) {
    contents.Add(TEXT("target"), IDS_CTL_SHORTCUT_TARGET, path);
  } else if (link.IsInSpecialFolder(CSIDL_INTERNET, path, MAX_PATH)) {
    contents.Add(TEXT("address"), IDS_CTL_SHORTCUT_ADDRESS, path);
  } else if (link.IsInSpecialFolder(CSIDL_PRINTERS, path, MAX_PATH)) {
    contents.Add(TEXT("printer"), IDS_CTL_SHORTCUT_PRINTER, path);
  }
}

bool ReadLink(const WideString& file, Contents& contents) {
  const kv::CShellLink link(file.c_str());
  if (!link.ready()) return false;
  AddTarget(link, contents);
  WCHAR text[256], path[MAX_PATH];
  if (link.GetArguments(text)) {
    contents.Add(TEXT("arguments"), IDS_CTL_SHORTCUT_ARGUMENTS, text);
  }
  if (link.GetWorkingDirectory(path, MAX_PATH)) {
    contents.Add(TEXT("directory"), IDS_CTL_SHORTCUT_DIRECTORY, path);
  }
  int index = 0;
  if (link.GetIconLocation(path, index) && path[0] != 0) contents.AddIcon(path, index);
  if (link.GetDescription(text)) {
    contents.Add(TEXT("description"), IDS_CTL_SHORTCUT_DESCRIPTION, text);
  }
  return true;
}

bool ReadAddress(const WideString& file, Contents& contents) {
  constexpr int kLongestAddress = 2084;
  WCHAR address[kLongestAddress];
  const kv::CInternetShortcut shortcut(file.c_str());
  if (!shortcut.GetURL(address, kLongestAddress)) return false;
  contents.Add(TEXT("address"), IDS_CTL_SHORTCUT_ADDRESS, address);
  return true;
}

ExitStatus Show(const Arguments& arguments) {
  const Components components;
  const WideString& file = arguments.operands()[0];
  Contents contents(arguments);
  if (!(IsInternetShortcut(file) ? ReadAddress(file, contents) : ReadLink(file, contents))) {
    PrintError(Text(IDS_CTL_SHORTCUT_NOT_READ, file.c_str()));
    return kFailed;
  }
  contents.Finish();
  return kDone;
}

constexpr Option kCreateOptions[] = {kDirectory, kArguments,   kIcon,
                                     kIconIndex, kDescription, kAdministrator};
constexpr Option kShowOptions[] = {kJsonOption};
constexpr Action kActions[] = {{TEXT("show"), kShowOptions, 1, 1, Show},
                               {TEXT("create"), kCreateOptions, 2, 2, Create}};

}  // namespace

const Command kShortcutCommand = {TEXT("shortcut"), IDS_CTL_SHORTCUT_SUMMARY,
                                  IDS_CTL_SHORTCUT_USAGE, kActions};

}  // namespace kvctl
