#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelpie::cli {

// One item of a menu that the extension answered. Texts are UTF-8 of others, not yet printable.
struct LinkMenuItem {
  std::string title;
  std::optional<std::string> action;
  std::int64_t tag = 0;
  bool isTicked = false;
  bool isEnabled = false;
  std::string image;  // "" for none
  std::vector<LinkMenuItem> submenu;
  bool hasSubmenu = false;

  // A title over a group of items, which does nothing itself.
  bool isHeader() const { return !action && !hasSubmenu && !isEnabled; }
};

// The answer to "hello", as far as it concerns a terminal.
struct LinkWelcome {
  std::int64_t version = 0;
  std::vector<std::string> directories;  // paths of the observed folders
};

// What the lines of the extension hold, and the lines that a host writes. What is missing or of
// another kind in a line reads as empty; what cannot be a path is left out. Any thread.
namespace link {

using Json = nlohmann::json;

// The member, or null when there is none.
const Json& member(const Json& object, std::string_view name);
std::string text(const Json& object, std::string_view name);
std::string type(const Json& message);
// Whether the message bears this number.
bool isAbout(const Json& message, std::int64_t id);

LinkWelcome welcome(const Json& message);
std::vector<std::string> directories(const Json& urls);
// Paths and badge identifiers, in order.
std::vector<std::pair<std::string, std::string>> badges(const Json& message);
// The items of the menu of an answer; missing when there is no menu.
std::optional<std::vector<LinkMenuItem>> menu(const Json& message);

Json hello();
Json beginObserving(const std::string& folder);
Json endObserving(const std::string& folder);
Json choose(std::int64_t id, std::int64_t menu, const std::vector<std::size_t>& path);

}  // namespace link
}  // namespace kelpie::cli
