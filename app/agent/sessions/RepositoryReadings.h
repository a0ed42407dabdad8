#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/GitCommand.h"
#include "agent/git/IndexFolders.h"
#include "agent/git/ReferencesReader.h"
#include "agent/git/StatusReader.h"
#include "agent/git/WorkingCopyFinder.h"
#include "agent/link/RepositoryMessages.h"
#include "foundation/ThreadBound.h"
#include "linux/base/GLibPointers.h"
#include "platform/FileSystem.h"
#include "platform/SerialQueue.h"

namespace kelpie::agent {

// What readings of one working copy need, even when their session is gone.
struct ReadingContext {
  WorkingCopy workingCopy;
  GitCommand git;
  std::shared_ptr<const RepositoryMessages> messages;
  const FileSystem& files;  // lives as long as the process
  std::shared_ptr<SerialQueue> main;
  std::shared_ptr<SerialQueue> queue;
  GObjectPtr<GCancellable> cancellable{g_cancellable_new()};
};

// Reads the status of one working copy, and makes the message that tells of it, on a queue. start()
// and cancel() on the main thread; one reading at a time.
class StatusReadings : public std::enable_shared_from_this<StatusReadings> {
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

  explicit StatusReadings(ReadingContext context);

  // `done` runs on the main thread, unless the readings were cancelled meanwhile.
  void start(Question question, std::function<void(Result)> done);
  // Stops the reading that runs; none is started any more.
  void cancel();

 private:
  Result read();
  void readStatus(Result& result);
  // Git finds another working copy at the place, or none. False where git cannot say.
  bool isGone() const;

  ReadingContext context_;
  Question question_;  // changed while no reading runs
  StatusReader reader_;
  IndexFolders indexFolders_;
  ThreadBound thread_;
};

// The same for the references.
class ReferencesReadings : public std::enable_shared_from_this<ReferencesReadings> {
 public:
  struct Result {
    std::shared_ptr<const ReferencesSnapshot> snapshot;
    RepositoryMessages::References messages;
    std::string failure;
  };

  explicit ReferencesReadings(ReadingContext context);

  void start(std::function<void(Result)> done);
  void cancel();

 private:
  Result read();

  ReadingContext context_;
  ReferencesReader reader_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
