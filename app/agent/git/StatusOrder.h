#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "agent/git/StatusParser.h"

namespace kelpie::agent {

// The order in which git names items: what differs from the last commit or in the index, then what
// is untracked, then what is ignored, each by its path as git prints it, with a slash after the
// path of a folder. Any thread.

// Whether `a` comes before `b`.
bool comesBefore(const StatusItem& a, const StatusItem& b);

// Whether the items are in that order. Two items with the same path may be one after the other.
bool isInOrder(const std::vector<StatusItem>& items);

// A run of items, by their indices: those from `begin` on, before `end`.
struct ItemRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// The items at the path and below it, in items that are in order: for each of the three parts those
// at the path itself, then those below it. Takes logarithmic time.
using ItemRanges = std::array<ItemRange, 6>;
ItemRanges itemsWithin(const std::vector<StatusItem>& items, std::string_view path);

// Whether there is an item at the path that stands for a folder with all that is in it.
bool isFolderItem(const std::vector<StatusItem>& items, std::string_view path);

}  // namespace kelpie::agent
