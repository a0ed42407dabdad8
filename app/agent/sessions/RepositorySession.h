#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "agent/desktop/Notifier.h"
#include "agent/git/ChangedPlaces.h"
#include "agent/git/GitCommand.h"
#include "agent/git/ReferencesSnapshot.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"
#include "agent/link/ExtensionPort.h"
#include "agent/link/RepositoryMessages.h"
#include "agent/sessions/EarlyFolders.h"
#include "agent/sessions/ReadingLane.h"
#include "agent/sessions/ReadingSlots.h"
#include "agent/sessions/SessionParts.h"
#include "agent/sessions/SettingsWatch.h"
#include "agent/sessions/StatusProof.h"
#include "agent/watch/DirectoryWatcher.h"
#include "foundation/ThreadBound.h"
#include "linux/base/EventLoop.h"

namespace kelpie::agent {

// What the sessions of all repositories share. It outlives them.
struct SessionServices {
  EventLoop& loop;
  SerialQueues& queues;
  DirectoryWatcher& watcher;
  DirectoryWatcher& names;  // one that is interested in names alone
  const FileSystem& files;
  Notifier& notifier;
  GitCommand git;
  std::shared_ptr<ReadingSlots> slots;
  // How long an unused session stays open.
  std::chrono::milliseconds idleTime = std::chrono::minutes(10);
  // How many working copies are open at a time although only the folder that holds them is shown.
  std::size_t neighbours = 200;
  // Called after a folder that may be a working copy was looked at, with the reason why it is not
  // opened, or an empty text. May be empty.
  std::function<void(const std::string& folder, const std::string& failure)> looked = {};
  // How long a status that was read in parts is at rest before it is held to the whole.
  std::chrono::milliseconds proofTime = StatusProof::kRest;
  // What a session reads and watches with.
  SessionPartsMaker makeParts = partsWithGit;
};

// One open working copy: reads it, watches it, and tells the extensions that have opened it what
// has changed. Main thread; git runs on queues of its own.
class RepositorySession {
 public:
  struct Callbacks {
    // The session is of no use any more: the working copy is gone (`isGone`), or nobody has used it
    // for long, or it is one that nobody has asked for and cannot be watched. The callback lets go
    // of the session.
    std::function<void(bool isGone)> closed;
  };

  static constexpr std::chrono::milliseconds kRefreshPause{500};

  // `wasTaken`: the extensions may have the working copy as it was taken from them.
  RepositorySession(const SessionServices& services, const WorkingCopy& workingCopy,
                    FileIdentifier identifier, bool wasTaken, Callbacks callbacks);
  ~RepositorySession();
  RepositorySession(const RepositorySession&) = delete;
  RepositorySession& operator=(const RepositorySession&) = delete;

  const WorkingCopy& workingCopy() const { return workingCopy_; }
  const FileIdentifier& identifier() const { return messages_->target(); }
  // What was read last; null before the first reading has ended well.
  const std::shared_ptr<const StatusSnapshot>& status() const { return status_; }
  const std::shared_ptr<const ReferencesSnapshot>& references() const { return references_; }

  // An extension shows a folder (absolute, bytes) of the working copy: it is told that it is open,
  // its status and, unless the request was shallow, its references, and from then on what changes
  // of these. Nothing is told before there is a status that is up to date: no badge is better than
  // a wrong one. For one folder after the other of what is open, the status is told again at most
  // once in kRefreshPause.
  // `again`: the extension has seen the folder without this working copy, and is to look once more.
  void open(const std::shared_ptr<ExtensionPort>& port, const std::string& folder, bool shallow,
            bool again = false);
  // Whether it has been opened for any extension.
  bool isUsed() const { return !subscribers_.empty(); }
  // Whether the folder has been opened for the extension.
  bool isOpenFor(const std::string& portName, const std::string& folder) const;
  // One that nobody has asked for, which yields to those that are.
  void setNeighbour(bool isNeighbour);
  // Takes the working copy from the extensions: nothing of it bears a badge any more.
  void withdraw();
  // The extension wants the references, too.
  void unshallow(const std::shared_ptr<ExtensionPort>& port);
  // The extension may have forgotten what it was told: the next time it is told everything.
  void distrust(const std::string& portName);
  // The extension may have missed something: it is told everything again that it wants. Nothing for
  // one that has not opened the working copy.
  void tellAgain(const std::string& portName);
  // Reads everything again, as after a change.
  void readAgain() { changed({true, true}); }
  // The extension is gone.
  void forget(const std::string& portName);

 private:
  // The status, and the messages about references.
  static constexpr std::size_t kMessages = 1 + RepositoryMessages::kReferenceMessages;

  // What there is to tell, and how often that has changed.
  struct Telling {
    Message message;
    std::uint64_t revision = 0;
  };
  struct Subscriber {
    std::shared_ptr<ExtensionPort> port;
    EarlyFolders early;
    std::set<std::string> folders{};  // for which it was opened, as many as `early` holds
    bool wantsReferences = false;
    bool isOpen = false;    // it knows the working copy
    bool isToOpen = false;  // it is to be told of the working copy, for the first time or again
    std::array<std::uint64_t, kMessages> told{};  // the revisions that it knows
    // Runs for kRefreshPause after the status was told again, and whether it is wanted once more.
    std::unique_ptr<EventLoop::Timer> refreshPause{};
    bool isToRefresh = false;
  };

  // Readings of one kind that have failed since the last one that ended well.
  struct Failure {
    std::string why;
    int inARow = 0;
  };

  Subscriber& subscribe(const std::shared_ptr<ExtensionPort>& port);
  void updateWanted();
  // Tells the status again, though the extension knows it: once for all folders of a pause.
  void refresh(Subscriber& subscriber);
  // `path`: see WorkingCopyWatch::Callbacks.
  void changed(Change change, const std::string& path = {});
  void prove();
  void readStatus();
  void statusRead(StatusReadings::Result result);
  void held(const StatusReadings::Result& result);
  void readReferences();
  void referencesRead(ReferencesReadings::Result result);
  // Whether that differs from what was told before.
  bool update(std::size_t index, Message message);
  void tell(Subscriber& subscriber);
  void tellAll();
  // There is a status, and it is not known to be out of date.
  bool hasStatus() const;
  void failed(Failure& failure, const char* what, const std::string& why);
  void watchSettings(const std::vector<std::string>& files);
  void vanished();
  void watchIncomplete();

  SessionServices services_;
  const WorkingCopy workingCopy_;
  const std::uint64_t number_;
  const bool wasTaken_;
  Callbacks callbacks_;
  std::shared_ptr<const RepositoryMessages> messages_;
  SessionParts parts_;
  std::vector<std::string> settingsFiles_;
  std::unique_ptr<SettingsWatch> settingsWatch_;  // of these; null without any

  std::shared_ptr<const StatusSnapshot> status_;
  std::shared_ptr<const ReferencesSnapshot> references_;
  Failure statusFailure_;
  Failure referencesFailure_;

  std::array<Telling, kMessages> tellings_;
  std::map<std::string, Subscriber, std::less<>> subscribers_;
  ReadingLane statusLane_;
  ReadingLane referencesLane_;
  bool isShown_ = false;  // an extension has shown a folder of it since this was made
  bool isNeighbour_ = false;
  bool wasUnwanted_ = false;   // nobody wanted the status while it went out of date
  bool namesChanged_ = false;  // since a status was sent
  bool placeChanged_ = false;  // since the working copy was last found where it was
  ChangedPlaces places_;       // since the last reading of the status started
  bool isToProve_ = false;     // the next reading is the proof
  StatusProof proof_;
  std::unique_ptr<EventLoop::Timer> idleTimer_;
  std::unique_ptr<EventLoop::Timer> secondLook_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
