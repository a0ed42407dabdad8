#include "agent/sessions/RepositoryRegistry.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

#include "agent/git/GitVersion.h"
#include "foundation/URL.h"

namespace kelpie::agent {
namespace {

// The most complaints that are remembered; beyond these they may be made again.
constexpr std::size_t kMaximumComplaints = 1000;
constexpr std::size_t kMaximumTaken = 10000;
// How many entries of a shown folder are looked at.
constexpr std::size_t kMaximumEntries = 10000;
constexpr std::string_view kSearchQueueLabel = "org.kelpie.Kelpie.SearchQueue";

std::optional<FileIdentifier> identityIn(const FileSystem& files, const std::string& folder) {
  return URL::fileURLWithPath(folder).identifier(files);
}

// Absolute. Links are left out: what they lead to lies elsewhere.
std::vector<std::string> foldersIn(const std::string& folder) {
  std::vector<std::string> folders;
  std::error_code error;
  std::filesystem::directory_iterator entry(folder, error);
  for (std::size_t seen = 0; !error && entry != std::filesystem::directory_iterator(); ++seen) {
    if (seen == kMaximumEntries) break;
    std::error_code none;
    if (entry->is_directory(none) && !entry->is_symlink(none))
      folders.push_back(entry->path().string());
    entry.increment(error);
  }
  return folders;
}

}  // namespace

RepositoryRegistry::RepositoryRegistry(SessionServices services)
    : services_(std::move(services)),
      shown_(services_.loop, services_.names,
             {[this](const std::string& folder) {
                for (const auto& port : shown_.extensionsOf(folder))
                  look({port, folder, true, true, {}});
              },
              [this](const std::string& folder, const std::string& entry) {
                lookAtEntry(folder, entry);
              }}) {}

void RepositoryRegistry::open(const std::string& folder, const std::shared_ptr<ExtensionPort>& port,
                              bool shallow) {
  thread_.check();
  shown_.add(folder, port);
  look({port, folder, shallow, false, {}});
}

// Each look at the file system has a queue of its own: a file system that does not answer delays
// nothing else.
void RepositoryRegistry::look(const Request& request) {
  services_.queues.makeQueue(kSearchQueueLabel)
      ->post([this, alive = std::weak_ptr<bool>(alive_), main = services_.loop.queue(), request,
              watches = shown_.watches(), &files = services_.files,
              withNeighbours = services_.neighbours > 0] {
        View view = viewOf(request.folder, watches, files, withNeighbours);
        main->post([this, alive, request, view = std::move(view)] {
          if (alive.expired()) return;
          if (view.holder) return folderLooksLike(*view.holder, request);
          for (const Candidate& each : view.within) neighbourLooksLike(each, request.folder);
        });
      });
}

void RepositoryRegistry::lookAtEntry(const std::string& folder, const std::string& entry) {
  if (services_.neighbours == 0) return;
  services_.queues.makeQueue(kSearchQueueLabel)
      ->post([this, alive = std::weak_ptr<bool>(alive_), main = services_.loop.queue(), folder,
              entry, watches = shown_.watches(), &files = services_.files] {
        if (WorkingCopyFinder::candidate(folder)) return;
        watches.add(entry);
        const std::optional<Candidate> candidate = candidateAt(entry, files);
        if (!candidate) return;
        main->post([this, alive, folder, candidate] {
          if (!alive.expired()) neighbourLooksLike(*candidate, folder);
        });
      });
}

// Watched before it is looked at, so that nothing that comes meanwhile is missed.
RepositoryRegistry::View RepositoryRegistry::viewOf(const std::string& folder,
                                                    const ShownFolders::Watches& watches,
                                                    const FileSystem& files, bool withNeighbours) {
  View view;
  watches.addAround(folder);
  if (const std::optional<std::string> holder = WorkingCopyFinder::candidate(folder)) {
    view.holder = Candidate{*holder, identityIn(files, *holder)};
    return view;
  }
  if (!withNeighbours) return view;
  for (const std::string& entry : foldersIn(folder)) {
    watches.add(entry);
    if (std::optional<Candidate> candidate = candidateAt(entry, files))
      view.within.push_back(*std::move(candidate));
  }
  return view;
}

std::optional<RepositoryRegistry::Candidate> RepositoryRegistry::candidateAt(
    const std::string& folder, const FileSystem& files) {
  if (WorkingCopyFinder::candidate(folder) != folder) return std::nullopt;
  return Candidate{folder, identityIn(files, folder)};
}

RepositorySession* RepositoryRegistry::find(const FileIdentifier& identifier) const {
  thread_.check();
  const auto found = sessions_.find(identifier);
  return found == sessions_.end() ? nullptr : found->second.get();
}

const RepositorySession* RepositoryRegistry::holding(std::string_view path) const {
  thread_.check();
  const RepositorySession* best = nullptr;
  for (const auto& [identifier, session] : sessions_) {
    const std::string& root = session->workingCopy().root;
    const bool holds = path == root || (path.starts_with(root) &&
                                        (root.ends_with('/') || path[root.size()] == '/'));
    if (!holds) continue;
    if (best == nullptr || best->workingCopy().root.size() < root.size()) best = session.get();
  }
  return best;
}

void RepositoryRegistry::folderLooksLike(const Candidate& candidate, const Request& request) {
  const auto known = known_.find(candidate.path);
  if (known != known_.end() && known->second.identity == candidate.identity)
    return open(*find(known->second.session), request);
  Search& search = searches_[candidate.path];
  search.identity = candidate.identity;
  search.waiting.push_back(request);
  const bool isUrgent = !request.shallow;
  if (search.isRunning || (search.waiting.size() > 1 && (!isUrgent || search.isUrgent))) return;
  search.isUrgent |= isUrgent;
  queueSearch(candidate.path,
              isUrgent ? ReadingSlots::Urgency::Finding : ReadingSlots::Urgency::LaterFinding);
}

void RepositoryRegistry::neighbourLooksLike(const Candidate& candidate, const std::string& folder) {
  const auto known = known_.find(candidate.path);
  const bool isOpen = known != known_.end() && known->second.identity == candidate.identity;
  if (!isOpen && (searches_.contains(candidate.path) || !hasRoomForNeighbourIn(folder))) return;
  for (const auto& port : shown_.extensionsOf(folder))
    folderLooksLike(candidate, {port, candidate.path, true, true, folder});
}

bool RepositoryRegistry::hasRoomForNeighbourIn(const std::string& folder) {
  std::size_t searching = 0;
  for (const auto& [path, search] : searches_)
    searching += search.waiting.front().neighbourIn.empty() ? 0U : 1U;
  if (neighbours_.size() + searching < services_.neighbours) return true;
  // Older folders make room for the one that is shown now.
  const auto elsewhere =
      std::find_if(neighbours_.rbegin(), neighbours_.rend(),
                   [&](const auto& neighbour) { return neighbour.second != folder; });
  if (elsewhere == neighbours_.rend()) return false;
  const FileIdentifier identifier = elsewhere->first;
  find(identifier)->withdraw();
  remove(identifier, false);
  return true;
}

// A search may stand in two queues, should it become urgent: the turn that comes first counts.
void RepositoryRegistry::queueSearch(const std::string& candidate, ReadingSlots::Urgency urgency) {
  services_.slots->enter(
      urgency, [this, alive = std::weak_ptr<bool>(alive_), slots = services_.slots.get(),
                candidate](ReadingSlots::Ticket ticket) {
        if (alive.expired()) return slots->leave(ticket);
        const auto waiting = searches_.find(candidate);
        if (waiting == searches_.end() || std::exchange(waiting->second.isRunning, true))
          return slots->leave(ticket);
        waiting->second.early = waiting->second.waiting.size();
        search(candidate, ticket);
      });
}

void RepositoryRegistry::search(const std::string& candidate, ReadingSlots::Ticket ticket) {
  services_.queues.makeQueue(kSearchQueueLabel)
      ->post([this, alive = std::weak_ptr<bool>(alive_), main = services_.loop.queue(), candidate,
              ticket, slots = services_.slots, watches = shown_.watches(), git = services_.git,
              &files = services_.files, gitIsGood = gitIsGood_] {
        Found found;
        if (!gitIsGood) found.problemOfGit = problemOfGit(git);
        if (!found.problemOfGit) {
          WorkingCopyFinder::Finding finding = WorkingCopyFinder(git).find(candidate);
          // It may be in the making: watched, and looked at once more.
          if (!finding.workingCopy && watches.add(candidate + "/.git"))
            finding = WorkingCopyFinder(git).find(candidate);
          found.failure = std::move(finding.failure);
          if (finding.workingCopy)
            found.identifier = URL::fileURLWithPath(finding.workingCopy->root).identifier(files);
          found.workingCopy = std::move(finding.workingCopy);
        }
        main->post([this, alive, candidate, ticket, slots, found = std::move(found)] {
          if (!alive.expired()) searched(candidate, found);
          slots->leave(ticket);
        });
      });
}

void RepositoryRegistry::searched(const std::string& candidate, const Found& found) {
  const auto search = searches_.extract(candidate);
  problemFound(found.problemOfGit);
  // A working copy that was not shown itself needs no complaint.
  const bool isAskedFor =
      !search.empty() && !std::ranges::all_of(search.mapped().waiting, [](const Request& request) {
        return !request.neighbourIn.empty();
      });
  if (services_.looked) services_.looked(candidate, found.failure);
  if (isAskedFor && !found.failure.empty()) complainOnce(candidate, found.failure);
  if (search.empty()) return;
  if (!found.workingCopy || !found.identifier) return searchAgain(candidate, search.mapped());
  // Another working copy has replaced the former one.
  if (const auto known = known_.find(candidate);
      known != known_.end() && known->second.session != *found.identifier)
    remove(FileIdentifier(known->second.session), false);
  for (const Request& request : search.mapped().waiting) {
    if (request.port.expired()) continue;
    RepositorySession& session = sessionFor(*found.workingCopy, *found.identifier);
    known_.insert_or_assign(candidate, Known{search.mapped().identity, *found.identifier});
    open(session, request);
  }
}

// Since then git may have been installed, or allowed to work with the repository.
void RepositoryRegistry::searchAgain(const std::string& candidate, const Search& search) {
  for (std::size_t late = search.early; late < search.waiting.size(); ++late)
    folderLooksLike(Candidate{candidate, search.identity}, search.waiting[late]);
}

RepositorySession& RepositoryRegistry::sessionFor(const WorkingCopy& workingCopy,
                                                  const FileIdentifier& identifier) {
  // A folder that was moved keeps its identifier, as does one whose git directory is another now.
  if (RepositorySession* const present = find(identifier)) {
    if (present->workingCopy() == workingCopy) return *present;
    if (present->workingCopy().root == workingCopy.root) present->withdraw();
    remove(identifier, true);
  }
  if (taken_.size() > kMaximumTaken) taken_.clear();
  const bool wasTaken = taken_.contains(identifier);
  auto session = std::make_unique<RepositorySession>(
      services_, workingCopy, identifier, wasTaken,
      RepositorySession::Callbacks{
          [this, identifier](bool isGone) { remove(identifier, isGone); }});
  return *sessions_.insert_or_assign(identifier, std::move(session)).first->second;
}

void RepositoryRegistry::open(RepositorySession& session, const Request& request) {
  thread_.check();
  const std::shared_ptr<ExtensionPort> port = request.port.lock();
  if (port == nullptr) return;
  if (request.again && session.isOpenFor(port->name(), request.folder)) return;
  const auto neighbour = std::ranges::find(neighbours_, session.identifier(),
                                           &std::pair<FileIdentifier, std::string>::first);
  if (request.neighbourIn.empty()) {
    if (neighbour != neighbours_.end()) neighbours_.erase(neighbour);
    session.setNeighbour(false);
  } else if (!session.isUsed()) {
    neighbours_.emplace_front(session.identifier(), request.neighbourIn);
    session.setNeighbour(true);
  }
  session.open(port, request.folder, request.shallow, request.again);
}

void RepositoryRegistry::remove(const FileIdentifier& identifier, bool lookAgain) {
  const auto session = sessions_.extract(identifier);
  if (session.empty()) return;
  taken_.insert(identifier);
  std::erase_if(known_, [&](const auto& entry) { return entry.second.session == identifier; });
  std::erase_if(neighbours_, [&](const auto& entry) { return entry.first == identifier; });
  if (lookAgain) shown_.doubt(session.mapped()->workingCopy().root);
}

void RepositoryRegistry::pinged(const std::string& portName) {
  thread_.check();
  for (const auto& [identifier, session] : sessions_) session->distrust(portName);
}

void RepositoryRegistry::renewed(const std::string& portName) {
  thread_.check();
  for (const auto& [identifier, session] : sessions_) session->tellAgain(portName);
}

void RepositoryRegistry::gone(const std::string& portName) {
  thread_.check();
  shown_.forget(portName);
  for (const auto& [identifier, session] : sessions_) session->forget(portName);
}

void RepositoryRegistry::readAgain() {
  thread_.check();
  for (const auto& [identifier, session] : sessions_) session->readAgain();
}

void RepositoryRegistry::checkGit() {
  thread_.check();
  services_.queues.makeQueue(kSearchQueueLabel)
      ->post([this, alive = std::weak_ptr<bool>(alive_), main = services_.loop.queue(),
              git = services_.git] {
        main->post([this, alive, problem = problemOfGit(git)] {
          if (!alive.expired()) problemFound(problem);
        });
      });
}

// Asked anew with each search until there is a git: the user may install one.
void RepositoryRegistry::problemFound(const std::optional<std::string>& problem) {
  gitIsGood_ = !problem;
  const std::string said = std::exchange(problem_, problem.value_or(""));
  if (!problem || *problem == said) return;
  services_.loop.log().write(*problem);
  services_.notifier.notify("No git status can be shown", *problem);
}

void RepositoryRegistry::complainOnce(const std::string& candidate, const std::string& failure) {
  if (complaints_.size() >= kMaximumComplaints) complaints_.clear();
  const std::string text = candidate + ": git will not work with it: " + failure;
  if (!complaints_.insert(text).second) return;
  services_.loop.log().write(text);
  services_.notifier.notify("A git repository cannot be opened", text);
}

}  // namespace kelpie::agent
