#pragma once

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/Mutex.h"
#include "foundation/URL.h"
#include "platform/FileSystem.h"

namespace kelpie {

// Two of the controller's tables of folders. A set of URLs has one entry for each text: like this
// a folder that is gone cannot pile up. Any thread.
class FolderTables {
 public:
  // -- inactiveObservedFiles: folders, no packages, that the file manager has shown, by the
  // identifier of their parent. What the main application is asked about when it comes back.

  using InactiveFolders = std::vector<std::pair<FileIdentifier, std::vector<URL>>>;

  void addInactiveFolder(const FileIdentifier& parent, const URL& folder);
  // Keeps the parent's entry, even if it is empty.
  void removeInactiveFolder(const FileIdentifier& parent, const URL& folder);
  // Removes the parent's entry with all that is in it.
  void removeInactiveFolders(const FileIdentifier& parent);
  // Forgets folders with these paths and those directly in them, and parents that have none left
  // by that.
  void forgetInactiveFolders(const std::unordered_set<std::string>& paths);
  // A copy: parents in no particular order, the folders of one in the order of their texts.
  InactiveFolders inactiveFolders() const;
  void setInactiveFolders(const InactiveFolders& folders);
  // Puts each folder under the identifier that its parent has now, after folders have moved or have
  // been made anew. A folder whose parent is gone keeps its entry; a parent that has none left by
  // that does not.
  void putInactiveFoldersInOrder(const FileSystem& files);

  // -- observedDirectories: folders whose repository the main application has been asked for, and
  // which has not been opened.

  // `identifier` is the folder's, if it has one.
  void addObservedDirectory(const URL& folder, const std::optional<FileIdentifier>& identifier);
  // Removes the folder however it was spelled when it was added.
  void removeObservedDirectory(const FileIdentifier& identifier);
  // Forgets folders with these paths, however spelled.
  void forgetObservedDirectories(const std::unordered_set<std::string>& paths);
  // A copy, in the order of their texts.
  std::vector<URL> observedDirectories() const;
  void clearObservedDirectories();

 private:
  struct Directory {
    URL url;
    std::optional<FileIdentifier> identifier;
  };

  using Folders = std::map<std::string, URL>;  // by text

  void removeIfEmpty(const FileIdentifier& parent);

  mutable Mutex mutex_;
  std::unordered_map<FileIdentifier, Folders> inactive_ KELPIE_GUARDED_BY(mutex_);
  std::map<std::string, Directory> observed_ KELPIE_GUARDED_BY(mutex_);  // by text
};

}  // namespace kelpie
