#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "agent/link/ExtensionPorts.h"
#include "agent/sessions/RepositorySession.h"
#include "foundation/FileIdentifier.h"

namespace kelpie::agent {

// The sessions of all working copies that an extension has opened, one for each. Main thread.
class RepositoryRegistry {
 public:
  explicit RepositoryRegistry(SessionServices services) : services_(std::move(services)) {}
  RepositoryRegistry(const RepositoryRegistry&) = delete;
  RepositoryRegistry& operator=(const RepositoryRegistry&) = delete;
  ~RepositoryRegistry() = default;

  // An extension shows the folder (absolute, bytes): the working copy that holds it is opened for
  // the extension. Quietly nothing when none does; a log line and a notice, once, when git will not
  // work with it or there is no git to work with.
  void open(const std::string& folder, const std::shared_ptr<ExtensionPort>& port, bool shallow);
  // The session of the working copy with that identifier; null when none is open.
  RepositorySession* find(const FileIdentifier& identifier) const;

  // An extension has presented itself, has lost its connection for a moment, is gone.
  void pinged(const std::string& portName);
  void renewed(const std::string& portName);
  void gone(const std::string& portName);

  // Looks whether there is a git to work with, and says so when there is none.
  void checkGit();

  std::size_t count() const { return sessions_.size(); }

 private:
  struct Request {
    std::weak_ptr<ExtensionPort> port;
    std::string folder;
    bool shallow = false;
  };
  // What a search came to.
  struct Found {
    std::optional<WorkingCopy> workingCopy;
    std::optional<FileIdentifier> identifier;
    std::string failure;
    std::optional<std::string> problemOfGit;
  };

  void folderLooksLike(const std::string& candidate, const Request& request);
  void search(const std::string& candidate);
  void searched(const std::string& candidate, const Found& found);
  RepositorySession& sessionFor(const WorkingCopy& workingCopy, const FileIdentifier& identifier);
  void closed(const FileIdentifier& identifier);
  void problemFound(const std::optional<std::string>& problem);
  void complainOnce(const std::string& candidate, const std::string& failure);

  const SessionServices services_;
  std::unordered_map<FileIdentifier, std::unique_ptr<RepositorySession>> sessions_;
  // The folders with a ".git" that have led to a session, and those for which git is being asked,
  // with who waits for it.
  std::map<std::string, FileIdentifier> known_;
  std::map<std::string, std::vector<Request>> searches_;
  // What has been complained of already.
  std::set<std::string> complaints_;
  std::string problem_;  // of git, as it was said last
  bool gitIsGood_ = false;
  // Tasks ask it whether this is still there.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace kelpie::agent
