#include "foundation/FolderRun.h"

#include <string_view>

namespace kelpie {

bool FolderRun::goesOnWith(const URL& item) {
  const std::string_view path = item.path();
  const std::string_view folder =
      item.isFileURL() && path.size() > 1 ? path.substr(0, path.rfind('/') + 1) : "";
  if (folder == folder_) return !folder.empty();
  folder_ = folder;
  return false;
}

}  // namespace kelpie
