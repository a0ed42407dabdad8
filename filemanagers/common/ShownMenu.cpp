#include "common/ShownMenu.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kelpie::filemanagers {
namespace {

constexpr std::string_view kDots = "…";
constexpr std::string_view kTick = "✓ ";

// FNV-1a: spreads well enough for the some thousand items of a menu, and is the same in each run.
class NameHash {
 public:
  void add(std::string_view bytes) {
    for (const char byte : bytes) add(static_cast<std::uint8_t>(byte));
    add(std::uint8_t{0});
  }
  std::string text() const {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4) text += digits[(state_ >> shift) & 15U];
    return text;
  }

 private:
  void add(std::uint8_t byte) { state_ = (state_ ^ byte) * 0x100000001b3U; }

  std::uint64_t state_ = 0xcbf29ce484222325U;
};

std::string nameOf(const std::vector<HostClient::Step>& steps) {
  NameHash hash;
  for (const HostClient::Step& step : steps) {
    hash.add(step.title);
    hash.add(std::to_string(step.nth));
  }
  return "Kelpie-" + hash.text();
}

// Cut where a character begins.
std::string cut(const std::string& text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<std::uint8_t>(text[bytes]) & 0xC0U) == 0x80U) --bytes;
  return text.substr(0, bytes).append(kDots);
}

class Builder {
 public:
  Builder(const std::map<std::string, std::string>& images, MenuLimits limits)
      : images_(images), limits_(limits), left_(limits.items) {}

  // The items of one level, the steps to which are `above`. Those of the level are made before
  // their submenus, so that what is cut is deep down.
  ShownMenu level(const std::vector<hostlink::Item>& items,
                  const std::vector<HostClient::Step>& above) {
    const std::size_t count = std::min({items.size(), limits_.itemsOfLevel, left_});
    left_ -= count;
    ShownMenu shown;
    shown.reserve(count + 1);
    std::map<std::string_view, std::size_t> seen;
    for (std::size_t i = 0; i < count; ++i)
      shown.push_back(itemOf(items[i], above, seen[items[i].title]++));
    for (std::size_t i = 0; i < count; ++i)
      if (items[i].hasSubmenu) shown[i].submenu = level(items[i].submenu, shown[i].steps);
    if (count < items.size()) shown.push_back(rest(items.size() - count, above));
    for (ShownItem& item : shown)
      if (!item.action) item.steps.clear();
    return shown;
  }

 private:
  ShownItem itemOf(const hostlink::Item& item, const std::vector<HostClient::Step>& above,
                   std::size_t nth) const {
    ShownItem shown;
    shown.steps = above;
    shown.steps.push_back({item.title, nth});
    shown.name = nameOf(shown.steps);
    shown.title = cut(item.title, limits_.titleBytes);
    if (const auto image = images_.find(item.image); image != images_.end())
      shown.image = image->second;
    shown.isTicked = item.isTicked;
    shown.isEnabled = item.isEnabled;
    if (!item.hasSubmenu) shown.action = item.action;
    return shown;
  }

  static ShownItem rest(std::size_t count, std::vector<HostClient::Step> above) {
    above.push_back({std::string(), count});
    ShownItem item;
    item.name = nameOf(above);
    item.title = std::string(kDots).append(" and ").append(std::to_string(count)).append(" more");
    return item;
  }

  const std::map<std::string, std::string>& images_;
  MenuLimits limits_;
  std::size_t left_;
};

}  // namespace

bool ShownItem::operator==(const ShownItem& other) const {
  // The name stands for the steps.
  return name == other.name && title == other.title && image == other.image &&
         isTicked == other.isTicked && isEnabled == other.isEnabled && action == other.action &&
         submenu == other.submenu;
}

ShownMenu shownMenu(const std::vector<hostlink::Item>& items,
                    const std::map<std::string, std::string>& images, MenuLimits limits) {
  return Builder(images, limits).level(items, {});
}

std::string labelOf(const ShownItem& item) {
  std::string label(item.isTicked ? kTick : std::string_view());
  for (const char byte : item.title) {
    label += byte;
    if (byte == '_') label += byte;
  }
  return label;
}

}  // namespace kelpie::filemanagers
