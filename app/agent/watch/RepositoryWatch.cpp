#include "agent/watch/RepositoryWatch.h"

#include <string_view>
#include <utility>

#include "agent/watch/TreeWatching.h"

namespace kelpie::agent {
namespace {

// How often in a row what could not be read is looked at again at once; after that, when somebody
// looks.
constexpr int kWalksAtOnce = 3;

using Event = DirectoryWatcher::Event;

std::string joined(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

bool isInGit(const WorkingCopy& workingCopy, std::string_view path) {
  return isWithin(path, workingCopy.gitDirectory) || isWithin(path, workingCopy.commonDirectory);
}

// The part of git's own files that changeOf() reads.
void watchGit(TreeWatching& walk, const WorkingCopy& workingCopy) {
  walk.watchFolder(workingCopy.gitDirectory);
  walk.watchFolder(workingCopy.commonDirectory);
  walk.watchTree(joined(workingCopy.commonDirectory, "refs"));
  for (const char* folder : {"info", "logs/refs", "reftable"})
    walk.watchFolder(joined(workingCopy.commonDirectory, folder));
  walk.watchFolder(joined(workingCopy.gitDirectory, "info"));
}

}  // namespace

RepositoryWatch::RepositoryWatch(DirectoryWatcher& watcher, WorkingCopy workingCopy,
                                 std::shared_ptr<SerialQueue> main,
                                 std::shared_ptr<SerialQueue> walks, Callbacks callbacks)
    : watcher_(watcher),
      workingCopy_(std::move(workingCopy)),
      main_(std::move(main)),
      walks_(std::move(walks)),
      callbacks_(std::move(callbacks)),
      client_(watcher.addClient([this](const Event& event) { happened(event); })) {
  pending_.insert(workingCopy_.root);
}

RepositoryWatch::~RepositoryWatch() {
  *alive_ = false;
  watcher_.removeClient(client_);
}

void RepositoryWatch::happened(const Event& event) {
  if (event.kind == Event::Kind::Lost) {
    pending_ = {workingCopy_.root};
    gitPending_ = true;
    return callbacks_.changed({true, true, true, true}, {});
  }
  if (event.kind == Event::Kind::FolderGone) {
    folderGone(event.folder);
    return;
  }
  if (isInGit(workingCopy_, event.folder))
    inGit(event);
  else
    inWorkingCopy(event);
}

void RepositoryWatch::folderGone(const std::string& folder) {
  watcher_.removeWithin(client_, folder);
  const bool isRoot = folder == workingCopy_.root;
  if (!isRoot && folder != workingCopy_.gitDirectory && folder != workingCopy_.commonDirectory) {
    // The folder above it tells, unless this one moved into a folder that was not watched yet and
    // has been found there before its former watch told of the move.
    if (isInGit(workingCopy_, folder)) return;
    pending_.insert(folder);
    return callbacks_.changed({true, false}, placeOf(workingCopy_, folder, {}));
  }
  // Something may be in its place already, or come there, even the same folder.
  if (isRoot) pending_ = {workingCopy_.root};
  gitPending_ = true;
  callbacks_.changed({true, true, true, true}, {});
}

void RepositoryWatch::inGit(const Event& event) {
  const Change change = changeOf(workingCopy_, event.folder, event.name);
  // Most folders that git makes do not matter, but one for references does.
  if (event.isFolder && event.kind == Event::Kind::Appeared) gitPending_ = true;
  if (change.any()) callbacks_.changed(change, {});
}

void RepositoryWatch::inWorkingCopy(const Event& event) {
  // What git treats as one item changes for git only when it is or is no longer a repository.
  if (opaque_.contains(event.folder) && event.name != ".git") return;
  if (event.isFolder) folderHappened(event, joined(event.folder, event.name));
  Change change = changeOf(workingCopy_, event.folder, event.name);
  const bool isName = event.kind == Event::Kind::Appeared || event.kind == Event::Kind::Gone;
  change.names |= isName;
  if (isName && event.name == ".git" && event.folder == workingCopy_.root) {
    change.place = true;
    gitPending_ = true;
  }
  if (change.any()) callbacks_.changed(change, placeOf(workingCopy_, event.folder, event.name));
}

void RepositoryWatch::folderHappened(const Event& event, const std::string& path) {
  if (event.name == ".git") {
    // The folder around it may have become, or have been, a repository of its own.
    if (event.kind != Event::Kind::Changed) pending_.insert(event.folder);
    return;
  }
  if (event.kind != Event::Kind::Appeared && event.kind != Event::Kind::Gone) return;
  watcher_.removeWithin(client_, path);
  // Also of one that is gone: when two folders change places, each is said to have come before the
  // other one is said to have left.
  pending_.insert(path);
}

void RepositoryWatch::setOpaque(const StatusSnapshot& status, Walk& walk) {
  std::set<std::string, std::less<>> opaque;
  for (const StatusItem& item : status.items()) {
    if (!item.isFolder) continue;
    const bool isRepository = item.word == KPStatusWorkdirNew;
    if (!isRepository && item.word != KPStatusIgnored) continue;
    std::string path = joined(workingCopy_.root, item.path);
    if (!opaque_.contains(path)) {
      watcher_.removeWithin(client_, path);
      if (isRepository) walk.folders.push_back(path);
    }
    opaque.insert(std::move(path));
  }
  for (const std::string& path : opaque_)
    if (!opaque.contains(path)) pending_.insert(path);
  opaque_ = std::move(opaque);
}

void RepositoryWatch::follow(const StatusSnapshot& status,
                             const std::optional<std::vector<std::string>>& trackedFolders) {
  thread_.check();
  Walk walk;
  walk.git = std::exchange(gitPending_, false);
  if (!workingCopy_.bare) {
    setOpaque(status, walk);
    if (status.untrackedShown())
      walk.trees.assign(pending_.begin(), pending_.end());
    else if (trackedFolders)
      walk.folders = *trackedFolders;
  }
  pending_.clear();
  if (walk.git || !walk.trees.empty() || !walk.folders.empty()) start(std::move(walk));
}

void RepositoryWatch::followReferences() {
  thread_.check();
  Walk walk;
  walk.git = std::exchange(gitPending_, false);
  if (walk.git) start(std::move(walk));
}

void RepositoryWatch::start(Walk walk) {
  // The watcher lives as long as the process; this does not.
  walks_->post([this, alive = std::weak_ptr<bool>(alive_), main = main_, &watcher = watcher_,
                client = client_, workingCopy = workingCopy_, opaque = opaque_,
                walk = std::move(walk)] {
    TreeWatching git(watcher, client, {joined(workingCopy.commonDirectory, "refs/kelpie")});
    if (walk.git) watchGit(git, workingCopy);
    Walked walked;
    TreeWatching folders(watcher, client, opaque);
    const auto look = [&](const std::string& path, void (TreeWatching::*how)(const std::string&)) {
      const std::size_t before = folders.added();
      const std::size_t unread = folders.unread();
      (folders.*how)(path);
      if (folders.unread() > unread) walked.unread.push_back(path);
      if (folders.added() > before) walked.added.push_back(path);
    };
    for (const std::string& folder : walk.folders) look(folder, &TreeWatching::watchFolder);
    for (const std::string& tree : walk.trees) look(tree, &TreeWatching::watchTree);
    walked.gitAdded = git.added() > 0;
    walked.gitUnread = git.unread() > 0;
    walked.limitReached = git.limitReached() || folders.limitReached();
    main->post([this, alive, walked] {
      const std::shared_ptr<bool> isAlive = alive.lock();
      if (isAlive && *isAlive) finished(walked);
    });
  });
}

void RepositoryWatch::finished(const Walked& walked) {
  if (walked.limitReached && !std::exchange(limitReached_, true)) {
    // The owner may let go of this.
    const std::shared_ptr<bool> alive = alive_;
    const auto limitReached = callbacks_.limitReached;
    limitReached();
    if (!*alive) return;
  }
  if (walked.gitAdded) callbacks_.changed({true, true}, {});
  walkAgain(walked);
  for (const std::string& path : walked.added)
    callbacks_.changed({true, false}, placeOf(workingCopy_, path, {}));
}

void RepositoryWatch::walkAgain(const Walked& walked) {
  if (walked.unread.empty() && !walked.gitUnread) {
    failedWalks_ = 0;
    return;
  }
  gitPending_ |= walked.gitUnread;
  pending_.insert(walked.unread.begin(), walked.unread.end());
  if (failedWalks_ >= kWalksAtOnce) return;
  ++failedWalks_;
  callbacks_.changed({true, walked.gitUnread}, {});
}

}  // namespace kelpie::agent
