#include "status/FolderStatus.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "status/FolderContents.h"
#include "status/FolderTally.h"

namespace kelpie {

StatusWord statusOfFolder(const URL& folder, const std::shared_ptr<const UrlList>& dirtyUrls,
                          const RepositoryStatus& status, LookupCache& cache) {
  if (!cache.isDirty(folder, dirtyUrls)) return KPStatusCurrent;
  FolderContents& contents = cache.contents();
  const std::optional<std::size_t> files = contents.count(folder);
  if (!files) return KPStatusCurrent;

  // Placeholders elsewhere in the repository stay in the total, so that a folder of one kind of
  // change counts as mixed while something is deleted outside it.
  const std::shared_ptr<const DeletedUrls> deleted = status.deletedUrls();
  FolderTally tally(*files + deleted->urls().count());
  const auto add = [&tally](std::optional<StatusWord> word) {
    if (word)
      tally.add(*word);
    else
      tally.leaveOut();
  };
  contents.forEachPart(folder, [&](std::span<const FolderContents::File> part) {
    const auto keyOf = [&](std::size_t position) {
      const FolderContents::File& file = part[position];
      return file.hasIdentifier() ? std::optional(contents.keyOf(file)) : std::nullopt;
    };
    status.forEachWord(part.size(), keyOf, add);
  });
  deleted->forEachWithPrefix(folder.path(), [&](std::string_view path) {
    add(status.wordOf(StatusTable::Key::ofPath(path)));
  });
  return tally.status();
}

}  // namespace kelpie
