#include "cli/settings/FolderList.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "archive/PropertyList.h"
#include "foundation/Error.h"
#include "platform/BookmarkResolution.h"
#include "platform/linux/Bookmark.h"
#include "settings/SettingsKeys.h"

namespace kelpie::cli {
namespace {

FolderList::Entry entryOf(const Object& element) {
  const auto bookmark = element.data();
  if (!bookmark) return {};
  const Object values = PropertyList::read(*bookmark);
  const auto path = values["path"].pathBytes();
  if (!path || !values["identifier"].data()) return {};
  const BookmarkResolution resolution = Bookmark::resolve(*bookmark);
  if (!resolution.url) return {*path, FolderList::State::Missing};
  return {*path, resolution.isStale ? FolderList::State::Replaced : FolderList::State::Present};
}

// Keeps the entries for which `keep` holds. Returns how many were removed.
template <class Keep>
std::size_t filter(SettingsSnapshot& settings, const Keep& keep) {
  Objects elements = settings.arrayForKey(kFoldersPathsKey).elements();
  const std::size_t gone =
      std::erase_if(elements, [&](const Object& element) { return !keep(entryOf(element)); });
  if (gone > 0) settings.setObject(kFoldersPathsKey, elements);
  return gone;
}

}  // namespace

std::string_view FolderList::textOf(State state) {
  constexpr std::string_view kTexts[] = {"present", "replaced", "missing", "no bookmark"};
  return kTexts[static_cast<std::size_t>(state)];
}

std::vector<FolderList::Entry> FolderList::read(const SettingsSnapshot& settings) {
  const Objects elements = settings.arrayForKey(kFoldersPathsKey).elements();
  std::vector<Entry> entries;
  entries.reserve(elements.size());
  for (const Object& element : elements) entries.push_back(entryOf(element));
  return entries;
}

bool FolderList::add(SettingsSnapshot& settings, const std::string& path) {
  const auto isThere = [&](const Entry& entry) {
    return entry.path == path && entry.state == State::Present;
  };
  if (std::ranges::any_of(read(settings), isThere)) return false;
  auto bookmark = Bookmark::make(path);
  if (!bookmark) return false;
  // One for a former folder at that path goes.
  filter(settings, [&](const Entry& entry) { return entry.path != path; });
  Objects elements = settings.arrayForKey(kFoldersPathsKey).elements();
  elements.emplace_back(*std::move(bookmark));
  settings.setObject(kFoldersPathsKey, elements);
  return true;
}

bool FolderList::remove(SettingsSnapshot& settings, const std::string& path) {
  return filter(settings, [&](const Entry& entry) { return entry.path != path; }) > 0;
}

std::size_t FolderList::dropStrangers(SettingsSnapshot& settings) {
  return filter(settings, [](const Entry& entry) { return entry.state != State::NoBookmark; });
}

}  // namespace kelpie::cli
