#include "resources/string_ids.h"
#include "runtime/files/internet_shortcut.h"
#include "runtime/files/paths.h"
#include "runtime/files/shell_link.h"
#include "runtime/text/format.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr WCHAR kDirectory[] = TEXT("--directory");
constexpr WCHAR kArguments[] = TEXT("--arguments");
constexpr WCHAR kIcon[] = TEXT("--icon");
constexpr WCHAR kIconIndex[] = TEXT("--icon-index");
constexpr WCHAR kDescription[] = TEXT("--description");
constexpr WCHAR kAdministrator[] = TEXT("--run-as-administrator");
constexpr Option kOptions[] = {{kDirectory, true}, {kArguments, true},   {kIcon, true},
                               {kIconIndex, true}, {kDescription, true}, {kAdministrator, false}};

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
  PrintError(Text(IDS_CTL_SHORTCUT_NOT_A_NUMBER, kIconIndex, word.c_str()));
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
  if (arguments.operands().size() != 3) {
    PrintError(Text(IDS_CTL_OPERAND_MISSING));
    PrintError(Text(IDS_CTL_SEE_HELP, TEXT("shortcut")));
    return kUsage;
  }
  int iconIndex = 0;
  if (!ReadIconIndex(arguments, iconIndex)) return kUsage;
  const WideString& file = arguments.operands()[1];
  const WideString& target = arguments.operands()[2];
  const BOOL done = IsInternetShortcut(file)
                        ? kv::CInternetShortcut().Save(file.c_str(), target.c_str())
                        : CreateLink(file, target, iconIndex, arguments);
  if (!done) PrintError(Text(IDS_CTL_SHORTCUT_NOT_WRITTEN, file.c_str(), target.c_str()));
  return done ? kDone : kFailed;
}

// "label: value" unless there is no value.
void ShowLine(UINT label, WideView value) {
  if (!value.empty()) PrintLine(Text(label, WideString(value).c_str()));
}

ExitStatus ShowLink(const WideString& file) {
  const kv::CShellLink link(file.c_str());
  if (!link.ready()) {
    PrintError(Text(IDS_CTL_SHORTCUT_NOT_READ, file.c_str()));
    return kFailed;
  }
  WCHAR text[256], path[MAX_PATH];
  if (link.GetPath(path, MAX_PATH)) {
    ShowLine(IDS_CTL_SHORTCUT_TARGET, path);
  } else if (link.IsInSpecialFolder(CSIDL_INTERNET, path, MAX_PATH)) {
    ShowLine(IDS_CTL_SHORTCUT_ADDRESS, path);
  } else if (link.IsInSpecialFolder(CSIDL_PRINTERS, path, MAX_PATH)) {
    ShowLine(IDS_CTL_SHORTCUT_PRINTER, path);
  }
  if (link.GetArguments(text)) ShowLine(IDS_CTL_SHORTCUT_ARGUMENTS, text);
  if (link.GetWorkingDirectory(path, MAX_PATH)) ShowLine(IDS_CTL_SHORTCUT_DIRECTORY, path);
  int index = 0;
  if (link.GetIconLocation(path, index) && path[0] != 0) {
    WCHAR number[16];
    kv::FormatText(number, TEXT("%d"), index);
    PrintLine(Text(IDS_CTL_SHORTCUT_ICON, path, number));
  }
  if (link.GetDescription(text)) ShowLine(IDS_CTL_SHORTCUT_DESCRIPTION, text);
  return kDone;
}

ExitStatus ShowAddress(const WideString& file) {
  constexpr int kLongestAddress = 2084;
  WCHAR address[kLongestAddress];
  const kv::CInternetShortcut shortcut(file.c_str());
  if (!shortcut.GetURL(address, kLongestAddress)) {
    PrintError(Text(IDS_CTL_SHORTCUT_NOT_READ, file.c_str()));
    return kFailed;
  }
  ShowLine(IDS_CTL_SHORTCUT_ADDRESS, address);
  return kDone;
}

ExitStatus RunShortcut(const Arguments& arguments) {
  const Components components;
  const WideString& action = arguments.operands()[0];
  if (action == TEXT("create")) return Create(arguments);
  const bool isShow = action == TEXT("show");
  if (isShow && arguments.operands().size() == 2) {
    const WideString& file = arguments.operands()[1];
    return IsInternetShortcut(file) ? ShowAddress(file) : ShowLink(file);
  }
  const WideString& unexpected = isShow ? arguments.operands()[2] : action;
  PrintError(Text(IDS_CTL_UNEXPECTED_OPERAND, unexpected.c_str()));
  PrintError(Text(IDS_CTL_SEE_HELP, TEXT("shortcut")));
  return kUsage;
}

}  // namespace

const Command kShortcutCommand = {
    TEXT("shortcut"), IDS_CTL_SHORTCUT_SUMMARY, IDS_CTL_SHORTCUT_USAGE, kOptions, 2, 3,
    RunShortcut};

}  // namespace kvctl
