#include "extension/ShownItems.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace kelpie {

namespace {

std::string_view folderPathOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view()
                                         : path.substr(0, std::max<std::size_t>(slash, 1));
}

}  // namespace

bool ShownItems::isOutOfOrder(std::string_view folder, const FileIdentifier& identifier) const {
  const auto liesInIt = [folder](std::string_view path) { return folderPathOf(path) == folder; };
  for (const auto& [key, items] : shown_.entries()) {
    if (key == identifier) {
      if (!items->allOf(liesInIt)) return true;
    } else if (const std::optional<std::string> item = items->first(); item && liesInIt(*item)) {
      return true;
    }
  }
  return false;
}

void ShownItems::putInOrder() {
  for (const auto& [folder, items] : shown_.entries()) {
    removeStrays(folder, *items, [this](const FileIdentifier& home, const std::string& path) {
      shown_.findOrCreate(home)->add(path);
    });
  }
}

void ShownItems::leaveOutStrays(ObservedPaths& others) {
  for (const auto& [folder, items] : others.entries())
    removeStrays(folder, *items, [](const FileIdentifier&, const std::string&) {});
}

void ShownItems::forgetItemsIn(const std::unordered_set<std::string>& folders,
                               ObservedPaths& shown) {
  for (const auto& [folder, items] : shown.entries()) {
    std::vector<std::string> forgotten;
    for (std::string& path : items->paths())
      if (folders.contains(std::string(folderPathOf(path)))) forgotten.push_back(std::move(path));
    items->remove(forgotten);
    if (items->size() == 0) shown.remove(folder);
  }
}

void ShownItems::forEachFolder(FunctionRef<void(const FileIdentifier& folder, const URL& anItem,
                                                const std::shared_ptr<PathSet>& items)>
                                   visit) const {
  for (const auto& [folder, items] : shown_.entries())
    if (const std::optional<std::string> item = items->first())
      visit(folder, URL::fileURLWithPath(*item), items);
}

const std::optional<FileIdentifier>& ShownItems::folderAround(std::string_view path) {
  const std::string folder(folderPathOf(path));
  const auto [known, isNew] = folders_.try_emplace(folder);
  if (isNew) known->second = URL::fileURLWithPath(folder, true).identifier(files_);
  return known->second;
}

void ShownItems::removeStrays(
    const FileIdentifier& folder, PathSet& items,
    FunctionRef<void(const FileIdentifier& home, const std::string& path)> moved) {
  std::vector<std::string> strays;
  for (const std::string& path : items.paths()) {
    const std::optional<FileIdentifier>& home = folderAround(path);
    if (home == folder) continue;
    strays.push_back(path);
    if (home) moved(*home, path);
  }
  if (!strays.empty()) items.remove(strays);
}

}  // namespace kelpie
