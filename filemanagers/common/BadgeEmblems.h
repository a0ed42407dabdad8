#pragma once

#include <span>
#include <string_view>

namespace kelpie::filemanagers {

// The emblem that stands for a badge.
struct BadgeEmblem {
  std::string_view identifier;  // of the badge
  std::string_view emblem;      // what a file manager calls it: the icon is "emblem-" and this
};

// Every badge that has an emblem.
std::span<const BadgeEmblem> badgeEmblems();

// The emblem of the badge; "" for one that leaves the item bare, and for one that is not known. Any
// thread.
std::string_view emblemOf(std::string_view identifier);

}  // namespace kelpie::filemanagers
