#include "agent/sessions/RepositoryRegistry.h"

#include <utility>

#include "agent/git/GitVersion.h"
#include "foundation/URL.h"

namespace kelpie::agent {
namespace {

// Beyond these, what was said is forgotten, and may be said again.
constexpr std::size_t kMaximumComplaints = 1000;
constexpr std::string_view kQueueLabel = "org.kelpie.Kelpie.SearchQueue";

}  // namespace

// Each look at the file system has a queue of its own: a folder on a file system that does not
// answer holds up nobody else.
void RepositoryRegistry::open(const std::string& folder, const std::shared_ptr<ExtensionPort>& port,
                              bool shallow) {
  services_.queues.makeQueue(kQueueLabel)
      ->post([this, alive = std::weak_ptr<bool>(alive_), main = services_.loop.queue(), folder,
              request = Request{port, folder, shallow}] {
        const std::optional<std::string> candidate = WorkingCopyFinder::candidate(folder);
        if (!candidate) return;
        main->post([this, alive, candidate, request] {
          if (!alive.expired()) folderLooksLike(*candidate, request);
        });
      });
}

RepositorySession* RepositoryRegistry::find(const FileIdentifier& identifier) const {
  const auto found = sessions_.find(identifier);
  return found == sessions_.end() ? nullptr : found->second.get();
}

void RepositoryRegistry::folderLooksLike(const std::string& candidate, const Request& request) {
  if (const auto known = known_.find(candidate); known != known_.end()) {
    const std::shared_ptr<ExtensionPort> port = request.port.lock();
    if (port != nullptr) find(known->second)->open(port, request.folder, request.shallow);
    return;
  }
  std::vector<Request>& waiting = searches_[candidate];
  waiting.push_back(request);
  if (waiting.size() == 1) search(candidate);
}

void RepositoryRegistry::search(const std::string& candidate) {
  services_.queues.makeQueue(kQueueLabel)
      ->post([this, alive = std::weak_ptr<bool>(alive_), main = services_.loop.queue(), candidate,
              git = services_.git, &files = services_.files, gitIsGood = gitIsGood_] {
        Found found;
        if (!gitIsGood) found.problemOfGit = problemOfGit(git);
        if (!found.problemOfGit) {
          WorkingCopyFinder::Finding finding = WorkingCopyFinder(git).find(candidate);
          found.failure = std::move(finding.failure);
          if (finding.workingCopy)
            found.identifier = URL::fileURLWithPath(finding.workingCopy->root).identifier(files);
          found.workingCopy = std::move(finding.workingCopy);
        }
        main->post([this, alive, candidate, found = std::move(found)] {
          if (!alive.expired()) searched(candidate, found);
        });
      });
}

void RepositoryRegistry::searched(const std::string& candidate, const Found& found) {
  const auto search = searches_.extract(candidate);
  problemFound(found.problemOfGit);
  if (!found.failure.empty()) complainOnce(candidate, found.failure);
  if (search.empty() || !found.workingCopy || !found.identifier) return;
  for (const Request& request : search.mapped()) {
    const std::shared_ptr<ExtensionPort> port = request.port.lock();
    if (port == nullptr) continue;
    sessionFor(*found.workingCopy, *found.identifier).open(port, request.folder, request.shallow);
    known_.insert_or_assign(candidate, *found.identifier);
  }
}

RepositorySession& RepositoryRegistry::sessionFor(const WorkingCopy& workingCopy,
                                                  const FileIdentifier& identifier) {
  std::unique_ptr<RepositorySession>& session = sessions_[identifier];
  // A folder that was moved keeps its identifier.
  if (session != nullptr && session->workingCopy() == workingCopy) return *session;
  if (session != nullptr) {
    std::erase_if(known_, [&](const auto& entry) { return entry.second == identifier; });
    session.reset();
  }
  session = std::make_unique<RepositorySession>(
      services_, workingCopy, identifier,
      RepositorySession::Callbacks{[this, identifier] { closed(identifier); }});
  return *session;
}

void RepositoryRegistry::closed(const FileIdentifier& identifier) {
  std::erase_if(known_, [&](const auto& entry) { return entry.second == identifier; });
  sessions_.erase(identifier);
}

void RepositoryRegistry::pinged(const std::string& portName) {
  for (const auto& [identifier, session] : sessions_) session->distrust(portName);
}

void RepositoryRegistry::renewed(const std::string& portName) {
  for (const auto& [identifier, session] : sessions_) session->tellAgain(portName);
}

void RepositoryRegistry::gone(const std::string& portName) {
  for (const auto& [identifier, session] : sessions_) session->forget(portName);
}

void RepositoryRegistry::checkGit() {
  services_.queues.makeQueue(kQueueLabel)
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
