#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/FileStamps.h"
#include "agent/git/GitCommand.h"
#include "agent/git/OwnPrograms.h"
#include "agent/git/ReadingRules.h"
#include "agent/git/WorkingCopy.h"
#include "foundation/Mutex.h"

namespace kelpie::agent {

// Makes sure that looking at a repository runs no program that the repository names for itself,
// unless the user trusts it, and that nothing is changed outside the folder that was shown. A
// configuration is remembered until one of its files changes; checking that costs each question
// some looks at the file system. Any thread; blocks while git answers.
class ProgramGuard {
 public:
  struct Callbacks {
    // Returns the repositories that the user trusts, by the paths of their roots; called for each
    // reading.
    std::function<std::vector<std::string>()> trusted;
    // Receives the programs of the repository at that root that are not run, a line each; empty
    // when none is withheld any more. Called on a change, on the thread that reads.
    std::function<void(const std::string& root, const std::vector<std::string>& programs)> withheld;
  };

  // `git` may be that of any folder. Either callback may be empty.
  ProgramGuard(const GitCommand& git, Callbacks callbacks);
  ProgramGuard(const ProgramGuard&) = delete;
  ProgramGuard& operator=(const ProgramGuard&) = delete;
  ~ProgramGuard() = default;

  // How git may be asked in the folder now.
  ReadingRules rulesFor(const std::string& folder);

  // The files, besides the configuration in its git directory, that the repository itself and each
  // of its submodules names: see ownSettingsFiles(). None outside every repository.
  std::vector<std::string> settingsFilesOf(const std::string& folder);

  // Why nothing may be changed in the working copy: it has changed since it was found, or the work
  // tree of one of its submodules is elsewhere. Empty when changes are allowed.
  std::string objectionTo(const WorkingCopy& workingCopy);

 private:
  // What is known of the repository of one folder.
  struct Record {
    Mutex mutex;
    FileStamps configurationStamps KELPIE_GUARDED_BY(mutex);
    std::vector<std::string> configurationFiles KELPIE_GUARDED_BY(mutex);
    std::vector<std::string> ownFiles KELPIE_GUARDED_BY(mutex);  // see settingsFilesOf()
    std::string failure KELPIE_GUARDED_BY(mutex);                // why nothing is known, or empty
    bool isElsewhere KELPIE_GUARDED_BY(mutex) = false;           // its work tree is elsewhere
    // Missing in a folder outside every repository.
    std::optional<WorkingCopy> workingCopy KELPIE_GUARDED_BY(mutex);
    OwnPrograms programs KELPIE_GUARDED_BY(mutex);
    FileStamps indexStamps KELPIE_GUARDED_BY(mutex);
    std::vector<std::string> submodules KELPIE_GUARDED_BY(mutex);  // those with a ".git", absolute
    // The programs that withheld() was called with.
    std::vector<std::string> told KELPIE_GUARDED_BY(mutex);
  };
  struct Visit;  // of a folder and the submodules below it

  std::shared_ptr<Record> recordFor(const std::string& folder);
  void readConfiguration(Record& record, const std::string& folder) const
      KELPIE_REQUIRES(record.mutex);
  void readSubmodules(Record& record) const KELPIE_REQUIRES(record.mutex);
  void addSettingsFiles(const std::string& folder, std::size_t depth,
                        std::vector<std::string>& files);
  void visit(const std::string& folder, std::size_t depth, Visit& visit);
  void add(Record& record, Visit& visit) const KELPIE_REQUIRES(record.mutex);
  // Whether git does as the programs' settings say; one before 2.31 cannot be told some names.
  bool obeys(const GitCommand& git, const OwnPrograms& programs) const;

  const GitCommand git_;
  const Callbacks callbacks_;
  Mutex mutex_;
  std::map<std::string, std::shared_ptr<Record>, std::less<>> records_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie::agent
