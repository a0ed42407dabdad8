#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Archivable.h"
#include "foundation/Image.h"
#include "foundation/Object.h"

namespace kelpie {

class KeyedDecoder;
class Menu;

// A menu item as a plain value. A menu item has no target; `action` is the name of a selector, with
// its colons. Archived whole in AppKit's keys as "NSMenuItem" when the user has chosen it.
class MenuItem : public Archivable {
 public:
  MenuItem() = default;
  // Enabled, off, tag 0, an empty key equivalent.
  explicit MenuItem(std::string itemTitle, std::optional<std::string> itemAction = std::nullopt);

  std::string title;                  // UTF-8
  std::optional<std::string> action;  // such as "stage:"; absent for items that only inform
  std::string keyEquivalent;          // always empty in this system's menus
  std::int64_t tag = 0;
  int state = 0;  // 0 off, 1 on
  bool enabled = true;
  std::optional<Image> image;
  std::shared_ptr<const Menu> submenu;  // shared by copies; a built submenu does not change
  Object representedObject;
  // The host's name for the user's choice of this item, under which the host learns how the action
  // ended. Empty in a menu, and for a host that does not ask. UTF-8.
  std::string choice;

  // How many bytes of text a copy of the item holds.
  std::size_t textSize() const;

  std::vector<std::string_view> classNames() const override;
  void encodeWithCoder(KeyedEncoder& coder) const override;
  static std::shared_ptr<const Archivable> decode(const KeyedDecoder& coder);
};

}  // namespace kelpie
