#include "agent/git/StatusMerge.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "agent/git/PathScope.h"
#include "agent/git/StatusOrder.h"

namespace kelpie::agent {
namespace {

using Items = std::vector<StatusItem>;

// An item that git can only tell from a look at the whole. Asked for the whole, git does not name
// a deleted file that is much like a file in conflict: it takes the one for the other's former name
// before it drops the pair.
bool needsWhole(const StatusItem& item, bool areConflicts) {
  return !item.renamedFrom.empty() || item.isAnnounced || item.isInConflict() ||
         (areConflicts && item.isMissing());
}

// The part of the answer that is about the paths: git also names ignored folders elsewhere that it
// comes across. Absent when the answer cannot be used.
std::optional<Items> partAbout(const Items& answer, const std::vector<std::string>& paths,
                               bool areConflicts) {
  const PathScope scope(paths);
  Items part;
  for (const StatusItem& item : answer) {
    if (needsWhole(item, areConflicts)) return std::nullopt;
    if (scope.contains(item.path)) {
      part.push_back(item);
      continue;
    }
    const std::vector<std::string> outside = {item.path};
    const PathScope around(outside);
    if (std::ranges::any_of(paths, [&](const std::string& path) { return around.contains(path); }))
      return std::nullopt;
  }
  if (!isInOrder(part)) return std::nullopt;
  return part;
}

std::vector<ItemRange> rangesOf(const Items& known, const std::vector<std::string>& paths) {
  std::vector<ItemRange> ranges;
  for (const std::string& path : paths)
    for (const ItemRange& range : itemsWithin(known, path))
      if (range.begin < range.end) ranges.push_back(range);
  std::ranges::sort(ranges, {}, &ItemRange::begin);
  return ranges;
}

}  // namespace

std::optional<Items> mergeStatus(const Items& known, const std::vector<std::string>& paths,
                                 const Items& answer) {
  const bool areConflicts = std::ranges::any_of(known, &StatusItem::isInConflict);
  const std::optional<Items> part = partAbout(answer, paths, areConflicts);
  if (!part) return std::nullopt;
  Items merged;
  merged.reserve(known.size() + part->size());
  auto next = part->begin();
  // A run of known items that stay, with the items of the answer that belong between them.
  const auto keep = [&](std::size_t begin, std::size_t end) {
    auto from = known.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last = known.begin() + static_cast<std::ptrdiff_t>(end);
    for (; next != part->end(); ++next) {
      const auto place = std::partition_point(
          from, last, [&](const StatusItem& item) { return !comesBefore(*next, item); });
      if (place == last) break;
      merged.insert(merged.end(), from, place);
      merged.push_back(*next);
      from = place;
    }
    merged.insert(merged.end(), from, last);
  };
  std::size_t at = 0;
  for (const ItemRange& range : rangesOf(known, paths)) {
    keep(at, range.begin);
    at = range.end;
  }
  keep(at, known.size());
  merged.insert(merged.end(), next, part->end());
  return merged;
}

std::string differenceBetween(const Items& one, const Items& other) {
  const auto isLess = [](const StatusItem& a, const StatusItem& b) {
    if (comesBefore(a, b) || comesBefore(b, a)) return comesBefore(a, b);
    return a.word < b.word;
  };
  // Git prints conflicts behind all other tracked items, wherever their paths belong.
  const auto inOrder = [&](Items items) {
    std::ranges::sort(items, isLess);
    return items;
  };
  const Items mine = inOrder(one);
  const Items others = inOrder(other);
  Items differing;
  std::ranges::set_symmetric_difference(mine, others, std::back_inserter(differing), isLess);
  if (differing.empty())
    return mine == others ? "" : "the items are the same but for what they were renamed from";
  return std::to_string(differing.size()) + ", the first of them " + differing.front().path;
}

}  // namespace kelpie::agent
