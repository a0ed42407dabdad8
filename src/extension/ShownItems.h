#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "foundation/FileIdentifier.h"
#include "foundation/FunctionRef.h"
#include "foundation/URL.h"
#include "platform/FileSystem.h"
#include "status/ObservedPaths.h"

namespace kelpie {

// Puts in order what the file manager has shown after folders have moved, have changed places or
// have been made anew. It is kept by the identifiers of folders, and the items by their paths: a
// set may then hold items of another folder, and a folder may stand under an identifier that it no
// longer has. For one piece of work; a folder is looked at once. Single-threaded.
class ShownItems {
 public:
  // Both are borrowed.
  ShownItems(ObservedPaths& shown, const FileSystem& files) : shown_(shown), files_(files) {}

  // Whether the items directly in the folder with this path and identifier are not the ones of its
  // set, as far as the paths tell. Looks at no file.
  bool isOutOfOrder(std::string_view folder, const FileIdentifier& identifier) const;
  // Gives each item to the set of the folder that it lies in now. Those whose folder is gone are
  // forgotten.
  void putInOrder();
  // Takes the items out of the sets of `others` that lie in other folders than the set's.
  void leaveOutStrays(ObservedPaths& others);
  // Takes the items directly in folders with these paths out of all sets of `shown`, and the sets
  // with them in which nothing is left.
  static void forgetItemsIn(const std::unordered_set<std::string>& folders, ObservedPaths& shown);
  // Calls `visit` with each folder shown and its items. In order, they all lie in that folder.
  void forEachFolder(FunctionRef<void(const FileIdentifier& folder, const URL& anItem,
                                      const std::shared_ptr<PathSet>& items)>
                         visit) const;

 private:
  const std::optional<FileIdentifier>& folderAround(std::string_view path);
  void removeStrays(const FileIdentifier& folder, PathSet& items,
                    FunctionRef<void(const FileIdentifier& home, const std::string& path)> moved);

  ObservedPaths& shown_;
  const FileSystem& files_;
  std::unordered_map<std::string, std::optional<FileIdentifier>> folders_;  // by path
};

}  // namespace kelpie
