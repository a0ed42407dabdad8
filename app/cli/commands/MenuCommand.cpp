#include "cli/commands/MenuCommand.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <utility>

#include "cli/commands/MenuRequest.h"

namespace kelpie::cli {

int MenuCommand::run() {
  const auto menu = MenuRequest::make(arguments_, arguments_.operands(), context_);
  if (!menu) return kFailure;
  if (arguments_.has("json")) {
    printJsonText(console_.out(), jsonOf(menu->items(), ""));
    return kSuccess;
  }
  std::vector<Row> rows;
  collect(menu->items(), "", 0, rows);
  std::size_t width = 0;
  for (const Row& row : rows) width = std::max(width, row.number.size());
  for (const Row& row : rows) {
    console_.out() << console_.paint(Colour::Dim, row.number)
                   << std::string(width - row.number.size() + 2 + 3 * row.depth, ' ') << textOf(row)
                   << '\n';
  }
  return kSuccess;
}

void MenuCommand::collect(const std::vector<hostlink::Item>& items, const std::string& prefix,
                          std::size_t depth, std::vector<Row>& rows) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string number = prefix + std::to_string(i + 1);
    rows.push_back({number, depth, &items[i]});
    collect(items[i].submenu, number + '.', depth + 1, rows);
  }
}

std::string MenuCommand::textOf(const Row& row) const {
  const hostlink::Item& item = *row.item;
  const std::string title = console_.printable(item.title);
  if (item.isHeader() && !item.image.empty()) return console_.paint(Colour::Bold, title);
  std::string text = item.isTicked ? (console_.isUtf8() ? "✓ " : "* ") : "";
  text += title;
  return item.isEnabled ? text : console_.paint(Colour::Dim, text + " (disabled)");
}

OrderedJson MenuCommand::jsonOf(const std::vector<hostlink::Item>& items,
                                const std::string& prefix) {
  OrderedJson list = OrderedJson::array();
  for (std::size_t i = 0; i < items.size(); ++i) {
    const hostlink::Item& item = items[i];
    const std::string number = prefix + std::to_string(i + 1);
    OrderedJson entry;
    entry["number"] = number;
    entry["title"] = item.title;
    entry["action"] = item.action ? OrderedJson(*item.action) : OrderedJson();
    entry["tag"] = item.tag;
    entry["ticked"] = item.isTicked;
    entry["enabled"] = item.isEnabled;
    entry["image"] = item.image.empty() ? OrderedJson() : OrderedJson(item.image);
    entry["items"] = item.hasSubmenu ? jsonOf(item.submenu, number + '.') : OrderedJson();
    list.push_back(std::move(entry));
  }
  return list;
}

}  // namespace kelpie::cli
