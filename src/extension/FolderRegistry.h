#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "extension/FolderTables.h"
#include "extension/RepositoryTable.h"
#include "foundation/Mutex.h"
#include "foundation/URL.h"
#include "platform/Platform.h"
#include "status/ObservedPaths.h"

namespace kelpie {

class KPRepository;
class KPUserDefaults;
class MessageLink;

// What the file manager has shown, and which repositories are open: the controller's tables and the
// work on them. Shared by the controller and the work on the observer queue. The tables may be
// read and changed on any thread; no table is locked while a message is sent or a badge set.
class FolderRegistry {
 public:
  FolderRegistry(const Platform& platform, KPUserDefaults& defaults,
                 std::shared_ptr<MessageLink> link);

  // The observer queue.
  const std::shared_ptr<SerialQueue>& queue() const { return queue_; }

  // -- Observer queue. What the main application does not answer for blocks here only. ------------

  void beginObservingDirectoryAtURL(const URL& url);
  void endObservingDirectoryAtURL(const URL& url);
  // The requests of these URLs, in order.
  void requestBadgeIdentifiersForURLs(const std::vector<URL>& urls);
  // A repository that the main application has opened.
  struct Opening {
    URL workingUrl;
    URL gitUrl;
    FileIdentifier identifier;    // of the working directory
    std::uint64_t clearings = 0;  // RepositoryTable::clearings() when the message came
  };
  // Makes the repository and enters it, unless the application has gone since it asked for it. It
  // replaces a repository that was open there, or elsewhere with this identifier, and that has lost
  // its place: the new one takes over what the file manager shows in the working directory.
  void openRepository(const Opening& opening);
  // The root of an open repository has moved, followed by its file reference, or another repository
  // has answered for its place meanwhile: hands over to it what the file manager shows there.
  void relocateRepository(const FileIdentifier& identifier);
  // Whether another repository has answered for the place of a root since the one that is there was
  // opened or relocated. Any thread.
  bool isFormerPlace(const std::string& place) const;

  // -- Any thread ---------------------------------------------------------------------------------

  // See KPKelpieSync::updateFolders().
  void updateFolders();
  // The main application's process id; -1 while there is none, 0 before the first check.
  std::int32_t applicationPid() const { return applicationPid_; }
  void setApplicationPid(std::int32_t pid);
  // Whether the application has ended: messages that still arrive come from the ended one.
  bool hasApplicationEnded() const { return hasApplicationEnded_; }

  RepositoryTable& repositories() { return repositories_; }
  FolderTables& folders() { return folders_; }
  // For each folder shown, the paths of the items shown in it or asked about. Never null.
  std::shared_ptr<ObservedPaths> allObservedFiles() const;
  void setAllObservedFiles(std::shared_ptr<ObservedPaths> files);

  // Asks the main application for the repository of a folder, and notes that it was asked. `files`
  // serves to look at the folder.
  void requestRepository(const URL& folder, bool isRepeated, const FileSystem& files);

 private:
  std::shared_ptr<KPRepository> repositoryForURL(const URL& url, const FileSystem& files) const;
  // Among the repositories with this identifier or at this path, drops those that have lost their
  // place. Returns whether there were any, or this one was dropped so before, or another one has
  // left this path.
  bool replaceRepositories(const FileIdentifier& identifier, std::string_view path,
                           const FileSystem& files);
  void observe(KPRepository& repository, std::span<const URL> urls, const FileSystem& files);
  void noteFormerPlace(const std::string& place, std::string_view present);
  // What is shown in its place is the repository's, in place of what it was shown elsewhere.
  void takeOverPlace(KPRepository& repository, const FileSystem& files);
  bool forgetFormerPlace(const std::string& place);  // whether it was one
  // Adds the items shown inside the root to `observed`, unless another repository holds them.
  void adoptShownItems(const URL& root, const FileIdentifier& identifier, ObservedPaths& observed,
                       const FileSystem& files);
  // The file manager has ceased to show the folder, which is gone, so that nothing tells under
  // which identifier it was shown.
  void forgetLater(const URL& folder);
  void noteFolder(const URL& url, const FileSystem& files);
  void noteItems(const std::vector<URL>& urls, const FileSystem& files);

  const Platform platform_;
  KPUserDefaults& defaults_;
  const std::shared_ptr<MessageLink> link_;
  const std::shared_ptr<SerialQueue> queue_;
  // Repositories that gave way to another one at their path, and may be opened elsewhere: what is
  // shown there is handed over to them then. Observer queue.
  std::unordered_set<FileIdentifier> displaced_;
  // The paths of folders that were gone when the file manager ceased to show them, and that it has
  // not asked about since. Observer queue.
  std::unordered_set<std::string> goneFolders_;
  std::atomic<std::int32_t> applicationPid_ = 0;
  std::atomic<bool> hasApplicationEnded_ = false;
  RepositoryTable repositories_;
  FolderTables folders_;
  mutable Mutex mutex_;
  std::shared_ptr<ObservedPaths> allObservedFiles_ KELPIE_GUARDED_BY(mutex_);
  // The paths of root folders that repositories have moved away from: another one that is opened
  // there takes over what is shown there.
  std::unordered_set<std::string> formerPlaces_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
