#include "platform/user/combo_box.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/control/faults.h"
#include "platform/kernel/text.h"
#include "platform/user/control_state.h"
#include "platform/user/controls.h"

namespace platform {
namespace {

// Behind the font: the list.
constexpr int kList = 1;
static_assert(kList + 1 == kComboBoxValues);

struct Item {
  WideString text;
  LPARAM data = 0;
};
using Items = std::vector<Item>;

Items* ItemsOf(HWND box) {
  return reinterpret_cast<Items*>(ControlValue(box, kList));
}

LRESULT Add(HWND box, Items& items, LPCWSTR text) {
  auto place = items.end();
  if ((GetWindowLongW(box, GWL_STYLE) & CBS_SORT) != 0) {
    place = std::find_if(items.begin(), items.end(),
                         [&](const Item& item) { return LessNoCase()(text, item.text); });
  }
  const auto index = place - items.begin();
  items.insert(place, {text, 0});
  return index;
}

LRESULT CopyText(const Item& item, LPWSTR text) {
  std::copy_n(item.text.c_str(), item.text.size() + 1, text);
  return static_cast<LRESULT>(item.text.size());
}

// What is asked of one item.
LRESULT ItemMessage(Items& items, UINT message, WPARAM index, LPARAM lparam) {
  if (index >= items.size()) return CB_ERR;
  Item& item = items[index];
  switch (message) {
    case CB_SETITEMDATA:
      item.data = lparam;
      return 0;
    case CB_GETITEMDATA:
      return item.data;
    default:
      return CopyText(item, reinterpret_cast<LPWSTR>(lparam));
  }
}

}  // namespace

LRESULT CALLBACK ComboBoxProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  OutsideTest own_code;
  Items* const items = ItemsOf(window);
  switch (message) {
    case WM_CREATE:
      SetControlValue(window, kList, reinterpret_cast<LONG_PTR>(new Items));
      return 0;
    case WM_NCDESTROY:
      SetControlValue(window, kList, 0);
      delete items;
      return ControlMessage(window, message, wparam, lparam);
    case CB_RESETCONTENT:
      items->clear();
      return CB_OKAY;
    case CB_ADDSTRING:
      return Add(window, *items, reinterpret_cast<LPCWSTR>(lparam));
    case CB_GETCOUNT:
      return static_cast<LRESULT>(items->size());
    case CB_SETITEMDATA:
    case CB_GETITEMDATA:
    case CB_GETLBTEXT:
      return ItemMessage(*items, message, wparam, lparam);
    default:
      return ControlMessage(window, message, wparam, lparam);
  }
}

}  // namespace platform
