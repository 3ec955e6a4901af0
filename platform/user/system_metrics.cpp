#include <algorithm>
#include <string>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/code_page.h"
#include "platform/kernel/machine.h"

namespace platform {
namespace {

struct Metric {
  int index;
  int value;
};

constexpr Metric kDefaults[] = {
    {SM_CXSCREEN, 1920}, {SM_CYSCREEN, 1080}, {SM_CXVSCROLL, 17}, {SM_CYCAPTION, 23},
    {SM_CXICON, 32},     {SM_CYICON, 32},     {SM_CXEDGE, 2},     {SM_CYEDGE, 2},
    {SM_CXSMICON, 16},   {SM_CYSMICON, 16},
};

constexpr UINT kHebrew = 1255;
constexpr UINT kArabic = 1256;

int DefaultMetric(int index) {
  const UINT code_page = AnsiCodePage();
  if (index == SM_DBCSENABLED) {
    return code_page == 932 || code_page == 936 || code_page == 949 || code_page == 950;
  }
  if (index == SM_MIDEASTENABLED) return code_page == kHebrew || code_page == kArabic;
  const auto found = std::find_if(std::begin(kDefaults), std::end(kDefaults),
                                  [=](const Metric& metric) { return metric.index == index; });
  return found == std::end(kDefaults) ? 0 : found->value;
}

}  // namespace
}  // namespace platform

int WINAPI GetSystemMetrics(int index) {
  KV_API_NOFAIL(GetSystemMetrics, 0, index);
  const std::string name = platform::facts::kMetricPrefix + std::to_string(index);
  return static_cast<int>(platform::FactNumber(name, platform::DefaultMetric(index)));
}
