#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "agent/link/ExtensionPorts.h"
#include "agent/sessions/RepositorySession.h"
#include "agent/sessions/ShownFolders.h"
#include "foundation/FileIdentifier.h"
#include "foundation/ThreadBound.h"

namespace kelpie::agent {

// The sessions of all working copies that extensions have opened, one for each, and of some that
// lie in a shown folder. When working copies come or go, the shown folders are looked at again.
// Main thread.
class RepositoryRegistry {
 public:
  explicit RepositoryRegistry(SessionServices services);
  RepositoryRegistry(const RepositoryRegistry&) = delete;
  RepositoryRegistry& operator=(const RepositoryRegistry&) = delete;
  ~RepositoryRegistry() = default;

  // An extension shows the folder (absolute, bytes): the working copy that holds it is opened for
  // the extension. Does nothing when none holds it. Logs and tells the user once when git refuses
  // to work with it or is not installed.
  void open(const std::string& folder, const std::shared_ptr<ExtensionPort>& port, bool shallow);
  // The session of the working copy with that identifier; null when none is open.
  RepositorySession* find(const FileIdentifier& identifier) const;
  // The session of the innermost working copy that is open and holds the item at the absolute path,
  // by its spelling; null when none does.
  const RepositorySession* holding(std::string_view path) const;

  // An extension has presented itself, has lost its connection for a moment, or is gone.
  void pinged(const std::string& portName);
  void renewed(const std::string& portName);
  void gone(const std::string& portName);

  // Reads all working copies again, after a change that cannot be seen in them.
  void readAgain();

  // Checks whether git can be used, and tells the user when it cannot.
  void checkGit();

  std::size_t count() const { return sessions_.size(); }

 private:
  struct Request {
    std::weak_ptr<ExtensionPort> port;
    std::string folder;
    bool shallow = false;
    bool again = false;  // the extension has not asked, but what it shows may belong elsewhere now
    std::string neighbourIn;  // nor has it shown the folder, but this one that holds it
  };
  // A folder that may be a working copy: it has a ".git" or looks like a bare repository.
  struct Candidate {
    std::string path;
    std::optional<FileIdentifier> identity;
  };
  // The working copies at and in a shown folder.
  struct View {
    std::optional<Candidate> holder;  // the nearest, upwards
    std::vector<Candidate> within;    // directly in it, where no working copy holds it
  };
  // The result of a search.
  struct Found {
    std::optional<WorkingCopy> workingCopy;
    std::optional<FileIdentifier> identifier;
    std::string failure;
    std::optional<std::string> problemOfGit;
  };

  void look(const Request& request);
  void lookAtEntry(const std::string& folder, const std::string& entry);
  // Any thread; blocks while the file system answers.
  static View viewOf(const std::string& folder, const ShownFolders::Watches& watches,
                     const FileSystem& files, bool withNeighbours);
  static std::optional<Candidate> candidateAt(const std::string& folder, const FileSystem& files);
  void folderLooksLike(const Candidate& candidate, const Request& request);
  void neighbourLooksLike(const Candidate& candidate, const std::string& folder);
  // Whether one more may be opened, perhaps after closing another one.
  bool hasRoomForNeighbourIn(const std::string& folder);
  void queueSearch(const std::string& candidate, ReadingSlots::Urgency urgency);
  void search(const std::string& candidate, ReadingSlots::Ticket ticket);
  void searched(const std::string& candidate, const Found& found);
  struct Search;
  // Asks git once more for those that came while the search, which has found nothing, was running.
  void searchAgain(const std::string& candidate, const Search& search);
  RepositorySession& sessionFor(const WorkingCopy& workingCopy, const FileIdentifier& identifier);
  void open(RepositorySession& session, const Request& request);
  // Removes the session and everything that led to it. With `lookAgain`, its shown folders are
  // looked at again.
  void remove(const FileIdentifier& identifier, bool lookAgain);
  void problemFound(const std::optional<std::string>& problem);
  void complainOnce(const std::string& candidate, const std::string& failure);

  const SessionServices services_;
  std::unordered_map<FileIdentifier, std::unique_ptr<RepositorySession>> sessions_;
  // The folders with a ".git" that have led to a session, and those for which git is to be asked,
  // with the requests that wait for it.
  struct Known {
    std::optional<FileIdentifier> identity;  // of the folder then
    FileIdentifier session;
  };
  struct Search {
    std::vector<Request> waiting;
    std::optional<FileIdentifier> identity;
    bool isUrgent = false;
    bool isRunning = false;
    std::size_t early = 0;  // how many of those that wait came before it ran
  };
  std::map<std::string, Known> known_;
  std::map<std::string, Search> searches_;
  // The sessions of working copies that were not shown themselves, each with the shown folder that
  // holds it; the latest first.
  std::list<std::pair<FileIdentifier, std::string>> neighbours_;
  // The working copies that were taken away from the extensions and may come back at the same
  // place.
  std::unordered_set<FileIdentifier> taken_;
  // The complaints that were made already.
  std::set<std::string> complaints_;
  std::string problem_;  // of git, as it was said last
  bool gitIsGood_ = false;
  ShownFolders shown_;
  // Tasks check it to see whether this still exists.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  ThreadBound thread_;
};

}  // namespace kelpie::agent
