#pragma once

#include <functional>
#include <memory>

#include "agent/git/GitCommand.h"
#include "agent/git/IndexFolders.h"
#include "agent/git/ReferencesReader.h"
#include "agent/git/StatusReader.h"
#include "agent/git/WorkingCopyFinder.h"
#include "agent/link/RepositoryMessages.h"
#include "agent/sessions/SessionReadings.h"
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

// Reads the status of one working copy with git, and makes the message that tells of it, on a
// queue.
class GitStatusReadings final : public StatusReadings,
                                public std::enable_shared_from_this<GitStatusReadings> {
 public:
  explicit GitStatusReadings(ReadingContext context);

  void start(Question question, std::function<void(Result)> done) override;
  void cancel() override;

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
class GitReferencesReadings final : public ReferencesReadings,
                                    public std::enable_shared_from_this<GitReferencesReadings> {
 public:
  explicit GitReferencesReadings(ReadingContext context);

  void start(std::function<void(Result)> done) override;
  void cancel() override;

 private:
  Result read();

  ReadingContext context_;
  ReferencesReader reader_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
