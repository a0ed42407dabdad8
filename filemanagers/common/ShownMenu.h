#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "linux/hostclient/HostClient.h"
#include "protocol/hostlink/HostLines.h"

namespace kelpie::filemanagers {

// An item of a menu as a file manager shows it.
struct ShownItem {
  // Tells the item from all others of the menu, and is the same each time that the item is there:
  // some file managers ask for a menu anew when an item is chosen, and find the item by this.
  // Letters, digits and "-".
  std::string name;
  std::string title;  // UTF-8
  std::string image;  // absolute path of a file; "" for none
  bool isTicked = false;
  bool isEnabled = false;
  // How to choose it; without steps there is nothing to choose.
  std::vector<HostClient::Step> steps;
  std::optional<std::string> action;
  std::vector<ShownItem> submenu;

  bool operator==(const ShownItem& other) const;
};

using ShownMenu = std::vector<ShownItem>;

// What a menu is cut to. A repository may have thousands of branches, each of which stands in
// several submenus; a file manager makes widgets of them all before the menu opens.
struct MenuLimits {
  std::size_t itemsOfLevel = 100;
  std::size_t items = 2'000;
  std::size_t titleBytes = 300;
};

// The menu as it is shown; `images` are the files of the images that it may bear. Where items are
// left out, one that can't be chosen says how many.
ShownMenu shownMenu(const std::vector<hostlink::Item>& items,
                    const std::map<std::string, std::string>& images, MenuLimits limits = {});

// The title for a toolkit that takes "_" for the mark of a mnemonic, with a check mark in front of
// what is ticked: these menus have no ticks of their own.
std::string labelOf(const ShownItem& item);

}  // namespace kelpie::filemanagers
