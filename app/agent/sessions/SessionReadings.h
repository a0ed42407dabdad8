#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/ReferencesSnapshot.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/link/RepositoryMessages.h"

namespace kelpie::agent {

// Readings of the status of one working copy, each with the message that tells of it. Main thread;
// one reading at a time.
class StatusReadings {
 public:
  struct Question {
    // Git first checks whether the working copy is still the one that was opened.
    bool find = false;
    // The status that was read last; null when there is none.
    std::shared_ptr<const StatusSnapshot> known;
    // Where something may have changed since then.
    ChangedPlaces places;
    // The whole is read to see whether what is known is right.
    bool isProof = false;
  };

  struct Result {
    // A snapshot with its message, or a failure in git's words.
    std::shared_ptr<const StatusSnapshot> snapshot;
    Message message;
    std::string failure;
    // The working copy is not there any more, or another one is in its place.
    bool vanished = false;
    // What was asked.
    Question question;
    // Why the whole was read, for people; empty when only parts of it were.
    std::string whole;
    // After a proof: how what was known differs from the whole, for people; or empty.
    std::string difference;
    // Where untracked files are not looked at: the folders to watch, unless they are the same as
    // before.
    std::optional<std::vector<std::string>> trackedFolders;
    // The files that the repository's own settings name: see ownSettingsFiles().
    std::vector<std::string> settingsFiles;
  };

  virtual ~StatusReadings() = default;
  // `done` runs on the main thread, unless the readings were cancelled meanwhile.
  virtual void start(Question question, std::function<void(Result)> done) = 0;
  // Stops the reading that runs; none is started any more.
  virtual void cancel() = 0;
};

// The same for the references.
class ReferencesReadings {
 public:
  struct Result {
    std::shared_ptr<const ReferencesSnapshot> snapshot;
    RepositoryMessages::References messages;
    std::string failure;
  };

  virtual ~ReferencesReadings() = default;
  virtual void start(std::function<void(Result)> done) = 0;
  virtual void cancel() = 0;
};

}  // namespace kelpie::agent
