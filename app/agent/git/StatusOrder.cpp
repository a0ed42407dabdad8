#include "agent/git/StatusOrder.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace kelpie::agent {
namespace {

constexpr int kParts = 3;

int partOf(const StatusItem& item) {
  if (item.word == KPStatusIgnored) return 2;
  return item.word == KPStatusWorkdirNew ? 1 : 0;
}

// Git prints a slash after a folder that is untracked or ignored, not after a submodule.
bool endsInSlash(const StatusItem& item) { return item.isFolder && partOf(item) != 0; }

// As git prints the path; negative, 0 or positive. `ends` says what follows each path: a slash or
// nothing.
int compareSpelling(std::string_view a, bool aEndsInSlash, std::string_view b, bool bEndsInSlash) {
  const std::size_t common = std::min(a.size(), b.size());
  if (const int order = a.substr(0, common).compare(b.substr(0, common)); order != 0) return order;
  // What stands after the common part, as bytes; 0 for the end.
  const auto next = [common](std::string_view path, bool hasSlash) -> int {
    if (path.size() > common) return static_cast<unsigned char>(path[common]);
    return hasSlash ? '/' : 0;
  };
  if (const int order = next(a, aEndsInSlash) - next(b, bEndsInSlash); order != 0) return order;
  // Either both have ended, or one goes on after the slash of the other.
  return static_cast<int>(a.size() > common) - static_cast<int>(b.size() > common);
}

// The first item that does not come before the spelling.
std::size_t firstFrom(const std::vector<StatusItem>& items, int part, std::string_view path,
                      bool hasSlash) {
  const auto at = std::ranges::partition_point(items, [&](const StatusItem& item) {
    if (const int own = partOf(item); own != part) return own < part;
    return compareSpelling(item.path, endsInSlash(item), path, hasSlash) < 0;
  });
  return static_cast<std::size_t>(std::distance(items.begin(), at));
}

}  // namespace

bool comesBefore(const StatusItem& a, const StatusItem& b) {
  if (partOf(a) != partOf(b)) return partOf(a) < partOf(b);
  return compareSpelling(a.path, endsInSlash(a), b.path, endsInSlash(b)) < 0;
}

bool isInOrder(const std::vector<StatusItem>& items) {
  return std::ranges::is_sorted(items, comesBefore);
}

ItemRanges itemsWithin(const std::vector<StatusItem>& items, std::string_view path) {
  // What begins with the path and a slash ends before the path with the byte after the slash.
  const std::string after = std::string(path) + static_cast<char>('/' + 1);
  // And what is the path itself ends before the path with the least byte that a name can have.
  const std::string longer = std::string(path) + '\x01';
  ItemRanges ranges;
  for (int part = 0; part < kParts; ++part) {
    const std::size_t at = 2 * static_cast<std::size_t>(part);
    ranges.at(at) = {firstFrom(items, part, path, false), firstFrom(items, part, longer, false)};
    ranges.at(at + 1) = {firstFrom(items, part, path, true), firstFrom(items, part, after, false)};
  }
  return ranges;
}

bool isFolderItem(const std::vector<StatusItem>& items, std::string_view path) {
  for (const ItemRange& range : itemsWithin(items, path))
    for (std::size_t i = range.begin; i < range.end && items[i].path == path; ++i)
      if (items[i].isFolder) return true;
  return false;
}

}  // namespace kelpie::agent
