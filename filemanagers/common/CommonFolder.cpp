#include "common/CommonFolder.h"

#include "linux/hostclient/ViewedItems.h"

namespace kelpie::filemanagers {

std::optional<std::string> commonFolder(const std::vector<HostClient::Place>& places) {
  std::optional<std::string> common;
  for (const HostClient::Place& place : places) {
    const auto folder = ViewedItems::folderOf(place.path);
    if (folder.empty() || (common && *common != folder)) return std::nullopt;
    common = folder;
  }
  return common;
}

}  // namespace kelpie::filemanagers
