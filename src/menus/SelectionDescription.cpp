#include "menus/SelectionDescription.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

#include "protocol/StatusWord.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

struct ListRule {
  Object Selection::*list;
  bool (*holds)(StatusWord word);
};

constexpr ListRule kLists[] = {
    {&Selection::staged, isStagedStatus},
    {&Selection::unstaged, isUnstagedStatus},
    {&Selection::diffable, isDiffableStatus},
    {&Selection::discardable, isDiscardableStatus},
    {&Selection::revertable, isRevertableStatus},
    {&Selection::tracked, isTrackedStatus},
    {&Selection::conflicted, [](StatusWord word) { return conflictOfStatus(word) != 0; }},
};

}  // namespace

Selection describeSelection(const std::vector<URL>& targets, const KPRepository* repository,
                            const FileSystem& files) {
  Selection selection;
  if (repository == nullptr) return selection;

  Objects lists[std::size(kLists)];
  for (const URL& target : targets) {
    const std::optional<StatusWord> word = repository->statusOfItemAtURL(target, files);
    if (!word) continue;
    for (std::size_t i = 0; i < std::size(kLists); ++i)
      if (kLists[i].holds(*word)) lists[i].emplace_back(target);
    if (conflictOfStatus(*word) < 0) selection.hasAncestor = false;
  }
  for (std::size_t i = 0; i < std::size(kLists); ++i)
    selection.*kLists[i].list = std::move(lists[i]);
  return selection;
}

}  // namespace kelpie
