#include "cli/link/MenuPath.h"

#include <algorithm>
#include <utility>

#include "cli/text/TitleFit.h"

namespace kelpie::cli {
namespace {

std::string escaped(std::string_view title) {
  std::string text;
  for (const char letter : title) {
    if (letter == '/' || letter == '\\') text += '\\';
    text += letter;
  }
  return text;
}

}  // namespace

// A walk over the menu that keeps the items whose titles fit best so far.
struct MenuPath::Search {
  const std::vector<std::string>& titles;
  TitleFit best = TitleFit::None;
  std::vector<Match> found;

  void walk(const std::vector<hostlink::Item>& items, const Match& above, TitleFit fitAbove) {
    const std::size_t level = above.indices.size();
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (items[i].isHeader() && !items[i].image.empty()) continue;
      const TitleFit fit = std::max(fitAbove, titleFit(titles[level], items[i].title));
      if (fit == TitleFit::None || fit > best) continue;
      Match match = above;
      match.indices.push_back(i);
      match.item = &items[i];
      match.path += (level == 0 ? "" : "/") + escaped(items[i].title);
      if (level + 1 < titles.size()) {
        walk(items[i].submenu, match, fit);
        continue;
      }
      if (fit < best) found.clear();
      best = fit;
      found.push_back(std::move(match));
    }
  }
};

MenuPath::MenuPath(std::string_view text) {
  titles_.emplace_back();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escapes =
        text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '/' || text[i + 1] == '\\');
    if (text[i] == '/')
      titles_.emplace_back();
    else
      titles_.back() += escapes ? text[++i] : text[i];
  }
}

std::vector<MenuPath::Match> MenuPath::find(const std::vector<hostlink::Item>& menu) const {
  Search search{titles_, TitleFit::Begins, {}};
  search.walk(menu, {{}, nullptr, ""}, TitleFit::Exact);
  return search.found;
}

std::vector<MenuPath::Match> MenuPath::choices(const std::vector<hostlink::Item>& menu) {
  std::vector<Match> list;
  std::vector<Match> submenus = {{{}, nullptr, ""}};
  // Depth first, in the order of the menu.
  while (!submenus.empty()) {
    const Match at = std::move(submenus.back());
    submenus.pop_back();
    if (at.item != nullptr && at.item->action) list.push_back(at);
    const std::vector<hostlink::Item>& items = at.item == nullptr ? menu : at.item->submenu;
    for (std::size_t i = items.size(); i-- > 0;) {
      Match match = at;
      match.indices.push_back(i);
      match.item = &items[i];
      match.path += (at.item == nullptr ? "" : "/") + escaped(items[i].title);
      submenus.push_back(std::move(match));
    }
  }
  return list;
}

}  // namespace kelpie::cli
