#include "resources/string_ids.h"
#include "runtime/core/system_description.h"
#include "tools/kvctl/command.h"

namespace kvctl {
namespace {

constexpr WCHAR kFullOption[] = TEXT("--full");
constexpr Option kOptions[] = {{kFullOption, false}};

ExitStatus Describe(const Arguments& arguments) {
  WCHAR text[kv::kSystemDescriptionCapacity];
  const int detail = arguments.Has(kFullOption) ? kv::kFullDetail : kv::kWithServicePack;
  if (!kv::DescribeSystem(text, detail)) {
    PrintError(Text(IDS_CTL_DESCRIBE_NOTHING));
    return kFailed;
  }
  PrintLine(text);
  return kDone;
}

}  // namespace

const Command kDescribeCommand = {
    TEXT("describe"), IDS_CTL_DESCRIBE_SUMMARY, IDS_CTL_DESCRIBE_USAGE, kOptions, 0, 0, Describe};

}  // namespace kvctl
