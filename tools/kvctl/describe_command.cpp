#include "resources/string_ids.h"
#include "runtime/core/system_description.h"
#include "tools/kvctl/command.h"
#include "tools/kvctl/json.h"

namespace kvctl {
namespace {

constexpr Option kFullOption = {TEXT("--full"), false};

ExitStatus Describe(const Arguments& arguments) {
  WCHAR text[kv::kSystemDescriptionCapacity];
  const int detail = arguments.Has(kFullOption) ? kv::kFullDetail : kv::kWithServicePack;
  if (!kv::DescribeSystem(text, detail)) {
    PrintError(Text(IDS_CTL_DESCRIBE_NOTHING));
    return kFailed;
  }
  if (!arguments.Has(kJsonOption)) {
    PrintLine(text);
    return kDone;
  }
  JsonWriter json;
  json.BeginObject();
  json.Add(TEXT("description"), text);
  json.EndObject();
  PrintLine(json.text());
  return kDone;
}

constexpr Option kOptions[] = {kFullOption, kJsonOption};
constexpr Action kActions[] = {{nullptr, kOptions, 0, 0, Describe}};

}  // namespace

const Command kDescribeCommand = {TEXT("describe"), IDS_CTL_DESCRIBE_SUMMARY,
                                  IDS_CTL_DESCRIBE_USAGE, kActions};

}  // namespace kvctl
