#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "cli/text/JsonText.h"

namespace kelpie::cli {

// A group of menu items that stand under one header.
struct ItemGroup {
  std::string_view key;   // of its array in an item list
  std::string_view name;  // for the user
  std::int64_t first;     // the smallest tag
  std::int64_t last;      // the greatest tag
};

// Menu items as the user names them: by the title of the catalogue, or by tag. Any thread.
class ItemNames {
 public:
  ItemNames() = delete;

  // In the order of the menu.
  static std::span<const ItemGroup> groups();
  static const ItemGroup& groupOf(std::int64_t tag);
  // The tag that a title or number names; absent for what the catalogue does not have.
  static std::optional<std::int64_t> tagOf(std::string_view word);
  // The title; "unknown item" for a tag that the catalogue does not have. UTF-8.
  static std::string_view titleOf(std::int64_t tag);
  // Tag, title and group.
  static OrderedJson json(std::int64_t tag);
};

}  // namespace kelpie::cli
