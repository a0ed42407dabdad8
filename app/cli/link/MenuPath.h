#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/hostlink/HostLines.h"

namespace kelpie::cli {

// The titles that lead to an item of a menu, as the user writes them: "More/Ignore". "\/" is a
// slash within a title, "\\" a backslash. Any thread.
class MenuPath {
 public:
  explicit MenuPath(std::string_view text);

  // An item that the path may mean.
  struct Match {
    std::vector<std::size_t> indices;  // where it stands: a position for each level
    const hostlink::Item* item;        // borrowed from the menu
    std::string path;                  // the titles that lead there, written as above
  };
  // The items that it means. Exact titles count before those that differ in case or in a final
  // ellipsis, these before titles that only begin so; all of the best kind are returned. Headers
  // are not items.
  std::vector<Match> find(const std::vector<hostlink::Item>& menu) const;

  // Whether the item would be inside another one.
  bool isInSubmenu() const { return titles_.size() > 1; }

  // Every item of the menu that does something, with the path that names it.
  static std::vector<Match> choices(const std::vector<hostlink::Item>& menu);

 private:
  struct Search;

  std::vector<std::string> titles_;
};

}  // namespace kelpie::cli
