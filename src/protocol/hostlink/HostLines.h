#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// What the lines of the host link say: one struct for each type of line. URLs are texts as they
// stand in the line; their reader judges them. Texts are foreign UTF-8.
namespace kelpie::hostlink {

inline constexpr int kVersion = 1;
// In bytes, without the "\n" at its end.
inline constexpr std::size_t kMaximumLineLength = std::size_t{16} << 20U;

// A JSON number, kept as it came, or null: a host numbers its lines as it likes, and the answer
// bears the same number.
using Number = nlohmann::json;

// -- What a host says -----------------------------------------------------------------------------

// The first line; answered by Welcome.
struct Hello {
  std::string host;  // the name of the program
  Number version = kVersion;
};

// A folder came into view.
struct BeginObserving {
  std::string url;
};

// A folder left the view.
struct EndObserving {
  std::string url;
};

// Badges are wanted.
struct RequestBadges {
  std::vector<std::string> urls;
  bool hasOthers = false;  // whether the list held anything but texts, which is left out
};

// A menu is wanted; answered by MenuAnswer.
struct MenuRequest {
  Number id;
  std::int64_t kind = 0;  // 0 items, 1 container, 2 sidebar, 3 toolbar; -1 for one beyond 64 bits
  std::vector<std::string> selected;
  std::optional<std::string> targeted;
  bool hasOthers = false;  // whether `selected` or `targeted` held anything but texts
};

// The user chose the item at an index path of the menu with the id `menu`; answered by Done.
struct Choose {
  Number id;
  Number menu;
  std::vector<std::size_t> path;
  // The host's name for this choice, which the main application is told; empty when the host does
  // not ask.
  std::string choice = {};
};

using HostLine =
    std::variant<Hello, BeginObserving, EndObserving, RequestBadges, MenuRequest, Choose>;

// -- What the extension says ----------------------------------------------------------------------

// How a host shows a badge.
struct BadgeLook {
  std::string image;  // absolute path of a file
  std::string label;
};

// The answer to Hello.
struct Welcome {
  Number version = kVersion;
  std::string toolbarName;
  std::string toolbarToolTip;
  std::string toolbarImage;                   // absolute path of a file
  std::map<std::string, BadgeLook> badges;    // by identifier
  std::map<std::string, std::string> images;  // that a menu can bear: the file's path by name
  std::vector<std::string> directories;       // URLs of the observed folders
};

// The observed folders are others than before.
struct Directories {
  std::vector<std::string> urls;
};

// Badges were set, in this order.
struct Badges {
  std::vector<std::pair<std::string, std::string>> badges;  // URL and identifier
};

// An item of a menu.
struct Item {
  std::string title;
  std::optional<std::string> action;
  std::int64_t tag = 0;
  bool isTicked = false;
  bool isEnabled = false;
  std::string image;  // the name of one of Welcome::images; "" for none
  bool hasSubmenu = false;
  std::string submenuTitle;
  std::vector<Item> submenu;

  // A title over a group of items, which does nothing itself.
  bool isHeader() const { return !action && !hasSubmenu && !isEnabled; }
};

// The answer to MenuRequest.
struct MenuAnswer {
  Number id;
  bool isThere = false;  // whether there is a menu
  std::string title;
  std::vector<Item> items;
};

// The action of the item chosen in the line `id` has run.
struct Done {
  Number id;
};

// Something was wrong with the line `id`; null when it had no number.
struct Error {
  Number id;
  std::string message;
};

// A line of an unknown type, which is skipped.
struct OtherLine {};

using ExtensionLine =
    std::variant<OtherLine, Welcome, Directories, Badges, MenuAnswer, Done, Error>;

}  // namespace kelpie::hostlink
